// Kernels of matrices in cases that the routines above them do not reach, in the table that the
// test's environment names.

#include "rows/matrix_rows.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "rows/row_table.h"
#include "tests/kit/guarded_buffer.h"
#include "tests/lsc/plain_lens_shading.h"

namespace {

void fill(kit::guarded_array<float>& values, std::mt19937& random) {
  std::uniform_real_distribution<float> value(-3.0f, 3.0f);
  for (float& element : values) element = value(random);
}

plain::floats copy_of(const kit::guarded_array<float>& values) {
  return {values.begin(), values.end()};
}

TEST(MatrixRows, FourVectorsGiveWhatEachGivesOnItsOwn) {
  std::mt19937 random(81);
  for (size_t rows = 0; rows <= 40; ++rows) {
    for (size_t inner = 0; inner <= 40; ++inner) {
      const kit::guard_side side =
          (rows + inner) % 2 == 0 ? kit::guard_side::behind : kit::guard_side::before;
      kit::guarded_array<float> matrix(rows * inner, side);
      fill(matrix, random);
      std::vector<kit::guarded_array<float>> vectors, results;
      const float* from[4];
      float* to[4];
      for (size_t n = 0; n < 4; ++n) {
        fill(vectors.emplace_back(inner, side), random);
        fill(results.emplace_back(rows, side), random);
        from[n] = vectors[n].data();
        to[n] = results[n].data();
      }
      qo::rows().matrix.multiply_four_vectors(
          {reinterpret_cast<const uint8_t*>(matrix.data()), static_cast<ptrdiff_t>(4 * inner)},
          from, rows, inner, to);
      for (size_t n = 0; n < 4; ++n)
        ASSERT_EQ(plain::product(copy_of(matrix), copy_of(vectors[n]), rows, inner, 1),
                  copy_of(results[n]))
            << rows << " x " << inner << ", vector " << n;
    }
  }
}

TEST(MatrixRows, FactorsOfPackedColumnsStayInsideThem) {
  std::mt19937 random(82);
  for (size_t size = 1; size <= 70; ++size) {
    for (const kit::guard_side side : {kit::guard_side::before, kit::guard_side::behind}) {
      kit::guarded_array<float> columns(size * size, side);
      fill(columns, random);
      for (size_t i = 0; i < size; ++i) columns[i * size + i] += 40.0f;
      const plain::floats expected = plain::transpose(
          plain::factors(plain::transpose(copy_of(columns), size, size), size), size, size);
      qo::rows().matrix.factorise(columns.data(), size);
      ASSERT_EQ(expected, copy_of(columns)) << size;
    }
  }
}

}  // namespace
