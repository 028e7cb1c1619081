// Kinds whose slot is the record copy and addresses into it: 5 to 8, 17 to 19, 21 and 23.
#include <gtest/gtest.h>

#include "tests/kit/decoder_fixture.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;
using writer::bytes;

/// A slot that holds an address, as a count of bytes from the start of the copy.
struct place {
  size_t slot;
  size_t offset;
};

struct kept_case {
  const char* name;
  bytes content;
  size_t least;  ///< smallest record that is kept
  std::vector<place> stored;
};

// Records 16, 18 and 19 of no more than their counts and filler after them.
bytes with_counts(uint16_t id, size_t size, std::vector<std::pair<size_t, uint16_t>> counts,
                  uint8_t version = 100) {
  bytes record =
      writer::plain_record(id, {.size = static_cast<uint32_t>(size), .version = version});
  for (const auto& [offset, count] : counts) record.patch_u16(offset, count);
  return record;
}

// The kind that takes any record.
const kept_case unconditional_cases[] = {
    {"record_8", writer::record_8(), 8, {{12, 0}}},
    {"record_8_version_101", writer::record_8({.version = 101}), 8, {{12, 0}}},
};

const kept_case cases[] = {
    {"record_5", writer::record_5(), 16, {{8, 0}}},
    {"record_5_version_104", writer::record_5({.version = 104}), 16, {{8, 0}}},
    {"record_7", writer::record_7(), 16, {{11, 0}}},
    {"record_7_version_99", writer::record_7({.version = 99}), 16, {{11, 0}}},
    {"record_21", writer::record_21(), 16, {{46, 0}}},
    {"record_21_version_101", writer::record_21({.version = 101}), 16, {{46, 0}}},
    {"record_23", writer::record_23({.size = 32}), 24, {{44, 0}}},
    {"record_23_version_101", writer::record_23({.size = 32, .version = 101}), 24, {{44, 0}}},
    // 2 (8 + sum), padded
    {"record_6_without_values", writer::record_6({.counts = {0, 0, 0, 0}}), 16, {{9, 0}, {10, 16}}},
    {"record_6_one_value_first",
     writer::record_6({.counts = {1, 0, 0, 0}}),
     24,
     {{9, 0}, {10, 16}}},
    {"record_6_one_value_second",
     writer::record_6({.counts = {0, 1, 0, 0}}),
     24,
     {{9, 0}, {10, 16}}},
    {"record_6_one_value_third",
     writer::record_6({.counts = {0, 0, 1, 0}}),
     24,
     {{9, 0}, {10, 16}}},
    {"record_6_one_value_last", writer::record_6({.counts = {0, 0, 0, 1}}), 24, {{9, 0}, {10, 16}}},
    {"record_6_four_values", writer::record_6({.counts = {1, 1, 1, 1}}), 24, {{9, 0}, {10, 16}}},
    {"record_6_five_values", writer::record_6({.counts = {1, 1, 1, 2}}), 32, {{9, 0}, {10, 16}}},
    {"record_6_version_101",
     writer::record_6({.counts = {9, 1, 1, 2}, .version = 101}),
     48,
     {{9, 0}, {10, 16}}},
    {"record_17_version_0", writer::record_17({.version = 0}), 16, {{32, 0}}},
    {"record_17_version_99", writer::record_17({.version = 99}), 16, {{32, 0}}},
    {"record_17_version_100", writer::record_17({.version = 100}), 16, {{32, 0}}},
    {"record_17_version_101", writer::record_17({.version = 101}), 16, {{32, 0}, {33, 14}}},
    {"record_17_version_104", writer::record_17({.version = 104}), 16, {{32, 0}, {33, 14}}},
    {"record_17_version_255", writer::record_17({.version = 255}), 16, {{32, 0}, {33, 14}}},
    // 10 + 84 n, padded; the tail from version 101 on
    {"record_18_without_entries",
     writer::record_18({.count = 0}),
     16,
     {{34, 0}, {35, 10}, {36, 10}}},
    {"record_18_one_entry",
     writer::record_18({.count = 1, .version = 100}),
     96,
     {{34, 0}, {35, 10}}},
    {"record_18_version_99", writer::record_18({.version = 99}), 184, {{34, 0}, {35, 10}}},
    {"record_18_version_100", writer::record_18({.version = 100}), 184, {{34, 0}, {35, 10}}},
    {"record_18_version_101", writer::record_18(), 184, {{34, 0}, {35, 10}, {36, 178}}},
    {"record_18_version_102",
     writer::record_18({.version = 102}),
     184,
     {{34, 0}, {35, 10}, {36, 178}}},
    {"record_18_version_255",
     writer::record_18({.tail_bytes = 0, .version = 255}),
     184,
     {{34, 0}, {35, 10}, {36, 178}}},
    // 16 + 28 n + 8 m, padded
    {"record_19_without_entries",
     with_counts(19, 32, {{12, 0}, {14, 0}}),
     16,
     {{37, 0}, {38, 16}, {39, 16}}},
    {"record_19_one_entry",
     with_counts(19, 64, {{12, 1}, {14, 0}}),
     48,
     {{37, 0}, {38, 16}, {39, 44}}},
    {"record_19_one_pair",
     with_counts(19, 64, {{12, 0}, {14, 1}}),
     24,
     {{37, 0}, {38, 16}, {39, 16}}},
    {"record_19_entries_and_pairs",
     writer::record_19({.version = 101}),
     96,
     {{37, 0}, {38, 16}, {39, 72}}},
    {"record_19_version_104",
     with_counts(19, 64, {{12, 1}, {14, 1}}, 104),
     56,
     {{37, 0}, {38, 16}, {39, 44}}},
};

std::vector<kit::slot_value> slots_in(const kept_case& c, const uint8_t* copy) {
  std::vector<kit::slot_value> slots;
  for (const place& stored : c.stored) slots.emplace_back(stored.slot, copy + stored.offset);
  return slots;
}

class KeptRecord : public testing::TestWithParam<kept_case> {};
class BoundedKeptRecord : public KeptRecord {};

TEST_P(BoundedKeptRecord, EveryShorterRecordIsLeakedAndLeavesTheSlotEmpty) {
  for (size_t size = 8; size < GetParam().least; ++size) {
    SCOPED_TRACE(size);
    kit::decoder_fixture decoder;
    const kit::decoded result = decoder.decode(writer::resized(GetParam().content, size));
    EXPECT_EQ(0u, result.code);
    EXPECT_EQ(copy_fate::leaked, result.fate);
    EXPECT_TRUE(decoder.empty());
  }
}

TEST_P(KeptRecord, IsKeptByteForByteFromItsLeastSizeOn) {
  for (size_t size = GetParam().least; size <= GetParam().least + 9; ++size) {
    SCOPED_TRACE(size);
    const bytes record = writer::resized(GetParam().content, size);
    kit::decoder_fixture decoder;
    const kit::decoded result = decoder.decode(record);
    EXPECT_EQ(0u, result.code);
    ASSERT_EQ(copy_fate::kept, result.fate);
    EXPECT_TRUE(decoder.holds_only(slots_in(GetParam(), result.copy)));
    EXPECT_EQ(record, kit::bytes_at(result.copy, size));
    EXPECT_EQ(0u, decoder.ledger().allocations());
  }
}

INSTANTIATE_TEST_SUITE_P(Any, KeptRecord, testing::ValuesIn(unconditional_cases), kit::row_name);
INSTANTIATE_TEST_SUITE_P(Bounded, KeptRecord, testing::ValuesIn(cases), kit::row_name);
INSTANTIATE_TEST_SUITE_P(Bounded, BoundedKeptRecord, testing::ValuesIn(cases), kit::row_name);

TEST(KeptRecordCounts, TheLargestOnesAreNotCutTo16Bits) {
  const struct {
    const char* name;
    bytes content;
    size_t least;
  } largest[] = {
      // 2 (8 + 4 * 255) = 2056
      {"record_6", writer::record_6({.counts = {255, 255, 255, 255}}), 2056},
      // 14 + 4 * 65535 = 262154
      {"record_16", with_counts(16, 262160, {{12, 65535}}), 262160},
      // 10 + 84 * 65535 = 5504950
      {"record_18", with_counts(18, 5504952, {{8, 65535}}), 5504952},
      // 16 + 28 * 65535 + 8 * 65535 = 2359276
      {"record_19", with_counts(19, 2359280, {{12, 65535}, {14, 65535}}), 2359280},
  };
  for (const auto& c : largest) {
    SCOPED_TRACE(c.name);
    {
      kit::decoder_fixture decoder;
      EXPECT_EQ(copy_fate::leaked, decoder.decode(writer::resized(c.content, c.least - 1)).fate);
    }
    kit::decoder_fixture decoder;
    EXPECT_EQ(copy_fate::kept, decoder.decode(writer::resized(c.content, c.least)).fate);
  }
}

}  // namespace
