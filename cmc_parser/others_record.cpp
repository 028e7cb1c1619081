// qo_vexb_others_parser_init(): record kind 722.

#include "qo_cmc/parser.h"

#include <algorithm>
#include <cstring>

#include "base/c_heap.h"
#include "base/load.h"
#include "cmc_parser/container.h"

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

void copy_others(const record_view& record, parsed_cmc& cmc) {
  if (record.size < entries_offset) return;
  const uint32_t count = std::min(load<uint32_t>(record.bytes, count_offset), most_entries);
  const size_t entries_size = sizeof(uint64_t) * count;
  if (entries_size > record.size - entries_offset) return;

  others_block* const block = c_new<others_block>();
  // Contract: an earlier block is the client's, and a failed allocation empties the slot.
  cmc.others = block;
  if (block == nullptr) return;
  block->others_value = load<uint32_t>(record.bytes, value_offset);
  block->others_count = count;
  memcpy(block->others_entries, record.bytes + entries_offset, entries_size);
}

}  // namespace
}  // namespace qo

void qo_vexb_others_parser_init(const qo_blob* container, parsed_cmc* cmc) {
  if (container == nullptr || container->data == nullptr || cmc == nullptr) return;
  if (container->size < qo::container_header_size) return;
  const uint8_t* const image = static_cast<const uint8_t*>(container->data);
  qo::record_walk walk(image, std::min(qo::stated_total(image), container->size));
  while (const std::optional<qo::record_view> record = walk.next()) {
    if (record->id != qo::others_kind) continue;
    qo::copy_others(*record, *cmc);
    return;
  }
}
