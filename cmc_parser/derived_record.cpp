#include "cmc_parser/derived_record.h"

#include <cstring>

#include "base/c_heap.h"
#include "base/load.h"
#include "cmc_parser/fixed_point.h"
#include "cmc_parser/records/kept_layouts.h"

namespace qo {
namespace {

static_assert(record_19_layout::tail_entry_size == record_20_layout::entry_size);
constexpr uint16_t source_short_entry_size = record_20_layout::entry_size;
constexpr uint32_t tail_size = 4 * sizeof(uint16_t);
constexpr uint8_t base_version = 100;
constexpr uint16_t derived_kind = 34;

enum block_kind : uint32_t { from_record_19 = 0, from_record_20 = 1 };
enum block_form : uint32_t { list_form = 2, tail_form = 3 };

/// What is read of a kept record 19.
struct source_19 {
  bool present = false;
  uint16_t parameter = 0;
  uint16_t long_count = 0;
  uint16_t short_count = 0;
};

/// What is read of a kept record 20.
struct source_20 {
  bool present = false;
  uint16_t tail[4] = {};
  bool has_list = false;    ///< a list of entries, which may be empty
  uint16_t list_count = 0;  ///< whatever the list's form
};

[[nodiscard]] source_19 read_source_19(const parsed_cmc& cmc) {
  namespace layout = record_19_layout;
  const record_header* const record = cmc.record_19.record;
  if (record == nullptr) return {};
  return {true, load<uint16_t>(record, layout::parameter),
          load<uint16_t>(record, layout::entry_count), load<uint16_t>(record, layout::tail_count)};
}

[[nodiscard]] source_20 read_source_20(const parsed_cmc& cmc) {
  namespace layout = record_20_layout;
  const record_header* const record = cmc.record_20.record;
  if (record == nullptr) return {};
  source_20 source = {
      true,
      {load<uint16_t>(record, layout::value_8), load<uint16_t>(record, layout::value_10),
       load<uint8_t>(record, layout::value_12), load<uint8_t>(record, layout::value_13)}};
  if (cmc.record_20.payload != nullptr) {
    source.has_list = load<uint16_t>(record, layout::list) == 1;
    source.list_count = load<uint16_t>(record, layout::list_count);
  }
  // A list that the record is too short for makes the record count as absent.
  if (source.has_list && source.list_count > 0 && cmc.record_20.tail == nullptr) return {};
  return source;
}

[[nodiscard]] record_34_long_entry convert_long_entry(const uint8_t* source) {
  record_34_long_entry entry = {};
  entry.value_0 = from_16_16(load<uint32_t>(source, 0));
  entry.value_4 = from_16_16(load<uint32_t>(source, 4));
  memcpy(entry.values_8, source + 8, sizeof entry.values_8);
  memcpy(entry.values_20, source + 20, sizeof entry.values_20);
  return entry;
}

[[nodiscard]] record_34_short_entry convert_short_entry(const uint8_t* source) {
  return {from_16_16(load<uint32_t>(source, 0)), load<uint32_t>(source, 4)};
}

/// Hands out the data area after the blocks, front to back.
class data_area {
 public:
  explicit data_area(uint8_t* start) : next_(start) {}
  template <typename T>
  [[nodiscard]] T* take(uint32_t count) {
    T* const taken = reinterpret_cast<T*>(next_);
    next_ += sizeof(T) * count;
    return taken;
  }

 private:
  uint8_t* next_;
};

/// Null when there are none to convert.
[[nodiscard]] record_34_short_entry* convert_short_entries(const uint8_t* source, uint16_t count,
                                                           data_area& area) {
  if (count == 0) return nullptr;
  record_34_short_entry* const entries = area.take<record_34_short_entry>(count);
  for (uint32_t i = 0; i < count; ++i)
    entries[i] = convert_short_entry(source + source_short_entry_size * i);
  return entries;
}

void fill_block_from_19(const parsed_cmc& cmc, const source_19& source, record_34_block& block,
                        data_area& area) {
  block.kind = from_record_19;
  block.value_4 = source.parameter;
  block.long_count = source.long_count;
  block.short_count = source.short_count;
  if (source.long_count > 0) {
    block.long_entries = area.take<record_34_long_entry>(source.long_count);
    for (uint32_t i = 0; i < source.long_count; ++i)
      block.long_entries[i] =
          convert_long_entry(cmc.record_19.entries + record_19_layout::entry_size * i);
  }
  block.short_entries = convert_short_entries(cmc.record_19.tail, source.short_count, area);
}

void fill_block_from_20(const parsed_cmc& cmc, const source_20& source, record_34_block& block,
                        data_area& area) {
  block.kind = from_record_20;
  if (source.has_list) {
    block.value_4 = list_form;
    block.short_count = source.list_count;
    block.short_entries = convert_short_entries(cmc.record_20.tail, source.list_count, area);
  } else {
    block.value_4 = tail_form;
    block.tail = area.take<uint16_t>(4);
    memcpy(block.tail, source.tail, sizeof source.tail);
  }
}

}  // namespace

derivation_result synthesise_record_34(parsed_cmc& cmc) {
  if (cmc.record_34 != nullptr) return {};
  const source_19 first = read_source_19(cmc);
  const source_20 second = read_source_20(cmc);
  const bool lacks_20 = cmc.record_20.record != nullptr && !second.present;
  const reason missing = lacks_20 ? reason::derived_without_record_20 : reason::none;
  if (!first.present && !second.present) return {false, missing};

  const uint32_t block_count = uint32_t{static_cast<uint32_t>(first.present)} +
                               uint32_t{static_cast<uint32_t>(second.present)};
  const uint32_t area_offset =
      static_cast<uint32_t>(sizeof(record_34_table) + sizeof(record_34_block) * block_count);
  uint32_t size = area_offset;
  size += static_cast<uint32_t>(sizeof(record_34_long_entry)) * first.long_count;
  size += static_cast<uint32_t>(sizeof(record_34_short_entry)) * first.short_count;
  // Deliberate: room for tail and list both, though a block never has both.
  if (second.present)
    size += tail_size + static_cast<uint32_t>(sizeof(record_34_short_entry)) * second.list_count;

  uint8_t* const bytes = c_new_array<uint8_t>(size);
  if (bytes == nullptr) return {false, reason::derived_out_of_memory};
  record_34_table* const table = reinterpret_cast<record_34_table*>(bytes);
  table->header = {size, base_version, 0, derived_kind};
  table->block_count = block_count;
  table->blocks = reinterpret_cast<record_34_block*>(bytes + sizeof(record_34_table));
  data_area area(bytes + area_offset);
  record_34_block* block = table->blocks;
  if (first.present) fill_block_from_19(cmc, first, *block++, area);
  if (second.present) fill_block_from_20(cmc, second, *block, area);
  cmc.record_34 = &table->header;
  return {true, missing};
}

}  // namespace qo
