// Record kinds 9, 31, 32 and 34: the stack's container library decodes them in place.

#include "cmc_parser/records/decoders.h"

#include "base/c_heap.h"
#include "qo_vexb_parser.h"

namespace qo {
namespace {

/// The container library's code; a record that it refuses stays the caller's and changes nothing.
[[nodiscard]] uint32_t decode_in_place(record_copy& record) {
  const uint32_t code = qo_vexb_parse_record(record.bytes());
  if (code != QO_CMC_OK) record.leave_to_caller();
  return code;
}

/// 9, 31, 32: the last record that the container library accepts wins.
[[nodiscard]] uint32_t replace_decoded(record_copy& record, parsed_cmc& cmc, header_slot slot) {
  const uint32_t code = decode_in_place(record);
  if (code != QO_CMC_OK) return code;
  c_release(cmc.*slot);
  cmc.*slot = record.keep();
  return QO_CMC_OK;
}

}  // namespace

void release_record_9(parsed_cmc& cmc) { c_release(cmc.record_9); }
void release_record_31(parsed_cmc& cmc) { c_release(cmc.record_31); }
void release_record_32(parsed_cmc& cmc) { c_release(cmc.record_32); }
void release_record_34(parsed_cmc& cmc) { c_release(cmc.record_34); }

uint32_t decode_record_9(record_copy record, parsed_cmc& cmc, const calibration*) {
  return replace_decoded(record, cmc, &parsed_cmc::record_9);
}

uint32_t decode_record_31(record_copy record, parsed_cmc& cmc, const calibration*) {
  return replace_decoded(record, cmc, &parsed_cmc::record_31);
}

uint32_t decode_record_32(record_copy record, parsed_cmc& cmc, const calibration*) {
  return replace_decoded(record, cmc, &parsed_cmc::record_32);
}

// Record 34:
//     8  u32  block count, at most 4 once decoded
uint32_t decode_record_34(record_copy record, parsed_cmc& cmc, const calibration*) {
  constexpr uint32_t most_blocks = 4;
  constexpr extent count_offset = 8;
  const uint32_t code = decode_in_place(record);
  if (code != QO_CMC_OK) return code;
  record.reread_size();
  if (record.holds(count_offset + size_of<uint32_t>) &&
      record.read<uint32_t>(count_offset) > most_blocks)
    memcpy(record.at(count_offset), &most_blocks, sizeof most_blocks);
  // Contract: an earlier record 34 is not released.
  cmc.record_34 = record.keep();
  return QO_CMC_OK;
}

}  // namespace qo
