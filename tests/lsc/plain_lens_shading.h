/// The lens-shading arithmetic once more, as plain loops over packed arrays: what the library's
/// results are compared with, bit for bit, and what the benchmark measures it against. Written for
/// obviousness, sharing nothing with the library.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "tests/kit/same_bits.h"

namespace plain {

using floats = std::vector<float>;

using kit::first_difference;

inline floats transpose(const floats& matrix, size_t rows, size_t columns) {
  floats result(matrix.size());
  for (size_t i = 0; i < rows; ++i)
    for (size_t j = 0; j < columns; ++j) result[j * rows + i] = matrix[i * columns + j];
  return result;
}

/// (rows x inner) times (inner x columns).
inline floats product(const floats& a, const floats& b, size_t rows, size_t inner, size_t columns) {
  floats result(rows * columns);
  for (size_t i = 0; i < rows; ++i) {
    for (size_t j = 0; j < columns; ++j) {
      float sum = 0.0f;
      for (size_t k = 0; k < inner; ++k) sum = sum + a[i * inner + k] * b[k * columns + j];
      result[i * columns + j] = sum;
    }
  }
  return result;
}

/// Doolittle without pivoting, in place: multipliers below the diagonal, the upper factor above.
inline floats factors(floats a, size_t n) {
  for (size_t k = 0; k + 1 < n; ++k) {
    for (size_t i = k + 1; i < n; ++i) a[i * n + k] = a[i * n + k] / a[k * n + k];
    for (size_t i = k + 1; i < n; ++i)
      for (size_t j = k + 1; j < n; ++j) a[i * n + j] = a[i * n + j] - a[i * n + k] * a[k * n + j];
  }
  return a;
}

/// The monomials at (x, y), in the order of the coefficients.
inline std::array<float, 15> monomials(uint64_t column, uint64_t row) {
  const float x = float(column), x2 = float(column * column), x3 = float(column * column * column);
  const float y = float(row), y2 = float(row * row), y3 = float(row * row * row);
  return {1.0f,   x,  y,      x2,     x * y,   y2,     x3,    x2 * y,
          x * y2, y3, x * x3, x3 * y, x2 * y2, x * y3, y * y3};
}

inline floats design(size_t width, size_t height) {
  floats result;
  for (size_t y = 1; y <= height; ++y)
    for (size_t x = 1; x <= width; ++x)
      for (const float term : monomials(x, y)) result.push_back(term);
  return result;
}

/// Solves L U c = right side.
inline floats solve(const floats& lu, const floats& right, size_t n) {
  floats y(n), c(n);
  for (size_t i = 0; i < n; ++i) {
    float sum = 0.0f;
    for (size_t k = 0; k < i; ++k) sum = sum + lu[i * n + k] * y[k];
    y[i] = right[i] - sum;
  }
  for (size_t back = 0; back < n; ++back) {
    const size_t i = n - 1 - back;
    float sum = 0.0f;
    for (size_t k = i + 1; k < n; ++k) sum = sum + lu[i * n + k] * c[k];
    c[i] = (y[i] - sum) / lu[i * n + i];
  }
  return c;
}

/// One sample; the terms that depend on y alone come first in each coefficient of x.
inline float surface_at(const floats& c, float x, float y) {
  const float x2 = x * x, x3 = x * x2, x4 = x3 * x;
  const float y2 = y * y, y3 = y * y2, y4 = y3 * y;
  const float k0 = c[0] + c[2] * y + c[5] * y2 + c[9] * y3 + c[14] * y4;
  const float k1 = c[1] + c[4] * y + c[8] * y2 + c[13] * y3;
  const float k2 = c[3] + c[7] * y + c[12] * y2;
  const float k3 = c[6] + c[11] * y;
  return k0 + k1 * x + k2 * x2 + k3 * x3 + c[10] * x4;
}

inline floats surface(const floats& c, int grid_width, int grid_height, int out_width,
                      int out_height) {
  floats plane;
  const float sx = float(grid_width - 1) / float(out_width - 1);
  const float sy = float(grid_height - 1) / float(out_height - 1);
  for (int r = 0; r < out_height; ++r)
    for (int k = 0; k < out_width; ++k)
      plane.push_back(surface_at(c, float(k) * sx + 1.0f, float(r) * sy + 1.0f));
  return plane;
}

/// Everything about a grid size that serves all of its grids.
struct fit {
  fit(size_t grid_width, size_t grid_height)
      : width(grid_width), height(grid_height), a(design(width, height)) {
    a_t = transpose(a, width * height, 15);
    lu = factors(product(a_t, a, 15, width * height, 15), 15);
  }
  floats upscale(const floats& grid, size_t out_width, size_t out_height) const {
    const floats right = product(a_t, grid, 15, width * height, 1);
    return surface(solve(lu, right, 15), int(width), int(height), int(out_width), int(out_height));
  }
  size_t width, height;
  floats a, a_t, lu;
};

inline float running_minimum(const floats& values) {
  float m = values[0];
  for (size_t i = 1; i < values.size(); ++i) m = m < values[i] ? m : values[i];
  return m;
}

/// False when the minimum is not positive.
inline bool normalise(floats& plane) {
  const float m = running_minimum(plane);
  if (!(m > 0.0f)) return false;
  for (float& v : plane) {
    v = v / m;
    if (!(v > 1.0f)) v = 1.0f;
  }
  return true;
}

/// Raw values to gains, each at its mirrored place.
template <typename Raw>
floats gains(const std::vector<Raw>& raw, size_t width, size_t height, float divisor,
             uint32_t orientation) {
  floats result(width * height, 0.0f);
  for (size_t r = 0; r < height; ++r) {
    for (size_t k = 0; k < width; ++k) {
      const float gain = float(raw[r * width + k]) / divisor + 1.0f;
      if (orientation == 0) result[r * width + k] = gain;
      if (orientation == 1) result[r * width + (width - 1 - k)] = gain;
      if (orientation == 2) result[(height - 1 - r) * width + k] = gain;
      if (orientation == 3) result[(height - 1 - r) * width + (width - 1 - k)] = gain;
    }
  }
  return result;
}

/// A product as a table stores it: toward zero, saturated at 32 bits, its low 16 bits.
inline uint16_t corrected(uint16_t sample, float gain) {
  const float product = float(sample) * gain;
  if (std::isnan(product)) return 0;
  const double whole = std::trunc(double(product));
  if (whole >= 2147483647.0) return uint16_t(std::numeric_limits<int32_t>::max() & 0xffff);
  if (whole <= -2147483648.0) return 0;
  return uint16_t(uint64_t(int64_t(whole)) & 0xffff);
}

/// The sites of each cell, row by row, by the colour's name; "-" has no plane.
inline std::vector<std::vector<std::string>> cell(uint32_t layout) {
  switch (layout) {
    case 0:
      return {{"G2", "C2"}, {"C1", "G1"}};
    case 1:
      return {{"C2", "G2"}, {"G1", "C1"}};
    case 2:
      return {{"C1", "G1"}, {"G2", "C2"}};
    case 3:
      return {{"G1", "C1"}, {"C2", "G2"}};
    case 256:
      return {{"C1", "G2", "C2", "G2"},
              {"G1", "-", "G1", "-"},
              {"C2", "G2", "C1", "G2"},
              {"G1", "-", "G1", "-"}};
    case 257:
      return {{"G2", "C2", "G2", "C1"},
              {"-", "G1", "-", "G1"},
              {"G2", "C1", "G2", "C2"},
              {"-", "G1", "-", "G1"}};
    case 258:
      return {{"C2", "G2", "C1", "G2"},
              {"G1", "-", "G1", "-"},
              {"C1", "G2", "C2", "G2"},
              {"G1", "-", "G1", "-"}};
    case 259:
      return {{"G2", "C1", "G2", "C2"},
              {"-", "G1", "-", "G1"},
              {"G2", "C2", "G2", "C1"},
              {"-", "G1", "-", "G1"}};
    case 260:
      return {{"G1", "-", "G1", "-"},
              {"C2", "G2", "C1", "G2"},
              {"G1", "-", "G1", "-"},
              {"C1", "G2", "C2", "G2"}};
    case 261:
      return {{"-", "G1", "-", "G1"},
              {"G2", "C1", "G2", "C2"},
              {"-", "G1", "-", "G1"},
              {"G2", "C2", "G2", "C1"}};
    case 262:
      return {{"G1", "-", "G1", "-"},
              {"C1", "G2", "C2", "G2"},
              {"G1", "-", "G1", "-"},
              {"C2", "G2", "C1", "G2"}};
    case 263:
      return {{"-", "G1", "-", "G1"},
              {"G2", "C2", "G2", "C1"},
              {"-", "G1", "-", "G1"},
              {"G2", "C1", "G2", "C2"}};
    default:
      return {};
  }
}

/// Which of a gain table's four planes belongs to a colour.
inline size_t plane_of(const std::string& colour, uint32_t plane_order) {
  const std::vector<std::vector<std::string>> order = cell(plane_order);
  for (size_t plane = 0; plane < 4; ++plane)
    if (order[plane / 2][plane % 2] == colour) return plane;
  return 4;
}

}  // namespace plain
