// The spline in double precision, in the table that the test's environment names.

#include "rows/spline_rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "rows/row_table.h"
#include "tests/image_utils/bicubic_reference.h"
#include "tests/kit/guarded_buffer.h"

namespace {

constexpr float not_a_number = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

struct samples {
  float p[4][4];
};

samples constant(float value) {
  samples s;
  for (auto& row : s.p)
    for (float& sample : row) sample = value;
  return s;
}

/// The same four samples in each row.
samples along_rows(float p0, float p1, float p2, float p3) {
  samples s;
  for (auto& row : s.p) row[0] = p0, row[1] = p1, row[2] = p2, row[3] = p3;
  return s;
}

/// The same four samples in each column.
samples along_columns(float p0, float p1, float p2, float p3) {
  samples s;
  const float p[4] = {p0, p1, p2, p3};
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) s.p[r][c] = p[r];
  return s;
}

/// The block's value, which every row of results must have.
uint16_t kernel(const samples& s, float fy, float fx) {
  const uint32_t cell = 0;
  float values[4][qo::spline_room];
  for (int r = 0; r < 4; ++r) qo::rows().splines.along(s.p[r], &cell, &fx, 1, values[r]);
  const float* const rows[4] = {values[0], values[1], values[2], values[3]};
  const float t[2] = {fy, fy};
  uint16_t results[4] = {0, 0x5a5a, 0, 0x5a5a};
  qo::rows().splines.across(rows, t, 2, 1, results, 2);
  EXPECT_EQ(results[0], results[2]);
  EXPECT_EQ(0x5a5a, results[1]);
  EXPECT_EQ(0x5a5a, results[3]);
  return results[0];
}

/// The low 16 bits of a result.
constexpr uint16_t low(int32_t value) { return static_cast<uint16_t>(value); }

TEST(SplineRows, HasTheReferenceBitsForBlocksOfMixedMagnitudes) {
  std::mt19937 random(41);
  std::uniform_real_distribution<float> mantissa(-1.0f, 1.0f);
  std::uniform_int_distribution<int> exponent(-30, 20);
  std::uniform_real_distribution<float> fraction(0.0f, 1.0f);
  for (int i = 0; i < 200000; ++i) {
    samples s;
    for (auto& row : s.p)
      for (float& sample : row) sample = std::ldexp(mantissa(random), exponent(random));
    const float fy = fraction(random);
    const float fx = fraction(random);
    ASSERT_EQ(low(reference::kernel_p10(s.p, fy, fx)), kernel(s, fy, fx));
  }
}

TEST(SplineRows, AllOnesGive1024) {
  for (const float fy : {0.0f, 0.25f, 0.999f})
    for (const float fx : {0.0f, 0.5f, 0.75f}) EXPECT_EQ(low(1024), kernel(constant(1.0f), fy, fx));
}

TEST(SplineRows, MinusOneHalfGivesMinus512) {
  EXPECT_EQ(low(-512), kernel(constant(-0.5f), 0.25f, 0.5f));
}

TEST(SplineRows, TruncatesTowardZeroOnBothSides) {
  EXPECT_EQ(low(1), kernel(constant(1.999f / 1024), 0, 0));
  EXPECT_EQ(low(-1), kernel(constant(-1.999f / 1024), 0, 0));
  EXPECT_EQ(low(0), kernel(constant(0.999f / 1024), 0, 0));
  EXPECT_EQ(low(0), kernel(constant(-0.999f / 1024), 0, 0));
}

TEST(SplineRows, HalfwayWeighsMinusOneNineNineMinusOneSixteenths) {
  EXPECT_EQ(low((-1 * 16 + 9 * 32 + 9 * 64 - 1 * 160) * 1024 / 16),
            kernel(along_rows(16, 32, 64, 160), 0, 0.5f));
  EXPECT_EQ(low((-1 * 16 + 9 * 32 + 9 * 64 - 1 * 160) * 1024 / 16),
            kernel(along_columns(16, 32, 64, 160), 0.5f, 0));
}

TEST(SplineRows, QuarterWeighsAsTheSplineDoes) {
  // Weights at t = 1/4: -9, 111, 29, -3 of 128.
  EXPECT_EQ(low((-9 * 128 + 111 * 256 + 29 * 1024 - 3 * 512) * 1024 / 128),
            kernel(along_rows(128, 256, 1024, 512), 0.75f, 0.25f));
  EXPECT_EQ(low((-9 * 128 + 111 * 256 + 29 * 1024 - 3 * 512) * 1024 / 128),
            kernel(along_columns(128, 256, 1024, 512), 0.25f, 0.75f));
}

TEST(SplineRows, TheFirstFractionRunsAcrossRows) {
  EXPECT_EQ(low(1024 * 3 / 2), kernel(along_columns(0, 1, 2, 3), 0.5f, 0.25f));
  EXPECT_EQ(low(1024 * 5 / 4), kernel(along_rows(0, 1, 2, 3), 0.5f, 0.25f));
}

// 4 + 2^-22 is a tie in single precision and falls to 4: the value then lies below 1, else on it.
TEST(SplineRows, RowDifferencesAreRoundedToSinglePrecision) {
  EXPECT_EQ(low(1023), kernel(along_rows(-0x1p-22f, 0, 4, 20), 0, 0.5f));
}

TEST(SplineRows, ColumnDifferencesAreNot) {
  EXPECT_EQ(low(1024), kernel(along_columns(-0x1p-22f, 0, 4, 20), 0.5f, 0));
}

TEST(SplineRows, ValuesBeyond16BitsAreNotClamped) {
  EXPECT_EQ(low(1024 * 100), kernel(constant(100), 0, 0));
  EXPECT_EQ(low(-1024 * 100), kernel(constant(-100), 0, 0));
}

TEST(SplineRows, ValuesBeyond32BitsSaturateAndNaNGivesZero) {
  EXPECT_EQ(low(INT32_MAX), kernel(constant(0x1p21f), 0, 0));
  EXPECT_EQ(low(INT32_MIN), kernel(constant(-0x1p21f), 0, 0));
  EXPECT_EQ(low(INT32_MIN), kernel(constant(-0x1p40f), 0, 0));
  EXPECT_EQ(low(0), kernel(constant(not_a_number), 0.5f, 0.5f));
  EXPECT_EQ(low(0), kernel(constant(infinity), 0.5f, 0.5f));  // infinity less infinity
}

TEST(SplineRows, HasTheReferenceBitsForAnyBlock) {
  std::mt19937 random(1);
  std::uniform_real_distribution<float> fraction(0.0f, 1.0f);
  int32_t differing_values = 0;
  for (int round = 0; round < 200000; ++round) {
    samples s;
    const int exponent = round % 24 - 12;
    for (auto& row : s.p)
      for (float& p : row)
        p = std::ldexp(static_cast<float>(random()) - 0x1p31f, exponent - 24 - round % 3);
    const float fy = fraction(random), fx = fraction(random);
    const int32_t expected = reference::kernel_p10(s.p, fy, fx);
    ASSERT_EQ(low(expected), kernel(s, fy, fx)) << "round " << round;
    if (expected != 0) ++differing_values;
  }
  EXPECT_GT(differing_values, 100000);  // the blocks do exercise the integer range
}

/// Columns over a row that ends at an inaccessible page, by both ways along it.
void expect_reference_values(size_t length, float step, size_t count, bool integers) {
  std::mt19937 random(static_cast<uint32_t>(length * 31 + count));
  kit::guarded_array<float> row(length);
  for (float& sample : row)
    sample = integers ? static_cast<float>(static_cast<int32_t>(random() % 1700000) - 850000) / 64
                      : std::ldexp(static_cast<float>(random()) - 0x1p31f,
                                   static_cast<int>(random() % 40) - 50);
  std::vector<uint32_t> cells;
  std::vector<float> t;
  for (size_t x = 0; x < count; ++x) {
    const float position =
        std::min(static_cast<float>(x) * step, static_cast<float>(length - 4) + 0.5f);
    cells.push_back(static_cast<uint32_t>(position));
    t.push_back(position - static_cast<float>(cells.back()));
  }
  std::vector<float> actual(count + qo::spline_room);
  const auto along = integers ? qo::rows().splines.along_integers : qo::rows().splines.along;
  along(row.data(), cells.data(), t.data(), count, actual.data());
  for (size_t x = 0; x < count; ++x) {
    const float* const p = row.data() + cells[x];
    const float expected = reference::cubic(p[0], p[1], p[2], p[3], p[2] - p[0], p[1] - p[2], t[x]);
    ASSERT_EQ(expected, actual[x]) << "step " << step << " column " << x << " of " << count;
  }
}

TEST(SplineRows, EveryNumberOfColumnsHasTheReferenceValuesAtEveryStep) {
  for (size_t count = 1; count <= qo::spline_strip; count += count < 70 ? 1 : 159)
    for (const size_t length : {size_t{4}, size_t{5}, size_t{11}, size_t{300}, size_t{3000}})
      for (const float step : {0.0f, 0.03f, 0.26f, 0.5f, 0.8f, 1.0f, 2.1f, 40.0f})
        for (const bool integers : {false, true})
          expect_reference_values(length, step, count, integers);
}

TEST(SplineRows, EveryNumberOfResultRowsIsWrittenAndNothingBetween) {
  std::mt19937 random(8);
  float values[4][70 + qo::spline_room];
  for (auto& row : values)
    for (float& value : row) value = static_cast<float>(random() % 100000) / 1024 - 10;
  const float* const rows[4] = {values[0], values[1], values[2], values[3]};
  for (size_t count = 1; count <= 70; ++count) {
    for (size_t results = 1; results <= qo::spline_results; ++results) {
      std::vector<float> t;
      for (size_t y = 0; y < results; ++y) t.push_back(static_cast<float>(random() % 1000) / 1000);
      std::vector<uint16_t> dst((count + 3) * results, 0x5a5a);
      qo::rows().splines.across(rows, t.data(), results, count, dst.data(), count + 3);
      for (size_t y = 0; y < results; ++y) {
        for (size_t x = 0; x < count + 3; ++x) {
          const double p[4] = {values[0][x], values[1][x], values[2][x], values[3][x]};
          const float value =
              reference::cubic(p[0], p[1], p[2], p[3], p[2] - p[0], p[1] - p[2], t[y]);
          ASSERT_EQ(x < count ? low(reference::to_i32(value * 1024.0f)) : 0x5a5a,
                    dst[y * (count + 3) + x])
              << "row " << y << " column " << x << " of " << count;
        }
      }
    }
  }
}

}  // namespace
