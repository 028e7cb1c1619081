/// The bicubic family as plain loops, one sample at a time: what the library is compared with.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

namespace reference {

/// The extrapolated buffer of a plane.
struct buffer {
  int width;
  int height;
  std::vector<float> cells;

  buffer(int w, int h)
      : width(w), height(h), cells(static_cast<size_t>(w + 3) * static_cast<size_t>(h + 3)) {}
  float& at(int row, int column) {
    return cells[static_cast<size_t>(row) * static_cast<size_t>(width + 3) +
                 static_cast<size_t>(column)];
  }
  float at(int row, int column) const { return const_cast<buffer*>(this)->at(row, column); }
};

/// The value that each mode gives to a cell; `s` is the distance of two rows.
inline float border_value(const float* c, int s, uint32_t mode) {
  const auto doubled = [](float a) { return a + a; };
  switch (mode) {
    case 0:
      return doubled(c[+s]) - c[+2 * s];
    case 1:
      return doubled(c[-s]) - c[-2 * s];
    case 2:
      return doubled(c[+1]) - c[+2];
    case 3:
      return doubled(c[-1]) - c[-2];
    case 4:
      return ((doubled(c[+s]) - c[+2 * s]) + doubled(c[+1]) - c[+2]) * 0.5f;
    case 5:
      return ((doubled(c[+s]) - c[+2 * s]) + doubled(c[-1]) - c[-2]) * 0.5f;
    case 6:
      return ((doubled(c[-s]) - c[-2 * s]) + doubled(c[+1]) - c[+2]) * 0.5f;
    case 7:
      return ((doubled(c[-s]) - c[-2 * s]) + doubled(c[-1]) - c[-2]) * 0.5f;
    default:
      return 0.0f;
  }
}

/// Builds the buffer of a plane whose samples are already real values.
inline buffer extrapolate(const std::vector<float>& samples, int w, int h) {
  buffer b(w, h);
  const auto fill = [&](int row, int column, uint32_t mode) {
    float& cell = b.at(row, column);
    cell = border_value(&cell, w + 3, mode);
  };
  for (int r = 0; r < h; ++r) {
    for (int c = 0; c < w; ++c)
      b.at(r + 1, c + 1) =
          samples[static_cast<size_t>(r) * static_cast<size_t>(w) + static_cast<size_t>(c)];
    fill(r + 1, 0, 2);
    fill(r + 1, w + 1, 3);
    fill(r + 1, w + 2, 3);
  }
  for (int c = 1; c <= w; ++c) fill(0, c, 0);
  fill(0, 0, 4);
  fill(0, w + 1, 5);
  fill(0, w + 2, 5);
  for (int c = 1; c <= w; ++c) {
    fill(h + 1, c, 1);
    fill(h + 2, c, 1);
  }
  fill(h + 1, 0, 6);
  fill(h + 2, 0, 6);
  fill(h + 1, w + 1, 7);
  fill(h + 1, w + 2, 7);
  fill(h + 2, w + 1, 7);
  fill(h + 2, w + 2, 7);
  return b;
}

template <typename Sample>
buffer extrapolated(const Sample* plane, int w, int h) {
  const size_t count = static_cast<size_t>(w) * static_cast<size_t>(h);
  std::vector<float> samples(count);
  for (size_t i = 0; i < count; ++i) samples[i] = static_cast<float>(plane[i]);
  return extrapolate(samples, w, h);
}

/// The divisor is a signed 32-bit 1 << n with n modulo 32; ldexp needs no shift.
inline buffer extrapolated_scaled(const uint16_t* plane, int w, int h, int fraction_bits) {
  const int n = fraction_bits & 31;
  const float power = (n == 31 ? -1.0f : 1.0f) * std::ldexp(1.0f, n);
  const float reciprocal = 1.0f / power;
  const size_t count = static_cast<size_t>(w) * static_cast<size_t>(h);
  std::vector<float> samples(count);
  for (size_t i = 0; i < count; ++i) samples[i] = static_cast<float>(plane[i]) * reciprocal;
  return extrapolate(samples, w, h);
}

/// A 4 x 4 block that begins at a cell of the buffer.
struct block {
  float p[4][4];
  block(const buffer& b, int row, int column) {
    for (int r = 0; r < 4; ++r)
      for (int c = 0; c < 4; ++c) p[r][c] = b.at(row + r, column + c);
  }
};

inline constexpr double catmull_rom_basis[4][4] = {
    {0, 1, 0, 0}, {-0.5, 0, 0.5, 0}, {1, -2.5, 2, -0.5}, {-0.5, 1.5, -1.5, 0.5}};

/// The patch value in the arithmetic `Real`: float is the contract, double its yardstick.
template <typename Real>
Real patch_value(const block& from, Real ty, Real tx) {
  Real a[4][4];
  for (int m = 0; m < 4; ++m)
    for (int n = 0; n < 4; ++n) {
      a[m][n] = 0;
      for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) {
          const Real weight = static_cast<Real>(catmull_rom_basis[m][r] * catmull_rom_basis[n][c]);
          const Real product = weight * static_cast<Real>(from.p[r][c]);
          a[m][n] = a[m][n] + product;
        }
    }
  const Real tx2 = tx * tx, tx3 = tx2 * tx, ty2 = ty * ty, ty3 = ty2 * ty;
  Real rows[4];
  for (int m = 0; m < 4; ++m) rows[m] = ((a[m][0] + a[m][1] * tx) + a[m][2] * tx2) + a[m][3] * tx3;
  return ((rows[0] + rows[1] * ty) + rows[2] * ty2) + rows[3] * ty3;
}

/// The position of one output sample of the upscalers along one axis.
struct upscale_position {
  int cell;
  float fraction;
  upscale_position(int index, int in_side, int out_side) {
    const float step = static_cast<float>(in_side - 1) / static_cast<float>(out_side - 1);
    const float position = static_cast<float>(index) * step;
    cell = static_cast<int>(position);
    fraction = position - static_cast<float>(cell);
  }
};

template <typename Sample>
std::vector<float> upscale(const Sample* plane, int in_w, int in_h, int out_w, int out_h) {
  const buffer b = extrapolated(plane, in_w, in_h);
  std::vector<float> result;
  for (int y = 0; y < out_h; ++y)
    for (int x = 0; x < out_w; ++x) {
      const upscale_position row(y, in_h, out_h), column(x, in_w, out_w);
      float v = patch_value<float>(block(b, row.cell, column.cell), row.fraction, column.fraction);
      if (std::isnan(v) || v <= -255.0f) v = -255.0f;
      if (v >= 65535.0f) v = 65535.0f;
      result.push_back(v);
    }
  return result;
}

/// One cubic in double precision; `p2_p0` and `p1_p2` are p2 - p0 and p1 - p2.
inline float cubic(double p0, double p1, double p2, double p3, double p2_p0, double p1_p2,
                   double t) {
  const double inner = 3.0 * p1_p2 + p3 - p0;
  const double middle = 2.0 * p0 - 5.0 * p1 + 4.0 * p2 - p3;
  return static_cast<float>(p1 + t / 2.0 * (p2_p0 + t * (middle + t * inner)));
}

inline int32_t to_i32(float value) {
  if (std::isnan(value)) return 0;
  if (value >= 0x1p31f) return INT32_MAX;
  if (value < -0x1p31f) return INT32_MIN;
  return static_cast<int32_t>(value);
}

inline int32_t kernel_p10(const float (&p)[4][4], float fy, float fx) {
  float v[4];
  for (int r = 0; r < 4; ++r) {
    const float p2_p0 = p[r][2] - p[r][0];
    const float p1_p2 = p[r][1] - p[r][2];
    v[r] = cubic(p[r][0], p[r][1], p[r][2], p[r][3], p2_p0, p1_p2, fx);
  }
  const double d[4] = {v[0], v[1], v[2], v[3]};
  const float value = cubic(d[0], d[1], d[2], d[3], d[2] - d[0], d[1] - d[2], fy);
  return to_i32(value * 1024.0f);
}

/// Index / (out - 1) * (in - 1); an output of one sample stands at 0.
inline float resize_position(int index, int in_side, int out_side) {
  if (out_side == 1) return 0.0f;
  const float quotient = static_cast<float>(index) / static_cast<float>(out_side - 1);
  return quotient * static_cast<float>(in_side - 1);
}

inline std::vector<uint16_t> resize(const buffer& b, int out_h, int out_w) {
  std::vector<uint16_t> result;
  for (int i = 0; i < out_h; ++i)
    for (int k = 0; k < out_w; ++k) {
      const float y = resize_position(i, b.height, out_h);
      const float x = resize_position(k, b.width, out_w);
      const float fy = static_cast<float>(static_cast<double>(y) - std::floor(y));
      const float fx = static_cast<float>(static_cast<double>(x) - std::floor(x));
      const int row = static_cast<uint16_t>(std::floor(y) + 1.0);
      const int column = static_cast<uint16_t>(std::floor(x) + 1.0);
      const block from(b, row - 1, column - 1);
      result.push_back(static_cast<uint16_t>(static_cast<uint32_t>(kernel_p10(from.p, fy, fx))));
    }
  return result;
}

}  // namespace reference
