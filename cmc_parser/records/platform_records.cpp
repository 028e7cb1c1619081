// Record kinds 9, 31, 32 and 34: the stack's container library decodes them in place.

#include "cmc_parser/records/decoders.h"

#include "base/c_heap.h"
#include "qo_vexb_parser.h"

namespace qo {
namespace {

/// 9, 31, 32: the last record that the container library accepts wins. One that it refuses stays
/// the caller's and changes nothing.
[[nodiscard]] decode_result replace_decoded(record_copy& record, parsed_cmc& cmc,
                                            header_slot slot) {
  const uint32_t code = qo_vexb_parse_record(record.bytes());
  if (code != QO_CMC_OK) return record.refuse(code, reason::refused_by_stack);
  record.replaces(cmc.*slot);
  c_release(cmc.*slot);
  cmc.*slot = record.keep();
  return record.filled();
}

}  // namespace

void release_record_9(parsed_cmc& cmc) { c_release(cmc.record_9); }
void release_record_31(parsed_cmc& cmc) { c_release(cmc.record_31); }
void release_record_32(parsed_cmc& cmc) { c_release(cmc.record_32); }
void release_record_34(parsed_cmc& cmc) { c_release(cmc.record_34); }

decode_result decode_record_9(record_copy record, parsed_cmc& cmc, const calibration*) {
  return replace_decoded(record, cmc, &parsed_cmc::record_9);
}

decode_result decode_record_31(record_copy record, parsed_cmc& cmc, const calibration*) {
  return replace_decoded(record, cmc, &parsed_cmc::record_31);
}

decode_result decode_record_32(record_copy record, parsed_cmc& cmc, const calibration*) {
  return replace_decoded(record, cmc, &parsed_cmc::record_32);
}

// Record 34:
//     8  u32  block count, at most 4 once decoded
decode_result decode_record_34(record_copy record, parsed_cmc& cmc, const calibration*) {
  constexpr uint32_t most_blocks = 4;
  constexpr extent count_offset = 8;
  const uint32_t code = qo_vexb_parse_record(record.bytes());
  if (code != QO_CMC_OK) return record.refuse(code, reason::refused_by_stack);
  record.reread_size();
  if (record.reaches(count_offset + size_of<uint32_t>) &&
      record.read<uint32_t>(count_offset) > most_blocks) {
    memcpy(record.at(count_offset), &most_blocks, sizeof most_blocks);
    record.lose(reason::blocks_dropped);
  }
  // Contract: an earlier record 34 is not released.
  record.replaces(cmc.record_34);
  cmc.record_34 = record.keep();
  return record.filled();
}

}  // namespace qo
