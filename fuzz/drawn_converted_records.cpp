// Kinds of which the slot has a converted form.

#include <algorithm>
#include <cmath>
#include <utility>

#include "fuzz/drawn_record.h"
#include "writer/records.h"

namespace fuzz {
namespace {

using writer::bytes;

drawn_record into(uint16_t slot, bytes content,
                  std::function<void(const parsed_cmc&, const bytes&)> held,
                  bool only_into_empty = false) {
  return {content,
          {{slot, only_into_empty,
            [content, held = std::move(held)](const parsed_cmc& cmc) { held(cmc, content); }}}};
}

drawn_record draw_module_properties(input_reader& in) {
  writer::module_properties_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.value_12 = in.u16();
  fields.cfa_layout = in.u16();
  return into(2, writer::record_2(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    require(cmc.module_properties != nullptr);
    const module_properties_record& held = *cmc.module_properties;
    if (fields.version < 100) {
      const module_properties_record empty = {};
      return require(memcmp(&held, &empty, sizeof empty) == 0);
    }
    require_bytes(&held, record, 0, 12);
    require(held.value_12 == fields.value_12 && held.cfa_layout == fields.cfa_layout);
    require(held.value_16 == (fields.version >= 101 ? record.u16_at(16) : fields.value_12));
    static constexpr uint8_t none[16] = {};
    if (fields.version >= 102)
      require_bytes(held.bytes_18, record, 18, 16);
    else
      require(memcmp(held.bytes_18, none, sizeof none) == 0);
    require(held.value_34 == (fields.version >= 103 ? record.u16_at(34) : fields.value_12));
  });
}

/// The older form of record 31.
drawn_record draw_3(input_reader& in) {
  writer::record_3_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.entries.resize(in.up_to(3));
  for (writer::record_3_entry& entry : fields.entries)
    entry = {in.u32(), in.u32(), {in.u16(), in.u16(), in.u16(), in.u16()}};
  const auto held = [fields](const parsed_cmc& cmc, const bytes&) {
    const auto* const table = reinterpret_cast<const record_31_table*>(cmc.record_31);
    require(table != nullptr && table->count == fields.entries.size());
    for (size_t i = 0; i < table->count; ++i) {
      const writer::record_3_entry& entry = fields.entries[i];
      const float(&values)[18] = table->entries[i];
      float expected[18] = {};
      memcpy(expected, &entry.word, sizeof entry.word);
      expected[1] = std::ldexp(static_cast<float>(entry.value_16_16), -16);
      for (size_t k = 0; k < 2; ++k) {
        expected[2 + k] = entry.values_8_8[k] / 256.0f;
        expected[6 + k] = entry.values_8_8[2 + k] / 256.0f;
      }
      require(memcmp(values, expected, sizeof expected) == 0);
    }
  };
  return into(31, writer::record_3(fields), held, true);
}

drawn_record draw_22(input_reader& in) {
  writer::record_22_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.width = in.up_to(3);
  fields.height = in.up_to(3);
  fields.grid_entries = in.up_to(2);
  fields.items = in.up_to(1);
  fields.list_counts.clear();
  for (size_t entries = in.up_to(2); entries != 0; --entries)
    fields.list_counts.push_back(in.up_to(3));
  return into(22, writer::record_22(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    require(cmc.record_22 != nullptr);
    const record_22_content& held = *cmc.record_22;
    require_bytes(&held.value_8, record, 8, 4);
    require(held.width == fields.width && held.height == fields.height);
    require_bytes(&held.value_16, record, 16, 4);
    require(held.grid_count == fields.grid_entries);
    const size_t half = 4 * static_cast<size_t>(fields.width * fields.height);
    size_t at = 22;
    for (size_t i = 0; i < held.grid_count; ++i) {
      require(held.grid[i].tag == record.u16_at(at));
      require_bytes(held.grid[i].first_half, record, at + 2, half);
      require_bytes(held.grid[i].second_half, record, at + 2 + half, half);
      at += 2 + 2 * half;
    }
    if (fields.version < 101) return require(held.items == nullptr && held.list == nullptr);
    require_bytes(&held.value_items, record, at, 4);
    require(held.item_count == fields.items);
    at += 8;
    require_bytes(held.items, record, at, size_t{1040} * fields.items);
    at += size_t{1040} * fields.items;
    require_bytes(held.block, record, at, sizeof held.block);
    require_bytes(held.block_tail, record, at + 512, sizeof held.block_tail);
    at += 1040;
    if (fields.version < 102) return require(held.list == nullptr);
    require_bytes(&held.value_list, record, at, 4);
    require(held.list_count == static_cast<int32_t>(fields.list_counts.size()));
    at += 8;
    for (size_t i = 0; i < fields.list_counts.size(); ++i) {
      require_bytes(&held.list[i], record, at, 16);
      require(held.list[i].count == fields.list_counts[i]);
      require_bytes(held.list[i].values, record, at + 16, size_t{4} * fields.list_counts[i]);
      at += 16 + size_t{4} * fields.list_counts[i];
    }
    require_bytes(held.list_tail, record, at, 24 * fields.list_counts.size());
  });
}

drawn_record draw_24(input_reader& in) {
  writer::record_24_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.counts.clear();
  for (size_t entries = in.up_to(4); entries != 0; --entries) fields.counts.push_back(in.up_to(5));
  return into(24, writer::record_24(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    require(cmc.record_24 != nullptr && cmc.record_24->count == fields.counts.size());
    require_bytes(cmc.record_24->head, record, 0, 14);
    size_t at = 16;
    for (size_t i = 0; i < fields.counts.size(); ++i) {
      const record_24_entry& entry = cmc.record_24->entries[i];
      require(entry.count == fields.counts[i]);
      require_bytes(&entry, record, at, 16);
      require_bytes(entry.values, record, at + 16, size_t{4} * entry.count);
      at += 16 + size_t{4} * entry.count;
    }
  });
}

drawn_record draw_25(input_reader& in) {
  writer::record_25_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.entries = in.up_to(3);
  fields.items = in.up_to(3);
  return into(25, writer::record_25(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    const record_header* const copy = cmc.record_25.record;
    require_copy(copy, record);
    require_place(cmc.record_25.payload, copy, 12);
    const size_t start = fields.version > 100 ? 24 : 20;
    size_t at = 12 + size_t{4} * fields.items;
    for (size_t i = 0; i < fields.entries; ++i) {
      const record_25_entry& entry = cmc.record_25.entries[i];
      require_place(entry.start, copy, at);
      require_bytes(entry.block_first, record, at + start, 16);
      require_bytes(entry.block_second, record, at + start + 16, 16);
      require_bytes(&entry.value, record, at + start + 32, 4);
      require_place(entry.items, copy, at + start + 36);
      at += start + 36 + size_t{36} * fields.items;
    }
  });
}

drawn_record draw_26(input_reader& in) {
  writer::record_26_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  return into(26, writer::record_26(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    require(cmc.record_26 != nullptr);
    require_bytes(cmc.record_26->head, record, 0, 16);
    for (size_t i = 0; i < 2; ++i) {
      const record_26_group& group = cmc.record_26->groups[i];
      if (fields.version >= 101) {
        require_bytes(&group, record, 16 + 24 * i, 24);
      } else {
        require_bytes(group.bytes_0, record, 8, 8);
        for (const float value : group.values) require(value == 1.0f);
      }
    }
  });
}

drawn_record draw_27(input_reader& in) {
  writer::record_27_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.entries = in.up_to(3);
  fields.planes = in.up_to(3);
  fields.width = in.up_to(3);
  fields.height = in.up_to(3);
  return into(27, writer::record_27(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    require(cmc.record_27 != nullptr);
    const record_27_content& held = *cmc.record_27;
    require_copy(held.record, record);
    const size_t samples = size_t{fields.width} * fields.height;
    size_t at = 32;
    for (size_t i = 0; i < fields.entries; ++i) {
      require_bytes(held.entries[i].head, record, at, 20);
      require_bytes(held.entries[i].planes, record, at + 20, 2 * samples * fields.planes);
      for (size_t k = samples * fields.planes; k < 3 * samples; ++k)
        require(held.entries[i].planes[k] == 0);
      at += 20 + 2 * samples * fields.planes;
    }
    if (fields.version >= 101)
      require_place(held.tail, held.record, at);
    else
      require(held.tail == nullptr);
  });
}

drawn_record draw_29(input_reader& in) {
  writer::record_29_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.width = static_cast<uint16_t>(1 + in.up_to(3));
  fields.height = static_cast<uint16_t>(1 + in.up_to(3));
  return into(29, writer::record_29(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    require(cmc.record_29 != nullptr);
    const record_29_content& held = *cmc.record_29;
    require_bytes(held.head, record, 0, 12);
    require(held.width == fields.width && held.height == fields.height);
    require_bytes(&held.value_16, record, 16, 4);
    const size_t plane = size_t{4} * fields.width * fields.height;
    for (size_t i = 0; i < 4; ++i) require_bytes(held.planes[i], record, 20 + plane * i, plane);
  });
}

drawn_record draw_30(input_reader& in) {
  writer::record_30_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.items = in.up_to(3);
  fields.width = in.up_to(4);
  fields.height = in.up_to(4);
  fields.trailing_rows = in.up_to(3);
  fields.trailing_columns = in.up_to(3);
  const size_t points = size_t{fields.width} * fields.height;
  for (size_t i = 0; i < points; ++i)
    fields.grid.push_back(fields.version <= 100 ? in.u16() : in.u32());
  return into(30, writer::record_30(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    require(cmc.record_30 != nullptr);
    const record_30_content& held = *cmc.record_30;
    require_bytes(&held, record, 0, 30);
    // Nothing is read after the head of a record without items.
    if (fields.items == 0)
      return require(held.items == nullptr && held.grid == nullptr && held.trailing == nullptr);
    require_bytes(held.items, record, 30, size_t{6} * fields.items);
    const bool stored = fields.version <= 101;
    for (size_t i = 0; i < fields.grid.size(); ++i)
      require(held.grid[i] == (stored ? fields.grid[i] : 0));
    const size_t element = fields.version <= 100 ? 2 : 4;
    const size_t at = 30 + size_t{6} * fields.items + (stored ? element * fields.grid.size() : 0);
    require_bytes(held.trailing, record, at,
                  size_t{4} * fields.trailing_rows * fields.trailing_columns);
  });
}

drawn_record draw_35(input_reader& in) {
  writer::record_35_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.count = in.up_to(5);
  return into(35, writer::record_35(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    const size_t n = fields.count;
    const size_t b = 14 + 4 * (n + 1);
    const size_t c = b + 2 * (n + 1);
    const auto require_common = [&](const auto* held) {
      require(held != nullptr && held->count == n && held->value_8 == record.u8_at(8));
      require_bytes(&held->header, record, 0, 8);
      require(held->value_12 == record.u32_at(9));
      require_bytes(held->array_a, record, 14, 4 * (n + 1));
      require_bytes(held->array_b, record, b, 2 * (n + 1));
    };
    require_common(cmc.record_35.first);
    require_common(cmc.record_35.second);
    require_bytes(cmc.record_35.first->array_c, record, c, 2 * n);
    require_bytes(cmc.record_35.second->array_d, record, c + 2 * n, 4 * n);
  });
}

drawn_record draw_36(input_reader& in) {
  writer::record_36_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.count = in.up_to(5);
  return into(36, writer::record_36(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    require(cmc.record_36 != nullptr && cmc.record_36->count == fields.count);
    require_bytes(cmc.record_36, record, 0, 14);
    require_bytes(cmc.record_36->array_16, record, 14, size_t{2} * fields.count);
    require_bytes(cmc.record_36->array_32, record, 14 + size_t{2} * fields.count,
                  size_t{4} * fields.count);
  });
}

constexpr draw draws[] = {draw_module_properties,
                          draw_3,
                          draw_22,
                          draw_24,
                          draw_25,
                          draw_26,
                          draw_27,
                          draw_29,
                          draw_30,
                          draw_35,
                          draw_36};

}  // namespace

const std::span<const draw> converted_draws = draws;

}  // namespace fuzz
