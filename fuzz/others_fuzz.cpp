// Fuzz target of the others block: any bytes as a container, which need not be a valid one.
//
// What the block holds is compared with a walk of the target's own. A container that has no record
// 722, or a broken one, leaves the slot as it was.

#include <algorithm>
#include <optional>

#include "fuzz/held.h"
#include "fuzz/image_parts.h"
#include "fuzz/target.h"
#include "qo_cmc/parser.h"
#include "writer/container_writer.h"

const fuzz::input_form fuzz::form = {};

namespace {

using fuzz::require;

others_block block_of(const writer::bytes& record) {
  others_block block = {};
  block.others_value = record.u32_at(8);
  block.others_count = std::min(record.u32_at(12), 8u);
  for (size_t i = 0; i < block.others_count; ++i)
    block.others_entries[i] = record.u64_at(16 + 8 * i);
  return block;
}

/// What the first record 722 says; none when there is none, or when it ends before its values.
std::optional<others_block> expected_of(const std::vector<uint8_t>& image) {
  if (image.size() < 24) return std::nullopt;
  const writer::bytes view(image);
  const size_t end = std::min<size_t>(view.u32_at(4), image.size());
  size_t at = 24;
  while (at + 8 <= end) {
    const size_t size = view.u32_at(at);
    if (size < 8 || size > end - at) return std::nullopt;
    if (view.u16_at(at + 6) == 722) {
      const writer::bytes record({image.data() + at, image.data() + at + size});
      if (size < 16 || size < 16 + 8 * std::min<size_t>(record.u32_at(12), 8)) return std::nullopt;
      return block_of(record);
    }
    at += size;
  }
  return std::nullopt;
}

bool is_same(const others_block& a, const others_block& b) {
  return a.others_value == b.others_value && a.others_count == b.others_count &&
         std::equal(std::begin(a.others_entries), std::end(a.others_entries), b.others_entries);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::vector<uint8_t> image = fuzz::split(data, size).container;
  const std::optional<others_block> expected = expected_of(image);
  others_block of_client = {};
  parsed_cmc cmc = {};
  cmc.others = &of_client;
  fuzz::exact_block block = fuzz::exact(image);
  const qo_blob container = {block.get(), static_cast<uint32_t>(image.size())};
  qo_vexb_others_parser_init(&container, &cmc);
  block.reset();

  require((cmc.others != &of_client) == expected.has_value());
  require(is_same(of_client, {}));
  parsed_cmc rest = cmc;
  rest.others = nullptr;
  const parsed_cmc empty = {};
  require(memcmp(&rest, &empty, sizeof empty) == 0);
  if (!expected) return 0;
  require(cmc.others != nullptr && is_same(*cmc.others, *expected));
  free(cmc.others);
  return 0;
}
