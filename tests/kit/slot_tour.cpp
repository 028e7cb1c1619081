#include "tests/kit/slot_tour.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace kit {
namespace {

class tourist {
 public:
  explicit tourist(slot_tour& tour) : tour_(tour) {}

  void read(const void* bytes, uint64_t count) {
    const auto* const from = static_cast<const uint8_t*>(bytes);
    for (uint64_t i = 0; i < count; ++i) tour_.digest = (tour_.digest ^ from[i]) * 1099511628211u;
  }
  template <typename T>
  void value(const T& number) {
    read(&number, sizeof number);
  }
  void string(const char* text) { read(text, strlen(text) + 1); }

  /// Notes the owned block and whether there is one.
  bool own(const void* block) {
    value(uint8_t{block != nullptr});
    if (block != nullptr) tour_.owned.push_back(block);
    return block != nullptr;
  }
  /// An owned array; false when it is missing.
  bool own_array(uint16_t kind, const void* array, uint64_t count) {
    if (!own(array) && count != 0) tour_.incomplete.push_back(kind);
    return array != nullptr;
  }
  template <typename T>
  void own_values(uint16_t kind, const T* array, uint64_t count) {
    if (own_array(kind, array, count)) read(array, sizeof(T) * count);
  }
  /// A kept copy, all of it.
  bool own_copy(const record_header* copy) {
    if (!own(copy)) return false;
    read(copy, copy->size);
    return true;
  }
  /// An address into a copy, with what stands there.
  void borrowed(const uint8_t* place, uint64_t count) {
    value(uint8_t{place != nullptr});
    if (place != nullptr) read(place, count);
  }

 private:
  slot_tour& tour_;
};

uint16_t u16_in(const record_header* record, size_t offset) {
  uint16_t number;
  memcpy(&number, reinterpret_cast<const uint8_t*>(record) + offset, sizeof number);
  return number;
}

uint8_t u8_in(const record_header* record, size_t offset) {
  return reinterpret_cast<const uint8_t*>(record)[offset];
}

/// Bytes from a place in a copy to the copy's end.
uint64_t rest_from(const record_header* record, const uint8_t* place) {
  if (place == nullptr) return 0;
  return record->size - static_cast<uint64_t>(place - reinterpret_cast<const uint8_t*>(record));
}

void visit_general(tourist& t, const parsed_cmc& cmc) {
  t.value(cmc.general.pair_count);
  if (t.own_copy(cmc.general.record)) t.string(cmc.general.name);
  if (!t.own_array(1, cmc.general.pairs, cmc.general.pair_count)) return;
  for (unsigned i = 0; i < cmc.general.pair_count; ++i) {
    t.string(cmc.general.pairs[i].key);
    t.string(cmc.general.pairs[i].value);
  }
}

void visit_kept(tourist& t, const parsed_cmc& cmc) {
  for (const record_header* const copy : {cmc.record_5, cmc.record_7, cmc.record_8, cmc.record_9,
                                          cmc.record_21, cmc.record_23, cmc.record_32})
    t.own_copy(copy);
  if (const record_header* const copy = cmc.record_6.record; t.own_copy(copy))
    t.borrowed(cmc.record_6.payload, uint64_t{2} * u8_in(copy, 12) + uint64_t{2} * u8_in(copy, 13) +
                                         uint64_t{2} * u8_in(copy, 14) +
                                         uint64_t{2} * u8_in(copy, 15));
  if (const record_header* const copy = cmc.lsc_grid.record; t.own_copy(copy)) {
    const uint64_t lights = u16_in(copy, 10);
    const uint64_t samples = uint64_t{u16_in(copy, 12)} * u16_in(copy, 14);
    t.borrowed(cmc.lsc_grid.blocks, lights * 8 * (samples + 1));
    t.borrowed(cmc.lsc_grid.first_table, lights != 0 ? 8 * samples : 0);
    t.borrowed(cmc.lsc_grid.light_gains, 4 * lights);
  }
  if (const record_header* const copy = cmc.record_14.record; t.own_copy(copy))
    t.borrowed(cmc.record_14.payload,
               (uint64_t{u16_in(copy, 10)} - u16_in(copy, 8)) / u16_in(copy, 12) * 8);
  if (const record_header* const copy = cmc.record_16.record; t.own_copy(copy))
    t.borrowed(cmc.record_16.payload, uint64_t{4} * u16_in(copy, 12));
  if (const record_header* const copy = cmc.record_17.record; t.own_copy(copy))
    t.borrowed(cmc.record_17.payload, rest_from(copy, cmc.record_17.payload));
  if (const record_header* const copy = cmc.record_18.record; t.own_copy(copy)) {
    t.borrowed(cmc.record_18.entries, uint64_t{84} * u16_in(copy, 8));
    t.borrowed(cmc.record_18.tail, rest_from(copy, cmc.record_18.tail));
  }
  if (const record_header* const copy = cmc.record_19.record; t.own_copy(copy)) {
    t.borrowed(cmc.record_19.entries, uint64_t{28} * u16_in(copy, 12));
    t.borrowed(cmc.record_19.tail, uint64_t{8} * u16_in(copy, 14));
  }
  if (const record_header* const copy = cmc.record_20.record; t.own_copy(copy)) {
    t.borrowed(cmc.record_20.payload, rest_from(copy, cmc.record_20.payload));
    if (cmc.record_20.tail != nullptr)
      t.borrowed(cmc.record_20.tail, uint64_t{8} * u16_in(copy, 16));
  }
}

void visit_record_13(tourist& t, const parsed_cmc& cmc) {
  for (const uint16_t param : cmc.record_13.params) t.value(param);
  if (!t.own_copy(cmc.record_13.record)) return;
  t.own_values(13, cmc.record_13.values, u16_in(cmc.record_13.record, 70));
}

void visit_record_15(tourist& t, const parsed_cmc& cmc) {
  const auto& slot = cmc.record_15;
  t.value(slot.counts.a);
  t.value(slot.counts.b);
  if (t.own_copy(slot.record)) {
    t.borrowed(slot.body, 0);
    for (const uint8_t* const section : {slot.body, slot.section_1, slot.section_2})
      t.borrowed(section, uint64_t{8} * slot.counts.a);
    t.borrowed(slot.section_3, uint64_t{8} * slot.counts.b);
  }
  const record_15_sub_table* const table = slot.sub_table;
  if (!t.own(table)) return;
  t.value(table->count);
  if (!t.own_array(15, table->entries, table->count)) return;
  for (unsigned i = 0; i < table->count; ++i) {
    const record_15_entry& entry = table->entries[i];
    t.value(entry.value_0);
    t.value(entry.value_8);
    t.own_values(15, entry.array_first, entry.value_8 >> 16);
    t.own_values(15, entry.array_second, entry.value_8 >> 16);
  }
}

void visit_record_22(tourist& t, const record_22_content* content) {
  if (!t.own(content)) return;
  t.read(content, offsetof(record_22_content, grid));
  const uint64_t points = static_cast<uint64_t>(int64_t{content->width} * content->height);
  if (t.own_array(22, content->grid, content->grid_count) && content->grid_count != 0) {
    t.own(content->grid[0].first_half);
    for (unsigned i = 0; i < content->grid_count; ++i) {
      t.value(content->grid[i].tag);
      t.read(content->grid[i].first_half, 4 * points);
      t.read(content->grid[i].second_half, 4 * points);
    }
  }
  const auto at_least_0 = [](int32_t count) { return static_cast<uint64_t>(std::max(count, 0)); };
  t.own_values(22, content->items, at_least_0(content->item_count) * record_22_item_size);
  t.value(content->value_list);
  t.value(content->list_count);
  const uint64_t entries = at_least_0(content->list_count);
  if (t.own_array(22, content->list, entries)) {
    for (uint64_t i = 0; i < entries; ++i) {
      t.read(&content->list[i], offsetof(record_22_list_entry, values));
      t.own_values(22, content->list[i].values, content->list[i].count);
    }
  }
  t.own_values(22, content->list_tail, entries * record_22_list_tail_size);
}

void visit_record_24(tourist& t, const record_24_content* content) {
  if (!t.own(content)) return;
  t.read(content, offsetof(record_24_content, entries));
  if (!t.own_array(24, content->entries, content->count)) return;
  for (unsigned i = 0; i < content->count; ++i) {
    t.read(&content->entries[i], offsetof(record_24_entry, values));
    t.own_values(24, content->entries[i].values, content->entries[i].count);
  }
}

void visit_record_25(tourist& t, const parsed_cmc& cmc) {
  const record_header* const copy = cmc.record_25.record;
  if (!t.own_copy(copy)) return;
  const uint16_t count = u16_in(copy, 8);
  const uint64_t items = u16_in(copy, 10);
  t.borrowed(cmc.record_25.payload, 4 * items);
  if (!t.own_array(25, cmc.record_25.entries, count)) return;
  for (unsigned i = 0; i < count; ++i) {
    const record_25_entry& entry = cmc.record_25.entries[i];
    t.borrowed(entry.start, 20);
    t.read(entry.block_first, 36);
    t.borrowed(entry.items, 36 * items);
  }
}

void visit_record_27(tourist& t, const record_27_content* content) {
  if (!t.own(content) || !t.own_copy(content->record)) return;
  const uint16_t count = u16_in(content->record, 24);
  const uint64_t samples = uint64_t{u16_in(content->record, 28)} * u16_in(content->record, 30);
  t.borrowed(content->tail, uint64_t{16} * count);
  if (!t.own_array(27, content->entries, count)) return;
  for (unsigned i = 0; i < count; ++i) {
    t.own_values(27, content->entries[i].head, 20);
    t.own_values(27, content->entries[i].planes, 3 * samples);
  }
}

void visit_grids(tourist& t, const parsed_cmc& cmc) {
  if (const record_29_content* const content = cmc.record_29; t.own(content)) {
    const uint64_t samples = uint64_t{content->width} * content->height;
    t.read(content, 20);
    t.own_array(29, content->planes[0], samples);
    for (const float* const plane : content->planes) t.read(plane, sizeof(float) * samples);
  }
  if (const record_30_content* const content = cmc.record_30; t.own(content)) {
    t.read(content, offsetof(record_30_content, items));
    t.own_values(30, content->items, uint64_t{6} * content->item_count);
    t.own_values(30, content->grid, uint64_t{content->grid_width} * content->grid_height);
    t.own_values(30, content->trailing,
                 uint64_t{content->trailing_rows} * content->trailing_columns);
  }
}

template <typename Light>
void visit_lights(tourist& t, const lens_shading_set& set, const Light* lights) {
  if (!t.own_array(set.id, lights, set.light_count)) return;
  for (unsigned i = 0; i < set.light_count; ++i) {
    t.read(&lights[i], offsetof(Light, fraction_bits) + sizeof(uint16_t));
    for (const auto& row : lights[i].tables)
      for (const uint16_t* const table : row)
        t.own_values(set.id, table, table != nullptr ? uint64_t{set.width} * set.height : 0);
  }
}

void visit_lens_shading(tourist& t, const parsed_cmc& cmc) {
  if (const lens_shading_set* const set = cmc.lens_shading; t.own(set)) {
    t.read(set, offsetof(lens_shading_set, lights));
    visit_lights(t, *set, set->lights);
  }
  if (const lens_shading_set* const set = cmc.lens_shading_ext; t.own(set)) {
    t.read(set, offsetof(lens_shading_set, lights));
    visit_lights(t, *set, set->lights_ext);
    for (unsigned i = 0; set->lights_ext != nullptr && i < set->light_count; ++i)
      t.value(set->lights_ext[i].aux);
  }
}

/// Decoded in place: where the copy holds addresses, what they lead to is read instead.
void visit_decoded(tourist& t, const parsed_cmc& cmc) {
  if (t.own(cmc.record_31)) {
    const auto* const table = reinterpret_cast<const record_31_table*>(cmc.record_31);
    t.read(table, 12);
    if (table->entries != nullptr) t.read(table->entries, uint64_t{72} * table->count);
  }
  if (t.own(cmc.record_34)) {
    const auto* const table = reinterpret_cast<const record_34_table*>(cmc.record_34);
    t.read(table, 12);
    for (uint32_t i = 0; table->blocks != nullptr && i < table->block_count; ++i) {
      const auto* const place = reinterpret_cast<const uint8_t*>(table->blocks) + 40 * uint64_t{i};
      record_34_block block;
      memcpy(&block, place, sizeof block);
      t.read(&block, 16);
      const auto arrays = {std::pair<const void*, uint64_t>{block.long_entries, 32},
                           std::pair<const void*, uint64_t>{block.short_entries, 8}};
      uint64_t count = block.long_count;
      for (const auto& [array, size] : arrays) {
        if (array != nullptr) t.read(array, size * count);
        count = block.short_count;
      }
      if (block.tail != nullptr) t.read(block.tail, 8);
    }
  }
}

void visit_small(tourist& t, const parsed_cmc& cmc) {
  if (t.own(cmc.module_properties)) t.value(*cmc.module_properties);
  if (t.own(cmc.record_26)) t.value(*cmc.record_26);
  if (const record_35_first* const content = cmc.record_35.first; t.own(content)) {
    t.read(content, 9);
    t.value(content->value_12);
    t.own_values(35, content->array_a, content->count + 1u);
    t.own_values(35, content->array_b, content->count + 1u);
    t.own_values(35, content->array_c, content->count);
  }
  if (const record_35_second* const content = cmc.record_35.second; t.own(content)) {
    t.read(content, 9);
    t.value(content->value_12);
    t.own_values(35, content->array_b, content->count + 1u);
    t.own_values(35, content->array_a, content->count + 1u);
    t.own_values(35, content->array_d, content->count);
  }
  if (const record_36_content* const content = cmc.record_36; t.own(content)) {
    t.read(content, offsetof(record_36_content, padding_14));
    t.own_values(36, content->array_16, content->count);
    t.own_values(36, content->array_32, content->count);
  }
}

}  // namespace

bool slot_tour::owns(const void* block) const {
  return std::find(owned.begin(), owned.end(), block) != owned.end();
}

bool slot_tour::owns_each_once() const {
  std::vector<const void*> blocks = owned;
  std::sort(blocks.begin(), blocks.end());
  return std::adjacent_find(blocks.begin(), blocks.end()) == blocks.end();
}

slot_tour tour_of(const parsed_cmc& cmc) {
  slot_tour tour;
  tourist t(tour);
  visit_general(t, cmc);
  visit_kept(t, cmc);
  visit_record_13(t, cmc);
  visit_record_15(t, cmc);
  visit_record_22(t, cmc.record_22);
  visit_record_24(t, cmc.record_24);
  visit_record_25(t, cmc);
  visit_record_27(t, cmc.record_27);
  visit_grids(t, cmc);
  visit_lens_shading(t, cmc);
  visit_decoded(t, cmc);
  visit_small(t, cmc);
  return tour;
}

}  // namespace kit
