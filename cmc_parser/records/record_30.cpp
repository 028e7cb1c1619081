// Record kind 30: items, a grid that the module may replace, trailing values.

#include "cmc_parser/records/decoders.h"

#include <algorithm>

#include "base/c_heap.h"
#include "cmc_parser/copy_bounded.h"
#include "cmc_parser/missing_destination.h"
#include "cmc_parser/records/calibration_blend.h"

// Record 30:
//    16  u16  n
//    22  u16  w
//    24  u16  h
//    26  u16  r
//    28  u16  q
//    30  n items of 6 bytes
//     -  grid: u16[w h] up to version 100, u32[w h] in version 101, none from 102 on
//     -  u32[r q]

namespace qo {
namespace {

constexpr extent head_size = 30;
static_assert(offsetof(record_30_content, padding_30) == head_size.value());
constexpr extent minimum_size = 32;
constexpr extent item_size = 6;

// Contract: what is owned is released in this order.
void free_content(record_30_content* content) {
  if (content == nullptr) return;
  free(content->items);
  free(content->grid);
  free(content->trailing);
  free(content);
}

/// The module's own grid, if it counts.
[[nodiscard]] const calibration_grid* module_grid(const calibration* module) {
  return module != nullptr && module->grid_present != 0 ? module->grid : nullptr;
}

/// Values of the record's own grid.
[[nodiscard]] extent values_of(const record_30_content& content) {
  return extent(content.grid_width) * content.grid_height;
}

/// Bytes that the record's grid takes in this version.
[[nodiscard]] extent grid_size_in_record(uint8_t version, extent grid_values) {
  if (version <= version_100) return size_of<uint16_t> * grid_values;
  return version == version_101 ? size_of<uint32_t> * grid_values : extent(0);
}

/// The record's value at the middle of its version-101 grid; 0 when the grid is empty.
[[nodiscard]] uint32_t centre_value(const record_copy& record, extent offset,
                                    const record_30_content& content) {
  const uint32_t width = content.grid_width;
  const uint32_t height = content.grid_height;
  if (width == 0 || height == 0) return 0;
  const extent centre = extent(height / 2) * extent(width) + extent(width / 2);
  return record.read<uint32_t>(offset + size_of<uint32_t> * centre);
}

/// Fills the grid, which is zeroed, from the record or the module; false without memory.
[[nodiscard]] bool read_grid(const record_copy& record, extent offset, const calibration_grid* grid,
                             record_30_content& content) {
  const extent record_values = values_of(content);
  // A module grid without values still sets the least size, and the record's own fill it.
  const extent values = grid == nullptr
                            ? record_values
                            : std::max(extent(grid->width) * grid->height,
                                       grid->values != nullptr ? extent(0) : record_values);
  content.grid = c_new_array<uint32_t>(values.value());
  if (content.grid == nullptr) return false;

  const bool has_module_values = grid != nullptr && grid->values != nullptr;
  if (has_module_values) {
    if (record.version() == version_101)
      blend_calibration_grid(*grid, centre_value(record, offset, content), content.grid);
    content.grid_width = grid->width;
    content.grid_height = grid->height;
  } else if (record.version() <= version_100) {
    const uint8_t* const from = record.at(offset);
    for (uint64_t i = 0; i < record_values.value(); ++i)
      content.grid[i] = load<uint16_t>(from, sizeof(uint16_t) * i);
  } else if (record.version() == version_101) {
    (void)copy_bounded(content.grid, (size_of<uint32_t> * values).value(), record.at(offset),
                       (size_of<uint32_t> * record_values).value());
  }
  return true;
}

/// Values after the grid.
[[nodiscard]] extent trailing_values_of(const record_30_content& content) {
  return extent(content.trailing_rows) * content.trailing_columns;
}

/// Fills in what stands after the head, as far as the record and the memory reach; answers what is
/// missing first, since nothing after that is read.
[[nodiscard]] reason read_parts(record_copy& record, const calibration* module,
                                record_30_content& content) {
  const extent items_size = item_size * content.item_count;
  if (!record.require(minimum_size)) return reason::items_lost;
  if (items_size == 0) {
    const bool has_tables = !(values_of(content) == 0 && trailing_values_of(content) == 0);
    return has_tables ? reason::tables_without_items : reason::none;
  }
  if (!record.require_padded(head_size + items_size)) return reason::items_lost;
  content.items = c_copy_array<uint8_t>(record.at(head_size), items_size.value());
  if (content.items == nullptr) return reason::part_out_of_memory;

  extent offset = head_size + items_size;
  const extent grid_values = values_of(content);
  // Deliberate: the test takes 4 bytes a value in every version, more than most store.
  if (!record.require_padded(offset + size_of<uint32_t> * grid_values)) return reason::grid_lost;
  if (!read_grid(record, offset, module_grid(module), content)) return reason::part_out_of_memory;
  offset = offset + grid_size_in_record(record.version(), grid_values);

  const extent trailing_values = trailing_values_of(content);
  if (!record.require_padded(offset + size_of<uint32_t> * trailing_values))
    return reason::trailing_lost;
  content.trailing = c_copy_array<uint32_t>(record.at(offset), trailing_values.value());
  if (content.trailing != nullptr) return reason::none;
  // Contract: without memory for these, unlike for the items and the grid, the missing destination
  // is logged.
  log_null_destination();
  return reason::part_out_of_memory;
}

}  // namespace

void release_record_30(parsed_cmc& cmc) {
  free_content(cmc.record_30);
  cmc.record_30 = nullptr;
}

decode_result decode_record_30(record_copy record, parsed_cmc& cmc, const calibration* module) {
  record.replaces(cmc.record_30);
  release_record_30(cmc);
  record_30_content* const content = c_new<record_30_content>();
  if (content == nullptr) return record.drop(reason::out_of_memory);
  memcpy(content, record.bytes(), std::min<uint64_t>(head_size.value(), record.size()));
  const reason missing = read_parts(record, module, *content);
  cmc.record_30 = content;
  return record.filled_without(missing);
}

}  // namespace qo
