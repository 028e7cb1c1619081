// Monomials and samples of the quartic surface.

#include "rows/surface_rows.h"

#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

void multiply_factors(const monomial_factors* columns, const monomial_factors& row, size_t count,
                      float* dst, size_t stride) {
  // Two halves that meet in the middle: nothing after the fifteenth is written.
  using half = vector_n<float, 8>;
  constexpr size_t second = 7;
  const half row_low = load_vector<half>(row.of);
  const half row_high = load_vector<half>(row.of + second);
  for (size_t c = 0; c < count; ++c, dst += stride) {
    store_vector(dst, load_vector<half>(columns[c].of) * row_low);
    store_vector(dst + second, load_vector<half>(columns[c].of + second) * row_high);
  }
}

using lanes = vector<float>;
constexpr size_t width = lanes_of<float>;
static_assert(surface_strip % width == 0 && quartic_rows % width == 0);

/// index * step + 1 of the indices from `begin` on. They are far below 2^24.
[[nodiscard]] inline __attribute__((always_inline)) lanes coordinates(size_t begin, float step) {
  vector<int32_t> indices;
  for (size_t lane = 0; lane < width; ++lane) indices[lane] = static_cast<int32_t>(begin + lane);
  return __builtin_convertvector(indices, lanes) * step + 1.0f;
}

void fill_powers(float step, size_t begin, size_t count, column_powers& powers) {
  for (size_t i = 0; i < count; i += width) {
    const lanes x = coordinates(begin + i, step);
    const lanes x2 = x * x;
    const lanes x3 = x * x2;
    store_vector(powers.first + i, x);
    store_vector(powers.second + i, x2);
    store_vector(powers.third + i, x3);
    store_vector(powers.fourth + i, x3 * x);
  }
}

void fill_quartics(const float* coefficients, float step, size_t begin, size_t count,
                   row_quartics& quartics) {
  const float* const c = coefficients;
  for (size_t i = 0; i < count; i += width) {
    const lanes y = coordinates(begin + i, step);
    const lanes y2 = y * y;
    const lanes y3 = y * y2;
    const lanes y4 = y3 * y;
    store_vector(quartics.k0 + i, (((c[0] + c[2] * y) + c[5] * y2) + c[9] * y3) + c[14] * y4);
    store_vector(quartics.k1 + i, ((c[1] + c[4] * y) + c[8] * y2) + c[13] * y3);
    store_vector(quartics.k2 + i, (c[3] + c[7] * y) + c[12] * y2);
    store_vector(quartics.k3 + i, c[6] + c[11] * y);
  }
  quartics.k4 = c[10];
}

/// A value in every lane. Less 0 it is itself; plus 0, a negative zero would not be.
[[nodiscard]] inline __attribute__((always_inline)) lanes repeated(float value) {
  return value - lanes{};
}

/// The factors of one row, a vector each.
struct quartic_lanes {
  lanes k0, k1, k2, k3;
};

/// Samples of `Rows` rows from column `at` on: the powers that are loaded serve all rows.
template <size_t Rows>
inline __attribute__((always_inline)) void sample_block(const quartic_lanes (&rows)[Rows], float k4,
                                                        const column_powers& powers, size_t at,
                                                        float* dst, size_t stride) {
  const lanes x = load_vector<lanes>(powers.first + at);
  const lanes x2 = load_vector<lanes>(powers.second + at);
  const lanes x3 = load_vector<lanes>(powers.third + at);
  const lanes last = k4 * load_vector<lanes>(powers.fourth + at);
#pragma GCC unroll 8
  for (size_t r = 0; r < Rows; ++r) {
    const quartic_lanes& q = rows[r];
    store_vector(dst + r * stride + at, (((q.k0 + q.k1 * x) + q.k2 * x2) + q.k3 * x3) + last);
  }
}

/// The plain rule, and what is narrower than a vector.
void sample_plain(const row_quartics& quartics, size_t row, const column_powers& powers,
                  size_t count, float* dst) {
  for (size_t k = 0; k < count; ++k)
    dst[k] = (((quartics.k0[row] + quartics.k1[row] * powers.first[k]) +
               quartics.k2[row] * powers.second[k]) +
              quartics.k3[row] * powers.third[k]) +
             quartics.k4 * powers.fourth[k];
}

/// `Rows` rows from `row` on, of at least one vector of columns.
template <size_t Rows>
void sample_rows(const row_quartics& quartics, size_t row, const column_powers& powers,
                 size_t count, float* dst, size_t stride) {
  quartic_lanes rows[Rows];
  for (size_t r = 0; r < Rows; ++r)
    rows[r] = {repeated(quartics.k0[row + r]), repeated(quartics.k1[row + r]),
               repeated(quartics.k2[row + r]), repeated(quartics.k3[row + r])};
  const float k4 = quartics.k4;
  for (size_t at = 0; at + width <= count; at += width)
    sample_block(rows, k4, powers, at, dst, stride);
  // The last vector is moved back to be whole, and forms some samples a second time.
  if (count % width != 0) sample_block(rows, k4, powers, count - width, dst, stride);
}

void sample(const row_quartics& quartics, size_t rows, const column_powers& powers, size_t count,
            float* dst, size_t stride) {
  if (count < width) {
    for (size_t row = 0; row < rows; ++row)
      sample_plain(quartics, row, powers, count, dst + row * stride);
    return;
  }
  // Four factors to a row have to stay in registers beside the powers.
  constexpr size_t together = width == 16 ? 4 : 2;
  size_t row = 0;
  for (; rows - row >= together; row += together)
    sample_rows<together>(quartics, row, powers, count, dst + row * stride, stride);
  for (; row < rows; ++row)
    sample_rows<1>(quartics, row, powers, count, dst + row * stride, stride);
}

}  // namespace

extern const surface_rows surface;
constinit const surface_rows surface = {multiply_factors, fill_powers, fill_quartics, sample};

}  // namespace qo::QO_ROWS_NS
