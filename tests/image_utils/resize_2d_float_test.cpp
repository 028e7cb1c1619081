// Bilinear resize of float arrays.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "qo_cmc/image_utils.h"
#include "qo_cmc/parser.h"
#include "tests/image_utils/resize_2d_reference.h"
#include "tests/image_utils/sample_planes.h"

namespace {

using kit::guard_side;
using resize_2d_reference::floating_point;
using resize_2d_reference::sizes;
using sample_planes::edge_room;
using sample_planes::noisy_room;
using sample_planes::other_side;

uint32_t resize(const float* src, float* dst, const sizes& s) {
  return resize_2d_array_float(src, s.in_w, static_cast<int32_t>(s.in_h), dst, s.out_w, s.out_h);
}

class guarded_resize {
 public:
  guarded_resize(size_t source_capacity, size_t output_capacity)
      : source_(noisy_room<float>(source_capacity, 37)), output_(output_capacity) {}

  ::testing::AssertionResult matches(const sizes& s, guard_side side) {
    const float* const src = source_.plane(size_t{s.in_w % 65536} * s.in_h, side);
    const size_t out_width = s.out_w % 65536;
    float* const dst = output_.plane(out_width * s.out_h, other_side(side));
    if (resize(src, dst, s) != QO_CMC_OK) return ::testing::AssertionFailure() << "refused";
    return sample_planes::same_bits(floating_point(src, s), dst, out_width)
           << " from " << s.in_w << " x " << s.in_h << " to " << s.out_w << " x " << s.out_h;
  }

 private:
  edge_room<float> source_;
  edge_room<float> output_;
};

TEST(Resize2dFloat, EveryPairOfSidesTo256HasTheReferenceBitsOnBothAxes) {
  guarded_resize resizer(2 * 256, 2 * 256);
  for (uint32_t in = 2; in <= 256; ++in)
    for (uint32_t out = 2; out <= 256; ++out) {
      const guard_side side = (in + out) % 2 ? guard_side::before : guard_side::behind;
      ASSERT_TRUE(resizer.matches({in, 2, out, 2}, side));
      ASSERT_TRUE(resizer.matches({2, in, 2, out}, side));
    }
}

TEST(Resize2dFloat, EverySizeUpToFortyHasTheReferenceBits) {
  guarded_resize resizer(40 * 40, 40 * 40);
  for (uint32_t h = 2; h <= 40; ++h)
    for (uint32_t w = 2; w <= 40; ++w) {
      ASSERT_TRUE(resizer.matches({w, h, 7, 5}, guard_side::before));
      ASSERT_TRUE(resizer.matches({w, h, 19, 23}, guard_side::behind));
      ASSERT_TRUE(resizer.matches({3, 14, w, h}, guard_side::before));
      ASSERT_TRUE(resizer.matches({13, 17, w, h}, guard_side::behind));
    }
}

// Widths that end before, at and behind every boundary of registers; steps below one sample, of
// about one, up to two, up to four, and beyond.
TEST(Resize2dFloat, EveryWidthTo140HasTheReferenceBitsAtEveryKindOfStep) {
  guarded_resize resizer(141 * 9 * 6, 141 * 7);
  for (uint32_t out = 2; out <= 140; ++out)
    for (const uint32_t in : {(out + 3) / 2, out, out + 1, (3 * out) / 2 + 1, 2 * out - 1,
                              2 * out + 1, 3 * out, 4 * out - 3, 4 * out + 1, 9 * out}) {
      ASSERT_TRUE(resizer.matches({in, 6, out, 7}, guard_side::before));
      ASSERT_TRUE(resizer.matches({in, 6, out, 3}, guard_side::behind));
      ASSERT_TRUE(resizer.matches({in, 6, out, 2}, guard_side::behind));
    }
}

// Strips are 960 outputs at most, of the same width but the last. Of rows that are not shared, and
// of those wider than two strips, three are formed side by side.
TEST(Resize2dFloat, WidthsAroundStripsHaveTheReferenceBits) {
  guarded_resize resizer(15000 * 3, 3900 * 7);
  for (const uint32_t out : {959u, 960u, 961u, 977u, 1025u, 1280u, 1281u, 1919u, 1920u, 1921u,
                             1985u, 2879u, 2880u, 2881u, 3841u})
    for (const uint32_t in : {300u, out, 2 * out - 1, 14999u})
      for (const guard_side side : {guard_side::before, guard_side::behind}) {
        ASSERT_TRUE(resizer.matches({in, 3, out, 5}, side));
        ASSERT_TRUE(resizer.matches({in, 3, out, 2}, side));
        ASSERT_TRUE(resizer.matches({in, 2, out, 7}, side));  // four rows together, then three
      }
}

// From 4 MiB on outputs go past the caches, in whole lines.
TEST(Resize2dFloat, OutputsAroundTheSizeThatIsStreamedHaveTheReferenceBits) {
  constexpr uint32_t samples = 1u << 20;
  guarded_resize resizer(9 * 2100, samples + 2100);
  for (const uint32_t width : {1024u, 1023u, 2048u, 33u}) {
    const uint32_t height = samples / width;
    ASSERT_TRUE(resizer.matches({37, 9, width, height}, guard_side::before));
    ASSERT_TRUE(resizer.matches({2100, 9, width, height + 1}, guard_side::behind));
  }
}

// Rounded positions of wide rows may lie a sample further apart than their step has it.
TEST(Resize2dFloat, StepsOfAlmostWholeSamplesHaveTheReferenceBits) {
  guarded_resize resizer(65535 * 2, 65535 * 2);
  for (uint32_t rest = 0; rest < 3; ++rest)
    for (const uint32_t part : {1u, 2u, 4u})
      for (const guard_side side : {guard_side::before, guard_side::behind})
        ASSERT_TRUE(resizer.matches({65535 - rest, 2, 65534 / part - rest % 2, 2}, side));
}

TEST(Resize2dFloat, EveryAlignmentHasTheReferenceBits) {
  constexpr size_t room = 16;
  for (const sizes& s : {sizes{37, 5, 101, 7}, sizes{201, 5, 101, 3}, sizes{301, 5, 101, 3}}) {
    std::vector<float> src(size_t{s.in_w} * s.in_h + room);
    std::vector<float> dst(size_t{s.out_w} * s.out_h + room);
    sample_planes::fill_with_noise(src.data(), src.size(), 43);
    for (size_t i = 0; i < room; ++i) {
      std::fill(dst.begin(), dst.end(), 90.0f);
      const size_t to = (7 * i + 3) % room;
      ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(src.data() + i, dst.data() + to, s));
      ASSERT_TRUE(
          sample_planes::same_bits(floating_point(src.data() + i, s), dst.data() + to, s.out_w));
      for (size_t j = 0; j < to; ++j) ASSERT_EQ(90.0f, dst[j]) << j;
      for (size_t j = to + size_t{s.out_w} * s.out_h; j < dst.size(); ++j)
        ASSERT_EQ(90.0f, dst[j]) << j;
    }
  }
}

TEST(Resize2dFloat, LargeSizesHaveTheReferenceBits) {
  guarded_resize resizer(1 << 18, 1 << 18);
  for (const sizes& s :
       {sizes{640, 400, 320, 200}, sizes{333, 257, 401, 513}, sizes{65535, 2, 65534, 2},
        sizes{2, 65535, 2, 65534}, sizes{3, 2, 65535, 3}, sizes{2, 3, 3, 70000},
        sizes{2, 70000, 2, 300}, sizes{2, 70001, 3, 70000}, sizes{2, 65536, 2, 65536},
        sizes{2, 65537, 2, 65537}}) {
    ASSERT_TRUE(resizer.matches(s, guard_side::before));
    ASSERT_TRUE(resizer.matches(s, guard_side::behind));
  }
}

TEST(Resize2dFloat, ExtremeSamplesHaveTheReferenceBits) {
  constexpr float infinity = std::numeric_limits<float>::infinity();
  const float values[] = {std::numeric_limits<float>::max(),
                          std::numeric_limits<float>::lowest(),
                          std::numeric_limits<float>::denorm_min(),
                          -0.0f,
                          infinity,
                          -infinity,
                          std::numeric_limits<float>::quiet_NaN(),
                          1.0f};
  for (uint32_t out = 2; out <= 70; ++out) {
    const sizes s{3 + out * 7 % 80, 5, out, 2 + out % 9};
    std::vector<float> src(size_t{s.in_w} * s.in_h);
    for (size_t i = 0; i < src.size(); ++i) src[i] = values[(i * 5 + i / 7 + out) % 8];
    std::vector<float> dst(size_t{s.out_w} * s.out_h);
    ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(src.data(), dst.data(), s));
    ASSERT_TRUE(sample_planes::same_bits(floating_point(src.data(), s), dst.data(), s.out_w));
  }
}

TEST(Resize2dFloat, WidthsCountModulo65536) {
  guarded_resize resizer(9 * 9, 9 * 9);
  EXPECT_TRUE(resizer.matches({0x10000 + 9, 5, 7, 4}, guard_side::behind));
  EXPECT_TRUE(resizer.matches({9, 5, 0xffff0000 + 7, 4}, guard_side::behind));
  EXPECT_TRUE(resizer.matches({0x80000002, 2, 0x7fff0002, 2}, guard_side::before));
}

TEST(Resize2dFloat, RowIndexStartsOverAt65536WhileTheFractionKeepsTheDistance) {
  // Output row 1 falls on row 65537 of 65538: row 1 with a fraction of 65536.
  kit::guarded_array<float> src(2 * 65538);
  src[2 * 1] = 3.0f;
  src[2 * 2] = 5.0f;
  src[2 * 65537] = 1000.0f;
  float dst[4] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(src.data(), dst, {2, 65538, 2, 2}));
  EXPECT_EQ(5.0f * 65536.0f - 3.0f * 65535.0f, dst[2]);
}

TEST(Resize2dFloat, NeighbourBehindTheLastSampleIsTheLastSample) {
  const float src[] = {1, 2, 3, 4};
  float dst[9] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(src, dst, {2, 2, 3, 3}));
  const float expected[] = {1, 1.5f, 2, 2, 2.5f, 3, 3, 3.5f, 4};
  for (int i = 0; i < 9; ++i) EXPECT_EQ(expected[i], dst[i]);
}

TEST(Resize2dFloat, EqualSizesCopy) {
  std::vector<float> src(37 * 41), dst(37 * 41);
  sample_planes::fill_with_noise(src.data(), src.size(), 41);
  ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(src.data(), dst.data(), {37, 41, 37, 41}));
  EXPECT_EQ(src, dst);
}

TEST(Resize2dFloat, ConstantsStayConstantAndRampsStayRamps) {
  // 9 to 33: a quarter of a sample to a step, exact in single precision.
  const std::vector<float> constant(9 * 9, 0.75f);
  std::vector<float> ramp(9 * 9), dst(33 * 33);
  ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(constant.data(), dst.data(), {9, 9, 33, 33}));
  EXPECT_EQ(std::vector<float>(33 * 33, 0.75f), dst);
  for (size_t i = 0; i < 81; ++i) ramp[i] = static_cast<float>(i % 9) - 2.0f * float(i / 9);
  ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(ramp.data(), dst.data(), {9, 9, 33, 33}));
  for (size_t i = 0; i < dst.size(); ++i)
    ASSERT_EQ(0.25f * float(i % 33) - 0.5f * float(i / 33), dst[i]) << i;
}

TEST(Resize2dFloat, RefusesSidesBelowTwoAndNulls) {
  const float src[4] = {1, 2, 3, 4};
  float dst[4] = {9, 9, 9, 9};
  for (const uint32_t bad : {0u, 1u, 0x10000u, 0x10001u, 0xffff0001u}) {
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, resize(src, dst, {bad, 2, 2, 2})) << bad;
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, resize(src, dst, {2, 2, bad, 2})) << bad;
  }
  for (const uint32_t bad : {0u, 1u, 0x80000000u, 0xffffffffu}) {
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, resize(src, dst, {2, bad, 2, 2})) << bad;
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, resize(src, dst, {2, 2, 2, bad})) << bad;
  }
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, resize(nullptr, dst, {2, 2, 2, 2}));
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, resize(src, nullptr, {2, 2, 2, 2}));
  for (const float sample : dst) EXPECT_EQ(9.0f, sample);
}

}  // namespace
