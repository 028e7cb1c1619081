// Record kind 3: the older form of record 31, whose slot it fills.

#include "cmc_parser/records/decoders.h"

#include "base/c_heap.h"
#include "cmc_parser/fixed_point.h"

// Record 3, the older form of record 31:
//     8  u32  count
//    12  count entries of 16 bytes:
//          0  u32  word, copied as it is
//          4  u32  16.16
//          8  u16  8.8, four times

namespace qo {
namespace {

constexpr extent entries_offset = 12;
constexpr extent source_entry_size = 16;
constexpr extent table_head_size = 24;
constexpr extent entry_size = size_of<float[18]>;

void convert_entry(const record_copy& record, extent offset, float* entry) {
  const uint32_t word = record.read<uint32_t>(offset);
  memcpy(&entry[0], &word, sizeof word);
  entry[1] = from_16_16(record.read<uint32_t>(offset + 4));
  entry[2] = from_8_8(record.read<uint16_t>(offset + 8));
  entry[3] = from_8_8(record.read<uint16_t>(offset + 10));
  entry[6] = from_8_8(record.read<uint16_t>(offset + 12));
  entry[7] = from_8_8(record.read<uint16_t>(offset + 14));
}

}  // namespace

decode_result decode_record_3(record_copy record, parsed_cmc& cmc, const calibration*) {
  if (cmc.record_31 != nullptr) return record.drop(reason::record_superseded);
  const uint32_t count = record.read<uint32_t>(8);
  // The layout asks for 4 bytes more than the entries take.
  if (!record.require(source_entry_size * extent(count) + 16)) return record.drop_as_too_short();

  const uint64_t table_size = (table_head_size + entry_size * extent(count)).value();
  uint8_t* const block = c_new_array<uint8_t>(table_size);
  if (block == nullptr) return record.drop(reason::out_of_memory);
  float* const entries = reinterpret_cast<float*>(block + table_head_size.value());
  for (uint32_t i = 0; i < count; ++i)
    convert_entry(record, entries_offset + source_entry_size * extent(i),
                  entries + 18 * uint64_t{i});

  record_31_table* const table = reinterpret_cast<record_31_table*>(block);
  table->header = {static_cast<uint32_t>(table_size), version_100, 0, 31};
  table->count = count;
  table->entries = reinterpret_cast<const float(*)[18]>(entries);
  cmc.record_31 = &table->header;
  return record.filled();
}

}  // namespace qo
