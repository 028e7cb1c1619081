// Prints the dictionary of the targets whose inputs hold containers, for libFuzzer and AFL++: the
// words that records, headers and NVM images are made of, as the writer and the list of kinds have
// them.
//
//   build/fuzz/bin/container_dictionary >build/fuzz/container.dict
//   build/fuzz/bin/parser_fuzz -dict=build/fuzz/container.dict build/fuzz/seeds

#include <cstdio>
#include <limits>
#include <string>

#include "cmc_parser/records/kinds.h"
#include "writer/container_writer.h"
#include "writer/nvm_writer.h"

namespace {

using writer::bytes;

void print(const std::string& name, const bytes& word) {
  std::string text;
  for (const uint8_t byte : word.vector()) {
    char escape[5];
    std::snprintf(escape, sizeof escape, "\\x%02x", unsigned{byte});
    text += escape;
  }
  std::printf("%s=\"%s\"\n", name.c_str(), text.c_str());
}

bytes start_of(const std::vector<uint8_t>& image, size_t size) {
  return bytes().raw(image.data(), size);
}

/// The end of a record's header: version, a byte that nobody reads, kind.
void print_kind(uint16_t kind) {
  print("kind_" + std::to_string(kind), bytes().u16(kind));
  for (const uint8_t version : {uint8_t{100}, uint8_t{101}, uint8_t{102}, uint8_t{103}})
    print("kind_" + std::to_string(kind) + "_v" + std::to_string(version),
          bytes().u8(version).u8(0).u16(kind));
}

void print_numbers() {
  print("u16_most", bytes().u16(0xffff));
  print("u32_most", bytes().u32(0xffffffff));
  print("i32_most", bytes().u32(0x7fffffff));
  print("i32_least", bytes().u32(0x80000000));
  print("one_8_8", bytes().u16(0x0100));
  print("one_16_16", bytes().u32(0x00010000));
  print("f32_one", bytes().f32(1.0f));
  print("f32_nan", bytes().f32(std::numeric_limits<float>::quiet_NaN()));
  print("f32_infinity", bytes().f32(std::numeric_limits<float>::infinity()));
  print("f32_minus_infinity", bytes().f32(-std::numeric_limits<float>::infinity()));
}

}  // namespace

int main() {
  print("container_start", start_of(writer::container().image(), 4));
  print("nvm_start", start_of(writer::nvm_image({.sets = {}}).vector(), 4));
  for (const uint16_t kind : qo::record_kinds) print_kind(kind);
  print_kind(722);
  print("map_without_planes", bytes(std::vector<uint8_t>(16, 0xff)));
  print("map_of_one_plane", bytes(std::vector<uint8_t>(16, 0)));
  print("map_of_four_planes", bytes().u32(0xffff0100).u32(0xffff0302).u32(~0u).u32(~0u));
  print("cfa_layout_4x4", bytes().u16(256));
  print_numbers();
  return 0;
}
