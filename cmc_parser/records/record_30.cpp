#include <algorithm>

#include "base/c_heap.h"
#include "cmc_parser/copy_bounded.h"
#include "cmc_parser/records/calibration_blend.h"
#include "cmc_parser/records/decoders.h"

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

constexpr uint64_t head_size = 30;
constexpr uint64_t minimum_size = 32;
constexpr uint64_t item_size = 6;
static_assert(offsetof(record_30_content, padding_30) == head_size);

void free_content(record_30_content* content) {
  if (content == nullptr) return;
  free(content->items);
  free(content->grid);
  free(content->trailing);
  free(content);
}

/// The module's own grid, if it counts.
const calibration_grid* module_grid(const calibration* module) {
  return module != nullptr && module->grid_present != 0 ? module->grid : nullptr;
}

/// Bytes that the record's grid takes in this version.
uint64_t grid_size_in_record(uint8_t version, uint64_t grid_values) {
  if (version <= version_100) return sizeof(uint16_t) * grid_values;
  return version == version_101 ? sizeof(uint32_t) * grid_values : 0;
}

/// The record's value at the middle of its version-101 grid; 0 when the grid is empty.
uint32_t centre_value(const record_copy& record, uint64_t offset,
                      const record_30_content& content) {
  const uint64_t width = content.grid_width;
  const uint64_t height = content.grid_height;
  if (width * height == 0) return 0;
  return record.read<uint32_t>(offset + sizeof(uint32_t) * (height / 2 * width + width / 2));
}

/// Fills the grid, which is zeroed, from the record or the module; false without memory.
bool read_grid(const record_copy& record, uint64_t offset, const calibration_grid* grid,
               record_30_content& content) {
  const uint64_t record_values = uint64_t{content.grid_width} * content.grid_height;
  // A module grid without values still sets the least size, and the record's own fill it.
  const uint64_t values = grid == nullptr ? record_values
                                          : std::max(uint64_t{grid->width} * grid->height,
                                                     grid->values != nullptr ? 0 : record_values);
  content.grid = c_new_array<uint32_t>(values);
  if (content.grid == nullptr) return false;

  const bool has_module_values = grid != nullptr && grid->values != nullptr;
  if (has_module_values) {
    if (record.version() == version_101)
      blend_calibration_grid(*grid, centre_value(record, offset, content), content.grid);
    content.grid_width = grid->width;
    content.grid_height = grid->height;
  } else if (record.version() <= version_100) {
    for (uint64_t i = 0; i < record_values; ++i)
      content.grid[i] = record.read<uint16_t>(offset + sizeof(uint16_t) * i);
  } else if (record.version() == version_101) {
    (void)copy_bounded(content.grid, sizeof(uint32_t) * values, record.bytes() + offset,
                       sizeof(uint32_t) * record_values);
  }
  return true;
}

/// Fills in what stands behind the head, as far as the record and the memory reach.
void read_parts(const record_copy& record, const calibration* module, record_30_content& content) {
  const uint64_t items_size = item_size * content.item_count;
  if (!record.holds(minimum_size) || items_size == 0 ||
      !record.holds_padded(head_size + items_size))
    return;
  content.items = c_new_array<uint8_t>(items_size);
  if (content.items == nullptr) return;
  (void)copy_bounded(content.items, items_size, record.bytes() + head_size, items_size);

  uint64_t offset = head_size + items_size;
  const uint64_t grid_values = uint64_t{content.grid_width} * content.grid_height;
  // Deliberate: the test takes 4 bytes a value in every version, more than most store.
  if (!record.holds_padded(offset + sizeof(uint32_t) * grid_values)) return;
  if (!read_grid(record, offset, module_grid(module), content)) return;
  offset += grid_size_in_record(record.version(), grid_values);

  const uint64_t trailing_values = uint64_t{content.trailing_rows} * content.trailing_columns;
  const uint64_t trailing_size = sizeof(uint32_t) * trailing_values;
  if (!record.holds_padded(offset + trailing_size)) return;
  content.trailing = c_new_array<uint32_t>(trailing_values);
  // Contract: without memory for these, unlike for the items and the grid, the copy is called all
  // the same, and logs its missing destination.
  (void)copy_bounded(content.trailing, trailing_size, record.bytes() + offset, trailing_size);
}

}  // namespace

void release_record_30(parsed_cmc& cmc) {
  free_content(cmc.record_30);
  cmc.record_30 = nullptr;
}

uint32_t decode_record_30(record_copy record, parsed_cmc& cmc, const calibration* module) {
  release_record_30(cmc);
  record_30_content* const content = c_new<record_30_content>();
  if (content == nullptr) return QO_CMC_OK;
  memcpy(content, record.bytes(), std::min<uint64_t>(head_size, record.size()));
  read_parts(record, module, *content);
  cmc.record_30 = content;
  return QO_CMC_OK;
}

}  // namespace qo
