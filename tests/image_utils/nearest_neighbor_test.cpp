// Nearest-neighbour scalers.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <vector>

#include "qo_cmc/image_utils.h"
#include "qo_cmc/parser.h"
#include "tests/image_utils/nearest_reference.h"
#include "tests/image_utils/sample_planes.h"

namespace {

using kit::guard_side;
using nearest_reference::far_edge_reference;
using nearest_reference::fixed_point_reference;
using nearest_reference::maximum_reference;
using nearest_reference::sizes;
using sample_planes::edge_room;
using sample_planes::noisy_room;
using sample_planes::other_side;
using sample_planes::same_bits;

::testing::AssertionResult annotated(::testing::AssertionResult result, const sizes& s) {
  return result << " from " << s.in_w << " x " << s.in_h << " to " << s.out_w << " x " << s.out_h;
}

uint32_t scale(const uint32_t* src, uint32_t* dst, const sizes& s) {
  return image_nearest_neighbor_scale_uint32(
      src, static_cast<int32_t>(s.in_w), static_cast<int32_t>(s.in_h), dst,
      static_cast<int32_t>(s.out_w), static_cast<int32_t>(s.out_h));
}

uint32_t upscale(const uint16_t* src, uint16_t* dst, const sizes& s) {
  return image_upscale_nearest_neighbor_uint16(
      src, dst, static_cast<uint16_t>(s.in_w), static_cast<uint16_t>(s.in_h),
      static_cast<uint16_t>(s.out_w), static_cast<uint16_t>(s.out_h));
}

uint32_t downscale(const int32_t* src, uint32_t* dst, const sizes& s, uint8_t use_max) {
  return image_downscale_nearest_neighbor_int32(
      src, dst, static_cast<uint16_t>(s.in_w), static_cast<uint16_t>(s.in_h),
      static_cast<uint16_t>(s.out_w), static_cast<uint16_t>(s.out_h), use_max);
}

/// All four ways of scaling, compared with the references, on planes that touch an inaccessible
/// page on `side` (the outputs on the other one).
class every_scaler {
 public:
  explicit every_scaler(size_t source_capacity, size_t output_capacity)
      : words_(noisy_room<uint32_t>(source_capacity, 1)),
        halves_(noisy_room<uint16_t>(source_capacity, 2)),
        numbers_(noisy_room<int32_t>(source_capacity, 3)),
        out_words_(output_capacity),
        out_halves_(output_capacity) {}

  ::testing::AssertionResult matches(const sizes& s, guard_side side) {
    const auto in_count = static_cast<size_t>(s.in_w * s.in_h);
    const auto out_count = static_cast<size_t>(s.out_w * s.out_h);
    const auto width = static_cast<size_t>(s.out_w);
    uint32_t* const words = out_words_.plane(out_count, other_side(side));
    const uint32_t* const src_words = words_.plane(in_count, side);
    if (scale(src_words, words, s) != QO_CMC_OK) return refused(s);
    auto result = same_bits(fixed_point_reference(src_words, s), words, width);
    if (!result) return annotated(result << " (fixed point)", s);
    if (std::min({s.in_w, s.in_h, s.out_w, s.out_h}) < 2) return result;

    uint16_t* const halves = out_halves_.plane(out_count, other_side(side));
    const uint16_t* const src_halves = halves_.plane(in_count, side);
    if (upscale(src_halves, halves, s) != QO_CMC_OK) return refused(s);
    result = same_bits(far_edge_reference<uint16_t>(src_halves, s), halves, width);
    if (!result) return annotated(result << " (16 bit)", s);

    const int32_t* const src_numbers = numbers_.plane(in_count, side);
    if (downscale(src_numbers, words, s, 0) != QO_CMC_OK) return refused(s);
    result = same_bits(far_edge_reference<uint32_t>(src_numbers, s), words, width);
    if (!result) return annotated(result << " (32 bit)", s);
    if (downscale(src_numbers, words, s, 1) != QO_CMC_OK) return refused(s);
    result = same_bits(maximum_reference(src_numbers, s), words, width);
    return result ? result : annotated(result << " (maximum)", s);
  }

 private:
  static ::testing::AssertionResult refused(const sizes& s) {
    return annotated(::testing::AssertionFailure() << "refused", s);
  }

  edge_room<uint32_t> words_;
  edge_room<uint16_t> halves_;
  edge_room<int32_t> numbers_;
  edge_room<uint32_t> out_words_;
  edge_room<uint16_t> out_halves_;
};

TEST(NearestNeighbor, EveryPairOfSidesTo256HasTheReferenceBitsOnBothAxes) {
  every_scaler scalers(2 * 256, 2 * 256);
  for (int64_t in = 1; in <= 256; ++in)
    for (int64_t out = 1; out <= 256; ++out) {
      const guard_side side = (in + out) % 2 ? guard_side::before : guard_side::behind;
      ASSERT_TRUE(scalers.matches({in, 2, out, 2}, side));
      ASSERT_TRUE(scalers.matches({2, in, 2, out}, side));
    }
}

TEST(NearestNeighbor, EverySourceSizeUpToFortyHasTheReferenceBits) {
  every_scaler scalers(40 * 40, 23 * 23);
  for (int64_t in_h = 1; in_h <= 40; ++in_h)
    for (int64_t in_w = 1; in_w <= 40; ++in_w) {
      ASSERT_TRUE(scalers.matches({in_w, in_h, 7, 5}, guard_side::before));
      ASSERT_TRUE(scalers.matches({in_w, in_h, 19, 23}, guard_side::behind));
    }
}

TEST(NearestNeighbor, EveryOutputSizeUpToFortyHasTheReferenceBits) {
  every_scaler scalers(13 * 17, 40 * 40);
  for (int64_t out_h = 1; out_h <= 40; ++out_h)
    for (int64_t out_w = 1; out_w <= 40; ++out_w) {
      ASSERT_TRUE(scalers.matches({3, 14, out_w, out_h}, guard_side::before));
      ASSERT_TRUE(scalers.matches({13, 17, out_w, out_h}, guard_side::behind));
    }
}

TEST(NearestNeighbor, LargeSizesHaveTheReferenceBits) {
  every_scaler scalers(1 << 18, 1 << 18);
  for (const sizes& s :
       {sizes{640, 400, 320, 200}, sizes{333, 257, 401, 513}, sizes{64, 64, 2049, 100},
        sizes{64, 64, 100, 2049}, sizes{1, 1, 257, 257}, sizes{2, 3, 4099, 21},
        sizes{3, 2, 21, 4099}, sizes{65535, 2, 1000, 3}, sizes{2, 65535, 3, 1000},
        sizes{3, 2, 65535, 4}, sizes{2, 3, 4, 65535}, sizes{65535, 2, 65534, 2},
        sizes{2, 65535, 2, 65535}, sizes{4, 65535, 17, 1000}}) {
    ASSERT_TRUE(scalers.matches(s, guard_side::before));
    ASSERT_TRUE(scalers.matches(s, guard_side::behind));
  }
}

TEST(NearestNeighbor, SmallSizesOfManyRowsHaveTheReferenceBits) {
  // Rows that repeat, that are left out, and that end far from the end of the plane.
  every_scaler scalers(140 * 11, 140 * 19);
  for (int64_t width = 1; width <= 140; ++width)
    for (const guard_side side : {guard_side::before, guard_side::behind}) {
      ASSERT_TRUE(scalers.matches({width, 7, (width + 1) / 2, 19}, side));
      ASSERT_TRUE(scalers.matches({width, 11, width, 4}, side));
      ASSERT_TRUE(scalers.matches({(width + 1) / 2, 5, width, 15}, side));
      ASSERT_TRUE(scalers.matches({(width + 3) / 4, 3, width, 3}, side));
      ASSERT_TRUE(scalers.matches({width, 9, (width + 3) / 4, 3}, side));
    }
}

TEST(NearestNeighbor, SizesAroundAStripOfColumnsHaveTheReferenceBits) {
  every_scaler scalers(3 * 65535, 3 * 9000);
  const auto matches_both_sides = [&](const sizes& s) {
    const auto result = scalers.matches(s, guard_side::before);
    return result ? scalers.matches(s, guard_side::behind) : result;
  };
  for (const int64_t strip : {int64_t{2048}, int64_t{4096}, int64_t{8192}})
    for (int64_t width = strip - 3; width <= strip + 3; ++width) {
      ASSERT_TRUE(matches_both_sides({width / 2, 3, width, 2}));
      ASSERT_TRUE(matches_both_sides({2 * width, 3, width, 2}));
      ASSERT_TRUE(matches_both_sides({2 * width + 177, 2, width, 2}));
      // One block of maxima is as wide as a strip, and wider.
      ASSERT_TRUE(matches_both_sides({2 * width, 3, 2, 2}));
      ASSERT_TRUE(matches_both_sides({5 * width, 3, 5, 2}));
    }
  ASSERT_TRUE(matches_both_sides({65535, 3, 2, 2}));
  ASSERT_TRUE(matches_both_sides({65535, 3, 7, 3}));
  ASSERT_TRUE(matches_both_sides({65535, 3, 4095, 2}));
}

TEST(NearestNeighborMaximum, OfAStripsFirstBlockCountsAllItsColumns) {
  // Steps between n and n + 1 make blocks of either size. With n = 2^k - 1 two spans of 2^(k-1)
  // columns cover the long ones exactly. Strips end after 2048 outputs or 4095 columns at most.
  every_scaler scalers(65535 * 2, 40000 * 2);
  for (const int64_t n : {int64_t{1}, int64_t{3}, int64_t{7}, int64_t{15}}) {
    const int64_t out_w = 3 * std::min<int64_t>(2048, 4095 / n) - 1;
    for (int64_t more = out_w / 4; more < out_w; more += out_w / 16)
      ASSERT_TRUE(scalers.matches({n * out_w + more, 2, out_w, 2}, guard_side::behind));
  }
}

TEST(NearestNeighborMaximum, OfABlockWiderThanAStripCountsTheColumnPastTheRow) {
  // Seven times the rounded seventh of these widths is rounded up: the last block ends one column
  // past the row, with the first sample of the next one.
  for (const int64_t width : {int64_t{28673}, int64_t{28680}, int64_t{28687}, int64_t{28701}}) {
    const sizes s{width, 3, 7, 2};
    std::vector<int32_t> src(static_cast<size_t>(3 * width));
    src[static_cast<size_t>(2 * width)] = 9;
    std::vector<uint32_t> dst(14);
    ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), dst.data(), s, 1));
    EXPECT_EQ(1, std::count(dst.begin(), dst.end(), 9u)) << width;
    EXPECT_TRUE(same_bits(maximum_reference(src.data(), s), dst.data(), 7)) << width;
  }
}

TEST(NearestNeighbor, AnyNumberOfEqualRowsHasTheReferenceBits) {
  every_scaler scalers(40 * 5, 40 * 1100);
  for (const int64_t height :
       {int64_t{126}, int64_t{127}, int64_t{128}, int64_t{254}, int64_t{255}, int64_t{1100}})
    for (const int64_t in_height : {int64_t{2}, int64_t{3}, int64_t{5}}) {
      ASSERT_TRUE(scalers.matches({40, in_height, 40, height}, guard_side::before));
      ASSERT_TRUE(scalers.matches({9, in_height, 5, height}, guard_side::behind));
    }
}

/// Outputs of `scaler` at every alignment of both planes; what lies around them is left alone.
template <typename Sample, typename Out, typename Scaler, typename Reference>
void expect_reference_bits_at_every_alignment(Scaler scaler, Reference reference) {
  constexpr size_t most = 64 / sizeof(Sample);
  std::vector<Sample> src(3 * 150 + most);
  sample_planes::fill_with_noise(src.data(), src.size(), 8);
  for (const sizes& s : {sizes{75, 3, 150, 3}, sizes{150, 3, 75, 2}, sizes{150, 3, 149, 2},
                         sizes{150, 2, 61, 3}, sizes{150, 3, 40, 2}}) {
    const auto count = static_cast<size_t>(s.out_w * s.out_h);
    for (size_t from = 0; from < most; ++from) {
      const std::vector<Out> expected = reference(src.data() + from, s);
      for (size_t to = 0; to < most; ++to) {
        std::vector<Out> dst(count + 2 * most, Out{0xa5});
        std::vector<Out> around = dst;
        std::copy(expected.begin(), expected.end(), around.begin() + static_cast<ptrdiff_t>(to));
        ASSERT_EQ(uint32_t{QO_CMC_OK}, scaler(src.data() + from, dst.data() + to, s));
        ASSERT_EQ(around, dst) << s.in_w << " to " << s.out_w << " at " << from << ", " << to;
      }
    }
  }
}

TEST(NearestNeighbor, EveryAlignmentHasTheReferenceBits) {
  expect_reference_bits_at_every_alignment<uint32_t, uint32_t>(scale, fixed_point_reference);
  expect_reference_bits_at_every_alignment<uint16_t, uint16_t>(
      upscale, far_edge_reference<uint16_t, uint16_t>);
  for (const uint8_t use_max : {uint8_t{0}, uint8_t{1}})
    expect_reference_bits_at_every_alignment<int32_t, uint32_t>(
        [use_max](const int32_t* src, uint32_t* dst, const sizes& s) {
          return downscale(src, dst, s, use_max);
        },
        use_max != 0 ? maximum_reference : far_edge_reference<uint32_t, int32_t>);
}

TEST(NearestNeighbor, FarColumnBehindThePlaneIsItsLastSample) {
  // 64 to 2049 is a step of 2048: output 2048 falls on sample 64. Likewise 1 to 257.
  for (const sizes& s :
       {sizes{64, 1, 2049, 1}, sizes{1, 64, 1, 2049}, sizes{1, 1, 257, 1}, sizes{1, 1, 1, 257}}) {
    const auto count = static_cast<size_t>(s.in_w * s.in_h);
    kit::guarded_array<uint32_t> src(count);
    std::iota(src.begin(), src.end(), 100u);
    std::vector<uint32_t> dst(static_cast<size_t>(s.out_w * s.out_h));
    ASSERT_EQ(uint32_t{QO_CMC_OK}, scale(src.data(), dst.data(), s));
    EXPECT_EQ(src[count - 1], dst.back());
  }
}

TEST(NearestNeighbor, FarColumnOfAnUpperRowIsTheNextRowsFirst) {
  // Deliberate: an index inside the plane is not altered.
  std::vector<uint32_t> src(2 * 64);
  std::iota(src.begin(), src.end(), 0u);
  std::vector<uint32_t> dst(2 * 2049);
  ASSERT_EQ(uint32_t{QO_CMC_OK}, scale(src.data(), dst.data(), {64, 2, 2049, 2}));
  EXPECT_EQ(63u, dst[2047]);
  EXPECT_EQ(64u, dst[2048]);
  EXPECT_EQ(127u, dst[2049 + 2047]);
  EXPECT_EQ(127u, dst[2049 + 2048]);

  // 3 / 21 is rounded up, so 21 times it is more than 3.
  const uint16_t rows[] = {0, 1, 2, 10, 11, 12};
  std::vector<uint16_t> wide(2 * 21);
  ASSERT_EQ(uint32_t{QO_CMC_OK}, upscale(rows, wide.data(), {3, 2, 21, 2}));
  EXPECT_EQ(2, wide[19]);
  EXPECT_EQ(10, wide[20]);
  EXPECT_EQ(12, wide[41]);
}

TEST(NearestNeighbor, FarRowBehindThePlaneIsTheLastRow) {
  const uint16_t rows[] = {0, 1, 10, 11, 20, 21};
  std::vector<uint16_t> tall(2 * 21);
  ASSERT_EQ(uint32_t{QO_CMC_OK}, upscale(rows, tall.data(), {2, 3, 2, 21}));
  EXPECT_EQ(20, tall[40]);
  EXPECT_EQ(21, tall[41]);
}

TEST(NearestNeighborFixedPoint, EqualSizesCopy) {
  for (const int64_t side : {int64_t{1}, int64_t{2}, int64_t{37}, int64_t{300}}) {
    const auto count = static_cast<size_t>(side * side);
    std::vector<uint32_t> src(count), dst(count);
    sample_planes::fill_with_noise(src.data(), count, 5);
    ASSERT_EQ(uint32_t{QO_CMC_OK}, scale(src.data(), dst.data(), {side, side, side, side}));
    EXPECT_EQ(src, dst);
  }
}

TEST(NearestNeighborFixedPoint, SidesBeyond32BitsOfFixedPointAreExact) {
  // 32768 << 16 is the first that does not fit a signed 32-bit value.
  for (const int64_t side : {int64_t{32768}, int64_t{40000}, int64_t{65536}}) {
    const auto count = static_cast<size_t>(side);
    kit::guarded_array<uint32_t> src(count), dst(count);
    sample_planes::fill_with_noise(src.data(), count, 5);
    for (const sizes& s : {sizes{side, 1, side, 1}, sizes{1, side, 1, side}}) {
      ASSERT_EQ(uint32_t{QO_CMC_OK}, scale(src.data(), dst.data(), s));
      EXPECT_TRUE(std::equal(src.begin(), src.end(), dst.begin())) << side;
    }
  }
}

TEST(NearestNeighborFixedPoint, AddedOneMovesSamplesFrom65536OnForward) {
  kit::guarded_array<uint32_t> src(70000), dst(70000);
  std::iota(src.begin(), src.end(), 0u);
  ASSERT_EQ(uint32_t{QO_CMC_OK}, scale(src.data(), dst.data(), {70000, 1, 70000, 1}));
  EXPECT_EQ(65535u, dst[65535]);
  EXPECT_EQ(65537u, dst[65536]);
  EXPECT_EQ(69999u, dst[69998]);
  EXPECT_EQ(69999u, dst[69999]);
}

TEST(NearestNeighborFixedPoint, AddedOneDecidesWhereTheDivisionLeavesARemainder) {
  // 3 to 9: the step is 21846, not 21845, so output 3 falls on sample 1 (65538), not short of it.
  const uint32_t src[] = {7, 8, 9};
  uint32_t dst[9] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, scale(src, dst, {3, 1, 9, 1}));
  const uint32_t expected[] = {7, 7, 7, 8, 8, 8, 9, 9, 9};
  EXPECT_TRUE(std::equal(dst, dst + 9, expected));
}

TEST(NearestNeighborFixedPoint, IsLeftAligned) {
  const uint32_t src[] = {0, 1, 2, 3, 4, 5, 6, 7};
  uint32_t dst[3] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, scale(src, dst, {8, 1, 2, 1}));
  EXPECT_EQ(0u, dst[0]);
  EXPECT_EQ(4u, dst[1]);
}

TEST(NearestNeighborFixedPoint, HugeClaimedSidesStayLinear) {
  // One output row reads the first source row alone.
  constexpr int32_t most = INT32_MAX;
  kit::guarded_array<uint32_t> src(1);
  src[0] = 9;
  uint32_t dst[1] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK},
            image_nearest_neighbor_scale_uint32(src.data(), most, most, dst, 1, 1));
  EXPECT_EQ(9u, dst[0]);
}

TEST(NearestNeighborFixedPoint, RefusesSizesBelowOneAndNulls) {
  const uint32_t src[4] = {1, 2, 3, 4};
  uint32_t dst[4] = {9, 9, 9, 9};
  for (const int64_t bad : {int64_t{0}, int64_t{-1}, int64_t{INT32_MIN}}) {
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, scale(src, dst, {bad, 2, 2, 2}));
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, scale(src, dst, {2, bad, 2, 2}));
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, scale(src, dst, {2, 2, bad, 2}));
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, scale(src, dst, {2, 2, 2, bad}));
  }
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, scale(nullptr, dst, {2, 2, 2, 2}));
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, scale(src, nullptr, {2, 2, 2, 2}));
  EXPECT_EQ((std::vector<uint32_t>{9, 9, 9, 9}), std::vector<uint32_t>(dst, dst + 4));
}

TEST(NearestNeighborFarEdge, RefusesSizesBelowTwoAndNulls) {
  const uint16_t halves[4] = {1, 2, 3, 4};
  const int32_t numbers[4] = {1, 2, 3, 4};
  uint16_t out_halves[4] = {9, 9, 9, 9};
  uint32_t out_words[4] = {9, 9, 9, 9};
  const auto expect_refused = [&](const uint16_t* src16, uint16_t* dst16, const int32_t* src32,
                                  uint32_t* dst32, const sizes& s) {
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, upscale(src16, dst16, s));
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, downscale(src32, dst32, s, 0));
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, downscale(src32, dst32, s, 1));
  };
  for (const int64_t bad : {int64_t{0}, int64_t{1}})
    for (const sizes& s :
         {sizes{bad, 2, 2, 2}, sizes{2, bad, 2, 2}, sizes{2, 2, bad, 2}, sizes{2, 2, 2, bad}})
      expect_refused(halves, out_halves, numbers, out_words, s);
  expect_refused(nullptr, out_halves, nullptr, out_words, {2, 2, 2, 2});
  expect_refused(halves, nullptr, numbers, nullptr, {2, 2, 2, 2});
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(9, out_halves[i]);
    EXPECT_EQ(9u, out_words[i]);
  }
}

TEST(NearestNeighborFarEdge, TwoToFourTakesEachSampleTwice) {
  const uint16_t src[] = {1, 2, 3, 4};
  uint16_t dst[16] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, upscale(src, dst, {2, 2, 4, 4}));
  const uint16_t expected[] = {1, 1, 2, 2, 1, 1, 2, 2, 3, 3, 4, 4, 3, 3, 4, 4};
  EXPECT_TRUE(std::equal(dst, dst + 16, expected));
}

TEST(NearestNeighborFarEdge, UpscalerAcceptsSmallerOutputs) {
  const uint16_t src[] = {0, 1, 2, 3, 10, 11, 12, 13, 20, 21, 22, 23, 30, 31, 32, 33};
  uint16_t dst[4] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, upscale(src, dst, {4, 4, 2, 2}));
  const uint16_t expected[] = {11, 13, 31, 33};
  EXPECT_TRUE(std::equal(dst, dst + 4, expected));
}

const int32_t four_by_four[] = {90, 91, 92, 93, 94, 5, 6, 7, 95, 9, 10, 11, 96, 13, 14, 15};

TEST(NearestNeighborFarEdge, DownscaleFromFourToTwoTakesSamplesOneAndThree) {
  uint32_t dst[4] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(four_by_four, dst, {4, 4, 2, 2}, 0));
  const uint32_t expected[] = {5, 7, 13, 15};
  EXPECT_TRUE(std::equal(dst, dst + 4, expected));
}

TEST(NearestNeighborFarEdge, DownscalerAcceptsLargerOutputs) {
  const int32_t src[] = {1, 2, 3, -4};
  uint32_t dst[16] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src, dst, {2, 2, 4, 4}, 0));
  EXPECT_EQ(1u, dst[0]);
  EXPECT_EQ(2u, dst[2]);
  EXPECT_EQ(uint32_t(-4), dst[15]);  // the bits unchanged
}

TEST(NearestNeighborMaximum, LeavesOutRowZeroAndColumnZero) {
  // Deliberate: the large samples of row 0 and column 0 are in no block.
  uint32_t dst[4] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(four_by_four, dst, {4, 4, 2, 2}, 1));
  const uint32_t expected[] = {5, 7, 13, 15};
  EXPECT_TRUE(std::equal(dst, dst + 4, expected));
}

TEST(NearestNeighborMaximum, IsOverTheWholeBlockAndAnyNonzeroSelectsIt) {
  std::vector<int32_t> src(four_by_four, four_by_four + 16);
  src[2 * 4 + 2] = 77;
  for (const uint8_t use_max : {uint8_t{1}, uint8_t{2}, uint8_t{128}, uint8_t{255}}) {
    uint32_t dst[4] = {};
    ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), dst, {4, 4, 2, 2}, use_max));
    const uint32_t expected[] = {5, 7, 13, 77};
    EXPECT_TRUE(std::equal(dst, dst + 4, expected));
  }
}

TEST(NearestNeighborMaximum, OfNegativeSamplesIsZero) {
  const std::vector<int32_t> src(16, -1);
  uint32_t dst[4] = {9, 9, 9, 9};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), dst, {4, 4, 2, 2}, 1));
  for (const uint32_t sample : dst) EXPECT_EQ(0u, sample);
}

TEST(NearestNeighborMaximum, OfExtremeSamplesHasTheReferenceBits) {
  for (const int64_t width : {int64_t{5}, int64_t{33}, int64_t{70}, int64_t{140}})
    for (int64_t out_width = 2; out_width <= width + 3; ++out_width) {
      const sizes s{width, 4, out_width, 3};
      std::vector<int32_t> src(static_cast<size_t>(width * 4));
      sample_planes::fill_with_extremes(src.data(), src.size(), static_cast<uint32_t>(out_width));
      std::vector<uint32_t> dst(static_cast<size_t>(out_width * 3));
      ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src.data(), dst.data(), s, 1));
      ASSERT_TRUE(annotated(
          same_bits(maximum_reference(src.data(), s), dst.data(), static_cast<size_t>(out_width)),
          s));
    }
}

TEST(NearestNeighborMaximum, OfAnEmptyBlockIsZero) {
  // 2 to 4: outputs 0 and 1 end at sample 0, output 2 reaches sample 1, output 3 adds nothing.
  const int32_t src[] = {5, 6, 7, 8};
  uint32_t dst[16];
  std::fill(dst, dst + 16, 9u);
  ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src, dst, {2, 2, 4, 4}, 1));
  for (int i = 0; i < 16; ++i) EXPECT_EQ(i == 10 ? 8u : 0u, dst[i]) << i;
}

TEST(NearestNeighborMaximum, ComparesSignedValues) {
  const int32_t src[] = {0, 0, 0, INT32_MIN, 0, INT32_MAX, -7, 0, 3};
  uint32_t dst[4] = {};
  ASSERT_EQ(uint32_t{QO_CMC_OK}, downscale(src, dst, {3, 3, 2, 2}, 1));
  const sizes s{3, 3, 2, 2};
  EXPECT_TRUE(same_bits(maximum_reference(src, s), dst, 2));
  EXPECT_EQ(3u, dst[3]);
}

TEST(NearestNeighbor, ConstantPlanesStayConstant) {
  for (const sizes& s : {sizes{5, 9, 31, 4}, sizes{31, 4, 5, 9}, sizes{3, 3, 21, 21}}) {
    const auto in = static_cast<size_t>(s.in_w * s.in_h);
    const auto out = static_cast<size_t>(s.out_w * s.out_h);
    std::vector<uint32_t> words(out);
    ASSERT_EQ(uint32_t{QO_CMC_OK},
              scale(std::vector<uint32_t>(in, 0xdeadbeef).data(), words.data(), s));
    EXPECT_EQ(std::vector<uint32_t>(out, 0xdeadbeef), words);
    std::vector<uint16_t> halves(out);
    ASSERT_EQ(uint32_t{QO_CMC_OK},
              upscale(std::vector<uint16_t>(in, 65535).data(), halves.data(), s));
    EXPECT_EQ(std::vector<uint16_t>(out, 65535), halves);
    ASSERT_EQ(uint32_t{QO_CMC_OK},
              downscale(std::vector<int32_t>(in, -3).data(), words.data(), s, 0));
    EXPECT_EQ(std::vector<uint32_t>(out, uint32_t(-3)), words);
  }
}

TEST(NearestNeighbor, RampsStayRampsAtWholeRatios) {
  std::vector<uint16_t> src(2 * 5), up(2 * 15);
  for (size_t i = 0; i < 10; ++i) src[i] = static_cast<uint16_t>(i % 5);
  ASSERT_EQ(uint32_t{QO_CMC_OK}, upscale(src.data(), up.data(), {5, 2, 15, 2}));
  for (size_t i = 0; i < 15; ++i) EXPECT_EQ(i / 3, up[i]);
}

}  // namespace
