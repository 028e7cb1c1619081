// Bicubic enlargement of planes to float.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "qo_cmc/image_utils.h"
#include "qo_cmc/parser.h"
#include "tests/image_utils/bicubic_planes.h"
#include "tests/image_utils/bicubic_reference.h"

namespace {

using kit::guard_side;
using kit::guarded_array;
using planes::content;

uint32_t upscale_planes(const uint8_t* const* src, float* const* dst, uint16_t in_w, uint16_t in_h,
                        uint16_t out_w, uint16_t out_h, uint16_t n) {
  return image_bicubic_upscale_uint8_to_float(src, dst, in_w, in_h, out_w, out_h, n);
}
uint32_t upscale_planes(const uint16_t* const* src, float* const* dst, uint16_t in_w, uint16_t in_h,
                        uint16_t out_w, uint16_t out_h, uint16_t n) {
  return image_bicubic_upscale_uint16_to_float(src, dst, in_w, in_h, out_w, out_h, n);
}

template <typename Sample>
std::vector<float> upscale(const std::vector<Sample>& plane, uint16_t in_w, uint16_t in_h,
                           uint16_t out_w, uint16_t out_h) {
  std::vector<float> result(size_t{out_w} * out_h, -12345.0f);
  const Sample* const src[] = {plane.data()};
  float* const dst[] = {result.data()};
  EXPECT_EQ(uint32_t{QO_CMC_OK}, upscale_planes(src, dst, in_w, in_h, out_w, out_h, 1));
  return result;
}

template <typename Sample>
class BicubicUpscale : public ::testing::Test {
 protected:
  static constexpr float white = static_cast<float>(Sample(-1));

  /// One plane between guard pages, against the reference.
  static ::testing::AssertionResult matches(uint16_t in_w, uint16_t in_h, uint16_t out_w,
                                            uint16_t out_h, content what, guard_side side) {
    const auto plane = planes::make<Sample>(in_w, in_h, what, in_w * 131u + out_h, side);
    guarded_array<float> result(size_t{out_w} * out_h, side);
    const Sample* const src[] = {plane.data()};
    float* const dst[] = {result.data()};
    if (upscale_planes(src, dst, in_w, in_h, out_w, out_h, 1) != QO_CMC_OK)
      return ::testing::AssertionFailure() << "refused";
    return planes::same_bits(reference::upscale(plane.data(), in_w, in_h, out_w, out_h), result,
                             out_w)
           << " from " << in_w << " x " << in_h << " to " << out_w << " x " << out_h;
  }
};

using sample_kinds = ::testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(BicubicUpscale, sample_kinds);

TYPED_TEST(BicubicUpscale, EveryPairOfWidthsUpToFortyHasTheReferenceBits) {
  for (uint16_t in_w = 2; in_w <= 40; ++in_w)
    for (uint16_t out_w = in_w; out_w <= 40; ++out_w) {
      const auto in_h = static_cast<uint16_t>(2 + in_w % 4);
      const auto out_h = static_cast<uint16_t>(in_h + out_w % 5);
      const guard_side side = out_w % 2 ? guard_side::before : guard_side::behind;
      const content what = in_w % 2 ? content::noise : content::extremes;
      ASSERT_TRUE(this->matches(in_w, in_h, out_w, out_h, what, side));
    }
}

TYPED_TEST(BicubicUpscale, EveryPairOfHeightsUpToFortyHasTheReferenceBits) {
  for (uint16_t in_h = 2; in_h <= 40; ++in_h)
    for (uint16_t out_h = in_h; out_h <= 40; ++out_h) {
      const auto in_w = static_cast<uint16_t>(2 + in_h % 4);
      const auto out_w = static_cast<uint16_t>(in_w + out_h % 5);
      const guard_side side = out_h % 2 ? guard_side::before : guard_side::behind;
      const content what = in_h % 2 ? content::extremes : content::noise;
      ASSERT_TRUE(this->matches(in_w, in_h, out_w, out_h, what, side));
    }
}

TYPED_TEST(BicubicUpscale, EverySourceSizeUpToFortyHasTheReferenceBits) {
  for (uint16_t in_h = 2; in_h <= 40; ++in_h)
    for (uint16_t in_w = 2; in_w <= 40; ++in_w) {
      const guard_side side = (in_h + in_w) % 2 ? guard_side::before : guard_side::behind;
      const auto out_w = static_cast<uint16_t>(in_w + in_h % 3);
      const auto out_h = static_cast<uint16_t>(in_h + in_w % 4);
      ASSERT_TRUE(this->matches(in_w, in_h, out_w, out_h, content::extremes, side));
    }
}

TYPED_TEST(BicubicUpscale, EveryPairOfSidesTo256StaysInsideItsPlanes) {
  // A side of 2 across keeps the sweep short; all positions of the other axis are visited. Both
  // planes end at an inaccessible page, and every eleventh pair is compared. The two kinds of
  // samples, which share all positions, take turns.
  const auto plane = planes::make<TypeParam>(2, 256, content::extremes, 3);
  guarded_array<float> room(2 * 256);
  for (size_t in = 2; in <= 256; ++in)
    for (size_t out = in; out <= 256; ++out) {
      if ((in + out) % 2 != sizeof(TypeParam) - 1) continue;
      const TypeParam* const src[] = {plane.end() - 2 * in};
      float* const dst[] = {room.end() - 2 * out};
      const auto in_side = static_cast<uint16_t>(in);
      const auto out_side = static_cast<uint16_t>(out);
      const auto matches_reference = [&](uint16_t in_w, uint16_t in_h, uint16_t out_w,
                                         uint16_t out_h) {
        if (upscale_planes(src, dst, in_w, in_h, out_w, out_h, 1) != QO_CMC_OK) return false;
        if ((in + out) % 11 != 0) return true;
        const std::vector<float> expected = reference::upscale(src[0], in_w, in_h, out_w, out_h);
        return memcmp(expected.data(), dst[0], expected.size() * sizeof(float)) == 0;
      };
      ASSERT_TRUE(matches_reference(2, in_side, 2, out_side)) << in << " rows to " << out;
      ASSERT_TRUE(matches_reference(in_side, 2, out_side, 2)) << in << " columns to " << out;
    }
}

TYPED_TEST(BicubicUpscale, LargerSizesHaveTheReferenceBits) {
  const uint16_t sizes[][4] = {{17, 13, 221, 165},   {64, 48, 64, 48},     {100, 3, 1001, 7},
                               {3, 100, 7, 1001},    {255, 2, 256, 300},   {2, 2, 333, 222},
                               {300, 200, 301, 201}, {2, 2, 65535, 2},     {2, 2, 2, 65535},
                               {4099, 2, 8191, 3},   {65532, 2, 65535, 2}, {2, 65532, 2, 65535}};
  for (const auto& [in_w, in_h, out_w, out_h] : sizes)
    for (const content what : {content::noise, content::extremes})
      ASSERT_TRUE(this->matches(in_w, in_h, out_w, out_h, what, guard_side::behind));
}

TYPED_TEST(BicubicUpscale, EveryWidthAcrossVectorsAndStripsHasTheReferenceBits) {
  std::vector<uint16_t> widths;
  for (uint16_t width = 2; width <= 140; ++width) widths.push_back(width);
  for (const int strip_end : {256, 512, 1024})
    for (int beyond = -5; beyond <= 17; beyond += beyond < 3 ? 1 : 7)
      widths.push_back(static_cast<uint16_t>(strip_end + beyond));
  for (const uint16_t out : widths) {
    const guard_side side = out % 2 ? guard_side::before : guard_side::behind;
    const content what = out % 3 ? content::noise : content::extremes;
    for (const int in : {2, out / 4 + 2, out / 2 + 1, out * 2 / 3 + 1, out - 1, int{out}})
      if (in >= 2 && in <= out) {
        ASSERT_TRUE(this->matches(static_cast<uint16_t>(in), 3, out, 5, what, side));
      }
  }
}

TYPED_TEST(BicubicUpscale, PlanesMayBeginAtAnySample) {
  for (size_t offset = 0; offset < 32; ++offset) {
    const auto plane = planes::make<TypeParam>(offset + 13 * 4, 1, content::noise, 2);
    guarded_array<float> result(offset + 37 * 6);
    const TypeParam* const src[] = {plane.data() + offset};
    float* const dst[] = {result.data() + offset};
    ASSERT_EQ(uint32_t{QO_CMC_OK}, upscale_planes(src, dst, 13, 4, 37, 6, 1));
    ASSERT_TRUE(sample_planes::same_bits(reference::upscale(src[0], 13, 4, 37, 6), dst[0], 37))
        << offset;
  }
}

TYPED_TEST(BicubicUpscale, SeveralPlanesAreEachEnlarged) {
  std::vector<guarded_array<TypeParam>> sources;
  std::vector<guarded_array<float>> results;
  std::vector<const TypeParam*> src;
  std::vector<float*> dst;
  for (uint32_t plane = 0; plane < 5; ++plane) {
    sources.push_back(planes::make<TypeParam>(7, 5, content::noise, plane));
    results.emplace_back(size_t{19} * 11);
    src.push_back(sources.back().data());
    dst.push_back(results.back().data());
  }
  ASSERT_EQ(uint32_t{QO_CMC_OK}, upscale_planes(src.data(), dst.data(), 7, 5, 19, 11, 5));
  for (size_t plane = 0; plane < 5; ++plane)
    EXPECT_TRUE(planes::same_bits(reference::upscale(src[plane], 7, 5, 19, 11), results[plane], 19))
        << "plane " << plane;
}

TYPED_TEST(BicubicUpscale, EqualSizeCopiesTheSamples) {
  for (uint16_t h = 2; h <= 40; h = static_cast<uint16_t>(h + 3))
    for (uint16_t w = 2; w <= 40; ++w) {
      const auto plane = planes::make<TypeParam>(w, h, content::noise, w);
      const std::vector<TypeParam> samples(plane.begin(), plane.end());
      const std::vector<float> expected(plane.begin(), plane.end());
      ASSERT_TRUE(planes::same_bits(expected, upscale(samples, w, h, w, h), w));
    }
}

TYPED_TEST(BicubicUpscale, AConstantPlaneStaysConstant) {
  for (const TypeParam value : {TypeParam(0), TypeParam(1), TypeParam(201), TypeParam(-1)}) {
    const std::vector<TypeParam> plane(size_t{9} * 7, value);
    const std::vector<float> expected(size_t{50} * 31, static_cast<float>(value));
    EXPECT_TRUE(planes::same_bits(expected, upscale(plane, 9, 7, 50, 31), 50));
  }
}

TYPED_TEST(BicubicUpscale, ARampStaysARamp) {
  // Two by two, where three quarters of the neighbourhood are border, and more.
  for (const uint16_t in_w : {uint16_t{2}, uint16_t{3}, uint16_t{11}})
    for (const uint16_t in_h : {uint16_t{2}, uint16_t{7}}) {
      std::vector<TypeParam> plane;
      for (int r = 0; r < in_h; ++r)
        for (int c = 0; c < in_w; ++c) plane.push_back(static_cast<TypeParam>(10 + 20 * r + 9 * c));
      const std::vector<float> result = upscale(plane, in_w, in_h, 41, 33);
      for (int y = 0; y < 33; ++y)
        for (int x = 0; x < 41; ++x) {
          const double expected = 10 + 20.0 * y * (in_h - 1) / 32 + 9.0 * x * (in_w - 1) / 40;
          ASSERT_NEAR(expected, result[static_cast<size_t>(y * 41 + x)], 1e-4) << y << ", " << x;
        }
    }
}

TYPED_TEST(BicubicUpscale, OutputCornersFallOnSourceCorners) {
  const auto plane = planes::make<TypeParam>(6, 4, content::noise, 5);
  const std::vector<TypeParam> samples(plane.begin(), plane.end());
  // Steps of 1/5 and 1/4: the far corner is met exactly by the second, and to a rounding by both.
  const std::vector<float> result = upscale(samples, 6, 4, 26, 13);
  EXPECT_EQ(static_cast<float>(samples[0]), result[0]);
  EXPECT_NEAR(samples[5], result[25], BicubicUpscale<TypeParam>::white * 1e-5);
  EXPECT_NEAR(samples[23], result[12 * 26 + 25], BicubicUpscale<TypeParam>::white * 1e-5);
  for (size_t r = 0; r < 4; ++r)
    EXPECT_EQ(static_cast<float>(samples[r * 6]), result[4 * r * 26]) << "row " << r;
}

TYPED_TEST(BicubicUpscale, HalfwayPointsWeighAsTheSplineDoes) {
  const std::vector<TypeParam> plane = {10, 20, 80, 120, 10, 20, 80, 120};
  const std::vector<float> result = upscale(plane, 4, 2, 7, 2);
  EXPECT_EQ((-10 + 9 * 20 + 9 * 80 - 120) / 16.0f, result[3]);
  EXPECT_EQ((-0 + 9 * 10 + 9 * 20 - 80) / 16.0f, result[1]);     // 2 * 10 - 20 to the left
  EXPECT_EQ((-20 + 9 * 80 + 9 * 120 - 160) / 16.0f, result[5]);  // 2 * 120 - 80 to the right
}

TYPED_TEST(BicubicUpscale, StaysNearDoublePrecision) {
  double worst = 0;
  for (const content what : {content::noise, content::extremes})
    for (uint32_t seed = 0; seed < 20; ++seed) {
      const auto plane = planes::make<TypeParam>(12, 9, what, seed);
      const std::vector<float> result =
          upscale(std::vector<TypeParam>(plane.begin(), plane.end()), 12, 9, 57, 40);
      const reference::buffer b = reference::extrapolated(plane.data(), 12, 9);
      for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 57; ++x) {
          // Positions in double precision too; at a cell's end either side gives the same value.
          const double row = y * 8.0 / 39, column = x * 11.0 / 56;
          const int j = static_cast<int>(row), i = static_cast<int>(column);
          const double exact =
              reference::patch_value<double>(reference::block(b, j, i), row - j, column - i);
          const double kept = std::clamp(exact, -255.0, 65535.0);
          worst = std::max(worst, std::abs(kept - result[static_cast<size_t>(y * 57 + x)]));
        }
    }
  this->RecordProperty("worst_error_of_full_scale",
                       std::to_string(worst / BicubicUpscale<TypeParam>::white));
  EXPECT_LT(worst, BicubicUpscale<TypeParam>::white * 4e-6);
  EXPECT_GT(worst, 0);
}

TEST(BicubicUpscaleRange, SixteenBitOvershootIsHeldTo65535AndUndershootToMinus255) {
  const uint16_t top = 65535;
  // An edge in both directions: the spline swings past it on either side.
  const std::vector<uint16_t> plane = {0, 0, top, top, 0, 0, top, top};
  const std::vector<float> result = upscale(plane, 4, 2, 31, 2);
  EXPECT_EQ(65535.0f, *std::max_element(result.begin(), result.end()));
  EXPECT_EQ(-255.0f, *std::min_element(result.begin(), result.end()));
  EXPECT_EQ(-255.0f, result[5]);  // inside 0 ... 1 the spline lies below 0
  EXPECT_EQ(65535.0f, result[25]);
}

TEST(BicubicUpscaleRange, EightBitSwingsAreKept) {
  const std::vector<uint8_t> plane = {0, 0, 255, 255, 0, 0, 255, 255};
  const std::vector<float> result = upscale(plane, 4, 2, 7, 2);
  EXPECT_EQ(-255.0f / 16, result[1]);
  EXPECT_EQ(17 * 255.0f / 16, result[5]);
}

}  // namespace
