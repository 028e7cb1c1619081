// Monomials of the quartic surface, in the table that the test's environment names.

#include "rows/surface_rows.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>

#include "rows/row_table.h"
#include "tests/kit/guarded_buffer.h"

namespace {

constexpr size_t terms = 15;

TEST(SurfaceRows, FactorsAreMultipliedAndNothingAfterTheFifteenthIsWritten) {
  std::mt19937 random(91);
  std::uniform_real_distribution<float> value(-3.0f, 3.0f);
  for (const size_t stride : {15u, 16u, 17u, 40u}) {
    for (size_t count = 0; count <= 9; ++count) {
      // The last row ends with its fifteenth product, and an inaccessible page follows it.
      kit::guarded_array<float> dst(count == 0 ? 0 : (count - 1) * stride + terms);
      for (float& element : dst) element = 7.0f;
      kit::guarded_array<qo::monomial_factors> columns(count);
      qo::monomial_factors row = {};
      for (float& factor : row.of) factor = value(random);
      for (qo::monomial_factors& column : columns)
        for (float& factor : column.of) factor = value(random);
      qo::rows().surface.multiply_factors(columns.data(), row, count, dst.data(), stride);
      for (size_t i = 0; i < dst.size(); ++i) {
        const size_t term = i % stride;
        const float expected = term < terms ? columns[i / stride].of[term] * row.of[term] : 7.0f;
        ASSERT_EQ(expected, dst[i]) << "stride " << stride << ", element " << i;
      }
    }
  }
}

}  // namespace
