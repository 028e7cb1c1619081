// Fuzz target of the inspector's verbs, as functions, on any container and any NVM image. The first
// bytes of the input choose, then both images follow (fuzz/image_parts.h):
//
//     0  u8   bits 0-2  the verb: check, records, dump, hex, diff, pack, shading
//             bit 3     JSON instead of text
//             bit 4     with the NVM image; diff: only for the other side
//             bit 5     dump: every array whole; check: only errors count
//             bit 6     dump, hex: only the kind that byte 1 names
//             bit 7     diff: the other side has its byte at the number in bytes 2 and 3 changed
//     1  u8   a kind
//     2  u16  a place
//
// Text holds no control character, a JSON object is one line, and what one verb says agrees with
// what the library says: which containers are valid, what a record's bytes are, what a packed
// container holds.

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/held.h"
#include "fuzz/image_parts.h"
#include "fuzz/target.h"
#include "tools/document/slots.h"
#include "tools/findings/inspection.h"
#include "tools/qo_cmc/program.h"
#include "tools/shading/shading.h"
#include "writer/container_writer.h"

const fuzz::input_form fuzz::form = {.choices = 4, .has_nvm = true};

namespace {

using fuzz::require;
using nlohmann::json;
using image = std::vector<uint8_t>;

/// Text and pages of larger containers take too long for a fuzzer, and show nothing else.
constexpr size_t most_bytes = size_t{12} << 10;

enum verb { check, records, dump, hex, diff, pack, shading_verb };

class text_sink final : public qo_cmc::sink {
 public:
  void write(std::string_view more) override { text += more; }
  void flush() override {}
  std::string text;
};

/// A file that only this process has.
class memory_file {
 public:
  explicit memory_file(const char* name) : number_(memfd_create(name, 0)) {
    require(number_ >= 0);
    path_ = "/proc/self/fd/" + std::to_string(number_);
  }
  void hold(const void* data, size_t size) const {
    require(ftruncate(number_, 0) == 0);
    require(pwrite(number_, data, size, 0) == static_cast<ssize_t>(size));
  }
  [[nodiscard]] image content() const {
    image read(static_cast<size_t>(lseek(number_, 0, SEEK_END)));
    require(pread(number_, read.data(), read.size(), 0) == static_cast<ssize_t>(read.size()));
    return read;
  }
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  int number_;
  std::string path_;
};

struct files {
  memory_file container{"container"};
  memory_file other{"other"};
  memory_file nvm{"nvm"};
  memory_file written{"written"};
};

struct outcome {
  int code;
  std::string output, errors;
};

/// run() lets nothing be thrown: what escapes it ends the process.
outcome run(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "qo-cmc");
  std::vector<const char*> pointers;
  for (const std::string& each : arguments) pointers.push_back(each.c_str());
  text_sink output, errors;
  const int code = qo_cmc::run(static_cast<int>(pointers.size()), pointers.data(),
                               {.input = -1, .output = output, .errors = errors});
  return {code, output.text, errors.text};
}

/// Nothing that a terminal obeys, whatever the container holds.
void require_harmless(std::string_view text) {
  require(std::all_of(text.begin(), text.end(), [](char character) {
    const auto byte = static_cast<uint8_t>(character);
    return byte == '\n' || (byte >= 0x20 && byte != 0x7f);
  }));
}

json object_in(const outcome& done) {
  require(!done.output.empty() && done.output.find('\n') == done.output.size() - 1);
  json object = json::parse(done.output, nullptr, false);
  require(!object.is_discarded() && object.is_object() && object.at("schema") == 1);
  return object;
}

std::string hex_of(const image& bytes, size_t offset, size_t size) {
  return document::hex_of(bytes.data() + offset, size);
}

/// Each byte is named once, as it is; with one kind alone in the same order, but with holes.
void require_all_bytes(const json& spans, const image& container, bool only_one_kind) {
  size_t at = 0;
  for (const json& span : spans) {
    const size_t offset = span.at("offset");
    const size_t size = span.at("size");
    require(only_one_kind ? offset >= at : offset == at);
    require(size != 0 && offset + size <= container.size());
    require(span.at("bytes") == hex_of(container, offset, size));
    at = offset + size;
  }
  require(only_one_kind || at == container.size());
}

void require_rows(const json& rows, const findings::inspection& seen) {
  require(rows.size() == seen.records.size());
  for (size_t i = 0; i < rows.size(); ++i) {
    const findings::record_row& row = seen.records[i];
    require(rows[i].at("index") == i && rows[i].at("offset") == row.offset);
    require(rows[i].at("size") == row.size && rows[i].at("id") == row.id);
  }
}

bool is_bad(const json& object, bool only_errors) {
  if (!object.at("valid")) return true;
  const json& found = object.at("findings");
  return std::any_of(found.begin(), found.end(), [&](const json& each) {
    return each.at("severity") == "error" || (!only_errors && each.at("severity") == "warning");
  });
}

struct choices {
  verb what;
  bool as_json, with_nvm, more, one_kind, changed;
  uint8_t kind;
  uint16_t place;
};

choices choices_in(const image& bytes) {
  const uint8_t bits = bytes[0];
  return {.what = static_cast<verb>((bits & 7) % 7),
          .as_json = (bits & 8) != 0,
          .with_nvm = (bits & 16) != 0,
          .more = (bits & 32) != 0,
          .one_kind = (bits & 64) != 0,
          .changed = (bits & 128) != 0,
          .kind = bytes[1],
          .place = writer::bytes(bytes).u16_at(2)};
}

/// The verbs that read one container and print. The kind may be one that fills no slot, which dump
/// refuses.
void read_one(const choices& chosen, const files& held, const image& container,
              const findings::inspection& seen) {
  static constexpr const char* names[] = {"check", "records", "dump", "hex"};
  std::vector<std::string> arguments = {names[chosen.what], held.container.path()};
  const auto add = [&](bool given, std::initializer_list<std::string> more) {
    if (given) arguments.insert(arguments.end(), more);
  };
  const bool takes_kind = chosen.what == dump || chosen.what == hex;
  add(chosen.as_json, {"--json"});
  add(chosen.with_nvm && (chosen.what == check || chosen.what == dump), {"--nvm", held.nvm.path()});
  add(chosen.more && chosen.what == dump, {"--full"});
  add(chosen.more && chosen.what == check, {"--allow-warnings"});
  add(chosen.one_kind && takes_kind, {"--record", std::to_string(chosen.kind)});
  const outcome done = run(arguments);
  require_harmless(done.output);
  require_harmless(done.errors);
  if (done.code == 2) {
    require(chosen.what == dump && chosen.one_kind && done.output.empty() && !done.errors.empty());
    return;
  }
  require(done.code == 1 || (done.code == 0 && seen.valid));
  require(done.code == 0 || chosen.what == check || !seen.valid);
  if (!chosen.as_json) return;
  const json object = object_in(done);
  require(object.at("valid") == seen.valid);
  if (chosen.what == check) require((done.code == 1) == is_bad(object, chosen.more));
  if (chosen.what == records) require_rows(object.at("records"), seen);
  if (chosen.what == dump) require(object.at("slots").is_null() == !seen.valid);
  if (chosen.what == hex) require_all_bytes(object.at("spans"), container, chosen.one_kind);
}

image changed(image container, uint16_t place) {
  if (container.size() < writer::container::header_size) return container;
  container[place % container.size()] ^= 0x21;
  writer::seal(container);
  return container;
}

void compare_two(const choices& chosen, const files& held, const image& container, bool valid) {
  const image other = chosen.changed ? changed(container, chosen.place) : container;
  held.other.hold(other.data(), other.size());
  std::vector<std::string> arguments = {"diff", held.container.path(), held.other.path()};
  if (chosen.as_json) arguments.emplace_back("--json");
  if (chosen.with_nvm) arguments.insert(arguments.end(), {"--nvm-b", held.nvm.path()});
  const outcome done = run(arguments);
  require_harmless(done.output);
  require_harmless(done.errors);
  require(done.code == 0 || done.code == 1);
  const bool same = other == container && !chosen.with_nvm;
  if (same) require(done.code == (valid ? 0 : 1));
  if (!chosen.as_json) return require(!same || done.output.empty());
  const json object = object_in(done);
  const bool both_valid = object.at("valid") && object.at("valid_b");
  require(object.at("valid") == valid);
  require(object.at("differences").is_null() == !both_valid);
  if (both_valid) require(object.at("differences").empty() == (done.code == 0));
}

/// What was dumped is packed, or refused in a line; what was packed is dumped as the same document.
void pack_dump(const choices& chosen, const files& held, const findings::inspection& seen) {
  std::vector<std::string> arguments = {"dump", "--json", held.container.path()};
  if (chosen.with_nvm) arguments.insert(arguments.end(), {"--nvm", held.nvm.path()});
  const outcome dumped = run(arguments);
  require(dumped.code == (seen.valid ? 0 : 1));
  held.other.hold(dumped.output.data(), dumped.output.size());
  held.written.hold(nullptr, 0);
  const outcome done = run({"pack", held.other.path(), "-o", held.written.path(), "--checksum",
                            chosen.more ? "2" : "1"});
  require_harmless(done.errors);
  require(done.code == 0 || (done.code == 2 && !done.errors.empty()));
  require(done.output.empty());
  if (!seen.valid) return require(done.code == 2);
  if (done.code == 2) return;
  const image packed = held.written.content();
  const findings::inspection again = findings::inspect(packed, std::nullopt);
  require(again.valid);
  document::json before = document::json::parse(dumped.output).at("slots");
  document::json after = document::slots_of(*again.cmc, again.from);
  // A table that the library derives follows records 19 and 20, whatever the document says of it.
  before.erase("record_34");
  after.erase("record_34");
  require(document::differences(before, after).empty());
}

/// A page takes long to draw: only of small tables.
void draw(const choices& chosen, const image& container, const image& nvm, bool valid) {
  std::optional<std::span<const uint8_t>> module;
  if (chosen.with_nvm) module = nvm;
  const shading::subject drawn = shading::collect("a container", container, module);
  require(drawn.valid == valid);
  const size_t samples = size_t{drawn.width} * drawn.height;
  size_t planes = 0;
  for (const shading::light_panels& light : drawn.lights) planes += light.channels.size();
  if (!valid || samples * planes > size_t{1} << 16) return;
  const std::string table = shading::csv_table(drawn);
  require_harmless(table);
  require(std::count(table.begin(), table.end(), '\n') ==
          static_cast<std::ptrdiff_t>(1 + samples * planes));
  if (samples > 400 || planes > 4) return;
  if (chosen.more)
    require_harmless(shading::html_page(drawn));
  else if (planes != 0 && samples != 0)
    require(!shading::png_picture(drawn).empty());
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const files held;
  const fuzz::image_parts parts = fuzz::split(data, size);
  if (parts.container.size() > most_bytes) return 0;
  const choices chosen = choices_in(parts.choices);
  held.container.hold(parts.container.data(), parts.container.size());
  held.nvm.hold(parts.nvm.data(), parts.nvm.size());
  const findings::inspection seen = findings::inspect(parts.container, std::nullopt);
  switch (chosen.what) {
    case check:
    case records:
    case dump:
    case hex:
      read_one(chosen, held, parts.container, seen);
      break;
    case diff:
      compare_two(chosen, held, parts.container, seen.valid);
      break;
    case pack:
      pack_dump(chosen, held, seen);
      break;
    case shading_verb:
      draw(chosen, parts.container, parts.nvm, seen.valid);
      break;
  }
  return 0;
}
