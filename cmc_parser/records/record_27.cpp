// Record kind 27: entries with three planes each.

#include "cmc_parser/records/decoders.h"

#include "base/c_heap.h"
#include "base/load.h"
#include "cmc_parser/missing_destination.h"
#include "cmc_parser/record_reader.h"

// Record 27:
//    24  u16  n
//    26  u16  p, planes an entry, at most 3
//    28  u16  w
//    30  u16  h
//    32  n entries: 20 bytes, p planes of u16[w h]
//     -  n entries of 16 bytes, version >= 101

namespace qo {
namespace {

constexpr uint16_t count_offset = 24;
constexpr extent entries_offset = 32;
constexpr extent entry_head_size = 20;
constexpr extent tail_entry_size = 16;
constexpr extent planes_of_entry = 3;

/// Releases what the entries own, and the entries.
/// Contract: of an entry the planes go first.
void free_entries(record_27_content& content, uint16_t count) {
  if (content.entries == nullptr) return;
  for (uint16_t i = 0; i < count; ++i) {
    free(content.entries[i].planes);
    free(content.entries[i].head);
  }
  c_release(content.entries);
}

/// Copies head and planes of every entry; false, with the message, when there is no memory.
[[nodiscard]] bool copy_entries(record_reader& reader, record_27_entry* entries, uint16_t count,
                                extent plane_values, extent planes_size) {
  const extent values = planes_of_entry * plane_values;
  const uint64_t unused_size = (size_of<uint16_t> * values).value() - planes_size.value();
  for (uint16_t i = 0; i < count; ++i) {
    entries[i].head = c_copy_array<uint8_t>(reader.take(entry_head_size), entry_head_size.value());
    if (entries[i].head == nullptr) return false;
    entries[i].planes = c_new_array_to_fill<uint16_t>(values.value());
    if (entries[i].planes == nullptr) return false;
    uint8_t* const planes = reinterpret_cast<uint8_t*>(entries[i].planes);
    memcpy(planes, reader.take(planes_size), planes_size.value());
    memset(planes + planes_size.value(), 0, unused_size);
  }
  return true;
}

}  // namespace

void release_record_27(parsed_cmc& cmc) {
  record_27_content* const content = cmc.record_27;
  // Contract: a structure whose copy is missing stays allocated, since nothing says how many
  // entries it has.
  if (content == nullptr || content->record == nullptr) return;
  free_entries(*content, load<uint16_t>(content->record, count_offset));
  free(content->record);
  c_release(cmc.record_27);
}

decode_result decode_record_27(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.record_27);
  release_record_27(cmc);
  if (!record.require(entries_offset)) return record.drop_as_too_short();
  const uint16_t count = record.read<uint16_t>(count_offset);
  const extent planes = record.read<uint16_t>(26);
  const extent plane_values = extent(record.read<uint16_t>(28)) * record.read<uint16_t>(30);
  const extent planes_size = size_of<uint16_t> * plane_values * planes;
  // The blocks hold three planes. Without a plane in the record nothing bounds their size, so that
  // one plane an entry must still be within the record's.
  if (planes_of_entry < planes) return record.drop(reason::too_many_planes);
  if (planes == 0 && !record.require(count * size_of<uint16_t> * plane_values))
    return record.drop_as_too_short();
  const extent end = entries_offset + count * (entry_head_size + planes_size);
  const bool has_tail = record.version() >= version_101;
  if (!record.require(end)) return record.drop_as_too_short();
  if (has_tail && !record.require_padded(end + tail_entry_size * count))
    return record.drop_as_too_short();

  heap_ptr<record_27_content> content(c_new<record_27_content>());
  if (content == nullptr) return record.drop(reason::out_of_memory);
  content->entries = c_new_array<record_27_entry>(count);
  record_reader reader(record, entries_offset);
  if (content->entries == nullptr ||
      !copy_entries(reader, content->entries, count, plane_values, planes_size)) {
    log_null_destination();
    free_entries(*content, count);
    return record.drop(reason::out_of_memory);
  }
  content->tail = has_tail ? record.at(end) : nullptr;
  content->record = record.keep();
  cmc.record_27 = content.release();
  return record.filled();
}

}  // namespace qo
