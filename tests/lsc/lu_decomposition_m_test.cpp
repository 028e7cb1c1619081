#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "qo_cmc/lsc.h"
#include "tests/kit/allocation_ledger.h"
#include "tests/kit/strided_buffer.h"
#include "tests/lsc/plain_lens_shading.h"

using kit::all_layouts;
using kit::layout;
using kit::strided_buffer;

namespace {

std::vector<int32_t> counting(size_t count) {
  std::vector<int32_t> values;
  for (size_t i = 0; i < count; ++i) values.push_back(int32_t(i));
  return values;
}

TEST(LuDecompositionM, OfASmallMatrixIsTheHandComputedOne) {
  const float src[9] = {2, 1, 1, 4, 3, 3, 8, 7, 9};
  float dst[9] = {};
  int32_t index[3] = {-1, -1, -1};
  ASSERT_EQ(lu_decomposition_m(src, 12, 4, index, dst, 12, 4, 3), 0u);
  EXPECT_EQ(plain::floats(dst, dst + 9), (plain::floats{2, 1, 1, 2, 1, 1, 4, 3, 2}));
  EXPECT_EQ(std::vector<int32_t>(index, index + 3), (std::vector<int32_t>{0, 1, 2}));
}

TEST(LuDecompositionM, EqualsThePlainRuleInEveryLayoutOfTheResult) {
  std::mt19937 random(11);
  for (int32_t n = 1; n <= 24; ++n) {
    for (const layout from : {layout::packed, layout::transposed}) {
      for (const layout to : all_layouts) {
        strided_buffer src(n, n, from);
        strided_buffer dst(n, n, to, kit::guard_side::before);
        src.fill(random);
        kit::guarded_array<int32_t> index{size_t(n)};
        ASSERT_EQ(lu_decomposition_m(src.base(), src.stride1(), src.stride2(), index.data(),
                                     dst.base(), dst.stride1(), dst.stride2(), n),
                  0u);
        const plain::floats expected = plain::factors(src.packed(), size_t(n));
        const plain::floats actual = dst.packed();
        EXPECT_EQ(plain::first_difference(expected.data(), actual.data(), actual.size()),
                  actual.size())
            << "size " << n;
        EXPECT_TRUE(dst.has_untouched_gaps());
        EXPECT_EQ(std::vector<int32_t>(index.begin(), index.end()), counting(size_t(n)));
      }
    }
  }
}

void expect_plain_factors(const strided_buffer& src, const strided_buffer& dst) {
  const auto n = size_t(src.rows());
  const plain::floats expected = plain::factors(src.packed(), n);
  const plain::floats actual = dst.packed();
  ASSERT_EQ(actual.size(), plain::first_difference(expected.data(), actual.data(), actual.size()))
      << "size " << n;
  ASSERT_TRUE(dst.has_untouched_gaps());
}

TEST(LuDecompositionM, EqualsThePlainRuleForEverySizeUpTo70AndAt140) {
  std::mt19937 random(15);
  std::vector<int32_t> sizes = counting(71);
  sizes.insert(sizes.end(), {95, 96, 97, 113, 140});
  for (const int32_t n : sizes) {
    if (n == 0) continue;
    for (const layout kind : {layout::packed, layout::transposed}) {
      const kit::guard_side side = n % 2 == 0 ? kit::guard_side::behind : kit::guard_side::before;
      strided_buffer src(n, n, kind, side, size_t(n % 4));
      strided_buffer dst(n, n, n % 3 == 0 ? layout::transposed : layout::packed, side,
                         size_t(n / 4 % 4));
      src.fill(random);
      for (int32_t i = 0; i < n; ++i) src.set(i, i, src.at(i, i) + 9000.0f);  // stays finite
      std::vector<int32_t> index(size_t(n), -1);
      ASSERT_EQ(0u, lu_decomposition_m(src.base(), src.stride1(), src.stride2(), index.data(),
                                       dst.base(), dst.stride1(), dst.stride2(), n));
      ASSERT_NO_FATAL_FAILURE(expect_plain_factors(src, dst));
      ASSERT_EQ(counting(size_t(n)), index);
    }
  }
}

TEST(LuDecompositionM, EqualsThePlainRuleForZeroPivotsInfinitiesNansAndDenormals) {
  std::mt19937 random(16);
  constexpr float extremes[] = {0.0f,   -0.0f, std::numeric_limits<float>::infinity(),
                                1e-42f, 3e38f, std::numeric_limits<float>::quiet_NaN()};
  for (int32_t n = 2; n <= 40; ++n) {
    for (uint32_t round = 0; round < 12; ++round) {
      strided_buffer src(n, n, layout::packed), dst(n, n, layout::packed);
      src.fill(random);
      // Zeros of either sign nearly everywhere, or one extreme anywhere.
      if (round % 3 == 0) {
        for (int32_t i = 0; i < n; ++i)
          for (int32_t j = 0; j < n; ++j)
            if (random() % 4 != 0 && i != j) src.set(i, j, random() % 2 == 0 ? 0.0f : -0.0f);
      } else {
        src.set(int32_t(random() % uint32_t(n)), int32_t(random() % uint32_t(n)),
                extremes[round % std::size(extremes)]);
      }
      std::vector<int32_t> index(size_t(n), -1);
      ASSERT_EQ(0u, lu_decomposition_m(src.base(), src.stride1(), src.stride2(), index.data(),
                                       dst.base(), dst.stride1(), dst.stride2(), n));
      ASSERT_NO_FATAL_FAILURE(expect_plain_factors(src, dst));
    }
  }
}

TEST(LuDecompositionM, MayReplaceItsSource) {
  std::mt19937 random(13);
  for (int32_t n = 1; n <= 9; ++n) {
    strided_buffer matrix(n, n, layout::packed);
    matrix.fill(random);
    const plain::floats expected = plain::factors(matrix.packed(), size_t(n));
    std::vector<int32_t> index(size_t(n), -1);
    ASSERT_EQ(lu_decomposition_m(matrix.base(), matrix.stride1(), matrix.stride2(), index.data(),
                                 matrix.base(), matrix.stride1(), matrix.stride2(), n),
              0u);
    const plain::floats actual = matrix.packed();
    EXPECT_EQ(plain::first_difference(expected.data(), actual.data(), actual.size()), actual.size())
        << "size " << n;
  }
}

TEST(LuDecompositionM, OfRowsThatStepBackIntoTheCopyIsRefused) {
  // Element (1, 1) lies inside the copy of four elements, (1, 0) four bytes before it.
  const float src[4] = {1, 2, 3, 4};
  float dst[4] = {7.0f, 7.0f, 7.0f, 7.0f};
  int32_t index[2] = {-5, -5};
  EXPECT_EQ(32u, lu_decomposition_m(src, -4, 8, index, dst, 8, 4, 2));
  EXPECT_EQ(plain::floats(4, 7.0f), plain::floats(dst, dst + 4));
  EXPECT_EQ(-5, index[0]);
}

/// The strides of a result of n x n, packed in memory from its lowest byte on.
struct result_layout {
  const char* name;
  int32_t stride1, stride2;
  int32_t base;  ///< of the first element, from the lowest byte
};

TEST(LuDecompositionM, MayLieOnItsSourceAtAnyDistance) {
  std::mt19937 random(14);
  std::uniform_real_distribution<float> value(-4.0f, 4.0f);
  for (int32_t n = 1; n <= 5; ++n) {
    const int32_t row = 4 * n, size = row * n, reach = size + 8;
    for (const result_layout& to : {result_layout{"packed", row, 4, 0},
                                    {"transposed", 4, row, 0},
                                    {"rows reversed", -row, 4, size - row},
                                    {"elements reversed", row, -4, row - 4}}) {
      for (int32_t shift = -reach; shift <= reach; ++shift) {
        std::vector<uint8_t> memory(size_t(size + 2 * reach), 0xa5);
        plain::floats values(size_t(n * n));
        for (float& element : values) element = value(random);
        // The source is whole floats; the result stands at odd bytes as well.
        uint8_t* const source = memory.data() + reach;
        std::memcpy(source, values.data(), size_t(size));
        std::vector<uint8_t> expected = memory;
        const plain::floats factors = plain::factors(values, size_t(n));
        for (int32_t i = 0; i < n; ++i)
          for (int32_t j = 0; j < n; ++j)
            std::memcpy(expected.data() + reach + shift + to.base + i * to.stride1 + j * to.stride2,
                        &factors[size_t(i * n + j)], sizeof(float));
        std::vector<int32_t> index(size_t(n), -1);
        ASSERT_EQ(0u,
                  lu_decomposition_m(reinterpret_cast<const float*>(source), row, 4, index.data(),
                                     reinterpret_cast<float*>(source + shift + to.base), to.stride1,
                                     to.stride2, n));
        ASSERT_EQ(expected, memory) << to.name << ", size " << n << ", shift " << shift;
        ASSERT_EQ(counting(size_t(n)), index);
      }
    }
  }
}

TEST(LuDecompositionM, GivesFactorsWhoseProductIsTheSource) {
  constexpr size_t n = 12;
  std::mt19937 random(12);
  std::uniform_real_distribution<float> value(-1.0f, 1.0f);
  plain::floats src(n * n), dst(n * n);
  for (size_t i = 0; i < src.size(); ++i) src[i] = value(random) + (i % (n + 1) == 0 ? 20.0f : 0);
  int32_t index[n];
  ASSERT_EQ(lu_decomposition_m(src.data(), 4 * n, 4, index, dst.data(), 4 * n, 4, n), 0u);
  for (size_t i = 0; i < n; ++i) {
    for (size_t j = 0; j < n; ++j) {
      double sum = 0;
      for (size_t k = 0; k <= std::min(i, j); ++k)
        sum += (k == i ? 1.0 : double(dst[i * n + k])) * double(dst[k * n + j]);
      EXPECT_NEAR(sum, double(src[i * n + j]), 1e-5) << i << ' ' << j;
    }
  }
}

TEST(LuDecompositionM, OfOneElementCopiesIt) {
  const float src = 42.0f;
  float dst = 0;
  int32_t index = -1;
  // Its strides lead nowhere, so any will do.
  ASSERT_EQ(lu_decomposition_m(&src, -400, 1000, &index, &dst, 4, 4, 1), 0u);
  EXPECT_EQ(dst, 42.0f);
  EXPECT_EQ(index, 0);
}

TEST(LuDecompositionM, OfAZeroPivotSucceedsWithoutFiniteMultipliers) {
  const float src[4] = {0, 1, 1, 1};
  float dst[4] = {};
  int32_t index[2] = {};
  ASSERT_EQ(lu_decomposition_m(src, 8, 4, index, dst, 8, 4, 2), 0u);
  EXPECT_EQ(dst[0], 0.0f);
  EXPECT_TRUE(std::isinf(dst[2]));
  EXPECT_TRUE(std::isinf(dst[3]));
  const float zeros[4] = {};
  ASSERT_EQ(lu_decomposition_m(zeros, 8, 4, index, dst, 8, 4, 2), 0u);
  EXPECT_TRUE(std::isnan(dst[2]));
}

TEST(LuDecompositionM, BelowSizeOneMarksTheFirstElementAndNothingElse) {
  struct mark_case {
    int32_t size;
    uint32_t mark;
  };
  // The mark is four times the low byte of the square.
  for (const mark_case c : {mark_case{0, 0x00000000u},
                            {-1, 0x01010101u},
                            {-3, 0x09090909u},
                            {-16, 0x00000000u},
                            {-17, 0x21212121u}}) {
    float dst[2] = {7.0f, 7.0f};
    int32_t index = -5;
    ASSERT_EQ(lu_decomposition_m(nullptr, 4, 4, &index, dst, 4, 4, c.size), 0u);
    uint32_t bits;
    std::memcpy(&bits, dst, sizeof bits);
    EXPECT_EQ(bits, c.mark) << "size " << c.size;
    EXPECT_EQ(dst[1], 7.0f);
    EXPECT_EQ(index, -5);
  }
}

TEST(LuDecompositionM, BelowSizeOneDoesNotReadTheSource) {
  kit::guarded_array<float> nothing(0);
  float dst = 7.0f;
  int32_t index = 0;
  EXPECT_EQ(lu_decomposition_m(nothing.data(), 12, 4, &index, &dst, 12, 4, -3), 0u);
}

TEST(LuDecompositionM, OfANullSourceFactorisesZeros) {
  float dst[9] = {};
  int32_t index[3] = {7, 7, 7};
  ASSERT_EQ(lu_decomposition_m(nullptr, 12, 4, index, dst, 12, 4, 3), 0u);
  EXPECT_EQ(dst[0], 0.0f);
  EXPECT_EQ(dst[1], 0.0f);
  EXPECT_TRUE(std::isnan(dst[3]));
  EXPECT_TRUE(std::isnan(dst[8]));
  EXPECT_EQ(index[2], 2);
}

TEST(LuDecompositionM, OfANullSourceFactorisesZerosIntoSpacedElementsToo) {
  float dst[16];
  std::fill(std::begin(dst), std::end(dst), 7.0f);
  int32_t index[2] = {7, 7};
  ASSERT_EQ(lu_decomposition_m(nullptr, 8, 4, index, dst, 32, 8, 2), 0u);
  EXPECT_EQ(0.0f, dst[0]);
  EXPECT_EQ(0.0f, dst[2]);
  EXPECT_TRUE(std::isnan(dst[8]));
  EXPECT_TRUE(std::isnan(dst[10]));
  EXPECT_EQ(7.0f, dst[1]);
  EXPECT_EQ(7.0f, dst[9]);
  EXPECT_EQ(1, index[1]);
}

TEST(LuDecompositionM, WithSourceStridesThatLeaveTheContiguousCopyIsRefused) {
  struct stride_case {
    const char* name;
    int32_t stride1, stride2;
  };
  const float src[9] = {};
  for (const stride_case c : {stride_case{"padded rows", 16, 4},
                              {"padded elements", 12, 8},
                              {"one byte too far", 12, 5},
                              {"reversed rows", -12, 4},
                              {"reversed elements", 12, -4},
                              {"both reversed", -12, -4},
                              {"cancelling each other in the far corner", 12, -12},
                              {"largest", INT32_MAX, INT32_MAX},
                              {"smallest", INT32_MIN, INT32_MIN}}) {
    float dst[9] = {7.0f};
    int32_t index[3] = {-5, -5, -5};
    EXPECT_EQ(lu_decomposition_m(src, c.stride1, c.stride2, index, dst, 12, 4, 3), 32u) << c.name;
    EXPECT_EQ(dst[0], 7.0f) << c.name;
    EXPECT_EQ(index[0], -5) << c.name;
  }
}

TEST(LuDecompositionM, WithUnusualStridesInsideTheCopyFollowsThem) {
  // Every row is the same: the step at (0, 0) leaves zeros of the first row's copy as well.
  const float src[4] = {2, 3, 5, 7};
  float dst[4] = {};
  int32_t index[2] = {};
  ASSERT_EQ(lu_decomposition_m(src, 0, 4, index, dst, 8, 4, 2), 0u);
  EXPECT_EQ(plain::floats(dst, dst + 4), (plain::floats{2, 3, 1, 0}));
}

TEST(LuDecompositionM, OfNullResultsIsRefused) {
  const float src[4] = {1, 2, 3, 4};
  float dst[4] = {7.0f};
  int32_t index[2] = {-5, -5};
  EXPECT_EQ(lu_decomposition_m(src, 8, 4, nullptr, dst, 8, 4, 2), 32u);
  EXPECT_EQ(lu_decomposition_m(src, 8, 4, index, nullptr, 8, 4, 2), 32u);
  EXPECT_EQ(lu_decomposition_m(src, 8, 4, index, nullptr, 8, 4, 0), 32u);
  EXPECT_EQ(lu_decomposition_m(src, 8, 4, nullptr, dst, 8, 4, 0), 32u);
  EXPECT_EQ(dst[0], 7.0f);
  EXPECT_EQ(index[0], -5);
}

TEST(LuDecompositionM, BeyondTwoGigabytesReportsNoMemory) {
  float dst = 7.0f;
  int32_t index = -5;
  // 4 * 23170^2 is the last square below 2^31; its strides are tested before its copy is made.
  EXPECT_EQ(lu_decomposition_m(&dst, -4, 4, &index, &dst, 4, 4, 23170), 32u);
  for (const int32_t size : {23171, -23171, 46341, 65536, INT32_MAX, INT32_MIN})
    EXPECT_EQ(lu_decomposition_m(&dst, -4, 4, &index, &dst, 4, 4, size), 4u) << size;
  EXPECT_EQ(dst, 7.0f);
  EXPECT_EQ(index, -5);
}

TEST(LuDecompositionM, WithoutMemoryReportsItAndWritesNothing) {
  const float src[4] = {1, 2, 3, 4};
  for (const int32_t size : {2, 0}) {
    float dst[4] = {7.0f};
    int32_t index[2] = {-5, -5};
    kit::allocation_ledger ledger;
    ledger.fail_after(0);
    EXPECT_EQ(lu_decomposition_m(src, 8, 4, index, dst, 8, 4, size), 4u);
    EXPECT_EQ(dst[0], 7.0f);
    EXPECT_EQ(index[0], -5);
    ledger.fail_never();
    EXPECT_EQ(lu_decomposition_m(src, 8, 4, index, dst, 8, 4, size), 0u);
    EXPECT_EQ(ledger.allocations(), 1u);
    EXPECT_EQ(ledger.live_blocks(), 0u);
  }
}

}  // namespace
