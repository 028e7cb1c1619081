// Bilinear resize of whole integer arrays, dense and interleaved.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <numeric>
#include <vector>

#include "qo_cmc/image_utils.h"
#include "qo_cmc/parser.h"
#include "tests/image_utils/resize_2d_reference.h"
#include "tests/image_utils/sample_planes.h"

namespace {

using kit::guard_side;
using sample_planes::edge_room;
using sample_planes::noisy_room;
using sample_planes::other_side;
using sample_planes::same_bits;
using sizes = resize_2d_reference::sizes;

template <typename Element>
constexpr uint32_t fraction_bits = sizeof(Element) == 4 ? 12 : 8;

uint32_t resize(const uint8_t* src, uint8_t* dst, const sizes& s) {
  return resize_2d_array_uint8(src, s.in_w, static_cast<int32_t>(s.in_h), dst, s.out_w, s.out_h);
}
uint32_t resize(const uint16_t* src, uint16_t* dst, const sizes& s) {
  return resize_2d_array_uint16(src, s.in_w, static_cast<int32_t>(s.in_h), dst, s.out_w, s.out_h);
}
uint32_t resize(const uint32_t* src, uint32_t* dst, const sizes& s) {
  return resize_2d_array_uint32(src, s.in_w, static_cast<int32_t>(s.in_h), dst, s.out_w, s.out_h);
}
uint32_t resize_into(const uint8_t* src, uint8_t* dst, const sizes& s, int32_t dst_step) {
  return resize_2d_array_uint8_v1(src, s.in_w, static_cast<int32_t>(s.in_h), dst, s.out_w, s.out_h,
                                  dst_step);
}
uint32_t resize_into(const uint16_t* src, uint16_t* dst, const sizes& s, int32_t dst_step) {
  return resize_2d_array_uint16_v1(src, s.in_w, static_cast<int32_t>(s.in_h), dst, s.out_w, s.out_h,
                                   dst_step);
}

/// A resize of one element type between rooms that touch inaccessible pages.
template <typename Element>
class guarded_resize {
 public:
  guarded_resize(size_t source_capacity, size_t output_capacity)
      : source_(noisy_room<Element>(source_capacity, 7)), output_(output_capacity) {}

  void fill_source_with_extremes(size_t capacity) {
    for (const guard_side side : {guard_side::before, guard_side::behind})
      sample_planes::fill_with_extremes(source_.plane(capacity, side), capacity, 11);
  }

  ::testing::AssertionResult matches(const sizes& s, guard_side side) {
    const Element* const src = source_.plane(size_t{s.in_w} * s.in_h, side);
    Element* const dst = output_.plane(size_t{s.out_w} * s.out_h, other_side(side));
    if (resize(src, dst, s) != QO_CMC_OK) return ::testing::AssertionFailure() << "refused";
    return same_bits(resize_2d_reference::fixed_point<fraction_bits<Element>>(src, s), dst, s.out_w)
           << " from " << s.in_w << " x " << s.in_h << " to " << s.out_w << " x " << s.out_h;
  }

 private:
  edge_room<Element> source_;
  edge_room<Element> output_;
};

template <typename Element>
class Resize2d : public ::testing::Test {};
using elements = ::testing::Types<uint8_t, uint16_t, uint32_t>;
TYPED_TEST_SUITE(Resize2d, elements);

TYPED_TEST(Resize2d, EveryPairOfSidesTo256HasTheReferenceBitsOnBothAxes) {
  guarded_resize<TypeParam> resizer(2 * 256, 2 * 256);
  for (uint32_t in = 2; in <= 256; ++in)
    for (uint32_t out = 2; out <= 256; ++out) {
      const guard_side side = (in + out) % 2 ? guard_side::before : guard_side::behind;
      ASSERT_TRUE(resizer.matches({in, 2, out, 2}, side));
      ASSERT_TRUE(resizer.matches({2, in, 2, out}, side));
    }
}

TYPED_TEST(Resize2d, EverySourceSizeUpToFortyHasTheReferenceBits) {
  guarded_resize<TypeParam> resizer(40 * 40, 23 * 23);
  for (uint32_t in_h = 2; in_h <= 40; ++in_h)
    for (uint32_t in_w = 2; in_w <= 40; ++in_w) {
      ASSERT_TRUE(resizer.matches({in_w, in_h, 7, 5}, guard_side::before));
      ASSERT_TRUE(resizer.matches({in_w, in_h, 19, 23}, guard_side::behind));
    }
}

TYPED_TEST(Resize2d, EveryOutputSizeUpToFortyHasTheReferenceBits) {
  guarded_resize<TypeParam> resizer(13 * 17, 40 * 40);
  for (uint32_t out_h = 2; out_h <= 40; ++out_h)
    for (uint32_t out_w = 2; out_w <= 40; ++out_w) {
      ASSERT_TRUE(resizer.matches({3, 14, out_w, out_h}, guard_side::before));
      ASSERT_TRUE(resizer.matches({13, 17, out_w, out_h}, guard_side::behind));
    }
}

// Widths that end before, at and behind every boundary of registers; steps below one sample, of
// about one, up to two, up to four, beyond, and whole ones.
TYPED_TEST(Resize2d, EveryWidthTo140HasTheReferenceBitsAtEveryKindOfStep) {
  guarded_resize<TypeParam> resizer(141 * 9 * 6, 141 * 7);
  for (uint32_t out = 2; out <= 140; ++out)
    for (const uint32_t in : {(out + 3) / 2, out, out + 1, (3 * out) / 2 + 1, 2 * out - 1,
                              2 * out + 1, 3 * out, 4 * out - 3, 4 * out + 1, 9 * out}) {
      ASSERT_TRUE(resizer.matches({in, 6, out, 7}, guard_side::before));
      ASSERT_TRUE(resizer.matches({in, 6, out, 3}, guard_side::behind));
      ASSERT_TRUE(resizer.matches({in, 6, out, 2}, guard_side::behind));
    }
}

// Of 8 and 16 bits columns repeat after 512 outputs; strips are 5120, 2688 and 1280 outputs at
// most, and any width where no row is shared. Rows 1.5 samples apart are shared, but not kept, like
// all of 16 bits that are wider than a strip.
TYPED_TEST(Resize2d, WidthsAroundRepeatsAndStripsHaveTheReferenceBits) {
  guarded_resize<TypeParam> resizer(24000 * 4, 5700 * 7);
  for (const uint32_t out :
       {511u,  512u,  513u,  575u,  576u,  577u,  1023u, 1024u, 1025u, 1279u, 1280u, 1281u, 1344u,
        1345u, 1537u, 2559u, 2560u, 2561u, 2687u, 2688u, 2689u, 3841u, 5119u, 5120u, 5121u, 5633u})
    for (const uint32_t in : {2u, 33u, 127u, 700u, out, out + out / 2, 2 * out - 1, 3 * out + 1,
                              4 * out - 3, 4 * out + 700}) {
      const guard_side side = (in + out) % 2 ? guard_side::before : guard_side::behind;
      ASSERT_TRUE(resizer.matches({in, 3, out, 5}, side));
      ASSERT_TRUE(resizer.matches({in, 3, out, 2}, other_side(side)));
      ASSERT_TRUE(resizer.matches({in, 4, out, 3}, side));
      ASSERT_TRUE(resizer.matches({in, 2, out, 7}, side));  // four rows together, then three
    }
}

// From 4 MiB on outputs go past the caches, in whole lines.
TYPED_TEST(Resize2d, OutputsAroundTheSizeThatIsStreamedHaveTheReferenceBits) {
  constexpr uint32_t samples = (4u << 20) / sizeof(TypeParam);
  guarded_resize<TypeParam> resizer(9 * 2100, samples + 2100);
  for (const uint32_t width : {1024u, 1023u, 2048u, 33u}) {
    const uint32_t height = samples / width;
    ASSERT_TRUE(resizer.matches({37, 9, width, height}, guard_side::before));
    ASSERT_TRUE(resizer.matches({2100, 9, width, height + 1}, guard_side::behind));
  }
}

TYPED_TEST(Resize2d, EveryAlignmentHasTheReferenceBits) {
  constexpr size_t room = 64 / sizeof(TypeParam);
  for (const sizes& s : {sizes{37, 5, 101, 7}, sizes{201, 5, 101, 3}, sizes{301, 5, 101, 3}}) {
    std::vector<TypeParam> src(size_t{s.in_w} * s.in_h + room);
    std::vector<TypeParam> dst(size_t{s.out_w} * s.out_h + room);
    sample_planes::fill_with_noise(src.data(), src.size(), 43);
    for (size_t i = 0; i < room; ++i) {
      std::fill(dst.begin(), dst.end(), TypeParam{0x5a});
      const size_t to = (7 * i + 3) % room;
      ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(src.data() + i, dst.data() + to, s));
      ASSERT_TRUE(
          same_bits(resize_2d_reference::fixed_point<fraction_bits<TypeParam>>(src.data() + i, s),
                    dst.data() + to, s.out_w));
      for (size_t j = 0; j < to; ++j) ASSERT_EQ(0x5a, dst[j]) << j;
      for (size_t j = to + size_t{s.out_w} * s.out_h; j < dst.size(); ++j)
        ASSERT_EQ(0x5a, dst[j]) << j;
    }
  }
}

const sizes large_sizes[] = {{640, 400, 320, 200}, {333, 257, 401, 513}, {17, 13, 640, 401},
                             {2, 2, 700, 300},     {70000, 2, 300, 3},   {2, 70000, 3, 300},
                             {3, 3, 70000, 3},     {3, 3, 3, 70000},     {300, 200, 300, 200}};

TYPED_TEST(Resize2d, LargeSizesHaveTheReferenceBits) {
  guarded_resize<TypeParam> resizer(640 * 400, 640 * 401);
  for (const sizes& s : large_sizes) {
    ASSERT_TRUE(resizer.matches(s, guard_side::before));
    ASSERT_TRUE(resizer.matches(s, guard_side::behind));
  }
}

TYPED_TEST(Resize2d, ExtremeSamplesHaveTheReferenceBits) {
  guarded_resize<TypeParam> resizer(640 * 400, 640 * 401);
  resizer.fill_source_with_extremes(640 * 400);
  for (const sizes& s : large_sizes) ASSERT_TRUE(resizer.matches(s, guard_side::behind));
  for (uint32_t in = 2; in <= 20; ++in)
    for (uint32_t out = 2; out <= 40; ++out)
      ASSERT_TRUE(resizer.matches({in, 22 - in, out, 42 - out}, guard_side::behind));
}

TYPED_TEST(Resize2d, StepWrapsWithSidesThatDoNotFitItsFraction) {
  // Deliberate: (in - 1) << F is formed modulo 2^32. Here it leaves a whole sample, or two.
  const uint32_t wraps = uint32_t{1} << (32 - fraction_bits<TypeParam>);
  edge_room<TypeParam> room(2 * (size_t{wraps} + 3));
  for (const uint32_t rest : {0u, 1u, 2u}) {
    const uint32_t side = wraps + 1 + rest;
    TypeParam* const src = room.plane(2 * size_t{side}, guard_side::behind);
    for (uint32_t i = 0; i < 8; ++i) src[i] = static_cast<TypeParam>(10 * i);
    for (uint32_t i = 0; i < 4; ++i) src[side + i] = static_cast<TypeParam>(10 * i);
    TypeParam wide[2 * 3] = {};
    ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(src, wide, {side, 2, 3, 2}));
    for (uint32_t i = 0; i < 3; ++i) EXPECT_EQ(5 * rest * i, wide[i]) << rest;
    TypeParam tall[2 * 3] = {};
    ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(src, tall, {2, side, 2, 3}));
    for (uint32_t i = 0; i < 3; ++i) EXPECT_EQ(10 * rest * i, tall[2 * i]) << rest;
    for (uint32_t i = 0; i < 8; ++i) src[i] = 0;
    for (uint32_t i = 0; i < 4; ++i) src[side + i] = 0;
  }
}

TYPED_TEST(Resize2d, EqualSizesCopy) {
  for (const uint32_t side : {2u, 3u, 37u, 256u}) {
    std::vector<TypeParam> src(size_t{side} * side), dst(src.size());
    sample_planes::fill_with_noise(src.data(), src.size(), 3);
    // 32-bit samples survive the wrapping products below 256 alone.
    if (sizeof(TypeParam) == 4)
      for (TypeParam& sample : src) sample &= 255;
    ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(src.data(), dst.data(), {side, side, side, side}));
    EXPECT_EQ(src, dst);
  }
}

TYPED_TEST(Resize2d, TwoByTwoToThreeByThreeRoundsTheMeanHalfUp) {
  const TypeParam src[] = {1, 2, 4, 7};
  TypeParam dst[9] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(src, dst, {2, 2, 3, 3}));
  const TypeParam expected[] = {1, 2, 2, 3, 4, 5, 4, 6, 7};  // 1.5, 2.5, 3.5, 4.5 and 5.5 go up
  EXPECT_TRUE(std::equal(dst, dst + 9, expected));
}

TYPED_TEST(Resize2d, ConstantArraysStayConstant) {
  const TypeParam value = sizeof(TypeParam) == 4 ? 255 : std::numeric_limits<TypeParam>::max();
  for (const sizes& s : {sizes{5, 9, 31, 4}, sizes{31, 4, 5, 9}, sizes{3, 3, 100, 100}}) {
    const std::vector<TypeParam> src(size_t{s.in_w} * s.in_h, value);
    std::vector<TypeParam> dst(size_t{s.out_w} * s.out_h);
    ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(src.data(), dst.data(), s));
    EXPECT_EQ(std::vector<TypeParam>(dst.size(), value), dst);
  }
}

TYPED_TEST(Resize2d, RampsStayRamps) {
  // 9 to 33: a quarter of a sample to a step, exact in every fraction.
  std::vector<TypeParam> src(9 * 9), dst(33 * 33);
  for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<TypeParam>(i % 9 * 4 + i / 9 * 8);
  ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(src.data(), dst.data(), {9, 9, 33, 33}));
  for (size_t i = 0; i < dst.size(); ++i) ASSERT_EQ(i % 33 + i / 33 * 2, dst[i]) << i;
}

TYPED_TEST(Resize2d, LastOutputIsTheLastSampleWhereTheStepIsExact) {
  const TypeParam src[] = {0, 50, 200, 0, 50, 201};
  TypeParam dst[2 * 5] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(src, dst, {3, 2, 5, 2}));
  EXPECT_EQ(200, dst[4]);
  EXPECT_EQ(201, dst[9]);
}

TYPED_TEST(Resize2d, LastOutputStopsShortWhereTheStepIsTruncated) {
  // 2 to 4: the step is a third, truncated, so output 3 falls on 255 / 256 or 4095 / 4096.
  const TypeParam src[] = {0, 255, 0, 255};
  TypeParam dst[8] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(src, dst, {2, 2, 4, 2}));
  EXPECT_EQ(sizeof(TypeParam) == 4 ? 255 : 254, dst[3]);
}

TYPED_TEST(Resize2d, ManyOutputsToASampleRepeatTheFirst) {
  // The step is truncated to 0.
  const TypeParam src[] = {3, 200, 4, 201};
  const uint32_t width = (1u << fraction_bits<TypeParam>)+2;
  std::vector<TypeParam> dst(2 * size_t{width});
  ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(src, dst.data(), {2, 2, width, 2}));
  for (uint32_t i = 0; i < width; ++i) ASSERT_EQ(3, dst[i]);
}

TYPED_TEST(Resize2d, RefusesSidesThatAreNotAboveOneAsSignedValuesAndNulls) {
  const TypeParam src[4] = {1, 2, 3, 4};
  TypeParam dst[4] = {9, 9, 9, 9};
  for (const uint32_t bad : {0u, 1u, 0x80000000u, 0xffffffffu})
    for (const sizes& s :
         {sizes{bad, 2, 2, 2}, sizes{2, bad, 2, 2}, sizes{2, 2, bad, 2}, sizes{2, 2, 2, bad}})
      EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, resize(src, dst, s)) << bad;
  const TypeParam* const no_src = nullptr;
  TypeParam* const no_dst = nullptr;
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, resize(no_src, dst, {2, 2, 2, 2}));
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, resize(src, no_dst, {2, 2, 2, 2}));
  for (const TypeParam sample : dst) EXPECT_EQ(9, sample);
}

TEST(Resize2dUint32, SamplesOf256AndMoreWrap) {
  // Deliberate: 256 << 24 is 0 modulo 2^32, and of 257 the lowest unit is left.
  const uint32_t src[] = {255, 256, 257, 0xffffffff};
  uint32_t dst[4] = {9, 9, 9, 9};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(src, dst, {2, 2, 2, 2}));
  EXPECT_EQ(255u, dst[0]);
  EXPECT_EQ(0u, dst[1]);
  EXPECT_EQ(1u, dst[2]);
  EXPECT_EQ(255u, dst[3]);
}

template <typename Element>
class Resize2dInterleaved : public ::testing::Test {};
using interleaved_elements = ::testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(Resize2dInterleaved, interleaved_elements);

TYPED_TEST(Resize2dInterleaved, WritesEveryStepthElementAndNothingBetween) {
  for (const int32_t step : {1, 2, 3, 4, 7})
    for (const sizes& s :
         {sizes{5, 4, 9, 7}, sizes{40, 31, 9, 7}, sizes{2, 2, 2, 2}, sizes{6, 6, 33, 40},
          sizes{65, 9, 33, 5}, sizes{50, 3, 3200, 4}, sizes{3000, 3, 5200, 4}}) {
      const auto stride = static_cast<size_t>(step);
      const size_t outputs = size_t{s.out_w} * s.out_h;
      kit::guarded_array<TypeParam> src(size_t{s.in_w} * s.in_h);
      sample_planes::fill_with_noise(src.data(), src.size(), 17);
      // The last output is the last element: there is nothing to write behind it.
      kit::guarded_array<TypeParam> dst((outputs - 1) * stride + 1);
      std::fill(dst.begin(), dst.end(), TypeParam{0x5a});
      ASSERT_EQ(uint32_t{QO_CMC_OK}, resize_into(src.data(), dst.data(), s, step));
      const auto plain = resize_2d_reference::fixed_point<8>(src.data(), s);
      for (size_t i = 0; i < dst.size(); ++i)
        ASSERT_EQ(i % stride == 0 ? plain[i / stride] : 0x5a, dst[i]) << i << " step " << step;
    }
}

TYPED_TEST(Resize2dInterleaved, StepOneIsThePlainResize) {
  const sizes s{13, 11, 37, 23};
  std::vector<TypeParam> src(13 * 11), plain(37 * 23), stepped(37 * 23);
  sample_planes::fill_with_noise(src.data(), src.size(), 19);
  ASSERT_EQ(uint32_t{QO_CMC_OK}, resize(src.data(), plain.data(), s));
  ASSERT_EQ(uint32_t{QO_CMC_OK}, resize_into(src.data(), stepped.data(), s, 1));
  EXPECT_EQ(plain, stepped);
}

TYPED_TEST(Resize2dInterleaved, RefusesStepsBelowOneSidesNotAboveOneAndNulls) {
  const TypeParam src[4] = {1, 2, 3, 4};
  TypeParam dst[4] = {9, 9, 9, 9};
  for (const int32_t bad : {0, -1, INT32_MIN})
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, resize_into(src, dst, {2, 2, 2, 2}, bad));
  for (const uint32_t bad : {0u, 1u, 0x80000000u, 0xffffffffu})
    for (const sizes& s :
         {sizes{bad, 2, 2, 2}, sizes{2, bad, 2, 2}, sizes{2, 2, bad, 2}, sizes{2, 2, 2, bad}})
      EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, resize_into(src, dst, s, 1)) << bad;
  const TypeParam* const no_src = nullptr;
  TypeParam* const no_dst = nullptr;
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, resize_into(no_src, dst, {2, 2, 2, 2}, 1));
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, resize_into(src, no_dst, {2, 2, 2, 2}, 1));
  for (const TypeParam sample : dst) EXPECT_EQ(9, sample);
}

}  // namespace
