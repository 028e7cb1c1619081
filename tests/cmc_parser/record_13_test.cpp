// Kind 13: a list of values and four parameters.
#include <gtest/gtest.h>

#include <array>

#include "tests/kit/decoder_fixture.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;
using writer::bytes;
using params = std::array<uint16_t, 4>;

uint64_t word(const params& p) {
  return p[0] | uint64_t{p[1]} << 16 | uint64_t{p[2]} << 32 | uint64_t{p[3]} << 48;
}

struct count_case {
  const char* name;
  uint16_t count;
  size_t least;            ///< smallest record that is kept
  size_t least_first;      ///< smallest that has parameter 0
  size_t least_following;  ///< smallest that has parameters 1 to 3
};

// 72 + 2n, 74 + 2n and 80 + 2n, each padded to a multiple of 8.
const count_case cases[] = {
    {"no_values", 0, 72, 80, 80},   {"one_value", 1, 80, 80, 88},   {"three_values", 3, 80, 80, 88},
    {"four_values", 4, 80, 88, 88}, {"five_values", 5, 88, 88, 96},
};

// The values are followed by the parameters 11, 12, 260, 1010 and then zeros, in every version.
bytes sample(uint16_t count, uint8_t version) {
  return writer::resized(writer::record_13({.count = count, .version = 102}),
                         72 + size_t{2} * count + 32)
      .patch_u8(4, version);
}

class Record13 : public testing::TestWithParam<count_case> {};

TEST_P(Record13, AtEveryLengthAndVersionHoldsWhatFits) {
  const count_case& c = GetParam();
  for (const uint8_t version : std::vector<uint8_t>{0, 99, 100, 101, 102, 103, 104, 255}) {
    for (size_t size = 8; size <= c.least_following + 8; ++size) {
      SCOPED_TRACE(testing::Message() << "version " << int{version} << ", size " << size);
      const bytes record = writer::resized(sample(c.count, version), size);
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(record);
      EXPECT_EQ(0u, result.code);
      if (size < c.least) {
        EXPECT_EQ(copy_fate::leaked, result.fate);
        EXPECT_TRUE(decoder.holds_only({{20, word({0, 1, 250, 1000})}}));
        EXPECT_EQ(0u, decoder.ledger().allocations());
        continue;
      }
      params expected = {0, 1, 250, 1000};
      if (version >= 101 && size >= c.least_first) expected[0] = 11;
      if (version >= 102 && size >= c.least_following) expected = {11, 12, 260, 1010};
      EXPECT_EQ(copy_fate::kept, result.fate);
      const uint16_t* const values = decoder.cmc().record_13.values;
      ASSERT_TRUE(decoder.ledger().holds(values));
      EXPECT_TRUE(decoder.holds_only({{18, result.copy}, {19, values}, {20, word(expected)}}));
      EXPECT_EQ(record, kit::bytes_at(result.copy, size));
      EXPECT_EQ(bytes().raw(record.data() + 72, size_t{2} * c.count),
                kit::bytes_at(values, size_t{2} * c.count));
      EXPECT_EQ(2u, decoder.owned_blocks());
    }
  }
}

TEST_P(Record13, WithoutMemoryTheValuesAreMissingAlone) {
  const size_t runs = kit::fail_each_allocation([](kit::decoder_fixture& decoder, size_t n) {
    const kit::decoded result = decoder.decode(sample(GetParam().count, 102));
    EXPECT_EQ(0u, result.code);
    EXPECT_EQ(copy_fate::kept, result.fate);
    if (n == 0) {
      EXPECT_TRUE(decoder.holds_only({{18, result.copy}, {20, word({11, 12, 260, 1010})}}));
    }
  });
  EXPECT_EQ(1u, runs);
}

INSTANTIATE_TEST_SUITE_P(Counts, Record13, testing::ValuesIn(cases), kit::row_name);

TEST(Record13Count, OfTheLargestListIsNotCutTo16Bits) {
  // 72 + 2 * 65535 = 131142, padded 131144.
  const bytes whole = sample(65535, 100);
  for (const size_t size : std::vector<size_t>{131143, 131144}) {
    SCOPED_TRACE(size);
    kit::decoder_fixture decoder;
    const kit::decoded result = decoder.decode(writer::resized(whole, size));
    EXPECT_EQ(size == 131144 ? copy_fate::kept : copy_fate::leaked, result.fate);
    if (size == 131144) {
      EXPECT_EQ(bytes().raw(whole.data() + 72, 131070),
                kit::bytes_at(decoder.cmc().record_13.values, 131070));
    }
  }
}

TEST(Record13Count, BeyondTheRecordReservesNoRoom) {
  kit::decoder_fixture decoder;
  EXPECT_EQ(copy_fate::leaked, decoder.decode(sample(5, 102).patch_u16(70, 65535)).fate);
  EXPECT_EQ(0u, decoder.ledger().allocations());
}

}  // namespace
