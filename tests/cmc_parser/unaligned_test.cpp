// The readers for elements at unaligned addresses: in containers that stand at any address, and in
// records that the container library decoded where they stand. The sanitizers see what is read past
// an element's bytes, and a number that is read through a pointer of its type.
#include "qo_cmc/unaligned.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "tests/kit/container_cycle.h"
#include "tests/kit/row_name.h"
#include "writer/records.h"

namespace {

using writer::bytes;

constexpr size_t most_shift = 7;

/// Parses a container that stands `shift` bytes after an aligned address.
kit::cmc_ptr parse_at(size_t shift, const std::vector<bytes>& records) {
  const std::vector<uint8_t> image = writer::container().add(records).image();
  std::vector<uint8_t> memory(shift + image.size());
  std::copy(image.begin(), image.end(), memory.begin() + static_cast<ptrdiff_t>(shift));
  const qo_blob container = {memory.data() + shift, static_cast<uint32_t>(image.size())};
  return kit::cmc_ptr(qo_cmc_parser_init(&container));
}

uint32_t bits_of(float number) { return std::bit_cast<uint32_t>(number); }

/// Every value that starts at `place`, and lies within `size` bytes from there, is the record's at
/// `offset`.
void expect_values(const bytes& record, size_t offset, const void* place, size_t size) {
  ASSERT_NE(nullptr, place);
  for (size_t k = 0; k + 2 <= size; ++k) {
    const uint16_t expected = record.u16_at(offset + k);
    EXPECT_EQ(expected, qo_cmc_read_u16(place, k)) << k;
    EXPECT_EQ(static_cast<int16_t>(expected), qo_cmc_read_i16(place, k)) << k;
  }
  for (size_t k = 0; k + 4 <= size; ++k) {
    const uint32_t expected = record.u32_at(offset + k);
    EXPECT_EQ(expected, qo_cmc_read_u32(place, k)) << k;
    EXPECT_EQ(static_cast<int32_t>(expected), qo_cmc_read_i32(place, k)) << k;
    EXPECT_EQ(expected, bits_of(qo_cmc_read_f32(place, k))) << k;
  }
  for (size_t k = 0; k + 8 <= size; ++k)
    EXPECT_EQ(record.u64_at(offset + k), qo_cmc_read_u64(place, k)) << k;
}

TEST(UnalignedValues, AreReadFromEveryAddressInEveryType) {
  // Both signs, both zeros, infinities, NaNs with a payload and quiet ones; no two neighbours
  // alike.
  const bytes values = bytes()
                           .u64(0x8000000000000000)
                           .u64(0x7fffffffffffffff)
                           .u32(0x80000000)
                           .u32(0x7f800000)
                           .u32(0xff800000)
                           .u32(0x7fc12345)
                           .u32(0xffc54321)
                           .u32(0x3fc00000)
                           .u16(0x8000)
                           .u16(0x7fff)
                           .u64(0x0123456789abcdef);
  for (size_t shift = 0; shift <= most_shift; ++shift) {
    SCOPED_TRACE(shift);
    std::vector<uint8_t> memory(shift);  // ends with the last value: one byte too many is seen
    memory.insert(memory.end(), values.vector().begin(), values.vector().end());
    expect_values(values, 0, memory.data() + shift, values.size());
  }
}

TEST(UnalignedValues, HaveTheSignAndTheNumberThatTheirBytesSay) {
  const uint8_t memory[] = {0xee, 0xfe, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x00, 0x00, 0xc0};
  EXPECT_EQ(0xfeee, qo_cmc_read_u16(memory, 0));
  EXPECT_EQ(0xfffe, qo_cmc_read_u16(memory, 1));
  EXPECT_EQ(-2, qo_cmc_read_i16(memory, 1));
  EXPECT_EQ(0xfffffffeu, qo_cmc_read_u32(memory, 1));
  EXPECT_EQ(-2, qo_cmc_read_i32(memory, 1));
  EXPECT_EQ(0xfffffffffffffffeu, qo_cmc_read_u64(memory, 1));
  EXPECT_TRUE(std::isnan(qo_cmc_read_f32(memory, 4)));
  const uint8_t number[] = {0xee, 0x00, 0x00, 0xc0, 0xbf};
  EXPECT_EQ(-1.5f, qo_cmc_read_f32(number, 1));
}

/// A place that a slot names, and where its bytes stand in the record.
struct place_case {
  const char* name;
  bytes record;
  const uint8_t* (*place)(const parsed_cmc&);
  size_t offset;
  size_t size;  ///< bytes that the counts say are there
};

const place_case places[] = {
    {"module_properties_bytes_18", writer::record_2(),
     [](const parsed_cmc& cmc) -> const uint8_t* { return cmc.module_properties->bytes_18; }, 18,
     16},
    {"record_14_payload", writer::record_14(),
     [](const parsed_cmc& cmc) { return cmc.record_14.payload; }, 14, 24},
    {"record_15_body", writer::record_15(),
     [](const parsed_cmc& cmc) { return cmc.record_15.body; }, 12, 16},
    {"record_15_section_1", writer::record_15(),
     [](const parsed_cmc& cmc) { return cmc.record_15.section_1; }, 28, 16},
    {"record_15_section_2", writer::record_15(),
     [](const parsed_cmc& cmc) { return cmc.record_15.section_2; }, 44, 16},
    {"record_15_section_3", writer::record_15(),
     [](const parsed_cmc& cmc) { return cmc.record_15.section_3; }, 60, 24},
    {"record_16_payload", writer::record_16(),
     [](const parsed_cmc& cmc) { return cmc.record_16.payload; }, 14, 12},
    {"record_17_payload", writer::record_17(),
     [](const parsed_cmc& cmc) { return cmc.record_17.payload; }, 14, 10},
    {"record_18_entries", writer::record_18(),
     [](const parsed_cmc& cmc) { return cmc.record_18.entries; }, 10, 168},
    {"record_18_tail", writer::record_18(),
     [](const parsed_cmc& cmc) { return cmc.record_18.tail; }, 178, 6},
    {"record_19_entries", writer::record_19(),
     [](const parsed_cmc& cmc) { return cmc.record_19.entries; }, 16, 56},
    {"record_19_tail", writer::record_19(),
     [](const parsed_cmc& cmc) { return cmc.record_19.tail; }, 72, 24},
    {"record_20_payload", writer::record_20(),
     [](const parsed_cmc& cmc) { return cmc.record_20.payload; }, 14, 22},
    {"record_20_tail", writer::record_20(),
     [](const parsed_cmc& cmc) { return cmc.record_20.tail; }, 20, 16},
    {"record_24_entry_bytes_4", writer::record_24(),
     [](const parsed_cmc& cmc) -> const uint8_t* { return cmc.record_24->entries[0].bytes_4; }, 20,
     12},
    {"record_25_payload", writer::record_25(),
     [](const parsed_cmc& cmc) { return cmc.record_25.payload; }, 12, 12},
    {"record_25_entry_start", writer::record_25(),
     [](const parsed_cmc& cmc) { return cmc.record_25.entries[0].start; }, 24, 20},
    {"record_25_entry_items", writer::record_25(),
     [](const parsed_cmc& cmc) { return cmc.record_25.entries[0].items; }, 80, 108},
    {"record_27_tail", writer::record_27(),
     [](const parsed_cmc& cmc) { return cmc.record_27->tail; }, 120, 32},
    {"record_30_bytes_18", writer::record_30(),
     [](const parsed_cmc& cmc) -> const uint8_t* { return cmc.record_30->bytes_18; }, 18, 4},
    {"record_30_items", writer::record_30(),
     [](const parsed_cmc& cmc) -> const uint8_t* { return cmc.record_30->items; }, 30, 12},
    {"record_36_bytes_9", writer::record_36(),
     [](const parsed_cmc& cmc) -> const uint8_t* { return cmc.record_36->bytes_9; }, 9, 4},
};

class UnalignedPlace : public testing::TestWithParam<place_case> {};

TEST_P(UnalignedPlace, HoldsTheBytesOfARecordInAContainerAtAnyAddress) {
  const place_case& c = GetParam();
  for (size_t shift = 0; shift <= most_shift; ++shift) {
    SCOPED_TRACE(shift);
    const kit::cmc_ptr cmc = parse_at(shift, {c.record});
    ASSERT_NE(nullptr, cmc);
    expect_values(c.record, c.offset, c.place(*cmc), c.size);
  }
}

INSTANTIATE_TEST_SUITE_P(Slots, UnalignedPlace, testing::ValuesIn(places), kit::row_name);

/// The record with zeros in front of the bytes from `offset` on, and its size made right.
bytes spread(const bytes& record, size_t offset, size_t zeros) {
  bytes longer;
  longer.raw(record.data(), offset).zeros(zeros);
  longer.raw(record.data() + offset, record.size() - offset);
  return longer.patch_u32(0, static_cast<uint32_t>(longer.size()));
}

TEST(UnalignedRecord31, EntriesAreReadWhereverTheRecordHasThem) {
  for (size_t shift = 0; shift <= most_shift; ++shift) {
    SCOPED_TRACE(shift);
    const size_t place = 24 + shift;
    const bytes record = spread(writer::record_31({.count = 3}), 24, shift).patch_u64(16, place);
    const kit::cmc_ptr cmc = parse_at(shift, {record});
    ASSERT_NE(nullptr, cmc);
    ASSERT_NE(nullptr, cmc->record_31);
    const record_31_table table = qo_cmc_read_record_31(cmc->record_31);
    EXPECT_EQ(31, table.header.id);
    ASSERT_EQ(3u, table.count);
    EXPECT_EQ(shift, reinterpret_cast<uintptr_t>(table.entries) % 8);
    for (uint32_t i = 0; i < table.count; ++i) {
      float values[18];
      qo_cmc_read_record_31_entry(&table, i, values);
      for (size_t k = 0; k < 18; ++k)
        EXPECT_EQ(record.f32_at(place + 72 * i + 4 * k), values[k]) << i << ", " << k;
    }
  }
}

TEST(UnalignedRecord31, EntriesBuiltFromRecord3AreReadTheSame) {
  const kit::cmc_ptr cmc = parse_at(
      1, {writer::record_3({.entries = {{0x3f800000, 0x00018000, {256, 384, 128, 512}}}})});
  ASSERT_NE(nullptr, cmc);
  ASSERT_NE(nullptr, cmc->record_31);
  const record_31_table table = qo_cmc_read_record_31(cmc->record_31);
  ASSERT_EQ(1u, table.count);
  float values[18];
  qo_cmc_read_record_31_entry(&table, 0, values);
  const float expected[18] = {1.0f, 1.5f, 1.0f, 1.5f, 0, 0, 0.5f, 2.0f};
  for (size_t k = 0; k < 18; ++k) EXPECT_EQ(expected[k], values[k]) << k;
}

/// Record 34 of two blocks, `before_blocks` bytes later than the writer has them, the arrays again
/// `before_arrays` bytes later. The first has a long and two short entries, the second two short
/// ones and a tail.
bytes moved_record_34(size_t before_blocks, size_t before_arrays) {
  bytes record = spread(writer::record_34(), 32 + 2 * 40, before_arrays);
  record = spread(record, 32, before_blocks);
  record.patch_u64(16, 32 + before_blocks);
  for (size_t block = 0; block < 2; ++block)
    for (const size_t field : {16u, 24u, 32u}) {
      const size_t at = 32 + before_blocks + 40 * block + field;
      if (record.u64_at(at) != 0)
        record.patch_u64(at, record.u64_at(at) + before_blocks + before_arrays);
    }
  return record;
}

void expect_short_entries(const bytes& record, size_t place, const record_34_block& block) {
  ASSERT_EQ(2u, block.short_count);
  for (uint32_t i = 0; i < block.short_count; ++i) {
    const record_34_short_entry entry = qo_cmc_read_record_34_short_entry(&block, i);
    EXPECT_EQ(record.f32_at(place + 8 * i), entry.value_0);
    EXPECT_EQ(record.u32_at(place + 8 * i + 4), entry.value_4);
  }
}

TEST(UnalignedRecord34, BlocksAndArraysAreReadWhereverTheRecordHasThem) {
  for (size_t before_blocks = 0; before_blocks <= most_shift; ++before_blocks)
    for (size_t before_arrays = 0; before_arrays <= most_shift; ++before_arrays) {
      SCOPED_TRACE(testing::Message() << before_blocks << ", " << before_arrays);
      const bytes record = moved_record_34(before_blocks, before_arrays);
      const kit::cmc_ptr cmc = parse_at(before_arrays, {record});
      ASSERT_NE(nullptr, cmc);
      ASSERT_NE(nullptr, cmc->record_34);
      const record_34_table table = qo_cmc_read_record_34(cmc->record_34);
      EXPECT_EQ(34, table.header.id);
      ASSERT_EQ(2u, table.block_count);
      EXPECT_EQ(before_blocks, reinterpret_cast<uintptr_t>(table.blocks) % 8);
      const size_t arrays = 32 + 2 * 40 + before_blocks + before_arrays;

      const record_34_block first = qo_cmc_read_record_34_block(&table, 0);
      EXPECT_EQ(0u, first.kind);
      EXPECT_EQ(7u, first.value_4);
      EXPECT_EQ(nullptr, first.tail);
      ASSERT_EQ(1u, first.long_count);
      EXPECT_EQ(arrays % 8, reinterpret_cast<uintptr_t>(first.long_entries) % 8);
      const record_34_long_entry entry = qo_cmc_read_record_34_long_entry(&first, 0);
      EXPECT_EQ(record.f32_at(arrays), entry.value_0);
      EXPECT_EQ(record.f32_at(arrays + 4), entry.value_4);
      for (size_t k = 0; k < 3; ++k)
        EXPECT_EQ(record.u32_at(arrays + 8 + 4 * k), entry.values_8[k]);
      for (size_t k = 0; k < 4; ++k)
        EXPECT_EQ(record.u16_at(arrays + 20 + 2 * k), entry.values_20[k]);
      EXPECT_EQ(0u, entry.padding_28);
      expect_short_entries(record, arrays + 32, first);

      const record_34_block second = qo_cmc_read_record_34_block(&table, 1);
      EXPECT_EQ(1u, second.kind);
      EXPECT_EQ(0u, second.long_count);
      EXPECT_EQ(nullptr, second.long_entries);
      expect_short_entries(record, arrays + 48, second);
      ASSERT_NE(nullptr, second.tail);
      for (size_t k = 0; k < 4; ++k)
        EXPECT_EQ(record.u16_at(arrays + 64 + 2 * k), qo_cmc_read_u16(second.tail, 2 * k));
    }
}

TEST(UnalignedRecord34, SynthesisedOnesAreReadTheSame) {
  const kit::cmc_ptr cmc =
      parse_at(1, {writer::record_19({.parameter = 9,
                                      .entries = {{0x00018000, 0x00010000, {1, 2, 3}, {4, 5, 6, 7}},
                                                  {0x00028000, 0x00004000, {8, 9, 10}, {11}}},
                                      .pairs = {{0x00008000, 12}}})});
  ASSERT_NE(nullptr, cmc);
  ASSERT_NE(nullptr, cmc->record_34);
  const record_34_table table = qo_cmc_read_record_34(cmc->record_34);
  ASSERT_EQ(1u, table.block_count);
  EXPECT_EQ(0u, table.padding_24);
  const record_34_block block = qo_cmc_read_record_34_block(&table, 0);
  EXPECT_EQ(9u, block.value_4);
  ASSERT_EQ(2u, block.long_count);
  ASSERT_EQ(1u, block.short_count);
  const record_34_long_entry last = qo_cmc_read_record_34_long_entry(&block, 1);
  EXPECT_EQ(2.5f, last.value_0);
  EXPECT_EQ(0.25f, last.value_4);
  EXPECT_EQ(10u, last.values_8[2]);
  EXPECT_EQ(11, last.values_20[0]);
  const record_34_short_entry entry = qo_cmc_read_record_34_short_entry(&block, 0);
  EXPECT_EQ(0.5f, entry.value_0);
  EXPECT_EQ(12u, entry.value_4);
}

TEST(UnalignedRecord34, TheShortestOneIsNotReadPastItsEnd) {
  // Its copy is a block of 24 bytes: header, no blocks, no place.
  const kit::cmc_ptr cmc =
      parse_at(0, {bytes().u32(24).u8(100).u8(0).u16(34).u32(0).u32(0).u64(0)});
  ASSERT_NE(nullptr, cmc);
  ASSERT_NE(nullptr, cmc->record_34);
  const record_34_table table = qo_cmc_read_record_34(cmc->record_34);
  EXPECT_EQ(24u, table.header.size);
  EXPECT_EQ(0u, table.block_count);
  EXPECT_EQ(nullptr, table.blocks);
  EXPECT_EQ(0u, table.padding_24);
}

}  // namespace
