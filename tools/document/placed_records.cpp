#include "tools/document/placed_records.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "tools/document/layout_reader.h"

// Record 31:                             Record 34:
//     8  u32  n                              8  u32  n
//    12  u32                                12  u32
//    16  u64  place of n entries            16  u64  place of n blocks
//             of 18 f32                              of 40 bytes
//                                           24  u64  when the record goes on
// Block of record 34:
//     0  u32  kind
//     4  u32
//     8  u32  a
//    12  u32  b
//    16  u64  place of a long entries of 32 bytes
//    24  u64  place of b short entries of 8 bytes
//    32  u64  place of a tail of 8 bytes
//
// A place of 0 says that there is no array.

namespace document {
namespace {

constexpr size_t fixed_size = 24;
constexpr size_t float_entry_size = 72;
constexpr size_t block_size = 40;
constexpr uint32_t most_blocks = 4;

/// The record with places where the container library put addresses.
class placed_record {
 public:
  explicit placed_record(const record_header& table)
      : address_(reinterpret_cast<uintptr_t>(&table)),
        bytes_(reinterpret_cast<const uint8_t*>(&table),
               reinterpret_cast<const uint8_t*>(&table) + table.size) {
    if (table.size < fixed_size) throw error("a record ends before its last field");
  }

  [[nodiscard]] const uint8_t* at(size_t offset) const { return bytes_.data() + offset; }
  [[nodiscard]] size_t size() const { return bytes_.size(); }
  [[nodiscard]] bool holds(uint64_t offset, uint64_t count) const {
    return offset <= size() && count <= size() - offset;
  }
  template <typename T>
  [[nodiscard]] T read(size_t offset) const {
    T value;
    memcpy(&value, at(offset), sizeof value);
    return value;
  }
  /// Makes a place of an address; false when it is none into the record.
  [[nodiscard]] bool restore_place(size_t offset) {
    const uint64_t address = read<uint64_t>(offset);
    if (address == 0) return true;
    if (address < address_ || address - address_ > size()) return false;
    const uint64_t place = address - address_;
    memcpy(bytes_.data() + offset, &place, sizeof place);
    return true;
  }

 private:
  uintptr_t address_;
  std::vector<uint8_t> bytes_;
};

[[nodiscard]] json header_value(const placed_record& record) {
  return {{"size", record.read<uint32_t>(0)},
          {"version", record.read<uint8_t>(4)},
          {"reserved", record.read<uint8_t>(5)},
          {"id", record.read<uint16_t>(6)}};
}

[[nodiscard]] json place_value(uint64_t place, bool shown) {
  return shown ? json(place) : json(nullptr);
}

/// Bytes that something of the record takes up.
struct taken {
  uint64_t place;
  uint64_t size;
};

/// Sorts by place and drops what is empty; false when two share a byte or one leaves the record.
[[nodiscard]] bool are_apart(std::vector<taken>& parts, size_t record_size) {
  std::erase_if(parts, [](const taken& part) { return part.size == 0; });
  std::sort(parts.begin(), parts.end(),
            [](const taken& a, const taken& b) { return a.place < b.place; });
  uint64_t end = 0;
  for (const taken& part : parts) {
    if (part.place < end || part.place > record_size || part.size > record_size - part.place)
      return false;
    end = part.place + part.size;
  }
  return true;
}

[[nodiscard]] json gaps_between(const std::vector<taken>& parts, const placed_record& record) {
  json gaps = json::array();
  uint64_t end = 0;
  const auto add_gap = [&](uint64_t next) {
    if (next > end) gaps.push_back({{"place", end}, {"bytes", hex_of(record.at(end), next - end)}});
  };
  for (const taken& part : parts) {
    add_gap(part.place);
    end = part.place + part.size;
  }
  add_gap(record.size());
  return gaps;
}

/// Turns the addresses in the blocks back. The decoder lowers a count above four after all blocks
/// were decoded: those past the fourth still hold addresses, each one into the record.
[[nodiscard]] bool restore_blocks(placed_record& record, uint64_t place, uint32_t count) {
  const auto restore_block = [&record](uint64_t block) {
    for (const size_t at : {size_t{16}, size_t{24}, size_t{32}})
      if (!record.restore_place(block + at)) return false;
    return true;
  };
  uint64_t block = place;
  for (uint32_t i = 0; i < count; ++i, block += block_size)
    if (!record.holds(block, block_size) || !restore_block(block)) return false;
  if (count == most_blocks)
    while (record.holds(block, block_size) && restore_block(block)) block += block_size;
  return true;
}

struct block_places {
  uint64_t long_place, short_place, tail_place;
  uint32_t long_count, short_count;
};

[[nodiscard]] block_places places_of(const placed_record& record, size_t block) {
  return {record.read<uint64_t>(block + 16), record.read<uint64_t>(block + 24),
          record.read<uint64_t>(block + 32), record.read<uint32_t>(block + 8),
          record.read<uint32_t>(block + 12)};
}

[[nodiscard]] json block_value(const placed_record& record, size_t block, bool shows_places) {
  const block_places places = places_of(record, block);
  layout_reader reader(record.at(0), record.size());
  json long_entries, short_entries, tail;
  if (places.long_place != 0) {
    reader.seek(places.long_place);
    reader.objects("long_entries", places.long_count, [&reader] {
      reader.f32("value_0");
      reader.f32("value_4");
      reader.u32s("values_8", 3);
      reader.u16s("values_20", 4);
      (void)reader.u32("padding_28");
    });
  } else {
    reader.null("long_entries");
  }
  if (places.short_place != 0) {
    reader.seek(places.short_place);
    reader.objects("short_entries", places.short_count, [&reader] {
      reader.f32("value_0");
      (void)reader.u32("value_4");
    });
  } else {
    reader.null("short_entries");
  }
  if (places.tail_place != 0) {
    reader.seek(places.tail_place);
    reader.u16s("tail", 4);
  } else {
    reader.null("tail");
  }
  json value = {{"kind", record.read<uint32_t>(block)},
                {"value_4", record.read<uint32_t>(block + 4)},
                {"long_count", places.long_count},
                {"short_count", places.short_count},
                {"long_place", place_value(places.long_place, shows_places)},
                {"short_place", place_value(places.short_place, shows_places)},
                {"tail_place", place_value(places.tail_place, shows_places)}};
  value.update(reader.take());
  return value;
}

}  // namespace

json record_31_value(const record_header& table, uint16_t built_from) {
  placed_record record(table);
  if (!record.restore_place(16)) throw error("record_31: its entries are not in its block");
  const uint64_t place = record.read<uint64_t>(16);
  const uint32_t count = record.read<uint32_t>(8);
  const bool stored = built_from != 3;
  json value = {{"built_from", built_from},
                {"header", header_value(record)},
                {"count", count},
                {"padding_12", record.read<uint32_t>(12)},
                {"place_16", place_value(place, stored)}};
  const size_t entries = place != 0 ? place : fixed_size;
  if (entries < fixed_size || !record.holds(entries, uint64_t{float_entry_size} * count))
    throw error("record_31: its entries are not in its block");
  const size_t end = place != 0 ? entries + float_entry_size * count : entries;
  value["bytes_24"] =
      stored ? json(hex_of(record.at(fixed_size), entries - fixed_size)) : json(nullptr);
  value["entries"] = place != 0 ? table_value<float>(record.at(entries), count, 18) : json(nullptr);
  value["rest"] = stored ? json(hex_of(record.at(end), record.size() - end)) : json(nullptr);
  return value;
}

json record_34_value(const record_header& table, bool derived) {
  placed_record record(table);
  const uint32_t count = record.read<uint32_t>(8);
  bool in_order = record.restore_place(16);
  const uint64_t place = record.read<uint64_t>(16);
  if (in_order && place != 0) in_order = restore_blocks(record, place, count);

  std::vector<taken> parts = {{0, fixed_size}};
  if (in_order && place != 0) {
    parts.push_back({place, uint64_t{block_size} * count});
    for (uint32_t i = 0; i < count; ++i) {
      const block_places places = places_of(record, place + block_size * i);
      if (places.long_place != 0)
        parts.push_back({places.long_place, uint64_t{32} * places.long_count});
      if (places.short_place != 0)
        parts.push_back({places.short_place, uint64_t{8} * places.short_count});
      if (places.tail_place != 0) parts.push_back({places.tail_place, 8});
    }
  }
  in_order = in_order && are_apart(parts, record.size());
  bool has_padding = false;
  if (in_order) {
    std::vector<taken> with_padding = parts;
    with_padding.push_back({fixed_size, sizeof(uint64_t)});
    has_padding = are_apart(with_padding, record.size());
    if (has_padding) parts = std::move(with_padding);
  }

  json value = {{"derived", derived},
                {"header", header_value(record)},
                {"block_count", count},
                {"padding_12", record.read<uint32_t>(12)},
                {"place_16", place_value(place, !derived)}};
  value["padding_24"] = has_padding ? json(record.read<uint64_t>(fixed_size)) : json(nullptr);
  json blocks;
  if (in_order && place != 0) {
    blocks = json::array();
    for (uint32_t i = 0; i < count; ++i)
      blocks.push_back(block_value(record, place + block_size * i, !derived));
  }
  value["blocks"] = std::move(blocks);
  value["gaps"] = in_order && !derived ? gaps_between(parts, record) : json(nullptr);
  value["bytes_24"] =
      in_order ? json(nullptr) : json(hex_of(record.at(fixed_size), record.size() - fixed_size));
  return value;
}

}  // namespace document
