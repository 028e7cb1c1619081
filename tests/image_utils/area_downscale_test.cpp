// Area downscale of planes and regions to 16 bit.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <type_traits>
#include <utility>
#include <vector>

#include "qo_cmc/image_utils.h"
#include "qo_cmc/parser.h"
#include "tests/image_utils/area_reference.h"
#include "tests/image_utils/sample_planes.h"

namespace {

using area_reference::reference;
using area_reference::region;
using area_reference::sizes;
using area_reference::whole;
using kit::guard_side;
using sample_planes::edge_room;
using sample_planes::noisy_room;
using sample_planes::other_side;

/// The region as the functions take it; null for the whole plane.
struct region_argument {
  explicit region_argument(const region* roi) {
    if (roi == nullptr) return;
    const int given[] = {roi->x, roi->y, roi->w, roi->h};
    std::transform(given, given + 4, values, [](int v) { return static_cast<uint16_t>(v); });
    pointer = values;
  }
  uint16_t values[4] = {};
  const uint16_t* pointer = nullptr;
};

uint32_t downscale(const float* src, uint16_t* dst, const sizes& s, const region* roi) {
  return image_downscale_32f_to_u16p10(
      &src, &dst, static_cast<uint16_t>(s.in_w), static_cast<uint16_t>(s.in_h),
      static_cast<uint16_t>(s.out_w), static_cast<uint16_t>(s.out_h), 1,
      region_argument(roi).pointer);
}

uint32_t downscale(const uint16_t* src, uint16_t* dst, const sizes& s, const region* roi,
                   int in_bits, int out_bits) {
  return image_downscale_u16_to_u16(&src, &dst, static_cast<uint16_t>(s.in_w),
                                    static_cast<uint16_t>(s.in_h), static_cast<uint16_t>(in_bits),
                                    static_cast<uint16_t>(s.out_w), static_cast<uint16_t>(s.out_h),
                                    static_cast<uint16_t>(out_bits), 1,
                                    region_argument(roi).pointer);
}

class guarded_downscale {
 public:
  guarded_downscale(size_t source_capacity, size_t output_capacity)
      : floats_(noisy_room<float>(source_capacity, 43)),
        halves_(noisy_room<uint16_t>(source_capacity, 47)),
        output_(output_capacity) {}

  /// Both members; a null region is the whole plane.
  ::testing::AssertionResult matches(const sizes& s, guard_side side, const region* roi = nullptr,
                                     int in_bits = 10, int out_bits = 10) {
    const size_t in_count = static_cast<size_t>(s.in_w) * static_cast<size_t>(s.in_h);
    const size_t out_count = static_cast<size_t>(s.out_w) * static_cast<size_t>(s.out_h);
    const auto width = static_cast<size_t>(s.out_w);
    const region used = roi != nullptr ? *roi : whole(s);
    uint16_t* const dst = output_.plane(out_count, other_side(side));

    const float* const floats = floats_.plane(in_count, side);
    if (downscale(floats, dst, s, roi) != QO_CMC_OK) return refused(s, used);
    auto result = sample_planes::same_bits(reference(floats, s, used, 0, 10), dst, width);
    if (!result) return annotated(result << " (float)", s, used);

    const uint16_t* const halves = halves_.plane(in_count, side);
    if (downscale(halves, dst, s, roi, in_bits, out_bits) != QO_CMC_OK) return refused(s, used);
    result = sample_planes::same_bits(reference(halves, s, used, in_bits, out_bits), dst, width);
    if (!result) return annotated(result << " (16 bit)", s, used);
    return result;
  }

 private:
  static ::testing::AssertionResult annotated(::testing::AssertionResult result, const sizes& s,
                                              const region& roi) {
    return result << " from " << roi.w << " x " << roi.h << " at " << roi.x << ", " << roi.y
                  << " of " << s.in_w << " x " << s.in_h << " to " << s.out_w << " x " << s.out_h;
  }
  static ::testing::AssertionResult refused(const sizes& s, const region& roi) {
    return annotated(::testing::AssertionFailure() << "refused", s, roi);
  }

  edge_room<float> floats_;
  edge_room<uint16_t> halves_;
  edge_room<uint16_t> output_;
};

TEST(AreaDownscale, EveryPairOfSidesTo256HasTheReferenceBitsOnBothAxes) {
  guarded_downscale downscaler(4 * 256, 3 * 256);
  for (int in = 4; in <= 256; ++in)
    for (int out = 3; out < in; ++out) {
      const guard_side side = (in + out) % 2 ? guard_side::before : guard_side::behind;
      ASSERT_TRUE(downscaler.matches({in, 4, out, 3}, side));
      ASSERT_TRUE(downscaler.matches({4, in, 3, out}, side));
    }
}

TEST(AreaDownscale, EveryPairOfSidesTo256OfARegionAtTheFarEdgeStaysInsideThePlane) {
  guarded_downscale downscaler(5 * 257, 3 * 256);
  for (int in = 3; in <= 256; ++in)
    for (int out = 3; out <= in; ++out) {
      const region wide{1, 1, in, 4}, tall{1, 1, 4, in};
      ASSERT_TRUE(downscaler.matches({in + 1, 5, out, 3}, guard_side::behind, &wide));
      ASSERT_TRUE(downscaler.matches({5, in + 1, 3, out}, guard_side::behind, &tall));
    }
}

TEST(AreaDownscale, EverySizeUpToFortyHasTheReferenceBits) {
  guarded_downscale downscaler(41 * 41, 40 * 40);
  for (int h = 4; h <= 40; ++h)
    for (int w = 4; w <= 40; ++w) {
      ASSERT_TRUE(downscaler.matches({w, h, 3 + (w - 3) / 3, 3 + (h - 3) / 2}, guard_side::before));
      ASSERT_TRUE(downscaler.matches({w, h, w - 1, 3}, guard_side::behind));
      ASSERT_TRUE(downscaler.matches({41, 41, w, h}, guard_side::behind));
    }
}

TEST(AreaDownscale, EveryRegionOfASmallPlaneHasTheReferenceBits) {
  // Smaller than the output and empty ones included.
  guarded_downscale downscaler(9 * 8, 5 * 4);
  for (int x = 0; x < 9; ++x)
    for (int y = 0; y < 8; ++y)
      for (int w = 0; x + w <= 9; ++w)
        for (int h = 0; y + h <= 8; ++h) {
          const region roi{x, y, w, h};
          ASSERT_TRUE(downscaler.matches({9, 8, 5, 4}, guard_side::before, &roi));
          ASSERT_TRUE(downscaler.matches({9, 8, 5, 4}, guard_side::behind, &roi));
        }
}

TEST(AreaDownscale, LargeSizesHaveTheReferenceBits) {
  guarded_downscale downscaler(640 * 480, 400 * 300);
  const region middle{100, 50, 333, 257};
  for (const guard_side side : {guard_side::before, guard_side::behind}) {
    ASSERT_TRUE(downscaler.matches({640, 480, 64, 48}, side));
    ASSERT_TRUE(downscaler.matches({640, 480, 399, 299}, side));
    ASSERT_TRUE(downscaler.matches({640, 480, 33, 41}, side, &middle));
    ASSERT_TRUE(downscaler.matches({65535, 4, 3001, 3}, side));
    ASSERT_TRUE(downscaler.matches({4, 65535, 3, 3001}, side));
    ASSERT_TRUE(downscaler.matches({65535, 4, 3, 3}, side));
    ASSERT_TRUE(downscaler.matches({4, 65535, 3, 30000}, side));
  }
}

TEST(AreaDownscale, SingleRowsOfColumnsOfManyTapsHaveTheReferenceBits) {
  // The last band is the plane's last row alone, whose taps may end with the plane.
  guarded_downscale downscaler(161 * 5, 32 * 4);
  for (int in = 15; in <= 160; ++in)
    for (const int taps : {5, 6, 9}) {
      const int out = in / taps;
      if (out < 3) continue;
      const region corner{1, 1, in, 4};
      ASSERT_TRUE(downscaler.matches({in + 1, 5, out, 4}, guard_side::before, &corner));
      ASSERT_TRUE(downscaler.matches({in + 1, 5, out, 4}, guard_side::behind, &corner));
    }
}

TEST(AreaDownscale, HalfOfEverySizeTo280HasTheReferenceBits) {
  guarded_downscale downscaler(281 * 7, 140 * 3);
  for (int out = 3; out <= 140; ++out) {
    const region odd{1, 1, 2 * out, 6};
    for (const guard_side side : {guard_side::before, guard_side::behind}) {
      ASSERT_TRUE(downscaler.matches({2 * out, 6, out, 3}, side));
      ASSERT_TRUE(downscaler.matches({6, 2 * out, 3, out}, side));
      ASSERT_TRUE(downscaler.matches({2 * out + 1, 7, out, 3}, side, &odd));
      ASSERT_TRUE(downscaler.matches({2 * out, 7, out, 3}, side));
    }
  }
}

TEST(AreaDownscale, WidthsAroundAStripOfColumnsHaveTheReferenceBits) {
  // The library takes 2048 columns at a time, in groups of up to 16.
  guarded_downscale downscaler(5 * 6200 * 4, 4112 * 3);
  for (const int out : {2031, 2032, 2033, 2047, 2048, 2049, 2063, 2064, 2065, 4096, 4097, 4112})
    for (const int in : {out + 1, out * 5 / 4, 2 * out - 1, 2 * out, out * 25 / 12, 5 * out})
      ASSERT_TRUE(
          downscaler.matches({in, 4, out, 3}, in % 2 ? guard_side::before : guard_side::behind));
}

/// Both planes at any offset, with samples on either side that must stay.
template <typename Sample>
void expect_reference_at_every_offset(const std::vector<Sample>& room, const sizes& s) {
  constexpr size_t offsets = 40;
  constexpr uint16_t untouched = 0xa5c3;
  const size_t count = static_cast<size_t>(s.out_w * s.out_h);
  for (size_t offset = 0; offset < offsets; ++offset) {
    const Sample* const src = room.data() + offset;
    const size_t dst_offset = (7 * offset + 1) % offsets;
    std::vector<uint16_t> dst(count + 2 * offsets, untouched);
    std::vector<uint16_t> expected(dst);
    if constexpr (std::is_same_v<Sample, float>)
      ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src, dst.data() + dst_offset, s, nullptr));
    else
      ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src, dst.data() + dst_offset, s, nullptr, 0, 10));
    const std::vector<uint16_t> samples = reference(src, s, whole(s), 0, 10);
    std::copy(samples.begin(), samples.end(),
              expected.begin() + static_cast<std::ptrdiff_t>(dst_offset));
    ASSERT_EQ(expected, dst) << "offset " << offset << ", " << s.in_w << " to " << s.out_w;
  }
}

TEST(AreaDownscale, EveryAlignmentHasTheReferenceBitsAndOnlyOutputIsWritten) {
  std::vector<float> floats(450 * 7);
  std::vector<uint16_t> halves(450 * 7);
  sample_planes::fill_with_noise(floats.data(), floats.size(), 67);
  sample_planes::fill_with_noise(halves.data(), halves.size(), 71);
  for (const sizes& s : {sizes{101, 7, 50, 3}, sizes{90, 6, 45, 3}, sizes{83, 6, 40, 4},
                         sizes{146, 7, 70, 5}, sizes{131, 7, 47, 3}, sizes{440, 7, 41, 3}}) {
    expect_reference_at_every_offset(floats, s);
    expect_reference_at_every_offset(halves, s);
  }
}

TEST(AreaDownscale, SmallestAndLargestSamplesHaveTheReferenceBits) {
  std::vector<float> floats(600 * 6);
  std::vector<uint16_t> halves(600 * 6);
  sample_planes::fill_with_extremes(floats.data(), floats.size(), 73);
  sample_planes::fill_with_extremes(halves.data(), halves.size(), 79);
  for (const int out : {17, 35, 64, 129, 200, 256, 300, 431, 599}) {
    const sizes s{600, 6, out, out % 2 ? 4 : 3};
    std::vector<uint16_t> dst(static_cast<size_t>(s.out_w * s.out_h));
    ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(floats.data(), dst.data(), s, nullptr));
    EXPECT_EQ(reference(floats.data(), s, whole(s), 0, 10), dst) << out;
    for (const int in_bits : {0, 7, 31}) {
      ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(halves.data(), dst.data(), s, nullptr, in_bits, 10));
      EXPECT_EQ(reference(halves.data(), s, whole(s), in_bits, 10), dst) << out;
    }
  }
}

TEST(AreaDownscale, WhatIsNoNumberOrInfiniteReachesOnlyWhatCoversIt) {
  // One sample at each place in turn: a column that does not cover it must not see it.
  constexpr float infinity = std::numeric_limits<float>::infinity();
  for (const float odd : {infinity, -infinity, std::numeric_limits<float>::quiet_NaN()})
    for (const sizes& s : {sizes{70, 4, 35, 3}, sizes{70, 6, 35, 3}, sizes{70, 4, 69, 3},
                           sizes{73, 4, 35, 3}, sizes{70, 4, 28, 3}, sizes{95, 4, 21, 3}}) {
      std::vector<float> src(static_cast<size_t>(s.in_w * s.in_h));
      sample_planes::fill_with_noise(src.data(), src.size(), 83);
      std::vector<uint16_t> dst(static_cast<size_t>(s.out_w * s.out_h));
      for (float& sample : src) {
        const float kept = std::exchange(sample, odd);
        ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), dst.data(), s, nullptr));
        ASSERT_EQ(reference(src.data(), s, whole(s), 0, 10), dst)
            << "at " << &sample - src.data() << ", " << s.in_w << " to " << s.out_w;
        sample = kept;
      }
    }
}

TEST(AreaDownscale, MagnitudesWhereScalesCouldOverflowOrVanishHaveTheReferenceBits) {
  // Regions smaller than the output have means above their samples.
  const float values[] = {std::numeric_limits<float>::max(),
                          -std::numeric_limits<float>::max(),
                          std::numeric_limits<float>::max() / 9,
                          std::numeric_limits<float>::max() / 1024,
                          -std::numeric_limits<float>::max() / 4096,
                          std::numeric_limits<float>::min(),
                          std::numeric_limits<float>::denorm_min() * 5,
                          -std::numeric_limits<float>::denorm_min(),
                          2097151.875f,
                          -2097152.0f,
                          1e-4f,
                          -0x1p-11f};
  std::vector<float> src(40 * 8);
  std::vector<uint16_t> dst(36 * 6);
  const sizes s{40, 8, 36, 6};
  for (const float value : values)
    for (const region& roi : {region{0, 0, 40, 8}, region{1, 2, 9, 2}, region{0, 0, 1, 1},
                              region{3, 1, 36, 6}, region{2, 1, 18, 3}}) {
      for (size_t i = 0; i < src.size(); ++i) src[i] = i % 3 == 2 ? 0.0f : value;
      ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), dst.data(), s, &roi));
      ASSERT_EQ(reference(src.data(), s, roi, 0, 10), dst) << value << " of " << roi.w;
    }
}

TEST(AreaDownscale, EveryNumberOfFractionBitsHasTheReferenceBits) {
  guarded_downscale downscaler(44 * 6, 22 * 4);
  for (int in_bits = 0; in_bits <= 33; ++in_bits)
    for (int out_bits = 0; out_bits <= 33; ++out_bits)
      for (const sizes& s : {sizes{7, 6, 5, 4}, sizes{44, 6, 22, 3}, sizes{25, 4, 19, 3}})
        ASSERT_TRUE(downscaler.matches(s, guard_side::behind, nullptr, in_bits, out_bits));
}

TEST(AreaDownscale, ExtremeFloatsHaveTheReferenceBits) {
  constexpr float infinity = std::numeric_limits<float>::infinity();
  const float values[] = {std::numeric_limits<float>::max(),
                          std::numeric_limits<float>::lowest(),
                          std::numeric_limits<float>::denorm_min(),
                          -0.0f,
                          infinity,
                          -infinity,
                          std::numeric_limits<float>::quiet_NaN(),
                          1.0f,
                          -2e6f,
                          2e6f,
                          3e6f,
                          65.5f};
  std::minstd_rand random(53);
  for (int round = 0; round < 500; ++round) {
    std::vector<float> src(8 * 7);
    const float usual = values[round % 12];
    for (float& sample : src) sample = random() % 8 ? usual : values[random() % 12];
    const sizes s{8, 7, 3 + round % 5, 3 + round % 4};
    std::vector<uint16_t> dst(static_cast<size_t>(s.out_w * s.out_h));
    ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), dst.data(), s, nullptr));
    ASSERT_TRUE(sample_planes::same_bits(reference(src.data(), s, whole(s), 0, 10), dst.data(),
                                         static_cast<size_t>(s.out_w)));
  }
}

TEST(AreaDownscale, RegionAtTheFarEdgeOf14To13ReadsNothingBehindThePlane) {
  // 13 times 14 / 13 is rounded up past 14: the last output reaches for a 15th sample.
  ASSERT_GT(13.0f * (14.0f / 13.0f), 14.0f);
  guarded_downscale downscaler(20 * 20, 13 * 13);
  const region corner{6, 6, 14, 14};
  EXPECT_TRUE(downscaler.matches({20, 20, 13, 13}, guard_side::behind, &corner));
  EXPECT_TRUE(downscaler.matches({14, 14, 13, 13}, guard_side::behind));
}

TEST(AreaDownscale, SampleBehindARegionsRowIsTheNextRowsWhereThePlaneGoesOn) {
  // Deliberate: the sliver that rounding adds is taken where the index points, and a huge sample
  // there shows. In the last row it is the plane's last sample.
  std::vector<float> src(15 * 20, 0.0f);
  for (size_t row = 1; row < 20; ++row) src[row * 15] = 1e6f;
  std::vector<uint16_t> dst(13 * 3);
  const region roi{1, 0, 14, 6};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), dst.data(), {15, 20, 13, 3}, &roi));
  for (size_t i = 0; i < dst.size(); ++i) EXPECT_EQ(i % 13 == 12, dst[i] != 0) << i;
}

TEST(AreaDownscale, RowBehindThePlaneIsTheLastRow) {
  std::vector<float> src(4 * 15, 0.0f);
  std::fill(src.end() - 4, src.end(), 1.0f);
  std::vector<uint16_t> dst(3 * 13);
  const region roi{0, 1, 3, 14};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), dst.data(), {4, 15, 3, 13}, &roi));
  for (size_t i = 0; i < 36; ++i) EXPECT_EQ(0, dst[i]);
  for (size_t i = 36; i < 39; ++i) EXPECT_EQ(951, dst[i]);  // 13 / 14
}

TEST(AreaDownscale, ConstantFloatsGiveTheirRoundedFixedPoint) {
  for (const float value :
       {0.0f, 0.5f, 1.0f, 1.0f / 1024, 0.5f / 1024, 0.49f / 1024, 3.14159f, 63.9f}) {
    const std::vector<float> src(12 * 8, value);
    for (const sizes& s : {sizes{12, 8, 6, 4}, sizes{12, 8, 3, 4}}) {
      std::vector<uint16_t> dst(static_cast<size_t>(s.out_w * s.out_h));
      ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), dst.data(), s, nullptr));
      for (const uint16_t sample : dst)
        EXPECT_EQ(static_cast<uint16_t>(value * 1024 + 0.5f), sample) << value;
    }
  }
}

TEST(AreaDownscale, FourToThreeWeighsPartlyCoveredSamples) {
  // Along an axis: 1 and 1/3, 2/3 and 2/3, 1/3 and 1 of 4/3.
  std::vector<float> src(16, 0.0f);
  std::vector<uint16_t> dst(9);
  const auto run = [&] { return downscale(src.data(), dst.data(), {4, 4, 3, 3}, nullptr); };
  src[1 * 4 + 1] = 9.0f;
  ASSERT_EQ(uint32_t{QO_CMC_OK}, run());
  // 9 times the weights 1/3 and 2/3 (or their product), by the area 16/9.
  const uint16_t expected[] = {576, 1152, 0, 1152, 2304, 0, 0, 0, 0};
  for (size_t i = 0; i < 9; ++i) EXPECT_NEAR(expected[i], dst[i], 1) << i;
  src[1 * 4 + 1] = 0.0f;
  src[0] = 9.0f;
  ASSERT_EQ(uint32_t{QO_CMC_OK}, run());
  EXPECT_NEAR(5184, dst[0], 1);
  for (size_t i = 1; i < 9; ++i) EXPECT_EQ(0, dst[i]);
}

TEST(AreaDownscale, WholeRatioGivesBoxMeans) {
  std::vector<float> src(64);
  std::vector<uint16_t> src16(64), dst(16), dst16(16);
  for (size_t i = 0; i < 64; ++i) {
    src16[i] = static_cast<uint16_t>(i * i % 61 * 4);
    src[i] = static_cast<float>(src16[i]) / 1024.0f;
  }
  ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), dst.data(), {8, 8, 4, 4}, nullptr));
  ASSERT_EQ(uint32_t{QO_CMC_OK},
            downscale(src16.data(), dst16.data(), {8, 8, 4, 4}, nullptr, 10, 10));
  for (size_t r = 0; r < 4; ++r)
    for (size_t c = 0; c < 4; ++c) {
      const size_t i = 16 * r + 2 * c;
      const int mean = (src16[i] + src16[i + 1] + src16[i + 8] + src16[i + 9]) / 4;
      EXPECT_EQ(mean, dst[4 * r + c]);
      EXPECT_EQ(mean, dst16[4 * r + c]);
    }
}

TEST(AreaDownscale, RampsStayRamps) {
  std::vector<uint16_t> src(16 * 16), dst(8 * 8);
  for (size_t i = 0; i < 256; ++i) src[i] = static_cast<uint16_t>(i % 16 * 2 + i / 16 * 4);
  ASSERT_EQ(uint32_t{QO_CMC_OK},
            downscale(src.data(), dst.data(), {16, 16, 8, 8}, nullptr, 10, 10));
  for (size_t i = 0; i < 64; ++i) EXPECT_EQ(3 + i % 8 * 4 + i / 8 * 8, dst[i]);
}

TEST(AreaDownscale, EqualFractionBitsKeepAConstantPlane) {
  const std::vector<uint16_t> src(9 * 9, 1024);
  std::vector<uint16_t> dst(5 * 5);
  ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), dst.data(), {9, 9, 5, 5}, nullptr, 10, 10));
  EXPECT_EQ(std::vector<uint16_t>(25, 1024), dst);
}

TEST(AreaDownscale, RoundingTermIsHalfAUnitOfTenBitsWhateverTheOutputHas) {
  // Deliberate. A plane of 0.5: 8 bits of output without fraction would round 0.5 up, and do not;
  // with 14 bits of output the term is worth 8 units.
  const std::vector<uint16_t> src(16, 512);
  std::vector<uint16_t> dst(9);
  const sizes s{4, 4, 3, 3};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), dst.data(), s, nullptr, 10, 0));
  EXPECT_EQ(std::vector<uint16_t>(9, 0), dst);
  ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), dst.data(), s, nullptr, 10, 14));
  for (const uint16_t sample : dst) EXPECT_NEAR(8192 + 8, sample, 1);
}

TEST(AreaDownscale, ValuesBeyond16BitsKeepTheirLowBitsAndSaturateAt32) {
  std::vector<uint16_t> dst(9);
  const auto constant = [&](float value) {
    const std::vector<float> src(6 * 6, value);
    EXPECT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), dst.data(), {6, 6, 3, 3}, nullptr));
    return dst[4];
  };
  EXPECT_EQ(0, constant(64.0f));
  EXPECT_EQ(1024, constant(65.0f));
  EXPECT_EQ(static_cast<uint16_t>(-1023), constant(-1.0f));  // -1023.5, truncated toward zero
  EXPECT_EQ(0xffff, constant(2097152.0f));                   // 2^31 saturates to 2^31 - 1
  EXPECT_EQ(0xffff, constant(1e20f));
  EXPECT_EQ(0, constant(-1e20f));
  EXPECT_EQ(0, constant(std::numeric_limits<float>::quiet_NaN()));
}

TEST(AreaDownscale, EmptyRegionGivesZeros) {
  const std::vector<float> src(36, 5.0f);
  for (const region& roi : {region{2, 2, 0, 3}, region{2, 2, 3, 0}, region{5, 5, 0, 0}}) {
    std::vector<uint16_t> dst(9, 77);
    ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), dst.data(), {6, 6, 3, 3}, &roi));
    EXPECT_EQ(std::vector<uint16_t>(9, 0), dst);
  }
}

TEST(AreaDownscale, WholePlaneAsARegionIsNoRegion) {
  std::vector<float> src(15 * 17);
  sample_planes::fill_with_noise(src.data(), src.size(), 59);
  std::vector<uint16_t> with(7 * 5), without(7 * 5);
  const sizes s{15, 17, 7, 5};
  const region all = whole(s);
  ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), with.data(), s, &all));
  ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), without.data(), s, nullptr));
  EXPECT_EQ(without, with);
}

/// Calls of both members with arrays of planes and any arguments.
struct planes_call {
  const float* const* floats;
  const uint16_t* const* halves;
  uint16_t* const* outputs;

  void expect(uint32_t status, const sizes& s, uint16_t n_planes, const region* roi) const {
    const auto in_w = static_cast<uint16_t>(s.in_w), in_h = static_cast<uint16_t>(s.in_h);
    const auto out_w = static_cast<uint16_t>(s.out_w), out_h = static_cast<uint16_t>(s.out_h);
    const region_argument argument(roi);
    EXPECT_EQ(status, image_downscale_32f_to_u16p10(floats, outputs, in_w, in_h, out_w, out_h,
                                                    n_planes, argument.pointer));
    EXPECT_EQ(status, image_downscale_u16_to_u16(halves, outputs, in_w, in_h, 10, out_w, out_h, 10,
                                                 n_planes, argument.pointer));
  }
};

TEST(AreaDownscale, SeveralPlanesAreReducedEachForItself) {
  constexpr size_t n = 4;
  const sizes s{11, 9, 5, 4};
  std::vector<std::vector<uint16_t>> sources(n, std::vector<uint16_t>(99)), outputs(n);
  std::vector<const uint16_t*> src;
  std::vector<uint16_t*> dst;
  for (size_t i = 0; i < n; ++i) {
    sample_planes::fill_with_noise(sources[i].data(), 99, static_cast<uint32_t>(61 + i));
    outputs[i].assign(20, 0);
    src.push_back(sources[i].data());
    dst.push_back(outputs[i].data());
  }
  ASSERT_EQ(uint32_t{QO_CMC_OK},
            image_downscale_u16_to_u16(src.data(), dst.data(), 11, 9, 12, 5, 4, 10, n, nullptr));
  for (size_t i = 0; i < n; ++i) EXPECT_EQ(reference(src[i], s, whole(s), 12, 10), outputs[i]);
}

TEST(AreaDownscale, RefusesWhatIsNoReductionAndRegionsOutsideThePlane) {
  const std::vector<float> floats(64, 1.0f);
  const std::vector<uint16_t> halves(64, 1024);
  std::vector<uint16_t> dst(64, 77);
  const float* const float_plane = floats.data();
  const uint16_t* const half_plane = halves.data();
  uint16_t* const out_plane = dst.data();
  const planes_call call{&float_plane, &half_plane, &out_plane};
  for (const uint16_t n : {uint16_t{0}, uint16_t{1}}) {
    for (const sizes& s : {sizes{6, 6, 6, 3}, sizes{6, 6, 3, 6}, sizes{6, 6, 7, 3},
                           sizes{6, 6, 3, 7}, sizes{6, 6, 2, 3}, sizes{6, 6, 3, 2},
                           sizes{6, 6, 0, 3}, sizes{6, 6, 3, 0}, sizes{0, 0, 0, 0}})
      call.expect(QO_CMC_INVALID_SIZE, s, n, nullptr);
    for (const region& roi :
         {region{6, 0, 0, 6}, region{0, 6, 6, 0}, region{0, 0, 7, 6}, region{0, 0, 6, 7},
          region{3, 0, 4, 6}, region{0, 3, 6, 4}, region{1, 0, 65535, 6}, region{0, 1, 6, 65535},
          region{65535, 0, 1, 6}, region{0, 65535, 6, 1}})
      call.expect(QO_CMC_INVALID_SIZE, {6, 6, 3, 3}, n, &roi);
  }
  EXPECT_EQ(std::vector<uint16_t>(64, 77), dst);
  const region far_edge{3, 2, 3, 4};
  call.expect(QO_CMC_OK, {6, 6, 3, 3}, 1, &far_edge);
  EXPECT_EQ(std::vector<uint16_t>(9, 1024), std::vector<uint16_t>(dst.begin(), dst.begin() + 9));
}

TEST(AreaDownscale, NoPlanesAreDoneBeforeAnyPointerIsLookedAt) {
  planes_call{nullptr, nullptr, nullptr}.expect(QO_CMC_OK, {6, 6, 3, 3}, 0, nullptr);
}

TEST(AreaDownscale, ANullPlaneIsRefusedBeforeAnythingIsWritten) {
  const std::vector<float> floats(36, 1.0f);
  const std::vector<uint16_t> halves(36, 1024);
  std::vector<uint16_t> first(9, 77), second(9, 77);
  const float* float_planes[] = {floats.data(), floats.data()};
  const uint16_t* half_planes[] = {halves.data(), halves.data()};
  uint16_t* outputs[] = {first.data(), second.data()};
  const sizes s{6, 6, 3, 3};
  planes_call{nullptr, nullptr, outputs}.expect(QO_CMC_INVALID_SIZE, s, 2, nullptr);
  planes_call{float_planes, half_planes, nullptr}.expect(QO_CMC_INVALID_SIZE, s, 2, nullptr);
  outputs[1] = nullptr;
  planes_call{float_planes, half_planes, outputs}.expect(QO_CMC_INVALID_SIZE, s, 2, nullptr);
  outputs[1] = second.data();
  float_planes[1] = nullptr;
  half_planes[1] = nullptr;
  planes_call{float_planes, half_planes, outputs}.expect(QO_CMC_INVALID_SIZE, s, 2, nullptr);
  EXPECT_EQ(std::vector<uint16_t>(9, 77), first);
  EXPECT_EQ(std::vector<uint16_t>(9, 77), second);
  planes_call{float_planes, half_planes, outputs}.expect(QO_CMC_OK, s, 1, nullptr);
  EXPECT_EQ(std::vector<uint16_t>(9, 1024), first);
}

}  // namespace
