// Bicubic patches, in the table that the test's environment names.

#include "rows/patch_rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

#include "rows/row_table.h"
#include "tests/image_utils/sample_planes.h"
#include "tests/kit/guarded_buffer.h"

namespace {

constexpr float not_a_number = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

float plain_value(float r0, float r1, float r2, float r3, float t) {
  const float square = t * t;
  const float value = ((r0 + r1 * t) + r2 * square) + r3 * (square * t);
  if (!(value > -255.0f)) return -255.0f;
  return value >= 65535.0f ? 65535.0f : value;
}

TEST(PatchRows, EveryWidthOfAStripIsWrittenAndNothingBesides) {
  std::mt19937 random(3);
  std::uniform_real_distribution<float> sample(-90000.0f, 90000.0f);
  qo::patch_values values;
  for (auto& row : values.m)
    for (float& value : row) value = sample(random);
  for (size_t count = 1; count <= qo::patch_strip; ++count) {
    for (const float t : {0.0f, 0.3f, 0.99f}) {
      kit::guarded_array<float> dst(count);
      qo::rows().patches.across(&values, t, count, dst.data());
      std::vector<float> expected;
      for (size_t x = 0; x < count; ++x)
        expected.push_back(
            plain_value(values.m[0][x], values.m[1][x], values.m[2][x], values.m[3][x], t));
      ASSERT_TRUE(sample_planes::same_bits(expected, dst.data(), count)) << count;
    }
  }
}

TEST(PatchRows, ANanBecomesTheLowerBoundInEveryLane) {
  for (size_t column = 0; column < 40; ++column) {
    qo::patch_values values = {};
    for (float& value : values.m[0]) value = 7.0f;
    values.m[0][column] = not_a_number;
    float dst[40];
    qo::rows().patches.across(&values, 0.5f, 40, dst);
    for (size_t x = 0; x < 40; ++x) EXPECT_EQ(x == column ? -255.0f : 7.0f, dst[x]);
  }
}

TEST(PatchRows, InfinitiesAreClampedAndTheirDifferenceIsANan) {
  qo::patch_values values = {};
  values.m[0][0] = infinity;
  values.m[0][1] = -infinity;
  values.m[0][2] = infinity;
  values.m[1][2] = -infinity;
  float dst[3];
  qo::rows().patches.across(&values, 0.5f, 3, dst);
  EXPECT_EQ(65535.0f, dst[0]);
  EXPECT_EQ(-255.0f, dst[1]);
  EXPECT_EQ(-255.0f, dst[2]);
}

/// The sixteen coefficients as plain sums over r, then c, from which R_m follows.
std::vector<float> plain_patch(const std::vector<float> (&rows)[4], float position) {
  constexpr float basis[4][4] = {
      {0, 1, 0, 0}, {-0.5f, 0, 0.5f, 0}, {1, -2.5f, 2, -0.5f}, {-0.5f, 1.5f, -1.5f, 0.5f}};
  const auto cell = static_cast<size_t>(position);
  const float t = position - static_cast<float>(cell);
  const float square = t * t;
  std::vector<float> result;
  for (const auto& across : basis) {
    float a[4] = {};
    for (size_t n = 0; n < 4; ++n)
      for (size_t r = 0; r < 4; ++r)
        for (size_t c = 0; c < 4; ++c) a[n] += across[r] * basis[n][c] * rows[r][cell + c];
    result.push_back(((a[0] + a[1] * t) + a[2] * square) + a[3] * (square * t));
  }
  return result;
}

void expect_plain_patches(size_t first, float step, size_t count, uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<float> positions;
  for (size_t x = 0; x < count; ++x)
    positions.push_back(static_cast<float>(first) + static_cast<float>(x) * step);
  const size_t length = static_cast<size_t>(positions.back()) + 4;
  std::vector<float> rows[4];
  std::vector<kit::guarded_array<float>> guarded;
  const float* pointers[4];
  for (size_t r = 0; r < 4; ++r) {
    for (size_t c = 0; c < length; ++c)
      rows[r].push_back(static_cast<float>(static_cast<int32_t>(random() % 200001) - 100000));
    guarded.emplace_back(length);
    std::copy(rows[r].begin(), rows[r].end(), guarded[r].data());
    pointers[r] = guarded[r].data();
  }
  qo::patch_values values;
  qo::rows().patches.along(pointers, positions.data(), count, &values);
  for (size_t x = 0; x < count; ++x) {
    const std::vector<float> expected = plain_patch(rows, positions[x]);
    const float actual[4] = {values.m[0][x], values.m[1][x], values.m[2][x], values.m[3][x]};
    ASSERT_TRUE(sample_planes::same_bits(expected, actual, 4))
        << "step " << step << " column " << x << " of " << count;
  }
}

TEST(PatchRows, TheCoefficientsAreThoseOfThePlainSumsAtEveryWidthAndStep) {
  uint32_t seed = 0;
  for (size_t count = 1; count <= qo::patch_strip; count += count < 70 ? 1 : 31)
    for (const float step : {0.0f, 1e-4f, 0.03f, 0.25f, 0.49f, 0.5f, 0.77f, 0.999f, 1.0f})
      for (const size_t first : {size_t{0}, size_t{1}, size_t{20}})
        expect_plain_patches(first, step, count, ++seed);
  expect_plain_patches(0, 1.0f, qo::patch_strip, ++seed);
}

TEST(PatchRows, SamplesAtTheEndsOfTheirRangeStayExact) {
  // The largest magnitudes that a plane of 16-bit samples and its continuation hold.
  constexpr float far = 13.0f * 65535.0f;
  const float small[4] = {-65535.0f, 0.0f, 65535.0f, 131070.0f};
  std::mt19937 random(9);
  for (int round = 0; round < 3000; ++round) {
    std::vector<float> rows[4];
    const float* pointers[4];
    for (size_t r = 0; r < 4; ++r) {
      for (size_t c = 0; c < 4; ++c) rows[r].push_back(small[random() % 4]);
      if (r == 3) rows[r][3] = random() % 2 != 0 ? far : -12.0f * 65535.0f;
      pointers[r] = rows[r].data();
    }
    const float position = static_cast<float>(random() % 1000) / 1000.0f;
    qo::patch_values values;
    qo::rows().patches.along(pointers, &position, 1, &values);
    const std::vector<float> expected = plain_patch(rows, position);
    const float actual[4] = {values.m[0][0], values.m[1][0], values.m[2][0], values.m[3][0]};
    ASSERT_TRUE(sample_planes::same_bits(expected, actual, 4)) << round;
  }
}

}  // namespace
