// Record kind 15: four sections, kept, and a sub-table of arrays.

#include "cmc_parser/records/decoders.h"

#include "base/c_heap.h"
#include "cmc_parser/missing_destination.h"
#include "cmc_parser/record_reader.h"

// Record 15:
//     8  u16  a
//    10  u16  b
//    12  three sections of a items of 8 bytes, one of b items
//     -  u16  c, when the record goes on
//     -  c entries: u64, u32 (its upper half is j), u16[j], u16[j]

namespace qo {
namespace {

constexpr extent body_offset = 12;
constexpr extent item_size = 8;
constexpr extent entry_head_size = 12;

// Contract: what is owned is released in this order.
void free_sub_table(record_15_sub_table* table) {
  if (table == nullptr) return;
  if (table->entries != nullptr) {
    for (uint16_t i = 0; i < table->count; ++i) {
      free(table->entries[i].array_second);
      free(table->entries[i].array_first);
    }
    free(table->entries);
  }
  free(table);
}

using sub_table_ptr = std::unique_ptr<record_15_sub_table, deleter<free_sub_table>>;

/// A copy of `count` values at `values`, or null with the message of a missing destination.
[[nodiscard]] uint16_t* copy_values(const uint8_t* values, uint16_t count) {
  uint16_t* const copy = c_copy_array<uint16_t>(values, count);
  if (copy == nullptr) log_null_destination();
  return copy;
}

[[nodiscard]] bool read_entry(record_copy& record, record_reader& reader, record_15_entry& entry) {
  if (!record.require_padded(reader.offset() + entry_head_size)) return false;
  entry.value_0 = reader.read<uint64_t>();
  entry.value_8 = reader.read<uint32_t>();
  const uint16_t count = static_cast<uint16_t>(entry.value_8 >> 16);
  const extent array_size = size_of<uint16_t> * count;
  if (!record.require_padded(reader.offset() + 2 * array_size)) return false;
  entry.array_first = copy_values(reader.take(array_size), count);
  if (entry.array_first == nullptr) return false;
  entry.array_second = copy_values(reader.take(array_size), count);
  return entry.array_second != nullptr;
}

/// The sub-table at `offset`, or null when it does not fit or there is no memory for it.
[[nodiscard]] sub_table_ptr read_sub_table(record_copy& record, extent offset) {
  if (!record.require_padded(offset + size_of<uint16_t>)) return nullptr;
  record_reader reader(record, offset);
  const uint16_t count = reader.read<uint16_t>();
  // No room is reserved for entries that the record cannot hold.
  if (!record.require(reader.offset() + entry_head_size * count)) return nullptr;
  sub_table_ptr table(c_new<record_15_sub_table>());
  if (table != nullptr) table->entries = c_new_array<record_15_entry>(count);
  if (table == nullptr || table->entries == nullptr) {
    log_null_destination();
    return nullptr;
  }
  for (; table->count < count; ++table->count) {
    if (!read_entry(record, reader, table->entries[table->count])) {
      ++table->count;  // the entry that failed may hold its first array
      return nullptr;
    }
  }
  return table;
}

}  // namespace

void release_record_15(parsed_cmc& cmc) {
  free_sub_table(cmc.record_15.sub_table);
  free(cmc.record_15.record);
  cmc.record_15 = {};
}

decode_result decode_record_15(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.record_15.record);
  release_record_15(cmc);
  const uint16_t a = record.read<uint16_t>(8);
  const uint16_t b = record.read<uint16_t>(10);
  const extent items = extent(3) * a + b;
  // The layout asks for 4 bytes more than the sections take.
  if (!record.require(item_size * items + 16)) return record.leak_as_too_short();
  auto& slot = cmc.record_15;
  slot.sub_table = read_sub_table(record, body_offset + item_size * items).release();
  if (slot.sub_table == nullptr)
    record.lose(record.lacks_an_end() ? reason::sub_table_lost : reason::part_out_of_memory);
  slot.body = record.at(body_offset);
  slot.section_1 = record.at(body_offset + item_size * a);
  slot.section_2 = record.at(body_offset + 2 * item_size * a);
  slot.section_3 = record.at(body_offset + 3 * item_size * a);
  slot.counts.a = a;
  slot.counts.b = b;
  slot.record = record.keep();
  return record.filled();
}

}  // namespace qo
