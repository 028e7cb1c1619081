// Record kind 25: entries as addresses into the copy.

#include "cmc_parser/records/decoders.h"

#include "base/c_heap.h"
#include "cmc_parser/record_reader.h"

// Record 25:
//     8  u16  n
//    10  u16  j
//    12  j values of 4 bytes
//     -  n entries: 20 bytes (24 from version 101), two blocks of 16 bytes, u32, j items of 36
//     bytes

namespace qo {
namespace {

constexpr extent payload_offset = 12;
constexpr extent copied_size = 36;
constexpr extent item_size = 36;
constexpr size_t copied_offset = offsetof(record_25_entry, block_first);
static_assert(offsetof(record_25_entry, padding_44) == copied_offset + copied_size.value());

}  // namespace

void release_record_25(parsed_cmc& cmc) {
  // Contract: entries whose record is missing stay allocated.
  if (cmc.record_25.record == nullptr) return;
  free(cmc.record_25.entries);
  free(cmc.record_25.record);
  cmc.record_25 = {};
}

decode_result decode_record_25(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.record_25.record);
  release_record_25(cmc);
  const uint16_t entry_count = record.read<uint16_t>(8);
  const extent items_size = item_size * record.read<uint16_t>(10);
  const extent first_entry = payload_offset + extent(4) * record.read<uint16_t>(10);
  const extent skipped = record.version() > version_100 ? extent(24) : extent(20);
  if (!record.require(first_entry + entry_count * (skipped + copied_size + items_size)))
    return record.drop_as_too_short();

  record_25_entry* const entries = c_new_array<record_25_entry>(entry_count);
  if (entries == nullptr) {
    record.lose(reason::part_out_of_memory);
  } else {
    record_reader reader(record, first_entry);
    for (uint16_t i = 0; i < entry_count; ++i) {
      entries[i].start = reader.take(skipped);
      memcpy(reinterpret_cast<uint8_t*>(&entries[i]) + copied_offset, reader.take(copied_size),
             copied_size.value());
      entries[i].items = record.at(reader.offset());
      reader.skip(items_size);
    }
  }
  cmc.record_25.payload = record.at(payload_offset);
  cmc.record_25.entries = entries;
  cmc.record_25.record = record.keep();
  return record.filled();
}

}  // namespace qo
