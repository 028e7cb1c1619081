// Kind 14: kept when its steps fit, released otherwise.
#include <gtest/gtest.h>

#include "tests/kit/decoder_fixture.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;
using writer::bytes;

struct step_case {
  const char* name;
  uint16_t first, last, step;
  size_t least;  ///< smallest record that is kept
};

const step_case cases[] = {
    {"no_distance", 100, 100, 1, 24},
    {"less_than_a_step", 100, 109, 10, 24},
    {"one_step", 100, 110, 10, 32},
    {"three_steps_and_a_part", 100, 131, 10, 48},
    {"four_steps", 100, 140, 10, 56},
    {"steps_of_one", 0, 5, 1, 64},
    {"steps_from_the_upper_half", 65530, 65535, 1, 64},
    {"across_the_sign_of_16_bits", 32760, 32775, 5, 48},
    {"a_step_above_the_sign", 0, 65535, 40000, 32},
    {"one_step_over_everything", 0, 65535, 65535, 32},
};

bytes sample(const step_case& c, size_t size) {
  const bytes whole = writer::plain_record(14, {.size = 80})
                          .patch_u16(8, c.first)
                          .patch_u16(10, c.last)
                          .patch_u16(12, c.step);
  return writer::resized(whole, size);
}

class Record14 : public testing::TestWithParam<step_case> {};

TEST_P(Record14, AtEveryLengthAndVersionIsKeptOnlyWhenItsStepsFit) {
  for (const uint8_t version : std::vector<uint8_t>{99, 100, 101, 104}) {
    for (size_t size = 8; size <= GetParam().least + 8; ++size) {
      SCOPED_TRACE(testing::Message() << "version " << int{version} << ", size " << size);
      const bytes record = sample(GetParam(), size).patch_u8(4, version);
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(record);
      EXPECT_EQ(0u, result.code);
      EXPECT_EQ(0u, decoder.ledger().allocations());
      if (size < GetParam().least) {
        EXPECT_EQ(copy_fate::released, result.fate);
        EXPECT_TRUE(decoder.empty());
      } else {
        ASSERT_EQ(copy_fate::kept, result.fate);
        EXPECT_TRUE(decoder.holds_only({{21, result.copy}, {22, result.copy + 14}}));
        EXPECT_EQ(record, kit::bytes_at(result.copy, size));
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Steps, Record14, testing::ValuesIn(cases), kit::row_name);

TEST(Record14Steps, TheLargestNumberIsNotCutTo16Bits) {
  // 8 * 65535 + 24
  const bytes whole = writer::plain_record(14, {.size = 524304})
                          .patch_u16(8, 0)
                          .patch_u16(10, 65535)
                          .patch_u16(12, 1);
  for (const size_t size : std::vector<size_t>{524303, 524304}) {
    SCOPED_TRACE(size);
    kit::decoder_fixture decoder;
    EXPECT_EQ(size == 524304 ? copy_fate::kept : copy_fate::released,
              decoder.decode(writer::resized(whole, size)).fate);
  }
}

// No length makes these good: the slot stays empty and the copy is released.
const step_case malformed[] = {
    {"step_0", 100, 131, 0, 0},
    {"step_0_and_no_distance", 100, 100, 0, 0},
    {"all_zero", 0, 0, 0, 0},
    {"last_one_below_first", 100, 99, 1, 0},
    {"last_far_below_first", 65535, 0, 65535, 0},
    {"last_less_than_a_step_below_first", 100, 95, 10, 0},
};

TEST(Record14Steps, OfNoneOrBackwardsAreMalformedAtAnyLength) {
  for (const step_case& c : malformed) {
    for (size_t size = 8; size <= 80; ++size) {
      SCOPED_TRACE(testing::Message() << c.name << ", size " << size);
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(sample(c, size));
      EXPECT_EQ(0u, result.code);
      EXPECT_EQ(copy_fate::released, result.fate);
      EXPECT_TRUE(decoder.empty());
    }
  }
}

TEST(Record14Steps, BackwardsAreMalformedAlsoInARecordThatCouldHoldThemModulo32Bits) {
  // (10 - 65535) / 65535 in unsigned 32 bits is 65537: 524320 bytes would hold these steps.
  const bytes record = writer::plain_record(14, {.size = 524320})
                           .patch_u16(8, 65535)
                           .patch_u16(10, 10)
                           .patch_u16(12, 65535);
  kit::decoder_fixture decoder;
  EXPECT_EQ(copy_fate::released, decoder.decode(record).fate);
  EXPECT_TRUE(decoder.empty());
}

}  // namespace
