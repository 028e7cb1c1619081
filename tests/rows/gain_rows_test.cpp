// Gain planes, in the table that the test's environment names.

#include "rows/gain_rows.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "rows/row_table.h"
#include "tests/kit/guarded_buffer.h"
#include "tests/kit/same_bits.h"
#include "tests/lsc/plain_lens_shading.h"

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float nan_value = std::numeric_limits<float>::quiet_NaN();

/// Gains of every kind: mostly about 1, some that leave 16 bits, 32 bits, or are no number.
plain::floats random_gains(size_t count, std::mt19937& random) {
  constexpr float extremes[] = {nan_value, infinity, -infinity, 0.0f,     -0.0f,    -0.5f,
                                3e38f,     -3e38f,   1e-42f,    32768.0f, 65536.0f, -65536.0f};
  std::uniform_real_distribution<float> value(-1.0f, 4.0f);
  plain::floats gains(count);
  for (float& gain : gains)
    gain = random() % 6 == 0 ? extremes[random() % std::size(extremes)] : value(random);
  return gains;
}

struct placement {
  kit::guard_side side;
  size_t shift;  ///< bytes from the guarded end
  [[nodiscard]] size_t first() const { return side == kit::guard_side::before ? shift : 0; }
};

/// One plane scaled between inaccessible pages, at any address; every other byte is untouched.
void expect_plain_scale(size_t count, const placement& place, bool in_place, std::mt19937& random) {
  const plain::floats gains = random_gains(count, random);
  kit::guarded_buffer gain_bytes(4 * count + place.shift, place.side);
  kit::guarded_buffer source_bytes(2 * count + place.shift, place.side);
  kit::guarded_buffer target_bytes(2 * count + place.shift, place.side);
  std::memset(target_bytes.data(), 0xa5, target_bytes.size());
  std::memset(source_bytes.data(), 0xa5, source_bytes.size());
  if (count != 0) std::memcpy(gain_bytes.data() + place.first(), gains.data(), 4 * count);
  std::vector<uint8_t> expected(target_bytes.size(), 0xa5);
  for (size_t i = 0; i < count; ++i) {
    const auto sample = static_cast<uint16_t>(random());
    std::memcpy(source_bytes.data() + place.first() + 2 * i, &sample, 2);
    const uint16_t result = plain::corrected(sample, gains[i]);
    std::memcpy(expected.data() + place.first() + 2 * i, &result, 2);
  }
  kit::guarded_buffer& written = in_place ? source_bytes : target_bytes;
  qo::rows().gains.scale(reinterpret_cast<const uint16_t*>(source_bytes.data() + place.first()),
                         reinterpret_cast<const float*>(gain_bytes.data() + place.first()),
                         reinterpret_cast<uint16_t*>(written.data() + place.first()), count);
  ASSERT_EQ(expected, std::vector<uint8_t>(written.data(), written.data() + written.size()))
      << count << " samples, " << place.shift << " bytes from the guard"
      << (in_place ? ", in place" : "");
}

TEST(GainRows, ScalingIsThePlainRuleAtEveryLengthAndInPlace) {
  std::mt19937 random(71);
  for (size_t count = 0; count <= 300; ++count)
    for (const kit::guard_side side : {kit::guard_side::before, kit::guard_side::behind})
      for (const bool in_place : {false, true})
        ASSERT_NO_FATAL_FAILURE(expect_plain_scale(count, {side, count % 3}, in_place, random));
}

TEST(GainRows, ScalingIsThePlainRuleAtEveryAddress) {
  std::mt19937 random(72);
  for (size_t shift = 0; shift <= 130; ++shift)
    for (const size_t count : {5u, 127u, 128u, 200u, 256u})
      for (const bool in_place : {false, true})
        ASSERT_NO_FATAL_FAILURE(
            expect_plain_scale(count, {kit::guard_side::before, shift}, in_place, random));
}

TEST(GainRows, OneGainOfAnotherKindCountsAtEveryPlaceAndChangesNoOther) {
  constexpr size_t count = 300;
  for (const float gain : {nan_value, infinity, -infinity, 3e38f, -3e38f, -2.5f, 32768.0f}) {
    for (size_t place = 0; place < count; ++place) {
      plain::floats gains(count, 1.75f);
      gains[place] = gain;
      std::vector<uint16_t> source(count), expected(count), actual(count);
      for (size_t i = 0; i < count; ++i) {
        source[i] = static_cast<uint16_t>(65535 - 217 * i);
        expected[i] = plain::corrected(source[i], gains[i]);
      }
      qo::rows().gains.scale(source.data(), gains.data(), actual.data(), count);
      ASSERT_EQ(expected, actual) << gain << " at " << place;
    }
  }
}

TEST(GainRows, AnAverageIsWrittenToBothPlanes) {
  std::mt19937 random(73);
  for (size_t count = 0; count <= 140; ++count) {
    plain::floats first = random_gains(count, random), second = random_gains(count, random);
    kit::guarded_array<float> a(count), b(count, kit::guard_side::before);
    std::copy(first.begin(), first.end(), a.begin());
    std::copy(second.begin(), second.end(), b.begin());
    qo::rows().gains.average(a.data(), b.data(), count);
    for (size_t i = 0; i < count; ++i) {
      const float mean = (first[i] + second[i]) * 0.5f;
      ASSERT_TRUE(kit::same_bits(mean, a[i])) << count << " place " << i;
      ASSERT_TRUE(kit::same_bits(mean, b[i])) << count << " place " << i;
    }
  }
}

TEST(GainRows, TheMinimumOfAnyNumberOfValuesReadsNoneBesideThem) {
  std::mt19937 random(74);
  for (size_t count = 1; count <= 300; ++count) {
    for (const kit::guard_side side : {kit::guard_side::before, kit::guard_side::behind}) {
      kit::guarded_array<float> values(count, side);
      plain::floats copy = random_gains(count, random);
      if (count % 2 == 0)
        for (float& value : copy) value = std::isnan(value) ? 2.0f : value;
      std::copy(copy.begin(), copy.end(), values.begin());
      const float expected = plain::running_minimum(copy);
      const float actual = qo::rows().gains.minimum(values.data(), count);
      // The sign of a zero is left open.
      ASSERT_TRUE(expected == actual || (std::isnan(expected) && std::isnan(actual))) << count;
    }
  }
}

TEST(GainRows, TheMinimumStandsInAnyPlace) {
  for (size_t count = 1; count <= 150; ++count) {
    for (size_t place = 0; place < count; ++place) {
      plain::floats values(count, 4.0f);
      values[place] = 1.0f;
      ASSERT_EQ(1.0f, qo::rows().gains.minimum(values.data(), count)) << count << ' ' << place;
    }
  }
}

TEST(GainRows, NormalisedValuesAreQuotientsOfAtLeastOne) {
  std::mt19937 random(75);
  for (size_t count = 0; count <= 140; ++count) {
    const plain::floats before = random_gains(count, random);
    kit::guarded_array<float> values(count);
    std::copy(before.begin(), before.end(), values.begin());
    const float divisor = count % 3 == 0 ? 0.7f : 1.3f;
    qo::rows().gains.normalise(values.data(), divisor, count);
    for (size_t i = 0; i < count; ++i) {
      const float quotient = before[i] / divisor;
      ASSERT_TRUE(kit::same_bits(quotient > 1.0f ? quotient : 1.0f, values[i])) << count;
    }
  }
}

}  // namespace
