// qo_vexb_others_parser_init(): record kind 722.

#include "cmc_parser/others_record.h"

#include <algorithm>
#include <cstring>

#include "base/c_heap.h"
#include "base/load.h"

// Record 722:
//     8  u32  value
//    12  u32  count
//    16  u64  entries[count]

namespace qo {
namespace {

constexpr uint16_t others_kind = 722;
constexpr uint32_t value_offset = 8;
constexpr uint32_t count_offset = 12;
constexpr uint32_t entries_offset = 16;
constexpr uint32_t most_entries = 8;

[[nodiscard]] decode_result copy_others(const record_view& record, parsed_cmc& cmc) {
  decode_result result = {.fate = copy_fate::released};
  const auto without = [&](reason why, extent needed = {}) {
    result.why = why;
    result.needed = needed;
    return result;
  };
  if (record.size < entries_offset)
    return without(reason::record_too_short, extent(entries_offset));
  const uint32_t stated_count = load<uint32_t>(record.bytes, count_offset);
  const uint32_t count = std::min(stated_count, most_entries);
  const extent end = extent(entries_offset) + size_of<uint64_t> * extent(count);
  if (!(end <= extent(record.size))) return without(reason::record_too_short, end);

  others_block* const block = c_new<others_block>();
  // Contract: an earlier block is the client's, and a failed allocation empties the slot.
  cmc.others = block;
  if (block == nullptr) return without(reason::out_of_memory);
  block->others_value = load<uint32_t>(record.bytes, value_offset);
  block->others_count = count;
  memcpy(block->others_entries, record.bytes + entries_offset, sizeof(uint64_t) * count);
  result.fate = copy_fate::converted;
  result.filled = true;
  return without(count < stated_count ? reason::entries_dropped : reason::none);
}

}  // namespace

std::optional<others_result> read_others(const qo_blob* container, parsed_cmc* cmc) {
  if (container == nullptr || container->data == nullptr || cmc == nullptr) return std::nullopt;
  if (container->size < container_header_size) return std::nullopt;
  const uint8_t* const image = static_cast<const uint8_t*>(container->data);
  record_walk walk(image, std::min(stated_total(image), container->size));
  while (const std::optional<record_view> record = walk.next())
    if (record->id == others_kind) return others_result{*record, copy_others(*record, *cmc)};
  return std::nullopt;
}

}  // namespace qo

void qo_vexb_others_parser_init(const qo_blob* container, parsed_cmc* cmc) {
  (void)qo::read_others(container, cmc);
}
