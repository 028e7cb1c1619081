// Kind 15: four sections in the kept copy and a sub-table of its own.
#include <gtest/gtest.h>

#include "tests/kit/decoder_fixture.h"
#include "tests/kit/fake_platform.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;
using writer::bytes;

const kit::log_message null_message = {0, "memcpy_s: nullptr received\n"};

struct layout_case {
  const char* name;
  uint16_t a, b;
  std::vector<uint16_t> counts;
  size_t least;                      ///< smallest record that is kept
  size_t least_table;                ///< smallest record whose sub-table is complete
  size_t sections[3];                ///< where sections 1 to 3 start
  std::vector<size_t> entry_starts;  ///< where the sub-table's entries start
};

const layout_case cases[] = {
    {"nothing", 0, 0, {}, 16, 16, {12, 12, 12}, {}},
    {"an_empty_entry", 0, 0, {0}, 16, 32, {12, 12, 12}, {14}},
    {"three_items_and_one_value", 1, 0, {1}, 40, 56, {20, 28, 36}, {38}},
    {"one_item_and_no_entry", 0, 1, {}, 24, 24, {12, 12, 12}, {}},
    {"nine_items_and_three_entries", 2, 3, {2, 0, 3}, 88, 144, {28, 44, 60}, {86, 106, 118}},
    {"entries_that_end_on_a_multiple_of_8", 0, 0, {0, 6}, 16, 64, {12, 12, 12}, {14, 26}},
};

bytes sample(const layout_case& c) {
  return writer::record_15({.a = c.a, .b = c.b, .entry_counts = c.counts});
}

std::vector<kit::slot_value> kept_slots(const layout_case& c, const kit::decoded& result,
                                        const record_15_sub_table* table) {
  return {{23, result.copy},
          {24, result.copy + 12},
          {25, result.copy + c.sections[0]},
          {26, result.copy + c.sections[1]},
          {27, result.copy + c.sections[2]},
          {28, table},
          {29, c.a | uint64_t{c.b} << 16}};
}

void expect_sub_table(kit::decoder_fixture& decoder, const layout_case& c, const bytes& record) {
  const record_15_sub_table* const table = decoder.cmc().record_15.sub_table;
  ASSERT_TRUE(decoder.ledger().holds(table));
  EXPECT_EQ(c.counts.size(), table->count);
  ASSERT_TRUE(decoder.ledger().holds(table->entries));
  for (size_t i = 0; i < c.counts.size(); ++i) {
    SCOPED_TRACE(testing::Message() << "entry " << i);
    const record_15_entry& entry = table->entries[i];
    const size_t start = c.entry_starts[i];
    const size_t array_bytes = size_t{2} * c.counts[i];
    bytes expected;
    expected.raw(record.data() + start, 12).zeros(4);
    EXPECT_EQ(expected, kit::bytes_at(&entry, 16));
    EXPECT_NE(entry.array_first, entry.array_second);
    ASSERT_TRUE(decoder.ledger().holds(entry.array_first));
    ASSERT_TRUE(decoder.ledger().holds(entry.array_second));
    EXPECT_EQ(bytes().raw(record.data() + start + 12, array_bytes),
              kit::bytes_at(entry.array_first, array_bytes));
    EXPECT_EQ(bytes().raw(record.data() + start + 12 + array_bytes, array_bytes),
              kit::bytes_at(entry.array_second, array_bytes));
  }
  EXPECT_EQ(3 + 2 * c.counts.size(), decoder.owned_blocks());
}

class Record15 : public testing::TestWithParam<layout_case> {
 protected:
  kit::fake_platform platform_;
};

TEST_P(Record15, AtEveryLengthHoldsWhatFits) {
  const layout_case& c = GetParam();
  ASSERT_EQ(c.least_table, sample(c).size());
  for (const uint8_t version : std::vector<uint8_t>{99, 100, 101, 104}) {
    for (size_t size = 8; size <= c.least_table + 8; ++size) {
      SCOPED_TRACE(testing::Message() << "version " << int{version} << ", size " << size);
      const bytes record = writer::resized(sample(c), size).patch_u8(4, version);
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(record);
      EXPECT_EQ(0u, result.code);
      if (size < c.least) {
        EXPECT_EQ(copy_fate::leaked, result.fate);
        EXPECT_TRUE(decoder.empty());
        EXPECT_EQ(0u, decoder.owned_blocks());
        continue;
      }
      ASSERT_EQ(copy_fate::kept, result.fate);
      const record_15_sub_table* const table = decoder.cmc().record_15.sub_table;
      EXPECT_TRUE(decoder.holds_only(kept_slots(c, result, table)));
      EXPECT_EQ(record, kit::bytes_at(result.copy, size));
      if (size < c.least_table) {
        EXPECT_EQ(nullptr, table);
        EXPECT_EQ(1u, decoder.owned_blocks());
      } else {
        expect_sub_table(decoder, c, record);
      }
    }
  }
  EXPECT_TRUE(platform_.messages().empty());
}

TEST_P(Record15, WithoutMemoryThereIsNoSubTable) {
  const layout_case& c = GetParam();
  size_t reported = 0;
  const size_t runs = kit::fail_each_allocation([&](kit::decoder_fixture& decoder, size_t) {
    const kit::decoded result = decoder.decode(sample(c));
    EXPECT_EQ(0u, result.code);
    ASSERT_EQ(copy_fate::kept, result.fate);
    if (decoder.ledger().failures() == 0) return;
    EXPECT_TRUE(decoder.holds_only(kept_slots(c, result, nullptr)));
    EXPECT_EQ(1u, decoder.owned_blocks());
    ++reported;  // one message each, for the head too
    EXPECT_EQ(std::vector<kit::log_message>(reported, null_message), platform_.messages());
  });
  // The head, the entries, and two arrays of each, an empty one included.
  EXPECT_EQ(2 + 2 * c.counts.size(), runs);
}

INSTANTIATE_TEST_SUITE_P(Layouts, Record15, testing::ValuesIn(cases), kit::row_name);

// The sample with nine items and entries at 86, 106 and 118; its count of entries stands at 84.
TEST(Record15SubTable, OfAnEntryThatLeavesTheRecordIsDroppedWhole) {
  const struct {
    const char* name;
    size_t offset;
    uint16_t value;
  } patches[] = {
      {"one_entry_too_many", 84, 4},
      {"first_entrys_values", 86 + 10, 65535},
      {"second_entrys_values", 106 + 10, 65535},
      {"last_entrys_values", 118 + 10, 65535},
      {"last_entry_one_value_too_many", 118 + 10, 4},
      {"all_entries_too_many", 84, 65535},
  };
  for (const auto& patch : patches) {
    SCOPED_TRACE(patch.name);
    const kit::fake_platform platform;
    kit::decoder_fixture decoder;
    const bytes record = writer::record_15().patch_u16(patch.offset, patch.value);
    const kit::decoded result = decoder.decode(record);
    EXPECT_EQ(0u, result.code);
    ASSERT_EQ(copy_fate::kept, result.fate);
    EXPECT_TRUE(decoder.holds_only(kept_slots(cases[4], result, nullptr)));
    EXPECT_EQ(1u, decoder.owned_blocks());
    EXPECT_EQ(record, kit::bytes_at(result.copy, record.size()));
    EXPECT_TRUE(platform.messages().empty()) << "only a missing allocation is reported";
  }
}

TEST(Record15SubTable, NoRoomIsReservedForEntriesThatTheRecordCannotHold) {
  kit::decoder_fixture decoder;
  EXPECT_EQ(copy_fate::kept, decoder.decode(writer::record_15().patch_u16(84, 65535)).fate);
  EXPECT_LE(decoder.ledger().peak_bytes(), 4 * writer::record_15().size() + sizeof(parsed_cmc));
}

TEST(Record15SubTable, WithFewerEntriesThanTheRecordHoldsTakesThoseAlone) {
  kit::decoder_fixture decoder;
  EXPECT_EQ(copy_fate::kept, decoder.decode(writer::record_15().patch_u16(84, 1)).fate);
  ASSERT_TRUE(decoder.cmc().record_15.sub_table);
  EXPECT_EQ(1u, decoder.cmc().record_15.sub_table->count);
  EXPECT_EQ(5u, decoder.owned_blocks());
}

TEST(Record15Counts, TheLargestOnesAreNotCutTo16Bits) {
  // (3 * 65535 + 65535) * 8 + 16 = 2097136; the sub-table's count is the two bytes at 2097132.
  const bytes whole = writer::record_15({.a = 65535, .b = 65535, .entry_counts = {}});
  ASSERT_EQ(2097136u, whole.size());
  for (const size_t size : std::vector<size_t>{2097135, 2097136}) {
    SCOPED_TRACE(size);
    kit::decoder_fixture decoder;
    const kit::decoded result = decoder.decode(writer::resized(whole, size));
    if (size == 2097135) {
      EXPECT_EQ(copy_fate::leaked, result.fate);
      EXPECT_TRUE(decoder.empty());
      continue;
    }
    ASSERT_EQ(copy_fate::kept, result.fate);
    EXPECT_EQ(result.copy + 12 + 524280, decoder.cmc().record_15.section_1);
    EXPECT_EQ(result.copy + 12 + 1048560, decoder.cmc().record_15.section_2);
    EXPECT_EQ(result.copy + 12 + 1572840, decoder.cmc().record_15.section_3);
    EXPECT_EQ(65535u, decoder.cmc().record_15.counts.a);
    EXPECT_EQ(65535u, decoder.cmc().record_15.counts.b);
    EXPECT_NE(nullptr, decoder.cmc().record_15.sub_table);
  }
}

}  // namespace
