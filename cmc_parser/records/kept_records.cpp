// Kinds whose slot is the record copy itself and addresses into it.

#include "base/c_heap.h"
#include "cmc_parser/records/decoders.h"
#include "cmc_parser/records/kept_layouts.h"

namespace qo {
namespace {

using header_slot = record_header* parsed_cmc::*;

/// 5, 7, 8, 21, 23: nothing but the copy, when the record has `minimum_size` bytes.
uint32_t keep_whole(record_copy& record, parsed_cmc& cmc, header_slot slot, uint32_t minimum_size) {
  c_release(cmc.*slot);
  if (record.holds(minimum_size))
    cmc.*slot = record.keep();
  else
    record.leak();
  return QO_CMC_OK;
}

/// Releases the copy of a slot that has more than one member, and empties all of them.
template <typename Slot>
void release_slot(Slot& slot) {
  free(slot.record);
  slot = {};
}

}  // namespace

void release_record_5(parsed_cmc& cmc) { c_release(cmc.record_5); }
void release_record_6(parsed_cmc& cmc) { release_slot(cmc.record_6); }
void release_record_7(parsed_cmc& cmc) { c_release(cmc.record_7); }
void release_record_8(parsed_cmc& cmc) { c_release(cmc.record_8); }
void release_record_16(parsed_cmc& cmc) { release_slot(cmc.record_16); }
void release_record_17(parsed_cmc& cmc) { release_slot(cmc.record_17); }
void release_record_18(parsed_cmc& cmc) { release_slot(cmc.record_18); }
void release_record_19(parsed_cmc& cmc) { release_slot(cmc.record_19); }
void release_record_20(parsed_cmc& cmc) { release_slot(cmc.record_20); }
void release_record_21(parsed_cmc& cmc) { c_release(cmc.record_21); }
void release_record_23(parsed_cmc& cmc) { c_release(cmc.record_23); }

uint32_t decode_record_5(record_copy record, parsed_cmc& cmc, const calibration*) {
  return keep_whole(record, cmc, &parsed_cmc::record_5, 16);
}

uint32_t decode_record_7(record_copy record, parsed_cmc& cmc, const calibration*) {
  return keep_whole(record, cmc, &parsed_cmc::record_7, 16);
}

uint32_t decode_record_8(record_copy record, parsed_cmc& cmc, const calibration*) {
  return keep_whole(record, cmc, &parsed_cmc::record_8, 0);
}

uint32_t decode_record_21(record_copy record, parsed_cmc& cmc, const calibration*) {
  return keep_whole(record, cmc, &parsed_cmc::record_21, 16);
}

uint32_t decode_record_23(record_copy record, parsed_cmc& cmc, const calibration*) {
  return keep_whole(record, cmc, &parsed_cmc::record_23, 24);
}

// Record 6:
//    12  u8   counts[4]
//    16  u16  values[], counts[0] + ... + counts[3] of them
uint32_t decode_record_6(record_copy record, parsed_cmc& cmc, const calibration*) {
  release_record_6(cmc);
  uint64_t values = 0;
  for (uint64_t i = 0; i < 4; ++i) values += record.read<uint8_t>(12 + i);
  if (!record.holds_padded(2 * (8 + values))) {
    record.leak();
    return QO_CMC_OK;
  }
  cmc.record_6.payload = record.bytes() + 16;
  cmc.record_6.record = record.keep();
  return QO_CMC_OK;
}

// Record 16:
//    12  u16  count
//    14  count items of 4 bytes
uint32_t decode_record_16(record_copy record, parsed_cmc& cmc, const calibration*) {
  release_record_16(cmc);
  const uint64_t count = record.read<uint16_t>(12);
  // Contract: the payload's address is stored whether or not the copy is; it points into the copy
  // that is leaked. A record that ends before it has none.
  if (record.holds(14)) cmc.record_16.payload = record.bytes() + 14;
  if (record.holds_padded(14 + 4 * count))
    cmc.record_16.record = record.keep();
  else
    record.leak();
  return QO_CMC_OK;
}

uint32_t decode_record_17(record_copy record, parsed_cmc& cmc, const calibration*) {
  release_record_17(cmc);
  if (!record.holds(16)) {
    record.leak();
    return QO_CMC_OK;
  }
  cmc.record_17.payload =
      record.version() >= version_101 ? record.bytes() + record_17_layout::payload : nullptr;
  cmc.record_17.record = record.keep();
  return QO_CMC_OK;
}

// Record 18:
//     8  u16  count
//    10  count entries of 84 bytes
//     -  tail, version >= 101
uint32_t decode_record_18(record_copy record, parsed_cmc& cmc, const calibration*) {
  release_record_18(cmc);
  const uint64_t tail = 10 + uint64_t{84} * record.read<uint16_t>(8);
  if (!record.holds_padded(tail)) {
    record.leak();
    return QO_CMC_OK;
  }
  cmc.record_18.entries = record.bytes() + 10;
  cmc.record_18.tail = record.version() >= version_101 ? record.bytes() + tail : nullptr;
  cmc.record_18.record = record.keep();
  return QO_CMC_OK;
}

uint32_t decode_record_19(record_copy record, parsed_cmc& cmc, const calibration*) {
  namespace layout = record_19_layout;
  release_record_19(cmc);
  const uint64_t tail =
      layout::entries + layout::entry_size * record.read<uint16_t>(layout::entry_count);
  const uint64_t tail_count = record.read<uint16_t>(layout::tail_count);
  if (!record.holds_padded(tail + layout::tail_entry_size * tail_count)) {
    record.leak();
    return QO_CMC_OK;
  }
  cmc.record_19.entries = record.bytes() + layout::entries;
  cmc.record_19.tail = record.bytes() + tail;
  cmc.record_19.record = record.keep();
  return QO_CMC_OK;
}

uint32_t decode_record_20(record_copy record, parsed_cmc& cmc, const calibration*) {
  namespace layout = record_20_layout;
  release_record_20(cmc);
  if (!record.holds(16)) {
    record.leak();
    return QO_CMC_OK;
  }
  // Older versions lack the value; its readers find the default in its place.
  if (record.version() <= version_100) record.bytes()[layout::value_13] = 8;
  if (record.version() >= version_102 && record.holds(layout::entries)) {
    cmc.record_20.payload = record.bytes() + layout::list;
    // The layout asks for 4 bytes more than the list takes, unpadded.
    if (record.holds(layout::entry_size * record.read<uint16_t>(layout::list_count) + 24))
      cmc.record_20.tail = record.bytes() + layout::entries;
  }
  cmc.record_20.record = record.keep();
  return QO_CMC_OK;
}

}  // namespace qo
