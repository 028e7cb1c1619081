// Record kinds 5 to 8, 16 to 21 and 23: the slot is the record copy itself and addresses into it.

#include "cmc_parser/records/decoders.h"

#include "base/c_heap.h"
#include "cmc_parser/records/kept_layouts.h"

namespace qo {
namespace {

/// 5, 7, 8, 21, 23: nothing but the copy, when the record has `minimum_size` bytes.
[[nodiscard]] decode_result keep_whole(record_copy& record, parsed_cmc& cmc, header_slot slot,
                                       extent minimum_size) {
  record.replaces(cmc.*slot);
  c_release(cmc.*slot);
  if (!record.require(minimum_size)) return record.leak_as_too_short();
  cmc.*slot = record.keep();
  return record.filled();
}

/// Releases the copy of a slot that has more than one member, and empties all of them.
template <typename Slot>
void release_slot(Slot& slot) {
  free(slot.record);
  slot = {};
}

/// Record 20: the list, whose address is stored only when all of it is there.
void index_list(record_copy& record, decltype(parsed_cmc::record_20)& slot) {
  namespace layout = record_20_layout;
  constexpr uint16_t form_of_entries = 1;
  if (!record.require(layout::entries)) return record.lose(reason::list_lost);
  slot.payload = record.at(layout::list);
  const uint16_t count = record.read<uint16_t>(layout::list_count);
  // The layout asks for 4 bytes more than the list takes, unpadded.
  const extent end = extent(layout::entry_size) * count + 24;
  if (record.reaches(end)) {
    slot.tail = record.at(layout::entries);
  } else if (record.read<uint16_t>(layout::list) == form_of_entries && count != 0) {
    // Of another form, or empty, the list is not missed.
    (void)record.require(end);
    record.lose(reason::list_lost);
  }
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

decode_result decode_record_5(record_copy record, parsed_cmc& cmc, const calibration*) {
  return keep_whole(record, cmc, &parsed_cmc::record_5, 16);
}

decode_result decode_record_7(record_copy record, parsed_cmc& cmc, const calibration*) {
  return keep_whole(record, cmc, &parsed_cmc::record_7, 16);
}

decode_result decode_record_8(record_copy record, parsed_cmc& cmc, const calibration*) {
  return keep_whole(record, cmc, &parsed_cmc::record_8, 0);
}

decode_result decode_record_21(record_copy record, parsed_cmc& cmc, const calibration*) {
  return keep_whole(record, cmc, &parsed_cmc::record_21, 16);
}

decode_result decode_record_23(record_copy record, parsed_cmc& cmc, const calibration*) {
  return keep_whole(record, cmc, &parsed_cmc::record_23, 24);
}

// Record 6:
//    12  u8   counts[4]
//    16  u16  values[], counts[0] + ... + counts[3] of them
decode_result decode_record_6(record_copy record, parsed_cmc& cmc, const calibration*) {
  constexpr extent counts_offset = 12;
  constexpr extent values_offset = 16;
  record.replaces(cmc.record_6.record);
  release_record_6(cmc);
  extent values;
  for (uint8_t i = 0; i < 4; ++i) values = values + record.read<uint8_t>(counts_offset + i);
  if (!record.require_padded(values_offset + size_of<uint16_t> * values))
    return record.leak_as_too_short();
  cmc.record_6.payload = record.at(values_offset);
  cmc.record_6.record = record.keep();
  return record.filled();
}

// Record 16:
//    12  u16  count
//    14  count items of 4 bytes
decode_result decode_record_16(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.record_16.record);
  release_record_16(cmc);
  constexpr extent payload_offset = 14;
  const extent count = record.read<uint16_t>(12);
  // Contract: the payload's address is stored whether or not the copy is; it points into the copy
  // that is leaked. A record that ends before it has none.
  if (record.reaches(payload_offset)) cmc.record_16.payload = record.at(payload_offset);
  if (!record.require_padded(payload_offset + 4 * count)) return record.leak_as_too_short();
  cmc.record_16.record = record.keep();
  return record.filled();
}

decode_result decode_record_17(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.record_17.record);
  release_record_17(cmc);
  if (!record.require(16)) return record.leak_as_too_short();
  cmc.record_17.payload =
      record.version() >= version_101 ? record.at(record_17_layout::payload) : nullptr;
  cmc.record_17.record = record.keep();
  return record.filled();
}

// Record 18:
//     8  u16  count
//    10  count entries of 84 bytes
//     -  tail, version >= 101
decode_result decode_record_18(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.record_18.record);
  release_record_18(cmc);
  constexpr extent entries_offset = 10;
  constexpr extent entry_size = 84;
  const extent tail = entries_offset + entry_size * record.read<uint16_t>(8);
  if (!record.require_padded(tail)) return record.leak_as_too_short();
  cmc.record_18.entries = record.at(entries_offset);
  cmc.record_18.tail = record.version() >= version_101 ? record.at(tail) : nullptr;
  cmc.record_18.record = record.keep();
  return record.filled();
}

decode_result decode_record_19(record_copy record, parsed_cmc& cmc, const calibration*) {
  namespace layout = record_19_layout;
  record.replaces(cmc.record_19.record);
  release_record_19(cmc);
  const extent tail =
      layout::entries + extent(layout::entry_size) * record.read<uint16_t>(layout::entry_count);
  const extent tail_count = record.read<uint16_t>(layout::tail_count);
  if (!record.require_padded(tail + layout::tail_entry_size * tail_count))
    return record.leak_as_too_short();
  cmc.record_19.entries = record.at(layout::entries);
  cmc.record_19.tail = record.at(tail);
  cmc.record_19.record = record.keep();
  return record.filled();
}

decode_result decode_record_20(record_copy record, parsed_cmc& cmc, const calibration*) {
  namespace layout = record_20_layout;
  record.replaces(cmc.record_20.record);
  release_record_20(cmc);
  if (!record.require(16)) return record.leak_as_too_short();
  // Older versions lack the value; its readers find the default in its place.
  if (record.version() <= version_100) record.bytes()[layout::value_13] = 8;
  if (record.version() >= version_102) index_list(record, cmc.record_20);
  cmc.record_20.record = record.keep();
  return record.filled();
}

}  // namespace qo
