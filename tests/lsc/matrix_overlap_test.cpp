// Matrices that overlap: elements of the result are stored one by one, in the order of its rows,
// and what is read after a store is what the store left. No caller is told so; that the vector
// forms step back when matrices overlap is seen here.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "qo_cmc/lsc.h"
#include "tests/kit/guarded_buffer.h"

namespace {

using byte_vector = std::vector<uint8_t>;

/// Element (0, 0), in bytes from the block's start, and the two strides.
struct placed_matrix {
  int32_t base, stride1, stride2;
  [[nodiscard]] size_t at(int32_t row, int32_t column) const {
    return static_cast<size_t>(base + row * stride1 + column * stride2);
  }
};

float load_at(const byte_vector& memory, size_t offset) {
  float value;
  std::memcpy(&value, memory.data() + offset, sizeof value);
  return value;
}

void store_at(byte_vector& memory, size_t offset, float value) {
  std::memcpy(memory.data() + offset, &value, sizeof value);
}

byte_vector random_floats(size_t count, std::mt19937& random) {
  std::uniform_real_distribution<float> value(-2.0f, 2.0f);
  byte_vector memory(4 * count);
  for (size_t i = 0; i < count; ++i) store_at(memory, 4 * i, value(random));
  return memory;
}

/// False when a sum is a NaN, whose bits no rule settles.
[[nodiscard]] bool multiply_plainly(byte_vector& memory, const placed_matrix& a,
                                    const placed_matrix& b, const placed_matrix& dst, int32_t rows,
                                    int32_t inner, int32_t columns) {
  for (int32_t i = 0; i < rows; ++i) {
    for (int32_t j = 0; j < columns; ++j) {
      float sum = 0.0f;
      for (int32_t k = 0; k < inner; ++k)
        sum = sum + load_at(memory, a.at(i, k)) * load_at(memory, b.at(k, j));
      if (std::isnan(sum)) return false;
      store_at(memory, dst.at(i, j), sum);
    }
  }
  return true;
}

/// What a call does to a block of memory between inaccessible pages.
template <typename Call>
byte_vector after(const byte_vector& before, Call call) {
  kit::guarded_buffer block(before.size());
  std::memcpy(block.data(), before.data(), before.size());
  call([&block](const placed_matrix& matrix) {
    return reinterpret_cast<float*>(block.data() + matrix.base);
  });
  return byte_vector(block.data(), block.data() + block.size());
}

struct product_case {
  int32_t rows, inner, columns;
  bool by_columns;  ///< all three matrices, column by column
};
constexpr product_case products[] = {{3, 4, 5, false},  {1, 3, 20, false}, {7, 2, 17, false},
                                     {9, 9, 9, false},  {4, 3, 9, true},   {20, 3, 1, true},
                                     {6, 5, 33, false}, {1, 1, 1, false}};

[[nodiscard]] placed_matrix placed(int32_t base, int32_t rows, int32_t columns, bool by_columns) {
  return by_columns ? placed_matrix{base, 4, 4 * rows} : placed_matrix{base, 4 * columns, 4};
}

TEST(OverlappingMatrices, AProductThatLiesAnywhereOnItsFactorsFollowsThePlainOrder) {
  std::mt19937 random(61);
  size_t defined = 0;
  for (const product_case& size : products) {
    const int32_t left = 4 * size.rows * size.inner, right = 4 * size.inner * size.columns;
    const int32_t result = 4 * size.rows * size.columns;
    const byte_vector before = random_floats(size_t(left + right + 2 * result) / 4, random);
    const placed_matrix a = placed(result, size.rows, size.inner, size.by_columns);
    const placed_matrix b = placed(result + left, size.inner, size.columns, size.by_columns);
    for (int32_t base = 0; base <= result + left + right; ++base) {
      const placed_matrix dst = placed(base, size.rows, size.columns, size.by_columns);
      byte_vector expected = before;
      if (!multiply_plainly(expected, a, b, dst, size.rows, size.inner, size.columns)) continue;
      ++defined;
      const byte_vector actual = after(before, [&](auto at) {
        EXPECT_EQ(0u,
                  mul_mm(at(a), a.stride1, a.stride2, size.inner, size.rows, at(b), b.stride1,
                         b.stride2, size.columns, size.inner, at(dst), dst.stride1, dst.stride2));
      });
      ASSERT_EQ(expected, actual) << size.rows << " x " << size.inner << " x " << size.columns
                                  << ", result at " << base;
    }
  }
  EXPECT_GT(defined, 3000u);
}

TEST(OverlappingMatrices, AProductWhoseOwnRowsOverlapFollowsThePlainOrder) {
  std::mt19937 random(62);
  constexpr int32_t rows = 5, inner = 3, columns = 18;
  const byte_vector before = random_floats(rows * inner + inner * columns + 200, random);
  const placed_matrix a = placed(0, rows, inner, false);
  const placed_matrix b = placed(4 * rows * inner, inner, columns, false);
  constexpr int32_t free = 4 * (rows * inner + inner * columns) + 320;
  for (int32_t stride1 = -80; stride1 <= 80; ++stride1) {
    const placed_matrix dst = {free, stride1, 4};
    byte_vector expected = before;
    ASSERT_TRUE(multiply_plainly(expected, a, b, dst, rows, inner, columns));
    const byte_vector actual = after(before, [&](auto at) {
      EXPECT_EQ(0u, mul_mm(at(a), a.stride1, 4, inner, rows, at(b), b.stride1, 4, columns, inner,
                           at(dst), stride1, 4));
    });
    ASSERT_EQ(expected, actual) << "stride " << stride1;
  }
}

TEST(OverlappingMatrices, AVectorProductThatLiesAnywhereOnItsFactorsFollowsThePlainOrder) {
  std::mt19937 random(63);
  size_t defined = 0;
  for (const auto& [rows, inner] : {std::pair{3, 4}, {9, 8}, {17, 11}, {20, 1}}) {
    const int32_t matrix = 4 * rows * inner, vector = 4 * inner, result = 4 * rows;
    const byte_vector before = random_floats(size_t(matrix + vector + 2 * result) / 4, random);
    const placed_matrix a = placed(result, rows, inner, false);
    const placed_matrix x = {result + matrix, 4, 4};
    for (int32_t base = 0; base <= result + matrix + vector; ++base) {
      const placed_matrix dst = {base, 4, 4};
      byte_vector expected = before;
      if (!multiply_plainly(expected, a, x, dst, rows, inner, 1)) continue;
      ++defined;
      const byte_vector actual = after(before, [&, rows = rows, inner = inner](auto at) {
        EXPECT_EQ(0u, mul_mv(at(a), a.stride1, 4, inner, rows, at(x), 4, inner, at(dst), 4));
      });
      ASSERT_EQ(expected, actual) << rows << " x " << inner << ", result at " << base;
    }
  }
  EXPECT_GT(defined, 500u);
}

TEST(OverlappingMatrices, ATransposeThatLiesAnywhereOnItsSourceFollowsThePlainOrder) {
  std::mt19937 random(64);
  for (const auto& [rows, columns] : {std::pair{3, 4}, {8, 8}, {9, 17}, {16, 8}, {1, 12}}) {
    const int32_t size = 4 * rows * columns;
    const byte_vector before = random_floats(size_t(3 * size) / 4, random);
    const placed_matrix src = placed(size, rows, columns, false);
    for (int32_t base = 0; base <= 2 * size; ++base) {
      const placed_matrix dst = placed(base, columns, rows, false);
      byte_vector expected = before;
      for (int32_t i = 0; i < rows; ++i)
        for (int32_t j = 0; j < columns; ++j)
          std::memmove(expected.data() + dst.at(j, i), expected.data() + src.at(i, j), 4);
      const byte_vector actual = after(before, [&, rows = rows, columns = columns](auto at) {
        EXPECT_EQ(0u, transpose_m(at(src), src.stride1, 4, columns, rows, at(dst), dst.stride1, 4));
      });
      ASSERT_EQ(expected, actual) << rows << " x " << columns << ", result at " << base;
    }
  }
}

}  // namespace
