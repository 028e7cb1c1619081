// Record kind 14: a range of items, kept with an address into the copy.

#include "cmc_parser/records/decoders.h"

#include "base/c_heap.h"

// Record 14:
//     8  u16  first
//    10  u16  last
//    12  u16  step; 0: there is nothing to keep
//    14  items of 8 bytes, (last - first) / step of them and more

namespace qo {

void release_record_14(parsed_cmc& cmc) {
  free(cmc.record_14.record);
  cmc.record_14 = {};
}

uint32_t decode_record_14(record_copy record, parsed_cmc& cmc, const calibration*) {
  release_record_14(cmc);
  const uint16_t first = record.read<uint16_t>(8);
  const uint16_t last = record.read<uint16_t>(10);
  const uint16_t step = record.read<uint16_t>(12);
  if (step == 0 || last < first) return QO_CMC_OK;
  const extent steps(static_cast<uint32_t>(last - first) / step);
  if (!record.holds(8 * steps + 24)) return QO_CMC_OK;
  cmc.record_14.payload = record.at(14);
  cmc.record_14.record = record.keep();
  return QO_CMC_OK;
}

}  // namespace qo
