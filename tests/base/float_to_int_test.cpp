#include "base/float_to_int.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace {

using qo::truncate_for_low_16;
using qo::truncate_to_i32;

template <typename Float>
class TruncateToI32 : public testing::Test {};
using float_types = testing::Types<float, double>;
TYPED_TEST_SUITE(TruncateToI32, float_types);

TYPED_TEST(TruncateToI32, DropsTheFractionTowardZero) {
  EXPECT_EQ(1, truncate_to_i32(TypeParam{1.875}));
  EXPECT_EQ(-1, truncate_to_i32(TypeParam{-1.875}));
  EXPECT_EQ(0, truncate_to_i32(TypeParam{-0.5}));
  EXPECT_EQ(0, truncate_to_i32(TypeParam{-0.0}));
  EXPECT_EQ(70000, truncate_to_i32(TypeParam{70000.75}));
}

TYPED_TEST(TruncateToI32, SaturatesBeyondTheRange) {
  constexpr TypeParam infinity = std::numeric_limits<TypeParam>::infinity();
  for (const TypeParam value : {TypeParam{2147483648.0}, TypeParam{1e30f}, infinity})
    EXPECT_EQ(INT32_MAX, truncate_to_i32(value));
  for (const TypeParam value : {TypeParam{-2147483648.0}, TypeParam{-1e30f}, -infinity})
    EXPECT_EQ(INT32_MIN, truncate_to_i32(value));
}

TYPED_TEST(TruncateToI32, SaturatesExactlyAtTheEndsOfTheRange) {
  constexpr TypeParam end = 2147483648.0;
  // While compiling, a cast that leaves the range is an error.
  static_assert(truncate_to_i32(end) == INT32_MAX);
  static_assert(truncate_to_i32(-end) == INT32_MIN);
  // At run time the value is one that no compiler can know, and has folded its own way.
  const volatile TypeParam unknown_end = end;
  const volatile TypeParam unknown_start = -end;
  EXPECT_EQ(INT32_MAX, truncate_to_i32(static_cast<TypeParam>(unknown_end)));
  EXPECT_EQ(INT32_MIN, truncate_to_i32(static_cast<TypeParam>(unknown_start)));
}

TYPED_TEST(TruncateToI32, KeepsTheLastValuesInsideTheRange) {
  const TypeParam highest = std::nextafter(TypeParam{2147483648.0}, TypeParam{0});
  EXPECT_EQ(static_cast<int32_t>(static_cast<int64_t>(highest)), truncate_to_i32(highest));
  const TypeParam lowest = std::nextafter(TypeParam{-2147483648.0}, TypeParam{0});
  EXPECT_EQ(static_cast<int32_t>(static_cast<int64_t>(lowest)), truncate_to_i32(lowest));
}

TYPED_TEST(TruncateToI32, GivesZeroForANan) {
  EXPECT_EQ(0, truncate_to_i32(std::numeric_limits<TypeParam>::quiet_NaN()));
  EXPECT_EQ(0, truncate_to_i32(-std::numeric_limits<TypeParam>::quiet_NaN()));
}

TEST(TruncateToI32OfDouble, KeepsFractionsJustOutsideTheIntegers) {
  EXPECT_EQ(INT32_MAX, truncate_to_i32(2147483647.75));
  EXPECT_EQ(INT32_MIN, truncate_to_i32(-2147483648.75));
}

TEST(TruncateForLow16, HasTheLow16BitsOfTheSaturatedValue) {
  constexpr float infinity = std::numeric_limits<float>::infinity();
  constexpr float nan = std::numeric_limits<float>::quiet_NaN();
  for (const float value : {0x1p31f, 1e30f, infinity})
    EXPECT_EQ(0xffff, static_cast<uint16_t>(truncate_for_low_16(value)));
  for (const float value : {-0x1p31f, -1e30f, -infinity, nan, -nan})
    EXPECT_EQ(0, static_cast<uint16_t>(truncate_for_low_16(value)));
  // While compiling, a cast that leaves the range is an error: at run time x86 hides it here.
  static_assert(static_cast<uint16_t>(truncate_for_low_16(0x1p31f)) == 0xffff);
  static_assert(static_cast<uint16_t>(truncate_for_low_16(-0x1p31f)) == 0);
  const volatile float unknown_end = 0x1p31f;
  const volatile float unknown_start = -0x1p31f;
  EXPECT_EQ(0xffff, static_cast<uint16_t>(truncate_for_low_16(unknown_end)));
  EXPECT_EQ(0, static_cast<uint16_t>(truncate_for_low_16(unknown_start)));
  EXPECT_EQ(24464, static_cast<uint16_t>(truncate_for_low_16(90000.5f)));
  EXPECT_EQ(65535, static_cast<uint16_t>(truncate_for_low_16(-1.5f)));
}

TEST(TruncateToI32OfFloat, EqualsTheRuleForRandomBits) {
  std::mt19937 random(7);
  for (int i = 0; i < 1000000; ++i) {
    const uint32_t bits = static_cast<uint32_t>(random());
    float value;
    std::memcpy(&value, &bits, sizeof value);
    int32_t expected = 0;
    if (value >= 0x1p31f)
      expected = INT32_MAX;
    else if (value < -0x1p31f)
      expected = INT32_MIN;
    else if (!std::isnan(value))
      expected = static_cast<int32_t>(value);
    ASSERT_EQ(expected, truncate_to_i32(value)) << value;
    ASSERT_EQ(static_cast<uint16_t>(expected), static_cast<uint16_t>(truncate_for_low_16(value)))
        << value;
  }
}

}  // namespace
