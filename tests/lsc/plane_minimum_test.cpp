#include "lsc/plane_minimum.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "tests/kit/same_bits.h"
#include "tests/lsc/plain_lens_shading.h"

namespace {

constexpr float nan_value = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

float minimum(const plain::floats& values) {
  return qo::running_minimum(values.data(), values.size());
}

TEST(RunningMinimum, OfOneValueIsThatValue) {
  EXPECT_EQ(3.0f, minimum({3.0f}));
  EXPECT_TRUE(std::isnan(minimum({nan_value})));
}

TEST(RunningMinimum, LosesANanToTheNextValue) {
  EXPECT_EQ(5.0f, minimum({1.0f, nan_value, 5.0f}));
  EXPECT_EQ(2.0f, minimum({nan_value, 5.0f, 2.0f, 3.0f}));
}

TEST(RunningMinimum, KeepsANanInTheLastPlaceOnly) {
  for (const size_t count : {2u,  7u,  8u,  9u,  15u,  16u,  17u,  31u,  32u,  33u,
                             63u, 64u, 65u, 80u, 101u, 127u, 128u, 129u, 140u, 200u}) {
    for (size_t place = 0; place < count; ++place) {
      plain::floats values(count, 4.0f);
      values[0] = 1.0f;  // forgotten when a NaN comes after it
      values[place] = nan_value;
      if (place == count - 1) {
        EXPECT_TRUE(std::isnan(minimum(values))) << count;
      } else {
        EXPECT_EQ(4.0f, minimum(values)) << count << " place " << place;
      }
    }
  }
}

TEST(RunningMinimum, EqualsThePlainRuleForRandomValuesWithAndWithoutNans) {
  std::mt19937 random(41);
  std::uniform_real_distribution<float> value(-5.0f, 50.0f);
  for (size_t count = 1; count <= 140; ++count) {
    for (int round = 0; round < 40; ++round) {
      plain::floats values(count);
      for (float& v : values) {
        v = value(random);
        if (round % 2 != 0 && random() % 16 == 0) v = nan_value;
        if (round % 5 == 0 && random() % 16 == 0) v = random() % 2 != 0 ? infinity : -infinity;
      }
      EXPECT_TRUE(kit::same_bits(minimum(values), plain::running_minimum(values))) << count;
    }
  }
}

TEST(PlaneNormalisation, DividesByTheMinimum) {
  plain::floats values = {2.0f, 4.0f, 3.0f};
  ASSERT_TRUE(qo::normalise_to_minimum(values.data(), values.size()));
  EXPECT_EQ((plain::floats{1.0f, 2.0f, 1.5f}), values);
}

TEST(PlaneNormalisation, TurnsWhatIsNotAboveOneIntoOne) {
  // The NaN hides the 1 before it, so that the minimum is 2; both then end as 1.
  plain::floats values = {1.0f, nan_value, 2.0f, 8.0f};
  ASSERT_TRUE(qo::normalise_to_minimum(values.data(), values.size()));
  EXPECT_EQ((plain::floats{1.0f, 1.0f, 1.0f, 4.0f}), values);
  values = {infinity, infinity};
  ASSERT_TRUE(qo::normalise_to_minimum(values.data(), values.size()));
  EXPECT_EQ((plain::floats{1.0f, 1.0f}), values);
}

TEST(PlaneNormalisation, RefusesAMinimumThatIsNotAboveZeroAndLeavesThePlane) {
  for (const float last : {0.0f, -0.0f, -1.0f, -infinity, nan_value}) {
    plain::floats values(19, 3.0f);
    values.back() = last;
    const plain::floats before = values;
    EXPECT_FALSE(qo::normalise_to_minimum(values.data(), values.size())) << last;
    EXPECT_EQ(19u, plain::first_difference(before.data(), values.data(), 19));
  }
  plain::floats smallest = {std::numeric_limits<float>::denorm_min()};
  EXPECT_TRUE(qo::normalise_to_minimum(smallest.data(), 1));
}

TEST(PlaneNormalisation, EqualsThePlainRule) {
  std::mt19937 random(42);
  std::uniform_real_distribution<float> value(0.5f, 50.0f);
  for (size_t count = 1; count <= 140; ++count) {
    plain::floats values(count);
    for (float& v : values) v = random() % 20 == 0 ? nan_value : value(random);
    plain::floats expected = values;
    const bool positive = plain::normalise(expected);
    ASSERT_EQ(qo::normalise_to_minimum(values.data(), count), positive);
    EXPECT_EQ(plain::first_difference(expected.data(), values.data(), count), count);
  }
}

}  // namespace
