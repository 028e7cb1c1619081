#include "image_utils/catmull_rom_patch.h"

#include <cassert>

#include "base/float_to_int.h"

namespace qo {
namespace {

constexpr size_t order = 4;

/// Row n holds what p0 ... p3 contribute to the coefficient of t^n.
constexpr float basis[order][order] = {
    {0.0f, 1.0f, 0.0f, 0.0f},
    {-0.5f, 0.0f, 0.5f, 0.0f},
    {1.0f, -2.5f, 2.0f, -0.5f},
    {-0.5f, 1.5f, -1.5f, 0.5f},
};

/// The sixteen coefficients a[m][n] of one cell's polynomial, or what one sample adds to them.
struct patch {
  float a[order][order];
};

/// What sample (r, c) of the neighbourhood contributes: basis[m][r] basis[n][c], exact products.
struct sample_weights {
  patch of[order][order];
};

constexpr sample_weights weights = [] {
  sample_weights result = {};
  for (size_t r = 0; r < order; ++r)
    for (size_t c = 0; c < order; ++c)
      for (size_t m = 0; m < order; ++m)
        for (size_t n = 0; n < order; ++n) result.of[r][c].a[m][n] = basis[m][r] * basis[n][c];
  return result;
}();

/// Sums the contributions of the 4 x 4 samples at `block`, ascending over r, then c: the order that
/// the interface promises. The sixteen sums advance side by side, none is split.
[[nodiscard]] patch patch_of(const float* block, size_t stride) {
  patch result = {};
  for (size_t r = 0; r < order; ++r) {
    for (size_t c = 0; c < order; ++c) {
      const float sample = block[r * stride + c];
      const patch& weight = weights.of[r][c];
      for (size_t m = 0; m < order; ++m)
        for (size_t n = 0; n < order; ++n) result.a[m][n] += weight.a[m][n] * sample;
    }
  }
  return result;
}

/// c0 + c1 t + c2 t^2 + c3 t^3, added in this order.
[[nodiscard]] float cubic(float c0, float c1, float c2, float c3, float t) {
  const float t2 = t * t;
  const float t3 = t2 * t;
  return ((c0 + c1 * t) + c2 * t2) + c3 * t3;
}

/// Each comparison fails for a NaN, which thereby ends at the lower bound.
[[nodiscard]] float clamp_sample(float value) {
  constexpr float low = -255.0f;
  constexpr float high = 65535.0f;
  const float raised = value > low ? value : low;
  return raised < high ? raised : high;
}

}  // namespace

patch_position patch_position_of(size_t index, float step) {
  assert(step >= 0.0f);
  const float position = static_cast<float>(index) * step;
  const int32_t cell = truncate_to_i32(position);
  return {static_cast<size_t>(cell), position - static_cast<float>(cell)};
}

void evaluate_patch_rows(const float* border_row, size_t stride, float step, size_t out_width,
                         float* rows) {
  size_t cell = 0;
  patch surface = patch_of(border_row, stride);
  for (size_t x = 0; x < out_width; ++x) {
    const patch_position at = patch_position_of(x, step);
    if (at.cell != cell) {
      cell = at.cell;
      surface = patch_of(border_row + cell, stride);
    }
    for (size_t m = 0; m < order; ++m) {
      const float* const a = surface.a[m];
      rows[m * out_width + x] = cubic(a[0], a[1], a[2], a[3], at.fraction);
    }
  }
}

void evaluate_output_row(const float* rows, float ty, size_t out_width, float* dst) {
  const float* const r0 = rows;
  const float* const r1 = r0 + out_width;
  const float* const r2 = r1 + out_width;
  const float* const r3 = r2 + out_width;
  for (size_t x = 0; x < out_width; ++x)
    dst[x] = clamp_sample(cubic(r0[x], r1[x], r2[x], r3[x], ty));
}

}  // namespace qo
