/// The bicubic rules as the obvious loops over outputs, on the tests' extended planes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "bench/image_task.h"
#include "tests/image_utils/bicubic_reference.h"

namespace bench::scalar {

/// The coefficients of a cell, for all outputs of a row that fall into it.
inline void patch_coefficients(const reference::buffer& cells, int row, int column,
                               float (&a)[4][4]) {
  const size_t stride = static_cast<size_t>(cells.width) + 3;
  const float* const first = cells.cells.data() + static_cast<size_t>(row) * stride + column;
#pragma GCC unroll 4
  for (int m = 0; m < 4; ++m) {
#pragma GCC unroll 4
    for (int n = 0; n < 4; ++n) {
      float sum = 0;
#pragma GCC unroll 4
      for (int r = 0; r < 4; ++r) {
#pragma GCC unroll 4
        for (int c = 0; c < 4; ++c) {
          const double weight =
              reference::catmull_rom_basis[m][r] * reference::catmull_rom_basis[n][c];
          if (weight != 0)
            sum = sum + static_cast<float>(weight) *
                            first[static_cast<size_t>(r) * stride + static_cast<size_t>(c)];
        }
      }
      a[m][n] = sum;
    }
  }
}

template <typename Sample>
void bicubic_upscale(const Sample* src, const image_size& in, float* dst, const image_size& out) {
  const reference::buffer cells = reference::extrapolated(src, int(in.width), int(in.height));
  const float step_x = float(in.width - 1) / float(out.width - 1);
  const float step_y = float(in.height - 1) / float(out.height - 1);
  for (size_t y = 0; y < out.height; ++y) {
    const float at_y = float(int(y)) * step_y;
    const int row = int(at_y);
    const float ty = at_y - float(row), ty2 = ty * ty, ty3 = ty2 * ty;
    float a[4][4] = {};
    int cell = -1;
    for (size_t x = 0; x < out.width; ++x) {
      const float at_x = float(int(x)) * step_x;
      const int column = int(at_x);
      const float tx = at_x - float(column), tx2 = tx * tx, tx3 = tx2 * tx;
      if (column != cell) patch_coefficients(cells, row, column, a);
      cell = column;
      float rows[4];
      for (int m = 0; m < 4; ++m)
        rows[m] = ((a[m][0] + a[m][1] * tx) + a[m][2] * tx2) + a[m][3] * tx3;
      float value = ((rows[0] + rows[1] * ty) + rows[2] * ty2) + rows[3] * ty3;
      if (!(value > -255.0f)) value = -255.0f;
      if (value > 65535.0f) value = 65535.0f;
      dst[y * out.width + x] = value;
    }
  }
}

inline void bicubic_16bit(const reference::buffer& cells, uint16_t* dst, const image_size& out) {
  const size_t stride = static_cast<size_t>(cells.width) + 3;
  for (size_t i = 0; i < out.height; ++i) {
    const float y = reference::resize_position(int(i), cells.height, int(out.height));
    const int row = int(y);
    const float fy = y - float(row);
    for (size_t k = 0; k < out.width; ++k) {
      const float x = reference::resize_position(int(k), cells.width, int(out.width));
      const int column = int(x);
      const float fx = x - float(column);
      const float* p = cells.cells.data() + size_t(row) * stride + size_t(column);
      float v[4];
      for (size_t r = 0; r < 4; ++r, p += stride) {
        const float p2_p0 = p[2] - p[0], p1_p2 = p[1] - p[2];
        v[r] = reference::cubic(p[0], p[1], p[2], p[3], p2_p0, p1_p2, fx);
      }
      const double d[4] = {v[0], v[1], v[2], v[3]};
      const float value = reference::cubic(d[0], d[1], d[2], d[3], d[2] - d[0], d[1] - d[2], fy);
      dst[i * out.width + k] = uint16_t(uint32_t(reference::to_i32(value * 1024.0f)));
    }
  }
}

}  // namespace bench::scalar
