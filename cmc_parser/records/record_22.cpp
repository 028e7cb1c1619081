#include "base/c_heap.h"
#include "cmc_parser/record_reader.h"
#include "cmc_parser/records/decoders.h"

// Record 22, composite:
//     8  u32  value
//    12  i16  W
//    14  i16  H
//    16  u32  value
//    20  u16  M
//    22  M grid entries: u16 tag, u32 first half[W H], u32 second half[W H]
//     G  u32  value                      version >= 101
//        i32  K; below 1 there are no items
//        K items of 1040 bytes
//        block of 1040 bytes
//     L  u32  X                          version >= 102
//        i32  C
//        C entries: f32, f32, u32, u32 n, u32[n]
//        C x 24 bytes

namespace qo {
namespace {

constexpr uint64_t grid_offset = 22;
constexpr uint64_t list_entry_head_size = 16;

void free_list(record_22_list_entry* list, int32_t count) {
  if (list == nullptr) return;
  for (int32_t i = 0; i < count; ++i) free(list[i].values);
  free(list);
}

void free_content(record_22_content* content) {
  if (content == nullptr) return;
  if (content->grid != nullptr) free(content->grid[0].first_half);
  free_list(content->list, content->list_count);
  free(content->list_tail);
  free(content->grid);
  free(content->items);
  free(content);
}

using content_ptr = std::unique_ptr<record_22_content, deleter<free_content>>;

/// False when the grid does not fit the record or there is no memory for it.
bool read_grid(record_reader& reader, record_22_content& content) {
  const uint64_t count = content.grid_count;
  if (count == 0) return true;
  const int64_t points = int64_t{content.width} * content.height;
  if (points < 0) return false;
  const uint64_t half_size = sizeof(uint32_t) * static_cast<uint64_t>(points);
  if (!reader.holds(count * (sizeof(uint16_t) + 2 * half_size))) return false;

  heap_array<record_22_grid_entry> grid(c_new_array<record_22_grid_entry>(count));
  heap_array<uint32_t> halves(c_new_array<uint32_t>(2 * static_cast<uint64_t>(points) * count));
  if (!grid || !halves) return false;
  uint32_t* half = halves.get();
  for (uint64_t i = 0; i < count; ++i) {
    grid[i].tag = reader.read<uint16_t>();
    memcpy(half, reader.take(2 * half_size), 2 * half_size);
    grid[i].first_half = half;
    grid[i].second_half = half + points;
    half += 2 * points;
  }
  content.grid = grid.release();
  halves.release();  // entry 0 owns it
  return true;
}

/// Whether reading goes on behind this part of the record. `out_of_memory` alone leaks the copy.
enum class part { complete, cut, out_of_memory };

part read_items(record_reader& reader, record_22_content& content) {
  if (!reader.holds(sizeof content.value_items + sizeof content.item_count)) return part::cut;
  content.value_items = reader.read<uint32_t>();
  const int32_t count = reader.read<int32_t>();
  if (count > 0) {
    const uint64_t size = uint64_t{record_22_item_size} * static_cast<uint32_t>(count);
    const uint8_t* const items = reader.take(size);
    if (items == nullptr) return part::cut;
    content.item_count = count;
    content.items = c_copy_array<uint8_t>(items, size);
    if (content.items == nullptr) return part::out_of_memory;
  }
  content.item_count = count;
  return part::complete;
}

part read_block(record_reader& reader, record_22_content& content) {
  const uint8_t* const block = reader.take(sizeof content.block);
  if (block == nullptr) return part::cut;
  memcpy(content.block, block, sizeof content.block);
  // Contract: the tail repeats bytes from the middle; the block's own last 16 bytes are never read,
  // and need not be there.
  memcpy(content.block_tail, block + 512, sizeof content.block_tail);
  reader.take(record_22_item_size - sizeof content.block);
  return part::complete;
}

/// Whether `count` entries and the trailing table lie inside the record.
bool list_fits(record_reader reader, uint32_t count) {
  for (uint32_t i = 0; i < count && !reader.failed(); ++i) {
    reader.take(list_entry_head_size - sizeof(uint32_t));
    reader.take(sizeof(uint32_t) * uint64_t{reader.read<uint32_t>()});
  }
  reader.take(uint64_t{record_22_list_tail_size} * count);
  return !reader.failed();
}

/// Copies list and trailing table; false when there is no memory for a part of them.
bool copy_list(record_reader& reader, record_22_content& content) {
  for (int32_t i = 0; i < content.list_count; ++i) {
    record_22_list_entry& entry = content.list[i];
    entry.value_0 = reader.read<float>();
    entry.value_4 = reader.read<float>();
    entry.value_8 = reader.read<uint32_t>();
    entry.count = reader.read<uint32_t>();
    const uint64_t size = sizeof(uint32_t) * uint64_t{entry.count};
    entry.values = c_copy_array<uint32_t>(reader.take(size), entry.count);
    if (entry.values == nullptr) return false;
  }
  const uint64_t size =
      uint64_t{record_22_list_tail_size} * static_cast<uint32_t>(content.list_count);
  content.list_tail = c_copy_array<uint8_t>(reader.take(size), size);
  return content.list_tail != nullptr;
}

void read_list(record_reader& reader, record_22_content& content) {
  if (!reader.holds(sizeof content.value_list + sizeof content.list_count)) return;
  const uint32_t value = reader.read<uint32_t>();
  const int32_t count = reader.read<int32_t>();
  content.list_count = count;
  if (count < 0 || !list_fits(reader, static_cast<uint32_t>(count))) return;
  content.value_list = value;
  content.list = c_new_array<record_22_list_entry>(static_cast<uint32_t>(count));
  if (content.list == nullptr) return;
  if (copy_list(reader, content)) return;
  // The count stays as read beside the missing list; the release looks at the list first.
  free_list(content.list, content.list_count);
  content.list = nullptr;
  content.value_list = 0;
}

void read_later_parts(record_copy& record, record_reader& reader, record_22_content& content) {
  const part items = read_items(reader, content);
  // Contract: without memory for the items the copy is neither released nor returned.
  if (items == part::out_of_memory) record.leak();
  if (items != part::complete || read_block(reader, content) != part::complete) return;
  if (record.version() >= version_102) read_list(reader, content);
}

}  // namespace

void release_record_22(parsed_cmc& cmc) {
  free_content(cmc.record_22);
  cmc.record_22 = nullptr;
}

uint32_t decode_record_22(record_copy record, parsed_cmc& cmc, const calibration*) {
  release_record_22(cmc);
  if (!record.holds(grid_offset)) return QO_CMC_OK;
  content_ptr content(c_new<record_22_content>());
  if (!content) return QO_CMC_OK;
  content->value_8 = record.read<uint32_t>(8);
  content->width = record.read<int16_t>(12);
  content->height = record.read<int16_t>(14);
  content->value_16 = record.read<uint32_t>(16);
  content->grid_count = record.read<uint16_t>(20);
  record_reader reader(record, grid_offset);
  if (!read_grid(reader, *content)) return QO_CMC_OK;
  if (record.version() >= version_101) read_later_parts(record, reader, *content);
  cmc.record_22 = content.release();
  return QO_CMC_OK;
}

}  // namespace qo
