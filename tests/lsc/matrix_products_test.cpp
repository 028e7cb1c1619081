#include <gtest/gtest.h>

#include <iterator>
#include <limits>

#include "qo_cmc/lsc.h"
#include "tests/kit/strided_buffer.h"
#include "tests/lsc/plain_lens_shading.h"

using kit::all_layouts;
using kit::layout;
using kit::strided_buffer;

namespace {

constexpr float nan_value = std::numeric_limits<float>::quiet_NaN();

uint32_t transpose(strided_buffer& src, strided_buffer& dst) {
  return transpose_m(src.base(), src.stride1(), src.stride2(), src.columns(), src.rows(),
                     dst.base(), dst.stride1(), dst.stride2());
}

uint32_t multiply(strided_buffer& a, strided_buffer& b, strided_buffer& dst) {
  return mul_mm(a.base(), a.stride1(), a.stride2(), a.columns(), a.rows(), b.base(), b.stride1(),
                b.stride2(), b.columns(), b.rows(), dst.base(), dst.stride1(), dst.stride2());
}

/// Vectors are matrices of one column; their element stride is the row distance.
uint32_t multiply_vector(strided_buffer& a, strided_buffer& x, strided_buffer& dst) {
  return mul_mv(a.base(), a.stride1(), a.stride2(), a.columns(), a.rows(), x.base(), x.stride1(),
                x.rows(), dst.base(), dst.stride1());
}

void expect_same(const plain::floats& expected, const strided_buffer& actual, const char* what) {
  const plain::floats values = actual.packed();
  ASSERT_EQ(expected.size(), values.size());
  EXPECT_EQ(values.size(), plain::first_difference(expected.data(), values.data(), values.size()))
      << what << ' ' << actual.rows() << " x " << actual.columns();
  EXPECT_TRUE(actual.has_untouched_gaps()) << what;
}

TEST(MatrixTranspose, MovesElementRowColumnToColumnRow) {
  const float src[6] = {1, 2, 3, 4, 5, 6};
  float dst[6] = {};
  ASSERT_EQ(0u, transpose_m(src, 12, 4, 3, 2, dst, 8, 4));
  EXPECT_EQ((plain::floats{1, 4, 2, 5, 3, 6}), plain::floats(dst, dst + 6));
}

TEST(MatrixTranspose, EqualsThePlainRuleInEveryPairOfLayouts) {
  std::mt19937 random(1);
  for (const layout from : all_layouts) {
    for (const layout to : all_layouts) {
      for (const auto& [rows, columns] : {std::pair{1, 1}, {1, 9}, {9, 1}, {5, 3}, {30, 40}}) {
        strided_buffer src(rows, columns, from);
        strided_buffer dst(columns, rows, to, kit::guard_side::before);
        src.fill(random);
        ASSERT_EQ(0u, transpose(src, dst));
        expect_same(plain::transpose(src.packed(), size_t(rows), size_t(columns)), dst,
                    "transpose");
      }
    }
  }
}

TEST(MatrixTranspose, EqualsThePlainRuleForEverySizeOfPackedRows) {
  std::mt19937 random(8);
  for (int rows = 1; rows <= 140; ++rows) {
    for (int columns = 1; columns <= 140; columns += rows <= 35 && columns < 40 ? 1 : 9) {
      const auto variant = static_cast<uint32_t>(rows + columns);
      const kit::guard_side side =
          variant % 2 == 0 ? kit::guard_side::behind : kit::guard_side::before;
      strided_buffer src(rows, columns, variant % 3 == 0 ? layout::rows_reversed : layout::packed,
                         side, variant / 2 % 4);
      strided_buffer dst(columns, rows, variant % 7 == 0 ? layout::rows_reversed : layout::packed,
                         side, variant / 3 % 4);
      src.fill_with_extremes(random);
      ASSERT_EQ(0u, transpose(src, dst));
      expect_same(plain::transpose(src.packed(), size_t(rows), size_t(columns)), dst, "transpose");
    }
  }
}

TEST(MatrixTranspose, WalksSourceRowsInTheOuterLoop) {
  // All elements of the result fall on one address: the last one written stays.
  const float src[6] = {1, 2, 3, 4, 5, 6};
  float dst = 0;
  ASSERT_EQ(0u, transpose_m(src, 12, 4, 3, 2, &dst, 0, 0));
  EXPECT_EQ(6.0f, dst);
  float one_per_source_column[3] = {};
  ASSERT_EQ(0u, transpose_m(src, 12, 4, 3, 2, one_per_source_column, 4, 0));
  EXPECT_EQ((plain::floats{4, 5, 6}),
            plain::floats(one_per_source_column, one_per_source_column + 3));
}

TEST(MatrixTranspose, KeepsEveryBitOfAnElement) {
  const uint32_t bits[2] = {0x7fc12345u, 0x80000001u};
  float src[2], dst[2] = {};
  std::memcpy(src, bits, sizeof src);
  ASSERT_EQ(0u, transpose_m(src, 8, 4, 2, 1, dst, 4, 4));
  EXPECT_EQ(0, std::memcmp(dst, bits, sizeof dst));
}

TEST(MatrixTranspose, WithNothingToTransposeGivesZeroAndLooksAtNoPointer) {
  float dst = 7.0f;
  for (const auto& [width, height] : {std::pair{0, 3}, {3, 0}, {-1, 3}, {3, -1}, {0, 0}}) {
    EXPECT_EQ(0u, transpose_m(nullptr, 4, 4, width, height, nullptr, 4, 4));
    EXPECT_EQ(0u, transpose_m(&dst, 4, 4, width, height, &dst, 4, 4));
  }
  EXPECT_EQ(7.0f, dst);
}

TEST(MatrixTranspose, OfNullIsRefused) {
  float value = 7.0f;
  EXPECT_EQ(32u, transpose_m(nullptr, 4, 4, 1, 1, &value, 4, 4));
  EXPECT_EQ(32u, transpose_m(&value, 4, 4, 1, 1, nullptr, 4, 4));
  EXPECT_EQ(7.0f, value);
}

TEST(MatrixProduct, OfTwoSmallMatricesIsTheHandComputedOne) {
  const float a[6] = {1, 2, 3, 4, 5, 6};
  const float b[6] = {7, 8, 9, 10, 11, 12};
  float dst[4] = {};
  ASSERT_EQ(0u, mul_mm(a, 12, 4, 3, 2, b, 8, 4, 2, 3, dst, 8, 4));
  EXPECT_EQ((plain::floats{58, 64, 139, 154}), plain::floats(dst, dst + 4));
}

TEST(MatrixProduct, AddsInAscendingOrderInSinglePrecision) {
  // 2^24 + 1 + 1 stays 2^24 in this order and would be 2^24 + 2 in any other.
  const float a[3] = {16777216.0f, 1.0f, 1.0f};
  const float b[3] = {1.0f, 1.0f, 1.0f};
  float dst = 0;
  ASSERT_EQ(0u, mul_mm(a, 12, 4, 3, 1, b, 4, 4, 1, 3, &dst, 4, 4));
  EXPECT_EQ(16777216.0f, dst);
  ASSERT_EQ(0u, mul_mv(a, 12, 4, 3, 1, b, 4, 3, &dst, 4));
  EXPECT_EQ(16777216.0f, dst);
}

TEST(MatrixProduct, RoundsEachProductBeforeItIsAdded) {
  // (1 + 2^-12)^2 rounds to 1 + 2^-11; fused with the subtraction it would leave 2^-24.
  const float a[2] = {-1.00048828125f, 1.000244140625f};
  const float b[2] = {1.0f, 1.000244140625f};
  float dst = 7;
  ASSERT_EQ(0u, mul_mm(a, 8, 4, 2, 1, b, 4, 4, 1, 2, &dst, 4, 4));
  EXPECT_EQ(0.0f, dst);
  ASSERT_EQ(0u, mul_mv(a, 8, 4, 2, 1, b, 4, 2, &dst, 4));
  EXPECT_EQ(0.0f, dst);
}

TEST(MatrixProduct, StartsFromPositiveZero) {
  const float a = -0.0f, b = 1.0f;
  float dst = 7;
  ASSERT_EQ(0u, mul_mm(&a, 4, 4, 1, 1, &b, 4, 4, 1, 1, &dst, 4, 4));
  EXPECT_FALSE(std::signbit(dst));
}

TEST(MatrixProduct, EqualsThePlainRuleInEveryLayout) {
  std::mt19937 random(2);
  constexpr int sizes[][3] = {{1, 1, 1}, {2, 3, 4},    {4, 1, 7},  {3, 5, 8},
                              {3, 6, 9}, {15, 40, 15}, {7, 9, 16}, {1, 30, 23}};
  for (const layout first : all_layouts) {
    for (const layout second : all_layouts) {
      for (const auto& [rows, inner, columns] : sizes) {
        strided_buffer a(rows, inner, first);
        strided_buffer b(inner, columns, second, kit::guard_side::before);
        a.fill(random);
        b.fill(random);
        const plain::floats expected =
            plain::product(a.packed(), b.packed(), size_t(rows), size_t(inner), size_t(columns));
        // The result in the layouts in turn, so that every layout meets every other one.
        strided_buffer dst(rows, columns, all_layouts[size_t(rows + inner) % 7]);
        ASSERT_EQ(0u, multiply(a, b, dst));
        expect_same(expected, dst, "product");
      }
    }
  }
}

/// The layouts in which matrices meet: the rows or the columns of both may be packed.
struct product_layouts {
  layout left, right, result;
};
constexpr product_layouts packed_products[] = {
    {layout::packed, layout::packed, layout::packed},
    {layout::transposed, layout::packed, layout::rows_reversed},
    {layout::padded, layout::rows_reversed, layout::packed},
    {layout::transposed, layout::transposed, layout::transposed},
    {layout::transposed, layout::odd_distances, layout::transposed},
    {layout::transposed, layout::packed, layout::transposed},
    {layout::packed, layout::transposed, layout::packed}};

void expect_plain_product(int rows, int inner, int columns, uint32_t variant,
                          std::mt19937& random) {
  const product_layouts& kinds = packed_products[variant % std::size(packed_products)];
  const kit::guard_side side = variant % 2 == 0 ? kit::guard_side::behind : kit::guard_side::before;
  const size_t shift = variant / 2 % 4;
  strided_buffer a(rows, inner, kinds.left, side, shift);
  strided_buffer b(inner, columns, kinds.right, side, shift / 2);
  strided_buffer dst(rows, columns, kinds.result, side, 3 - shift);
  if (variant % 5 == 0) {
    a.fill_with_extremes(random);
    b.fill_with_extremes(random);
  } else {
    a.fill(random);
    b.fill(random);
  }
  ASSERT_EQ(0u, multiply(a, b, dst));
  expect_same(plain::product(a.packed(), b.packed(), size_t(rows), size_t(inner), size_t(columns)),
              dst, "product");
}

TEST(MatrixProduct, EqualsThePlainRuleForEverySizeUpTo40Times40) {
  std::mt19937 random(3);
  for (int rows = 1; rows <= 40; ++rows)
    for (int columns = 1; columns <= 40; ++columns)
      expect_plain_product(rows, 1 + (rows * 7 + columns * 3) % 40, columns,
                           static_cast<uint32_t>(rows * 3 + columns), random);
}

TEST(MatrixProduct, EqualsThePlainRuleForEveryWidthUpTo140) {
  std::mt19937 random(5);
  for (int columns = 41; columns <= 140; ++columns)
    for (int rows = 1; rows <= 13; ++rows)
      expect_plain_product(rows, 1 + (rows + columns) % 7, columns,
                           static_cast<uint32_t>(rows + columns * 2), random);
}

TEST(MatrixProduct, OfNegativeZerosIsPositive) {
  // Each product is -0, and the sum starts from +0.
  const plain::floats a(3 * 5, -0.0f), b(5 * 40, 1.0f);
  plain::floats dst(3 * 40, 7.0f);
  ASSERT_EQ(0u, mul_mm(a.data(), 20, 4, 5, 3, b.data(), 160, 4, 40, 5, dst.data(), 160, 4));
  for (const float element : dst) ASSERT_FALSE(std::signbit(element));
}

TEST(MatrixProduct, WritesColumnsOfARowInAscendingOrder) {
  const float a[1] = {1.0f};
  plain::floats b(20);
  for (size_t j = 0; j < b.size(); ++j) b[j] = float(j);
  float dst = -1.0f;
  ASSERT_EQ(0u, mul_mm(a, 4, 4, 1, 1, b.data(), 80, 4, 20, 1, &dst, 0, 0));
  EXPECT_EQ(19.0f, dst);
}

TEST(MatrixProduct, WithInnerDimensionsThatDisagreeIsRefusedAndWritesNothing) {
  const float values[12] = {};
  float dst[12] = {7.0f};
  EXPECT_EQ(32u, mul_mm(values, 12, 4, 3, 2, values, 4, 4, 1, 4, dst, 4, 4));
  EXPECT_EQ(32u, mul_mm(values, 12, 4, 3, 0, values, 4, 4, 1, 4, dst, 4, 4));
  EXPECT_EQ(32u, mul_mm(nullptr, 12, 4, 3, 2, nullptr, 4, 4, 1, 4, nullptr, 4, 4));
  EXPECT_EQ(7.0f, dst[0]);
}

TEST(MatrixProduct, ThatIsEmptyGivesZeroAndLooksAtNoPointer) {
  float dst = 7.0f;
  for (const auto& [height, width] : {std::pair{0, 1}, {-1, 1}, {1, 0}, {1, -1}}) {
    EXPECT_EQ(0u, mul_mm(nullptr, 12, 4, 3, height, nullptr, 4, 4, width, 3, nullptr, 4, 4));
    EXPECT_EQ(0u, mul_mm(&dst, 12, 4, 3, height, &dst, 4, 4, width, 3, &dst, 4, 4));
  }
  EXPECT_EQ(7.0f, dst);
}

TEST(MatrixProduct, OverAnEmptySumIsZero) {
  const float unused = 1.0f;
  for (const int inner : {0, -3}) {
    plain::floats dst(20, 7.0f);
    ASSERT_EQ(0u, mul_mm(&unused, 4, 4, inner, 2, &unused, 4, 4, 10, inner, dst.data(), 40, 4));
    EXPECT_EQ(dst, plain::floats(20, 0.0f));
    dst.assign(20, 7.0f);
    ASSERT_EQ(0u, mul_mv(&unused, 4, 4, inner, 20, &unused, 4, inner, dst.data(), 4));
    EXPECT_EQ(dst, plain::floats(20, 0.0f));
  }
}

TEST(MatrixProduct, OfNullIsRefused) {
  float value = 7.0f;
  EXPECT_EQ(32u, mul_mm(nullptr, 4, 4, 1, 1, &value, 4, 4, 1, 1, &value, 4, 4));
  EXPECT_EQ(32u, mul_mm(&value, 4, 4, 1, 1, nullptr, 4, 4, 1, 1, &value, 4, 4));
  EXPECT_EQ(32u, mul_mm(&value, 4, 4, 1, 1, &value, 4, 4, 1, 1, nullptr, 4, 4));
  EXPECT_EQ(7.0f, value);
}

TEST(MatrixProduct, CarriesNansAndInfinities) {
  const float infinity = std::numeric_limits<float>::infinity();
  const float a[2] = {1.0f, 0.0f};
  const float b[4] = {nan_value, infinity, 1.0f, infinity};
  float dst[2] = {};
  ASSERT_EQ(0u, mul_mm(a, 8, 4, 2, 1, b, 8, 4, 2, 2, dst, 8, 4));
  EXPECT_TRUE(std::isnan(dst[0]));
  EXPECT_TRUE(std::isnan(dst[1]));  // infinity + 0 * infinity
}

TEST(MatrixVectorProduct, EqualsThePlainRuleInEveryLayout) {
  std::mt19937 random(4);
  for (const layout matrix : all_layouts) {
    for (const layout vector : all_layouts) {
      for (const auto& [rows, columns] :
           {std::pair{1, 1}, {3, 2}, {7, 5}, {8, 1}, {9, 4}, {15, 221}, {30, 40}}) {
        strided_buffer a(rows, columns, matrix);
        strided_buffer x(columns, 1, vector, kit::guard_side::before);
        strided_buffer dst(rows, 1, all_layouts[size_t(rows) % 7]);
        a.fill(random);
        x.fill(random);
        ASSERT_EQ(0u, multiply_vector(a, x, dst));
        expect_same(plain::product(a.packed(), x.packed(), size_t(rows), size_t(columns), 1), dst,
                    "vector");
      }
    }
  }
}

void expect_plain_vector_product(int rows, int columns, layout matrix, std::mt19937& random) {
  const auto variant = static_cast<uint32_t>(rows + columns);
  const kit::guard_side side = variant % 2 == 0 ? kit::guard_side::behind : kit::guard_side::before;
  strided_buffer a(rows, columns, matrix, side, variant % 4);
  strided_buffer x(columns, 1, layout::packed, side, variant / 2 % 4);
  strided_buffer dst(rows, 1, layout::packed, side, variant / 4 % 4);
  if (variant % 5 == 0)
    a.fill_with_extremes(random);
  else
    a.fill(random);
  x.fill(random);
  ASSERT_EQ(0u, multiply_vector(a, x, dst));
  expect_same(plain::product(a.packed(), x.packed(), size_t(rows), size_t(columns), 1), dst,
              "vector");
}

TEST(MatrixVectorProduct, EqualsThePlainRuleForEverySizeUpTo40Times70) {
  std::mt19937 random(6);
  for (int rows = 1; rows <= 40; ++rows)
    for (int columns = 1; columns <= 70; ++columns)
      expect_plain_vector_product(
          rows, columns, (rows + columns) % 3 == 0 ? layout::rows_reversed : layout::packed,
          random);
}

TEST(MatrixVectorProduct, EqualsThePlainRuleForLongSidesAndPackedColumns) {
  std::mt19937 random(7);
  for (int length = 1; length <= 140; ++length) {
    expect_plain_vector_product(length, 1 + length % 11, layout::packed, random);
    expect_plain_vector_product(15, length, layout::packed, random);
    expect_plain_vector_product(length, 1 + length % 11, layout::transposed, random);
  }
}

TEST(MatrixVectorProduct, WithAVectorOfAnotherLengthIsRefusedAndWritesNothing) {
  const float values[4] = {};
  float dst = 7.0f;
  EXPECT_EQ(32u, mul_mv(values, 8, 4, 2, 1, values, 4, 3, &dst, 4));
  EXPECT_EQ(32u, mul_mv(values, 8, 4, 2, 0, values, 4, 3, &dst, 4));
  EXPECT_EQ(7.0f, dst);
}

TEST(MatrixVectorProduct, WithoutRowsGivesZeroAndLooksAtNoPointer) {
  EXPECT_EQ(0u, mul_mv(nullptr, 8, 4, 2, 0, nullptr, 4, 2, nullptr, 4));
  EXPECT_EQ(0u, mul_mv(nullptr, 8, 4, 2, -5, nullptr, 4, 2, nullptr, 4));
}

TEST(MatrixVectorProduct, OfNullIsRefused) {
  float value = 7.0f;
  EXPECT_EQ(32u, mul_mv(nullptr, 4, 4, 1, 1, &value, 4, 1, &value, 4));
  EXPECT_EQ(32u, mul_mv(&value, 4, 4, 1, 1, nullptr, 4, 1, &value, 4));
  EXPECT_EQ(32u, mul_mv(&value, 4, 4, 1, 1, &value, 4, 1, nullptr, 4));
  EXPECT_EQ(7.0f, value);
}

}  // namespace
