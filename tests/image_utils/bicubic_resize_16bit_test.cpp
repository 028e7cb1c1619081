// Bicubic resize of a plane to 16-bit samples.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "qo_cmc/image_utils.h"
#include "qo_cmc/parser.h"
#include "tests/image_utils/bicubic_planes.h"
#include "tests/image_utils/bicubic_reference.h"

namespace {

using kit::guard_side;
using kit::guarded_array;
using planes::content;

/// A float plane of gains, with negative ones and ones beyond 64 (65536 as p10) mixed in.
guarded_array<float> make_gains(size_t width, size_t height, uint32_t seed,
                                guard_side side = guard_side::behind) {
  guarded_array<float> plane(width * height, side);
  std::minstd_rand random(seed + 1);
  for (float& sample : plane)
    sample = static_cast<float>(static_cast<int32_t>(random() >> 4) - (1 << 24)) * 0x1p-20f;
  return plane;
}

struct sizes {
  uint16_t in_h, in_w, out_h, out_w;
};

::testing::AssertionResult float_resize_matches(const sizes& s, guard_side side) {
  const auto src = make_gains(s.in_w, s.in_h, s.in_w * 131u + s.out_h, side);
  guarded_array<uint16_t> dst(size_t{s.out_w} * s.out_h, side);
  if (bicubic_resize_32f_to_u16p10(src.data(), s.in_h, s.in_w, dst.data(), s.out_h, s.out_w) !=
      QO_CMC_OK)
    return ::testing::AssertionFailure() << "refused";
  const reference::buffer b = reference::extrapolated(src.data(), s.in_w, s.in_h);
  return planes::same_bits(reference::resize(b, s.out_h, s.out_w), dst, s.out_w)
         << " from " << s.in_w << " x " << s.in_h << " to " << s.out_w << " x " << s.out_h;
}

::testing::AssertionResult u16_resize_matches(const sizes& s, uint16_t fraction_bits, content what,
                                              guard_side side) {
  const auto src = planes::make<uint16_t>(s.in_w, s.in_h, what, s.in_w * 131u + s.out_h, side);
  guarded_array<uint16_t> dst(size_t{s.out_w} * s.out_h, side);
  if (bicubic_resize_u16_to_u16(src.data(), s.in_h, s.in_w, fraction_bits, dst.data(), s.out_h,
                                s.out_w) != QO_CMC_OK)
    return ::testing::AssertionFailure() << "refused";
  const reference::buffer b =
      reference::extrapolated_scaled(src.data(), s.in_w, s.in_h, fraction_bits);
  return planes::same_bits(reference::resize(b, s.out_h, s.out_w), dst, s.out_w)
         << " from " << s.in_w << " x " << s.in_h << " to " << s.out_w << " x " << s.out_h
         << " with " << fraction_bits << " fraction bits";
}

std::vector<uint16_t> resize(const std::vector<float>& src, const sizes& s) {
  std::vector<uint16_t> dst(size_t{s.out_w} * s.out_h, 0x5a5a);
  EXPECT_EQ(uint32_t{QO_CMC_OK},
            bicubic_resize_32f_to_u16p10(src.data(), s.in_h, s.in_w, dst.data(), s.out_h, s.out_w));
  return dst;
}

std::vector<uint16_t> resize(const std::vector<uint16_t>& src, uint16_t fraction_bits,
                             const sizes& s) {
  std::vector<uint16_t> dst(size_t{s.out_w} * s.out_h, 0x5a5a);
  EXPECT_EQ(uint32_t{QO_CMC_OK},
            bicubic_resize_u16_to_u16(src.data(), s.in_h, s.in_w, fraction_bits, dst.data(),
                                      s.out_h, s.out_w));
  return dst;
}

TEST(BicubicResize, EveryPairOfSidesUpToFortyHasTheReferenceBits) {
  for (uint16_t in = 1; in <= 40; ++in)
    for (uint16_t out = 1; out <= 40; ++out) {
      const guard_side side = (in + out) % 2 ? guard_side::before : guard_side::behind;
      const auto in_other = static_cast<uint16_t>(1 + (in + 3 * out) % 5);
      const auto out_other = static_cast<uint16_t>(1 + (in + out) % 4);
      ASSERT_TRUE(float_resize_matches({in_other, in, out_other, out}, side));
      ASSERT_TRUE(float_resize_matches({in, in_other, out, out_other}, side));
      if (out == 1 || out_other == 1) continue;
      const content what = in % 2 ? content::noise : content::extremes;
      const auto fraction_bits = static_cast<uint16_t>(out % 17);
      ASSERT_TRUE(u16_resize_matches({in_other, in, out_other, out}, fraction_bits, what, side));
      ASSERT_TRUE(u16_resize_matches({in, in_other, out, out_other}, fraction_bits, what, side));
    }
}

TEST(BicubicResize, EverySourceSizeUpToFortyHasTheReferenceBitsUpAndDown) {
  for (uint16_t in_h = 1; in_h <= 40; ++in_h)
    for (uint16_t in_w = 1; in_w <= 40; ++in_w) {
      ASSERT_TRUE(float_resize_matches({in_h, in_w, 11, 9}, guard_side::behind));
      ASSERT_TRUE(float_resize_matches({in_h, in_w, 9, 13}, guard_side::before));
      ASSERT_TRUE(
          u16_resize_matches({in_h, in_w, 11, 9}, 10, content::extremes, guard_side::behind));
      ASSERT_TRUE(u16_resize_matches({in_h, in_w, 9, 13}, 12, content::noise, guard_side::before));
    }
}

TEST(BicubicResize, EveryPairOfSidesTo256StaysInsideItsPlanes) {
  // Both planes end at an inaccessible page, and every eleventh pair is compared.
  const auto plane = planes::make<uint16_t>(2, 256, content::noise, 3);
  guarded_array<uint16_t> room(2 * 256);
  for (size_t in = 1; in <= 256; ++in) {
    const uint16_t* const src = plane.end() - 2 * in;
    const auto in_side = static_cast<uint16_t>(in);
    const reference::buffer tall = reference::extrapolated_scaled(src, 2, in_side, 9);
    const reference::buffer wide = reference::extrapolated_scaled(src, in_side, 2, 9);
    for (size_t out = 2; out <= 256; ++out) {
      uint16_t* const dst = room.end() - 2 * out;
      const auto out_side = static_cast<uint16_t>(out);
      const auto matches_reference = [&](const reference::buffer& b, uint16_t in_h, uint16_t in_w,
                                         uint16_t out_h, uint16_t out_w) {
        if (bicubic_resize_u16_to_u16(src, in_h, in_w, 9, dst, out_h, out_w) != QO_CMC_OK)
          return false;
        if ((in + out) % 11 != 0) return true;
        const std::vector<uint16_t> expected = reference::resize(b, out_h, out_w);
        return std::equal(expected.begin(), expected.end(), dst);
      };
      ASSERT_TRUE(matches_reference(tall, in_side, 2, out_side, 2)) << in << " rows to " << out;
      ASSERT_TRUE(matches_reference(wide, 2, in_side, 2, out_side)) << in << " columns to " << out;
    }
  }
}

TEST(BicubicResize, LargerSizesHaveTheReferenceBits) {
  const sizes cases[] = {{13, 17, 165, 221}, {480, 640, 48, 64},   {48, 64, 481, 639},
                         {3, 1000, 7, 333},  {1000, 3, 333, 7},    {300, 200, 300, 200},
                         {2, 65532, 2, 777}, {65532, 2, 777, 2},   {2, 2, 2, 65535},
                         {2, 2, 65535, 2},   {2, 65532, 2, 65535}, {1, 65532, 3, 65535}};
  for (const sizes& s : cases) {
    ASSERT_TRUE(float_resize_matches(s, guard_side::behind));
    ASSERT_TRUE(u16_resize_matches(s, 10, content::noise, guard_side::behind));
  }
}

TEST(BicubicResize, EveryWidthAcrossVectorsAndStripsHasTheReferenceBits) {
  std::vector<uint16_t> widths;
  for (uint16_t width = 2; width <= 140; ++width) widths.push_back(width);
  for (const int strip_end : {1024, 2048})
    for (int beyond = -5; beyond <= 17; beyond += beyond < 3 ? 1 : 7)
      widths.push_back(static_cast<uint16_t>(strip_end + beyond));
  for (const uint16_t out : widths) {
    const guard_side side = out % 2 ? guard_side::before : guard_side::behind;
    const content what = out % 3 ? content::noise : content::extremes;
    // Both ways, and at ratios on either side of what one window of samples serves.
    for (const int in : {2, 7, out / 4 + 1, out / 2 + 1, out * 2 / 3 + 1, int{out}, out * 2 + 3}) {
      const auto in_w = static_cast<uint16_t>(in);
      ASSERT_TRUE(float_resize_matches({3, in_w, 5, out}, side));
      ASSERT_TRUE(u16_resize_matches({3, in_w, 5, out}, 10, what, side));
    }
  }
}

TEST(BicubicResize, PlanesMayBeginAtAnySample) {
  for (size_t offset = 0; offset < 32; ++offset) {
    const auto words = planes::make<uint16_t>(offset + 13 * 4, 1, content::noise, 2);
    const auto floats = make_gains(offset + 13 * 4, 1, 5);
    guarded_array<uint16_t> dst(offset + 37 * 6);
    uint16_t* const to = dst.data() + offset;
    ASSERT_EQ(uint32_t{QO_CMC_OK},
              bicubic_resize_u16_to_u16(words.data() + offset, 4, 13, 10, to, 6, 37));
    const reference::buffer from_words =
        reference::extrapolated_scaled(words.data() + offset, 13, 4, 10);
    ASSERT_TRUE(sample_planes::same_bits(reference::resize(from_words, 6, 37), to, 37)) << offset;
    ASSERT_EQ(uint32_t{QO_CMC_OK},
              bicubic_resize_32f_to_u16p10(floats.data() + offset, 4, 13, to, 6, 37));
    const reference::buffer from_floats = reference::extrapolated(floats.data() + offset, 13, 4);
    ASSERT_TRUE(sample_planes::same_bits(reference::resize(from_floats, 6, 37), to, 37)) << offset;
  }
}

TEST(BicubicResize, EveryNumberOfFractionBitsHasTheReferenceBits) {
  for (uint16_t bits = 0; bits < 70; ++bits)
    ASSERT_TRUE(u16_resize_matches({5, 6, 9, 8}, bits, content::noise, guard_side::behind));
  ASSERT_TRUE(u16_resize_matches({5, 6, 9, 8}, 65535, content::noise, guard_side::behind));
}

TEST(BicubicResize, ExtremeFloatsHaveTheReferenceBits) {
  const float infinity = std::numeric_limits<float>::infinity();
  const float values[] = {0.0f,       -0.0f,       1e-45f,
                          -1e-30f,    1e38f,       -1e38f,
                          infinity,   -infinity,   std::numeric_limits<float>::quiet_NaN(),
                          2097151.9f, -2097152.0f, 1.0f};
  std::minstd_rand random(4);
  for (int round = 0; round < 300; ++round) {
    std::vector<float> src(20);
    for (float& sample : src) sample = random() % 3 ? 1.0f : values[(random() >> 8) % 12];
    const reference::buffer b = reference::extrapolated(src.data(), 5, 4);
    ASSERT_TRUE(planes::same_bits(reference::resize(b, 7, 8), resize(src, {4, 5, 7, 8}), 8));
  }
}

TEST(BicubicResize, EqualSizesTruncateTheValueTimes1024) {
  const std::vector<float> src = {0.0f,     1.0f,  0.5f,    1.9999f / 1024, -1.9999f / 1024,
                                  63.9999f, 64.0f, -0.001f, 65.0f,          3.14159f};
  const std::vector<uint16_t> expected = {0, 1024, 512, 1, 65535, 65535, 0, 65535, 1024, 3216};
  EXPECT_EQ(expected, resize(src, {2, 5, 2, 5}));
  EXPECT_EQ(expected, resize(src, {5, 2, 5, 2}));
}

TEST(BicubicResize, EqualSizesFallARoundingShortWhereTheDivisionIsNotExact) {
  // 22 intervals: 13 / 22 * 22 is a rounding below 13, the one sample of this row not quite
  // reached.
  ASSERT_LT(13.0f / 22.0f * 22.0f, 13.0f);
  std::vector<float> ramp;
  std::vector<uint16_t> expected;
  for (int row = 0; row < 2; ++row) {
    for (int column = 0; column < 23; ++column) {
      ramp.push_back(static_cast<float>(column));
      expected.push_back(static_cast<uint16_t>(1024 * column - (column == 13 ? 1 : 0)));
    }
  }
  EXPECT_EQ(expected, resize(ramp, {2, 23, 2, 23}));
}

TEST(BicubicResize, OneIs1024InBothMembers) {
  EXPECT_EQ(std::vector<uint16_t>(30, 1024), resize(std::vector<float>(12, 1.0f), {3, 4, 5, 6}));
  EXPECT_EQ(std::vector<uint16_t>(30, 1024),
            resize(std::vector<uint16_t>(12, 1024), 10, {3, 4, 5, 6}));
}

TEST(BicubicResize, AConstantPlaneStaysConstantAtAnyRatio) {
  for (uint16_t in = 2; in <= 12; ++in)
    for (uint16_t out = 2; out <= 24; ++out)
      for (const uint16_t value : {uint16_t{0}, uint16_t{777}, uint16_t{65535}}) {
        const std::vector<uint16_t> expected(size_t{out} * 5, value);
        ASSERT_EQ(expected, resize(std::vector<uint16_t>(in * 3u, value), 10, {in, 3, out, 5}));
        const std::vector<float> floats(in * 3u, static_cast<float>(value) / 1024);
        ASSERT_EQ(expected, resize(floats, {3, in, 5, out}));
      }
}

TEST(BicubicResize, ARampStaysARamp) {
  // Steps of 1/4 and 1/2, so that every sample is an integer.
  std::vector<uint16_t> src;
  for (uint16_t r = 0; r < 5; ++r)
    for (uint16_t c = 0; c < 4; ++c) src.push_back(static_cast<uint16_t>(400 + 40 * r + 100 * c));
  const std::vector<uint16_t> result = resize(src, 10, {5, 4, 17, 7});
  for (size_t i = 0; i < 17; ++i)
    for (size_t k = 0; k < 7; ++k)
      EXPECT_NEAR(400 + 10 * static_cast<double>(i) + 50 * static_cast<double>(k),
                  result[i * 7 + k], 1.0);
}

TEST(BicubicResize, UndershootAndOvershootWrap) {
  // Between 0 and 0 before an edge of 16/1024 the spline reaches -1/1024, behind it 17/1024.
  const std::vector<uint16_t> edge = {0, 0, 16, 16, 0, 0, 16, 16};
  const std::vector<uint16_t> result = resize(edge, 10, {2, 4, 2, 7});
  EXPECT_EQ((std::vector<uint16_t>{0, 65535, 0, 8, 16, 17, 16}),
            std::vector<uint16_t>(result.begin(), result.begin() + 7));
  const std::vector<uint16_t> high = {65520, 65520, 65535, 65535, 65520, 65520, 65535, 65535};
  const std::vector<uint16_t> wrapped = resize(high, 10, {2, 4, 2, 7});
  EXPECT_EQ(65535u, wrapped[6]);
  // 65535 + 15/16 is truncated and fits; with one bit less it is 131071, which wraps.
  EXPECT_EQ(65535u, wrapped[5]);
  EXPECT_EQ(65535u, resize(high, 9, {2, 4, 2, 7})[5]);
  EXPECT_EQ(uint16_t(2 * 65520), resize(high, 9, {2, 4, 2, 7})[0]);
}

TEST(BicubicResize, ASmallerOutputTakesPointsOfTheSurface) {
  const auto plane = planes::make<uint16_t>(9, 9, content::noise, 8);
  const std::vector<uint16_t> src(plane.begin(), plane.end());
  const std::vector<uint16_t> result = resize(src, 10, {9, 9, 5, 3});
  for (size_t i = 0; i < 5; ++i)
    for (size_t k = 0; k < 3; ++k) EXPECT_EQ(src[2 * i * 9 + 4 * k], result[i * 3 + k]);
}

TEST(BicubicResize, HeightsComeBeforeWidths) {
  const std::vector<float> src = {0, 1, 2, 3, 4, 5};  // two rows of three
  EXPECT_EQ((std::vector<uint16_t>{0, 2048, 3072, 5120}), resize(src, {2, 3, 2, 2}));
  EXPECT_EQ((std::vector<uint16_t>{0, 1024, 4096, 5120}), resize(src, {3, 2, 2, 2}));
}

TEST(BicubicResize, AnOutputSideOfOneTakesPositionZeroOfFloats) {
  const std::vector<float> src = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ((std::vector<uint16_t>{1024}), resize(src, {2, 3, 1, 1}));
  EXPECT_EQ((std::vector<uint16_t>{1024, 3072}), resize(src, {2, 3, 1, 2}));
  EXPECT_EQ((std::vector<uint16_t>{1024, 4096}), resize(src, {2, 3, 2, 1}));
}

TEST(BicubicResize, ASourceSideOfOneIsSampledAtItsOnlySample) {
  EXPECT_EQ((std::vector<uint16_t>(6, 3072)), resize(std::vector<float>{3}, {1, 1, 2, 3}));
  EXPECT_EQ((std::vector<uint16_t>(6, 3)), resize(std::vector<uint16_t>{3}, 10, {1, 1, 2, 3}));
  // Across the other axis the samples are met exactly.
  EXPECT_EQ((std::vector<uint16_t>{1024, 2048, 1024, 2048}),
            resize(std::vector<float>{1, 2}, {1, 2, 2, 2}));
}

}  // namespace
