// Bilinear resize of a region of an array.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <vector>

#include "qo_cmc/image_utils.h"
#include "qo_cmc/parser.h"
#include "tests/image_utils/resize_2d_reference.h"
#include "tests/image_utils/sample_planes.h"

namespace {

using kit::guard_side;
using resize_2d_reference::margins;
using resize_2d_reference::sizes;
using sample_planes::edge_room;
using sample_planes::noisy_room;
using sample_planes::other_side;

uint32_t crop(const uint16_t* src, uint16_t* dst, const sizes& s, const margins& cut) {
  return crop_resize_2d_array_uint16(src, s.in_w, s.in_h, {cut.left, cut.top},
                                     {cut.right, cut.bottom}, dst, s.out_w, s.out_h);
}

class guarded_crop {
 public:
  guarded_crop(size_t source_capacity, size_t output_capacity)
      : source_(noisy_room<uint16_t>(source_capacity, 23)), output_(output_capacity) {}

  ::testing::AssertionResult matches(const sizes& s, const margins& cut, guard_side side) {
    const uint16_t* const src = source_.plane(size_t{s.in_w} * s.in_h, side);
    uint16_t* const dst = output_.plane(size_t{s.out_w} * s.out_h, other_side(side));
    if (crop(src, dst, s, cut) != QO_CMC_OK) return ::testing::AssertionFailure() << "refused";
    return sample_planes::same_bits(resize_2d_reference::fixed_point<8>(src, s, cut), dst, s.out_w)
           << " from " << s.in_w << " x " << s.in_h << " to " << s.out_w << " x " << s.out_h
           << " without " << cut.left << ", " << cut.top << ", " << cut.right << ", " << cut.bottom;
  }

 private:
  edge_room<uint16_t> source_;
  edge_room<uint16_t> output_;
};

TEST(CropResize2d, EveryPairOfSidesTo256HasTheReferenceBitsOnBothAxes) {
  guarded_crop cropper(5 * 256, 2 * 256);
  for (uint32_t in = 2; in <= 256; ++in)
    for (uint32_t out = 2; out <= 256; ++out) {
      const guard_side side = (in + out) % 2 ? guard_side::before : guard_side::behind;
      // From no margin to all of the side but two samples, before or behind the region.
      const auto cut = static_cast<int32_t>((in + 7 * out) % (in - 1));
      const int32_t before = out % 3 == 0 ? 0 : cut;
      ASSERT_TRUE(cropper.matches({in, 2, out, 2}, {before, 0, cut - before, 0}, side));
      ASSERT_TRUE(cropper.matches({2, in, 2, out}, {0, before, 0, cut - before}, side));
    }
}

TEST(CropResize2d, EveryRegionOfASmallArrayHasTheReferenceBits) {
  guarded_crop cropper(8 * 7, 12 * 12);
  for (int32_t left = 0; left < 7; ++left)
    for (int32_t right = 0; left + right < 7; ++right)
      for (int32_t top = 0; top < 6; ++top)
        for (int32_t bottom = 0; top + bottom < 6; ++bottom)
          for (const uint32_t out : {2u, 5u, 12u}) {
            const margins cut{left, top, right, bottom};
            ASSERT_TRUE(cropper.matches({8, 7, out, out}, cut, guard_side::before));
            ASSERT_TRUE(cropper.matches({8, 7, out, out}, cut, guard_side::behind));
          }
}

TEST(CropResize2d, EverySizeUpToFortyHasTheReferenceBits) {
  guarded_crop cropper(40 * 40, 40 * 40);
  for (uint32_t h = 2; h <= 40; ++h)
    for (uint32_t w = 2; w <= 40; ++w) {
      const margins cut{static_cast<int32_t>(w / 3), static_cast<int32_t>(h / 4),
                        static_cast<int32_t>(w / 5), static_cast<int32_t>(h / 5)};
      ASSERT_TRUE(cropper.matches({w, h, 11, 9}, cut, guard_side::behind));
      ASSERT_TRUE(cropper.matches({17, 19, w, h}, {3, 2, 5, 4}, guard_side::before));
    }
}

TEST(CropResize2d, EveryWidthTo140HasTheReferenceBitsAtEveryKindOfStep) {
  guarded_crop cropper(900 * 9, 141 * 7);
  for (uint32_t out = 2; out <= 140; ++out)
    for (const uint32_t region : {(out + 3) / 2, out, 2 * out - 1, 2 * out + 3, 5 * out}) {
      const auto cut = static_cast<int32_t>(out % 23);
      ASSERT_TRUE(cropper.matches({region + 2 * out % 46, 9, out, 7}, {cut, 1, cut, 2},
                                  guard_side::before));
      ASSERT_TRUE(
          cropper.matches({region + out % 23, 9, out, 3}, {cut, 2, 0, 0}, guard_side::behind));
    }
}

TEST(CropResize2d, LargeSizesHaveTheReferenceBits) {
  guarded_crop cropper(640 * 400, 640 * 400);
  for (const margins& cut : {margins{0, 0, 0, 0}, margins{100, 50, 3, 200}, margins{600, 350, 0, 0},
                             margins{0, 0, 600, 350}})
    for (const sizes& s :
         {sizes{640, 400, 320, 200}, sizes{640, 400, 33, 21}, sizes{640, 400, 640, 400},
          sizes{640, 400, 1000, 100}, sizes{640, 400, 1600, 90}}) {
      ASSERT_TRUE(cropper.matches(s, cut, guard_side::before));
      ASSERT_TRUE(cropper.matches(s, cut, guard_side::behind));
    }
}

TEST(CropResize2d, AnyMarginsAtAllStayInsideTheArray) {
  guarded_crop cropper(9 * 9, 9 * 9);
  std::minstd_rand random(29);
  uint32_t accepted = 0;
  for (int round = 0; round < 200000; ++round) {
    const auto side = [&](uint32_t smallest) { return smallest + uint32_t(random()) % 6; };
    const auto margin = [&] {
      const auto bits = static_cast<uint32_t>(uint64_t{random()} << 17 ^ random());
      return static_cast<int32_t>(bits) >> (random() >> 8) % 32;
    };
    const sizes s{side(1), side(1), side(2), side(2)};
    const margins cut{margin(), margin(), margin(), margin()};
    const uint32_t region_w = s.in_w - uint32_t(cut.left) - uint32_t(cut.right);
    const uint32_t region_h = s.in_h - uint32_t(cut.top) - uint32_t(cut.bottom);
    if (region_w < 2 || region_h < 2) continue;
    ++accepted;
    ASSERT_TRUE(cropper.matches(s, cut, round % 2 ? guard_side::before : guard_side::behind));
  }
  EXPECT_GT(accepted, 100000u);
}

TEST(CropResize2d, WithoutMarginsIsThePlainResize) {
  for (const sizes& s : {sizes{13, 11, 37, 23}, sizes{37, 23, 13, 11}, sizes{9, 9, 9, 9},
                         sizes{2, 2, 2, 600}, sizes{600, 2, 2, 2}}) {
    std::vector<uint16_t> src(size_t{s.in_w} * s.in_h), plain(size_t{s.out_w} * s.out_h),
        cropped(plain.size());
    sample_planes::fill_with_noise(src.data(), src.size(), 31);
    ASSERT_EQ(uint32_t{QO_CMC_OK},
              resize_2d_array_uint16(src.data(), s.in_w, static_cast<int32_t>(s.in_h), plain.data(),
                                     s.out_w, s.out_h));
    ASSERT_EQ(uint32_t{QO_CMC_OK}, crop(src.data(), cropped.data(), s, {}));
    EXPECT_EQ(plain, cropped);
  }
}

TEST(CropResize2d, AtEqualSizesCutsTheRegionOut) {
  std::vector<uint16_t> src(8 * 7);
  std::iota(src.begin(), src.end(), uint16_t{0});
  uint16_t dst[3 * 2] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, crop(src.data(), dst, {8, 7, 3, 2}, {4, 1, 1, 4}));
  const uint16_t expected[] = {12, 13, 14, 20, 21, 22};
  EXPECT_TRUE(std::equal(dst, dst + 6, expected));
}

TEST(CropResize2d, OriginIsScaledByTheStep) {
  // Deliberate. 5 samples from sample 2 on to 9: half a sample to a step, so sampling starts at
  // sample 1, not 2. The other axis is cut by nothing.
  std::vector<uint16_t> src(2 * 7);
  for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<uint16_t>(100 * (i % 7));
  uint16_t wide[9 * 2] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, crop(src.data(), wide, {7, 2, 9, 2}, {2, 0, 0, 0}));
  for (uint32_t i = 0; i < 18; ++i) EXPECT_EQ(100 + 50 * (i % 9), wide[i]);

  for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<uint16_t>(100 * (i / 2));
  uint16_t tall[2 * 9] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, crop(src.data(), tall, {2, 7, 2, 9}, {0, 2, 0, 0}));
  for (uint32_t i = 0; i < 18; ++i) EXPECT_EQ(100 + 50 * (i / 2), tall[i]);
}

TEST(CropResize2d, ScaledOriginPastTheRowReadsTheNextAndBehindTheArrayItsLastSample) {
  // 4 samples from column 4 on to 2: the step is 3, sampling starts at column 12 of 8.
  kit::guarded_array<uint16_t> src(8 * 3);
  std::iota(src.begin(), src.end(), uint16_t{0});
  uint16_t dst[2 * 2] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, crop(src.data(), dst, {8, 3, 2, 2}, {4, 0, 0, 0}));
  EXPECT_EQ(12, dst[0]);  // row 0, column 12
  EXPECT_EQ(15, dst[1]);
  EXPECT_EQ(23, dst[2]);  // row 2, column 12
  EXPECT_EQ(23, dst[3]);

  // 2 rows from row 1 on to 2 at equal size, but from column 4 at step 3: rows 1 and 2.
  ASSERT_EQ(uint32_t{QO_CMC_OK}, crop(src.data(), dst, {8, 3, 2, 2}, {4, 1, 0, 0}));
  EXPECT_EQ(20, dst[0]);  // row 1, column 12
  EXPECT_EQ(23, dst[1]);
}

TEST(CropResize2d, RowPastTheLastIsTheLastSampleNotTheLastRow) {
  // 4 rows from row 4 on to 2: the step is 3, sampling starts at row 12 of 8.
  kit::guarded_array<uint16_t> src(2 * 8);
  std::iota(src.begin(), src.end(), uint16_t{0});
  uint16_t dst[2 * 2] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, crop(src.data(), dst, {2, 8, 2, 2}, {0, 4, 0, 0}));
  for (const uint16_t sample : dst) EXPECT_EQ(15, sample);
}

TEST(CropResize2d, MarginsBeyondTheArrayWrapAndAreNotRefused) {
  // The region is 2^32 - 2 columns wide; its step, 0xfffffd00, is -3 columns modulo 2^24 of them.
  guarded_crop cropper(4 * 4, 2 * 2);
  EXPECT_TRUE(cropper.matches({4, 4, 2, 2}, {6, 0, 0, 0}, guard_side::behind));
  EXPECT_TRUE(cropper.matches({4, 4, 2, 2}, {0, 0, 6, 0}, guard_side::behind));
  EXPECT_TRUE(cropper.matches({4, 4, 2, 2}, {0, 6, 0, 0}, guard_side::behind));
  EXPECT_TRUE(cropper.matches({4, 4, 2, 2}, {0, 0, 0, 6}, guard_side::behind));
  EXPECT_TRUE(cropper.matches({4, 4, 2, 2}, {3, 3, 3, 3}, guard_side::before));

  const std::vector<uint16_t> constant(4 * 4, 1234);
  uint16_t dst[2 * 2] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, crop(constant.data(), dst, {4, 4, 2, 2}, {100, 100, 100, 100}));
  for (const uint16_t sample : dst) EXPECT_EQ(1234, sample);
}

TEST(CropResize2d, StepOfZeroReadsNothingBehindAColumnOfSamples) {
  // From a region of 2 columns to 258 and more, the step is 0: every output is at column 0, and
  // there is no column 1.
  guarded_crop cropper(6, 600 * 7);
  for (const uint32_t out_w : {257u, 258u, 600u})
    for (const uint32_t in_h : {1u, 2u, 6u})
      for (const uint32_t out_h : {2u, 3u, 7u}) {
        const int32_t bottom = in_h == 1 ? -1 : 0;
        EXPECT_TRUE(
            cropper.matches({1, in_h, out_w, out_h}, {0, 0, -1, bottom}, guard_side::behind));
        EXPECT_TRUE(
            cropper.matches({1, in_h, out_w, out_h}, {-2, 0, 1, bottom}, guard_side::behind));
      }
}

TEST(CropResize2d, NegativeMarginsEnlargeTheRegion) {
  guarded_crop cropper(4 * 4, 7 * 7);
  EXPECT_TRUE(cropper.matches({4, 4, 7, 7}, {0, 0, -3, -3}, guard_side::behind));
  EXPECT_TRUE(cropper.matches({4, 4, 7, 7}, {-1, -2, 0, 0}, guard_side::behind));
  EXPECT_TRUE(cropper.matches({1, 1, 2, 2}, {0, 0, -1, -1}, guard_side::behind));
}

TEST(CropResize2d, RefusesRegionsAndOutputsBelowTwoEmptyArraysAndNulls) {
  const std::vector<uint16_t> src(4 * 4, 7);
  uint16_t dst[4] = {9, 9, 9, 9};
  const auto expect_refused = [&](const sizes& s, const margins& cut) {
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, crop(src.data(), dst, s, cut));
  };
  for (const uint32_t bad : {0u, 1u}) {
    expect_refused({4, 4, bad, 2}, {});
    expect_refused({4, 4, 2, bad}, {});
    expect_refused({bad, 4, 2, 2}, {});
    expect_refused({4, bad, 2, 2}, {});
  }
  for (const int32_t all : {3, 4}) {  // a region of 1, of 0
    expect_refused({4, 4, 2, 2}, {all, 0, 0, 0});
    expect_refused({4, 4, 2, 2}, {0, all, 0, 0});
    expect_refused({4, 4, 2, 2}, {0, 0, all, 0});
    expect_refused({4, 4, 2, 2}, {0, 0, 0, all});
    expect_refused({4, 4, 2, 2}, {all - 1, 0, 1, 0});
    expect_refused({4, 4, 2, 2}, {0, all - 1, 0, 1});
  }
  // An array without samples, though the region wraps to a large one.
  expect_refused({0, 4, 2, 2}, {1, 0, 1, 0});
  expect_refused({4, 0, 2, 2}, {0, 1, 0, 1});
  expect_refused({0, 4, 2, 2}, {-4, 0, 0, 0});
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, crop(nullptr, dst, {4, 4, 2, 2}, {}));
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, crop(src.data(), nullptr, {4, 4, 2, 2}, {}));
  for (const uint16_t sample : dst) EXPECT_EQ(9, sample);
}

TEST(CropResize2d, ConstantArraysStayConstant) {
  const std::vector<uint16_t> src(20 * 10, 65535);
  std::vector<uint16_t> dst(33 * 7);
  ASSERT_EQ(uint32_t{QO_CMC_OK}, crop(src.data(), dst.data(), {20, 10, 33, 7}, {9, 3, 1, 2}));
  EXPECT_EQ(std::vector<uint16_t>(dst.size(), 65535), dst);
}

}  // namespace
