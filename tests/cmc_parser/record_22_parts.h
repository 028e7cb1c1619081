/// What a structure of kind 22 is expected to hold, part by part.
#pragma once

#include "tests/kit/structure_bytes.h"
#include "writer/records.h"

/// Where the parts of a well-formed record stand.
struct record_22_places {
  explicit record_22_places(const writer::record_22_fields& fields)
      : points(static_cast<size_t>(fields.width * fields.height)),
        counts(22 + fields.grid_entries * (2 + 8 * points)),
        block(counts + 8 + size_t{1040} * fields.items),
        list(block + 1040) {}

  size_t points;  ///< values of one half
  size_t counts;  ///< end of the grid
  size_t block;
  size_t list;
};

/// Which parts are filled; all others are zero or null.
struct record_22_parts {
  bool counts = false;  ///< the value in front of the item count
  bool items = false;   ///< with the count
  bool block = false;
  bool list = false;  ///< with the value in front of its count, and the trailing table
  int32_t list_count = 0;
};

inline void expect_grid(const uint8_t* content, const writer::bytes& record,
                        const writer::record_22_fields& fields) {
  const size_t half_size = 4 * record_22_places(fields).points;
  const uint8_t* const grid = kit::address_at(content, 1064);
  ASSERT_EQ(fields.grid_entries != 0, grid != nullptr);
  for (size_t i = 0; i < fields.grid_entries; ++i) {
    const size_t offset = 22 + i * (2 + 2 * half_size);
    EXPECT_EQ(kit::part_of(record, offset, 2).zeros(6), kit::bytes_at(grid + 24 * i, 8));
    const uint8_t* const first = kit::address_at(grid + 24 * i, 8);
    const uint8_t* const second = kit::address_at(grid + 24 * i, 16);
    EXPECT_EQ(kit::part_of(record, offset + 2, half_size), kit::bytes_at(first, half_size));
    EXPECT_EQ(kit::part_of(record, offset + 2 + half_size, half_size),
              kit::bytes_at(second, half_size));
  }
}

inline void expect_list(const uint8_t* content, const writer::bytes& record, size_t offset,
                        size_t count) {
  const uint8_t* const list = kit::address_at(content, 1088);
  const uint8_t* const tail = kit::address_at(content, 1096);
  ASSERT_TRUE(list != nullptr && tail != nullptr);
  for (size_t i = 0; i < count; ++i) {
    EXPECT_EQ(kit::part_of(record, offset, 16), kit::bytes_at(list + 24 * i, 16));
    const size_t size = size_t{4} * record.u32_at(offset + 12);
    const uint8_t* const values = kit::address_at(list + 24 * i, 16);
    ASSERT_TRUE(values);
    EXPECT_EQ(kit::part_of(record, offset + 16, size), kit::bytes_at(values, size));
    offset += 16 + size;
  }
  EXPECT_EQ(kit::part_of(record, offset, 24 * count), kit::bytes_at(tail, 24 * count));
}

/// Compares the slot's structure with the record's own bytes. `fields` are those that the record
/// was built with, before anything in it was patched.
inline void expect_parts(kit::decoder_fixture& decoder, const writer::bytes& record,
                         const writer::record_22_fields& fields, const record_22_parts& parts) {
  const auto* const content = reinterpret_cast<const uint8_t*>(decoder.cmc().record_22);
  ASSERT_TRUE(content);
  const record_22_places at(fields);
  EXPECT_EQ(kit::part_of(record, 8, 8), kit::bytes_at(content, 8));
  EXPECT_EQ(record.u32_at(16), kit::field_at<uint32_t>(content, 8));
  EXPECT_EQ(record.u16_at(20), kit::field_at<uint16_t>(content, 12));
  expect_grid(content, record, fields);

  EXPECT_EQ(parts.counts ? record.u32_at(at.counts) : 0, kit::field_at<uint32_t>(content, 16));
  EXPECT_EQ(parts.items ? record.u32_at(at.counts + 4) : 0, kit::field_at<uint32_t>(content, 20));
  const uint8_t* const items = kit::address_at(content, 1072);
  const bool has_items = parts.items && fields.items != 0;
  ASSERT_EQ(has_items, items != nullptr);
  if (has_items) {
    const size_t size = size_t{1040} * fields.items;
    EXPECT_EQ(kit::part_of(record, at.counts + 8, size), kit::bytes_at(items, size));
  }

  EXPECT_EQ(parts.block ? kit::part_of(record, at.block, 1024) : writer::bytes().zeros(1024),
            kit::bytes_at(content + 24, 1024));
  EXPECT_EQ(parts.block ? kit::part_of(record, at.block + 512, 16) : writer::bytes().zeros(16),
            kit::bytes_at(content + 1048, 16));

  EXPECT_EQ(parts.list ? record.u32_at(at.list) : 0, kit::field_at<uint32_t>(content, 1080));
  EXPECT_EQ(parts.list_count, kit::field_at<int32_t>(content, 1084));
  if (parts.list) return expect_list(content, record, at.list + 8, fields.list_counts.size());
  EXPECT_EQ(nullptr, kit::address_at(content, 1088));
  EXPECT_EQ(nullptr, kit::address_at(content, 1096));
}
