/// The rules of the nearest-neighbour scalers as plain loops over outputs.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace nearest_reference {

struct sizes {
  int64_t in_w, in_h, out_w, out_h;
};

/// The index that a (row, column) pair stands for, held to the plane.
inline size_t held_index(const sizes& s, int64_t row, int64_t column) {
  const int64_t held_row = row > s.in_h - 1 ? s.in_h - 1 : row;
  const int64_t index = held_row * s.in_w + column;
  return static_cast<size_t>(index > s.in_w * s.in_h - 1 ? s.in_w * s.in_h - 1 : index);
}

inline std::vector<uint32_t> fixed_point_reference(const uint32_t* src, const sizes& s) {
  std::vector<uint32_t> dst;
  const int64_t step_x = s.in_w * 65536 / s.out_w + 1;
  const int64_t step_y = s.in_h * 65536 / s.out_h + 1;
  int64_t acc_y = 0;
  for (int64_t y = 0; y < s.out_h; ++y, acc_y += step_y) {
    int64_t acc_x = 0;
    for (int64_t x = 0; x < s.out_w; ++x, acc_x += step_x)
      dst.push_back(src[held_index(s, acc_y / 65536, acc_x / 65536)]);
  }
  return dst;
}

/// The source index of output `k`, counted from 1, by the ceiling.
inline int64_t ceiling_index(int64_t k, int64_t in, int64_t out) {
  const float s = static_cast<float>(in) / static_cast<float>(out);
  const float p = static_cast<float>(k) * s;
  return static_cast<int64_t>(std::ceil(p)) - 1;
}

template <typename Out, typename Sample>
std::vector<Out> far_edge_reference(const Sample* src, const sizes& s) {
  std::vector<Out> dst;
  for (int64_t y = 1; y <= s.out_h; ++y)
    for (int64_t x = 1; x <= s.out_w; ++x)
      dst.push_back(static_cast<Out>(src[held_index(s, ceiling_index(y, s.in_h, s.out_h),
                                                    ceiling_index(x, s.in_w, s.out_w))]));
  return dst;
}

inline std::vector<uint32_t> maximum_reference(const int32_t* src, const sizes& s) {
  std::vector<uint32_t> dst;
  for (int64_t y = 1; y <= s.out_h; ++y)
    for (int64_t x = 1; x <= s.out_w; ++x) {
      const int64_t top = y == 1 ? 0 : ceiling_index(y - 1, s.in_h, s.out_h);
      const int64_t left = x == 1 ? 0 : ceiling_index(x - 1, s.in_w, s.out_w);
      const int64_t bottom = std::min(ceiling_index(y, s.in_h, s.out_h), s.in_h - 1);
      const int64_t right = ceiling_index(x, s.in_w, s.out_w);
      int32_t maximum = 0;
      // Most blocks of an enlarged side are empty: their many rows need no look.
      for (int64_t r = top + 1; left < right && r <= bottom; ++r)
        for (int64_t c = left + 1; c <= right; ++c)
          if (src[held_index(s, r, c)] > maximum) maximum = src[held_index(s, r, c)];
      dst.push_back(static_cast<uint32_t>(maximum));
    }
  return dst;
}

}  // namespace nearest_reference
