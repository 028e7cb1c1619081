// Record kind 14: a range of items, kept with an address into the copy.

#include "cmc_parser/records/decoders.h"

#include "base/c_heap.h"

// Record 14:
//     8  u16  first
//    10  u16  last
//    12  u16  step; 0: there is nothing to keep
//    14  items of 8 bytes, (last - first) / step of them and more

namespace qo {
namespace {

constexpr extent items_offset = 14;

}  // namespace

void release_record_14(parsed_cmc& cmc) {
  free(cmc.record_14.record);
  cmc.record_14 = {};
}

decode_result decode_record_14(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.record_14.record);
  release_record_14(cmc);
  if (!record.require(items_offset)) return record.drop_as_too_short();
  const uint16_t first = record.read<uint16_t>(8);
  const uint16_t last = record.read<uint16_t>(10);
  const uint16_t step = record.read<uint16_t>(12);
  if (step == 0) return record.drop(reason::range_without_step);
  if (last < first) return record.drop(reason::range_reversed);
  const extent steps(static_cast<uint32_t>(last - first) / step);
  if (!record.require(8 * steps + 24)) return record.drop_as_too_short();
  cmc.record_14.payload = record.at(items_offset);
  cmc.record_14.record = record.keep();
  return record.filled();
}

}  // namespace qo
