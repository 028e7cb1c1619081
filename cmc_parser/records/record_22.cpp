// Record kind 22: grid, items, block and list.

#include "cmc_parser/records/decoders.h"

#include "base/c_heap.h"
#include "cmc_parser/record_reader.h"

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

constexpr extent grid_offset = 22;
constexpr extent item_size = record_22_item_size;
constexpr extent block_size = size_of<decltype(record_22_content::block)>;
constexpr extent unread_block_size = 16;
static_assert(block_size + unread_block_size == item_size);
constexpr extent list_entry_head_size = 12;  // in front of its count
constexpr extent list_tail_entry_size = record_22_list_tail_size;

void free_list(record_22_list_entry* list, int32_t count) {
  if (list == nullptr) return;
  for (int32_t i = 0; i < count; ++i) free(list[i].values);
  free(list);
}

// Contract: what is owned is released in this order.
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

/// Why there is no content: the grid does not fit the record, or there is no memory for it.
[[nodiscard]] reason read_grid(record_reader& reader, record_22_content& content) {
  const uint16_t count = content.grid_count;
  if (count == 0) return reason::none;
  const int32_t points = int32_t{content.width} * content.height;
  if (points < 0) return reason::grid_negative;
  const extent half_values(static_cast<uint32_t>(points));
  const extent entry_values = 2 * half_values;
  const extent entry_size = size_of<uint32_t> * entry_values;
  if (!reader.require((size_of<uint16_t> + entry_size) * count)) return reason::record_too_short;

  heap_array<record_22_grid_entry> grid(c_new_array<record_22_grid_entry>(count));
  heap_array<uint32_t> halves(c_new_array_to_fill<uint32_t>((entry_values * count).value()));
  if (grid == nullptr || halves == nullptr) return reason::out_of_memory;
  uint32_t* half = halves.get();
  for (uint16_t i = 0; i < count; ++i) {
    grid[i].tag = reader.read<uint16_t>();
    memcpy(half, reader.take(entry_size), entry_size.value());
    grid[i].first_half = half;
    grid[i].second_half = half + half_values.value();
    half += entry_values.value();
  }
  content.grid = grid.release();
  halves.release();  // entry 0 owns it
  return reason::none;
}

/// Whether reading goes on after this part of the record. Only `out_of_memory` leaks the copy.
enum class part { complete, cut, out_of_memory };

[[nodiscard]] part read_items(record_reader& reader, record_22_content& content) {
  if (!reader.require(size_of<uint32_t> + size_of<int32_t>)) return part::cut;
  content.value_items = reader.read<uint32_t>();
  const int32_t count = reader.read<int32_t>();
  if (count > 0) {
    const extent size = item_size * extent(static_cast<uint32_t>(count));
    const uint8_t* const items = reader.take(size);
    if (items == nullptr) return part::cut;
    content.item_count = count;
    content.items = c_copy_array<uint8_t>(items, size.value());
    if (content.items == nullptr) return part::out_of_memory;
  }
  content.item_count = count;
  return part::complete;
}

[[nodiscard]] part read_block(record_reader& reader, record_22_content& content) {
  const uint8_t* const block = reader.take(block_size);
  if (block == nullptr) return part::cut;
  memcpy(content.block, block, sizeof content.block);
  // Contract: the tail repeats bytes from the middle; the block's own last 16 bytes are never read,
  // and need not be there where no list follows.
  memcpy(content.block_tail, block + 512, sizeof content.block_tail);
  return part::complete;
}

/// Whether `count` entries and the trailing table lie inside the record.
[[nodiscard]] bool list_fits(record_reader reader, uint32_t count) {
  for (uint32_t i = 0; i < count && !reader.failed(); ++i) {
    reader.skip(list_entry_head_size);
    reader.skip(size_of<uint32_t> * extent(reader.read<uint32_t>()));
  }
  reader.skip(list_tail_entry_size * extent(count));
  return !reader.failed();
}

/// Copies list and trailing table; false when there is no memory for a part of them.
[[nodiscard]] bool copy_list(record_reader& reader, record_22_content& content) {
  for (int32_t i = 0; i < content.list_count; ++i) {
    record_22_list_entry& entry = content.list[i];
    entry.value_0 = reader.read<float>();
    entry.value_4 = reader.read<float>();
    entry.value_8 = reader.read<uint32_t>();
    entry.count = reader.read<uint32_t>();
    const extent size = size_of<uint32_t> * extent(entry.count);
    entry.values = c_copy_array<uint32_t>(reader.take(size), entry.count);
    if (entry.values == nullptr) return false;
  }
  const extent size = list_tail_entry_size * extent(static_cast<uint32_t>(content.list_count));
  content.list_tail = c_copy_array<uint8_t>(reader.take(size), size.value());
  return content.list_tail != nullptr;
}

/// Why the list is missing, if it is.
[[nodiscard]] reason read_list(record_reader& reader, record_22_content& content) {
  if (!reader.require(unread_block_size + size_of<uint32_t> + size_of<int32_t>))
    return reason::list_lost;
  reader.skip(unread_block_size);
  const uint32_t value = reader.read<uint32_t>();
  const int32_t count = reader.read<int32_t>();
  content.list_count = count;
  if (count < 0) return reason::list_count_negative;
  if (!list_fits(reader, static_cast<uint32_t>(count))) return reason::list_lost;
  content.value_list = value;
  content.list = c_new_array<record_22_list_entry>(static_cast<uint32_t>(count));
  if (content.list == nullptr) return reason::part_out_of_memory;
  if (copy_list(reader, content)) return reason::none;
  // The count stays as read beside the missing list; the release looks at the list first.
  free_list(content.list, content.list_count);
  content.list = nullptr;
  content.value_list = 0;
  return reason::part_out_of_memory;
}

/// Reads what stands after the grid, as far as the record reaches; answers what is missing of it.
[[nodiscard]] reason read_later_parts(record_copy& record, record_reader& reader,
                                      record_22_content& content) {
  const part items = read_items(reader, content);
  if (items == part::out_of_memory) {
    // Contract: without memory for the items the copy is neither released nor returned.
    record.leak();
    return reason::part_out_of_memory;
  }
  if (items == part::cut) return reason::items_lost;
  if (read_block(reader, content) == part::cut) return reason::block_lost;
  return record.version() >= version_102 ? read_list(reader, content) : reason::none;
}

}  // namespace

void release_record_22(parsed_cmc& cmc) {
  free_content(cmc.record_22);
  cmc.record_22 = nullptr;
}

decode_result decode_record_22(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.record_22);
  release_record_22(cmc);
  if (!record.require(grid_offset)) return record.drop_as_too_short();
  content_ptr content(c_new<record_22_content>());
  if (content == nullptr) return record.drop(reason::out_of_memory);
  content->value_8 = record.read<uint32_t>(8);
  content->width = record.read<int16_t>(12);
  content->height = record.read<int16_t>(14);
  content->value_16 = record.read<uint32_t>(16);
  content->grid_count = record.read<uint16_t>(20);
  record_reader reader(record, grid_offset);
  const reason refusal = read_grid(reader, *content);
  if (refusal != reason::none) return record.drop(refusal);
  reason missing = reason::none;
  if (record.version() >= version_101) missing = read_later_parts(record, reader, *content);
  cmc.record_22 = content.release();
  return record.filled_without(missing);
}

}  // namespace qo
