/// The area mean as a plain loop over outputs.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace area_reference {

struct sizes {
  int in_w, in_h, out_w, out_h;
};

struct region {
  int x, y, w, h;
};

inline region whole(const sizes& s) { return {0, 0, s.in_w, s.in_h}; }

/// 2^bits as a signed 32-bit shift makes it.
inline float power(int bits) {
  return bits % 32 == 31 ? -2147483648.0f : std::ldexp(1.0f, bits % 32);
}

inline uint16_t low_bits_of_truncated(float value) {
  if (std::isnan(value)) return 0;
  if (value >= 2147483648.0f) return 0xffff;
  if (value < -2147483648.0f) return 0;
  return static_cast<uint16_t>(static_cast<int64_t>(value));
}

template <typename Sample>
std::vector<uint16_t> reference(const Sample* src, const sizes& s, const region& roi, int in_bits,
                                int out_bits) {
  const float sx = static_cast<float>(roi.w) / static_cast<float>(s.out_w);
  const float sy = static_cast<float>(roi.h) / static_cast<float>(s.out_h);
  const float n = 1.0f / (sx * sy);
  std::vector<uint16_t> dst;
  int prev_row = 0;
  float prev_fy = 0;
  for (int r = 1; r <= s.out_h; ++r) {
    const float yb = std::min(static_cast<float>(r) * sy, static_cast<float>(s.in_h));
    const int row = static_cast<int>(std::floor(yb));
    const float fy = yb - static_cast<float>(row);
    const bool exact_y = static_cast<float>(row) == yb;
    const int nrows = row - prev_row + (exact_y ? 0 : 1);
    int prev_col = 0;
    float prev_fx = 0;
    for (int c = 1; c <= s.out_w; ++c) {
      const float xb = std::min(static_cast<float>(c) * sx, static_cast<float>(s.in_w));
      const int col = static_cast<int>(std::floor(xb));
      const float fx = xb - static_cast<float>(col);
      const bool exact_x = static_cast<float>(col) == xb;
      const int ncols = col - prev_col + (exact_x ? 0 : 1);
      float sum = 0;
      for (int k = 0; k < nrows; ++k) {
        float wr = 1.0f;
        if (k == 0)
          wr = 1.0f - prev_fy;
        else if (k == nrows - 1 && !exact_y)
          wr = fy;
        for (int j = 0; j < ncols; ++j) {
          float weight = wr;
          if (j == 0)
            weight = (1.0f - prev_fx) * wr;
          else if (j == ncols - 1 && !exact_x)
            weight = fx * wr;
          const int held_row = std::min(roi.y + prev_row + k, s.in_h - 1);
          const int64_t index = std::min(int64_t{held_row} * s.in_w + roi.x + prev_col + j,
                                         int64_t{s.in_w} * s.in_h - 1);
          sum = sum + weight * static_cast<float>(src[index]);
        }
      }
      dst.push_back(low_bits_of_truncated((sum * n * (1.0f / power(in_bits)) + 0.00048828125f) *
                                          power(out_bits)));
      prev_col = col;
      prev_fx = fx;
    }
    prev_row = row;
    prev_fy = fy;
  }
  return dst;
}

}  // namespace area_reference
