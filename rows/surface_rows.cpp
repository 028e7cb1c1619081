// Monomials and samples of the quartic surface.

#include "rows/surface_rows.h"

#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

void multiply_factors(const monomial_factors* columns, const monomial_factors& row, size_t count,
                      float* dst, size_t stride) {
  // Two halves that meet in the middle: nothing behind the fifteenth is written.
  using half = vector_n<float, 8>;
  constexpr size_t second = 7;
  const half row_low = load_vector<half>(row.of);
  const half row_high = load_vector<half>(row.of + second);
  for (size_t c = 0; c < count; ++c, dst += stride) {
    store_vector(dst, load_vector<half>(columns[c].of) * row_low);
    store_vector(dst + second, load_vector<half>(columns[c].of + second) * row_high);
  }
}

void fill_powers(float step, size_t begin, size_t count, column_powers& powers) {
  for (size_t i = 0; i < count; ++i) {
    const float x = static_cast<float>(static_cast<int32_t>(begin + i)) * step + 1.0f;
    const float x2 = x * x;
    const float x3 = x * x2;
    powers.first[i] = x;
    powers.second[i] = x2;
    powers.third[i] = x3;
    powers.fourth[i] = x3 * x;
  }
}

/// `Lanes` samples of `Rows` rows, from column `at` on: what is loaded serves all rows.
template <size_t Lanes, size_t Rows>
inline __attribute__((always_inline)) void sample_block(const row_quartic* quartics,
                                                        const column_powers& powers, size_t at,
                                                        float* dst, size_t stride) {
  using lanes = vector_n<float, Lanes>;
  const lanes x = load_vector<lanes>(powers.first + at);
  const lanes x2 = load_vector<lanes>(powers.second + at);
  const lanes x3 = load_vector<lanes>(powers.third + at);
  const lanes x4 = load_vector<lanes>(powers.fourth + at);
#pragma GCC unroll 8
  for (size_t r = 0; r < Rows; ++r) {
    const row_quartic& q = quartics[r];
    store_vector(dst + r * stride + at, (((q.k0 + q.k1 * x) + q.k2 * x2) + q.k3 * x3) + q.k4 * x4);
  }
}

template <size_t Rows>
void sample_some(const row_quartic* quartics, const column_powers& powers, size_t count, float* dst,
                 size_t stride) {
  constexpr size_t lanes = lanes_of<float>;
  row_quartic own[Rows];  // copies that the stores cannot alias
  memcpy(own, quartics, sizeof own);
  if (count < lanes) {
    for (size_t i = 0; i < count; ++i) sample_block<1, Rows>(own, powers, i, dst, stride);
    return;
  }
  for (size_t i = 0; i + lanes <= count; i += lanes)
    sample_block<lanes, Rows>(own, powers, i, dst, stride);
  // The last vector is moved back to be whole, and forms some samples a second time.
  if (count % lanes != 0) sample_block<lanes, Rows>(own, powers, count - lanes, dst, stride);
}

void sample(const row_quartic* quartics, size_t rows, const column_powers& powers, size_t count,
            float* dst, size_t stride) {
  // Five factors to a row have to stay in registers beside the powers.
  constexpr size_t together = lanes_of<float> == 16 ? 4 : 2;
  size_t row = 0;
  for (; rows - row >= together; row += together)
    sample_some<together>(quartics + row, powers, count, dst + row * stride, stride);
  for (; row < rows; ++row)
    sample_some<1>(quartics + row, powers, count, dst + row * stride, stride);
}

}  // namespace

extern const surface_rows surface;
constinit const surface_rows surface = {multiply_factors, fill_powers, sample};

}  // namespace qo::QO_ROWS_NS
