#include "tools/document/restored_records.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace document {
namespace {

using writer::bytes;

[[nodiscard]] bytes raw(const void* data, size_t size) {
  return std::move(bytes().raw(data, size));
}

/// `count` elements, or nothing where an array is missing.
template <typename T>
void append(bytes& record, const T* array, size_t count) {
  if (array != nullptr) record.raw(array, sizeof(T) * count);
}

}  // namespace

bytes restored(const module_properties_record& form) {
  // The structure has the order of the record: a version reads as far as it stores.
  return raw(&form, sizeof form);
}

bytes restored(const record_22_content& form) {
  bytes record = raw("\0\0\0\0\0\0\0", sizeof(record_header));
  record.u32(form.value_8).i16(form.width).i16(form.height).u32(form.value_16);
  record.u16(form.grid_count);
  const size_t points = static_cast<size_t>(std::abs(form.width * form.height));
  for (uint16_t i = 0; form.grid != nullptr && i < form.grid_count; ++i) {
    record.u16(form.grid[i].tag);
    append(record, form.grid[i].first_half, points);
    append(record, form.grid[i].second_half, points);
  }
  record.u32(form.value_items).i32(form.item_count);
  append(record, form.items,
         size_t{record_22_item_size} * static_cast<size_t>(std::max(form.item_count, 0)));
  record.raw(form.block, sizeof form.block).zeros(16);
  record.u32(form.value_list).i32(form.list_count);
  if (form.list == nullptr) return record;
  const size_t count = static_cast<size_t>(form.list_count);
  for (size_t i = 0; i < count; ++i) {
    const record_22_list_entry& entry = form.list[i];
    record.f32(entry.value_0).f32(entry.value_4).u32(entry.value_8).u32(entry.count);
    append(record, entry.values, entry.count);
  }
  append(record, form.list_tail, record_22_list_tail_size * count);
  return record;
}

bytes restored(const record_24_content& form) {
  bytes record = raw(form.head, sizeof form.head);
  record.u16(form.count);
  for (uint16_t i = 0; i < form.count; ++i) {
    const record_24_entry& entry = form.entries[i];
    record.u16(entry.value_0).u16(entry.count).raw(entry.bytes_4, sizeof entry.bytes_4);
    append(record, entry.values, entry.count);
  }
  return record;
}

bytes restored(const record_26_content& form) {
  bytes record = raw(form.head, sizeof form.head);
  return record.raw(form.groups, sizeof form.groups);
}

bool stores_groups(const record_26_content& form) {
  const bytes head = raw(form.head, sizeof form.head);
  return head.u8_at(4) >= 101 && head.u32_at(0) >= 64;
}

bytes restored(const record_29_content& form) {
  bytes record = raw(form.head, sizeof form.head);
  record.u16(form.width).u16(form.height).u32(form.value_16);
  for (const float* const plane : form.planes)
    append(record, plane, size_t{form.width} * form.height);
  return record;
}

bytes restored(const record_30_content& form) {
  bytes record = raw(&form, offsetof(record_30_content, padding_30));
  append(record, form.items, size_t{6} * form.item_count);
  const uint8_t version = form.head[4];
  const size_t values = size_t{form.grid_width} * form.grid_height;
  if (version <= 100)
    for (size_t i = 0; form.grid != nullptr && i < values; ++i)
      record.u16(static_cast<uint16_t>(form.grid[i]));
  if (version == 101) append(record, form.grid, values);
  append(record, form.trailing, size_t{form.trailing_rows} * form.trailing_columns);
  return record;
}

bytes restored(const record_35_first& first, const record_35_second& second) {
  bytes record = raw(&first.header, sizeof first.header);
  record.u8(first.value_8).u32(first.value_12).u8(first.count);
  append(record, first.array_a, first.count + size_t{1});
  append(record, first.array_b, first.count + size_t{1});
  append(record, first.array_c, first.count);
  append(record, second.array_d, first.count);
  return record;
}

bytes restored(const record_36_content& form) {
  bytes record = raw(&form, offsetof(record_36_content, padding_14));
  append(record, form.array_16, form.count);
  append(record, form.array_32, form.count);
  return record;
}

}  // namespace document
