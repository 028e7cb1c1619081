// The spline kernel and the scaled buffer, which the shared library hides.

#include "image_utils/catmull_rom_kernel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "image_utils/catmull_rom_patch.h"
#include "image_utils/extrapolated_buffer.h"
#include "tests/image_utils/bicubic_planes.h"
#include "tests/image_utils/bicubic_reference.h"

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

int32_t kernel(const samples& s, float fy, float fx) {
  return qo::bicubic_kernel_4x4_p10(s.p[0], fy, fx);
}

TEST(CatmullRomKernel, HasTheReferenceBitsForBlocksOfMixedMagnitudes) {
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
    ASSERT_EQ(reference::kernel_p10(s.p, fy, fx), kernel(s, fy, fx));
  }
}

TEST(PatchRow, MakesANanTheLowerBound) {
  const float rows[4 * 3] = {not_a_number, 1.0f, infinity, 0, 0, -infinity, 0, 0, 0, 0, 0, 0};
  float dst[3] = {};
  qo::evaluate_output_row(rows, 0.5f, 3, dst);
  EXPECT_EQ(-255.0f, dst[0]);
  EXPECT_EQ(1.0f, dst[1]);
  EXPECT_EQ(-255.0f, dst[2]);
}

TEST(CatmullRomKernel, AllOnesGive1024) {
  for (const float fy : {0.0f, 0.25f, 0.999f})
    for (const float fx : {0.0f, 0.5f, 0.75f}) EXPECT_EQ(1024, kernel(constant(1.0f), fy, fx));
}

TEST(CatmullRomKernel, MinusOneHalfGivesMinus512) {
  EXPECT_EQ(-512, kernel(constant(-0.5f), 0.25f, 0.5f));
}

TEST(CatmullRomKernel, TruncatesTowardZeroOnBothSides) {
  EXPECT_EQ(1, kernel(constant(1.999f / 1024), 0, 0));
  EXPECT_EQ(-1, kernel(constant(-1.999f / 1024), 0, 0));
  EXPECT_EQ(0, kernel(constant(0.999f / 1024), 0, 0));
  EXPECT_EQ(0, kernel(constant(-0.999f / 1024), 0, 0));
}

TEST(CatmullRomKernel, HalfwayWeighsMinusOneNineNineMinusOneSixteenths) {
  EXPECT_EQ((-1 * 16 + 9 * 32 + 9 * 64 - 1 * 160) * 1024 / 16,
            kernel(along_rows(16, 32, 64, 160), 0, 0.5f));
  EXPECT_EQ((-1 * 16 + 9 * 32 + 9 * 64 - 1 * 160) * 1024 / 16,
            kernel(along_columns(16, 32, 64, 160), 0.5f, 0));
}

TEST(CatmullRomKernel, QuarterWeighsAsTheSplineDoes) {
  // Weights at t = 1/4: -9, 111, 29, -3 of 128.
  EXPECT_EQ((-9 * 128 + 111 * 256 + 29 * 1024 - 3 * 512) * 1024 / 128,
            kernel(along_rows(128, 256, 1024, 512), 0.75f, 0.25f));
  EXPECT_EQ((-9 * 128 + 111 * 256 + 29 * 1024 - 3 * 512) * 1024 / 128,
            kernel(along_columns(128, 256, 1024, 512), 0.25f, 0.75f));
}

TEST(CatmullRomKernel, TheFirstFractionRunsAcrossRows) {
  EXPECT_EQ(1024 * 3 / 2, kernel(along_columns(0, 1, 2, 3), 0.5f, 0.25f));
  EXPECT_EQ(1024 * 5 / 4, kernel(along_rows(0, 1, 2, 3), 0.5f, 0.25f));
}

// 4 + 2^-22 is a tie in single precision and falls to 4: the value then lies below 1, else on it.
TEST(CatmullRomKernel, RowDifferencesAreRoundedToSinglePrecision) {
  EXPECT_EQ(1023, kernel(along_rows(-0x1p-22f, 0, 4, 20), 0, 0.5f));
}

TEST(CatmullRomKernel, ColumnDifferencesAreNot) {
  EXPECT_EQ(1024, kernel(along_columns(-0x1p-22f, 0, 4, 20), 0.5f, 0));
}

TEST(CatmullRomKernel, ValuesBeyond16BitsAreNotClamped) {
  EXPECT_EQ(1024 * 100, kernel(constant(100), 0, 0));
  EXPECT_EQ(-1024 * 100, kernel(constant(-100), 0, 0));
}

TEST(CatmullRomKernel, ValuesBeyond32BitsSaturateAndNaNGivesZero) {
  EXPECT_EQ(INT32_MAX, kernel(constant(0x1p21f), 0, 0));
  EXPECT_EQ(INT32_MIN, kernel(constant(-0x1p21f), 0, 0));
  EXPECT_EQ(INT32_MIN, kernel(constant(-0x1p40f), 0, 0));
  EXPECT_EQ(0, kernel(constant(not_a_number), 0.5f, 0.5f));
  EXPECT_EQ(0, kernel(constant(infinity), 0.5f, 0.5f));  // infinity less infinity
}

TEST(CatmullRomKernel, HasTheReferenceBitsForAnyBlock) {
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
    ASSERT_EQ(expected, kernel(s, fy, fx)) << "round " << round;
    if (expected != 0) ++differing_values;
  }
  EXPECT_GT(differing_values, 100000);  // the blocks do exercise the integer range
}

TEST(ScaledBuffer, EveryShiftMultipliesByTheReciprocalPower) {
  const uint16_t w = 5, h = 4;
  const auto src = planes::make<uint16_t>(w, h, planes::content::noise, 9);
  for (int32_t shift = 0; shift < 70; ++shift) {
    kit::guarded_array<float> buffer((w + 3) * (h + 3));
    qo::create_scaled_extrapolated_buffer_u16(src.data(), buffer.data(), w, h, shift);
    ASSERT_TRUE(planes::same_bits(reference::extrapolated_scaled(src.data(), w, h, shift).cells,
                                  buffer, w + 3))
        << "shift " << shift;
  }
}

float scaled_sample(uint16_t sample, int32_t shift) {
  const uint16_t src[] = {sample, sample, sample, sample};
  float buffer[25];
  qo::create_scaled_extrapolated_buffer_u16(src, buffer, 2, 2, shift);
  return buffer[6];
}

TEST(ScaledBuffer, TenFractionBitsMakeOneOf1024) { EXPECT_EQ(1.0f, scaled_sample(1024, 10)); }

TEST(ScaledBuffer, AShiftOf31IsNegativeAndTheCountWraps) {
  EXPECT_EQ(-0x1p-31f, scaled_sample(1, 31));
  EXPECT_EQ(0x1p-30f, scaled_sample(1, 30));
  EXPECT_EQ(1.0f, scaled_sample(1, 32));
  EXPECT_EQ(1.0f, scaled_sample(1024, 42));
  EXPECT_EQ(-0x1p-31f, scaled_sample(1, -1));
}

TEST(ScaledBuffer, EverySizeUpToTwentyHasTheReferenceBits) {
  for (const kit::guard_side side : {kit::guard_side::before, kit::guard_side::behind}) {
    for (uint16_t h = 1; h <= 20; ++h) {
      for (uint16_t w = 1; w <= 20; ++w) {
        const auto src = planes::make<uint16_t>(w, h, planes::content::extremes, w, side);
        kit::guarded_array<float> buffer((w + 3u) * (h + 3u), side);
        for (float& cell : buffer) cell = 1e9f;
        qo::create_scaled_extrapolated_buffer_u16(src.data(), buffer.data(), w, h, 7);
        ASSERT_TRUE(planes::same_bits(reference::extrapolated_scaled(src.data(), w, h, 7).cells,
                                      buffer, w + 3u))
            << w << " x " << h;
      }
    }
  }
}

TEST(ScaledBuffer, UnscaledKindsConvertSamplesAsTheyAre) {
  const uint8_t bytes[] = {0, 1, 128, 255};
  const uint16_t words[] = {0, 1, 128, 65535};
  const float floats[] = {-0.5f, 1e30f, 0.0f, 3.25f};
  float buffer[25];
  qo::fill_extrapolated_buffer(bytes, buffer, 2, 2);
  EXPECT_TRUE(planes::same_bits(reference::extrapolated(bytes, 2, 2).cells,
                                std::vector<float>(buffer, buffer + 25), 5));
  qo::fill_extrapolated_buffer(words, buffer, 2, 2);
  EXPECT_TRUE(planes::same_bits(reference::extrapolated(words, 2, 2).cells,
                                std::vector<float>(buffer, buffer + 25), 5));
  qo::fill_extrapolated_buffer(floats, buffer, 2, 2);
  EXPECT_TRUE(planes::same_bits(reference::extrapolated(floats, 2, 2).cells,
                                std::vector<float>(buffer, buffer + 25), 5));
}

}  // namespace
