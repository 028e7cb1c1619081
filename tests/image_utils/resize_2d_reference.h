/// The bilinear rules, in fixed point and in single precision, as plain loops over outputs.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace resize_2d_reference {

struct sizes {
  uint32_t in_w, in_h, out_w, out_h;
};

/// Columns and rows cut off on each side.
struct margins {
  int32_t left, top, right, bottom;
};

template <uint32_t FractionBits, typename Element>
std::vector<Element> fixed_point(const Element* src, const sizes& s, const margins& cut = {}) {
  constexpr uint32_t one = 1u << FractionBits;
  const uint32_t region_w = s.in_w - (uint32_t(cut.left) + uint32_t(cut.right));
  const uint32_t region_h = s.in_h - (uint32_t(cut.top) + uint32_t(cut.bottom));
  const uint32_t step_x = (region_w - 1) * one / (s.out_w - 1);
  const uint32_t step_y = (region_h - 1) * one / (s.out_h - 1);
  const auto sample = [&](uint64_t row, uint64_t column) -> uint32_t {
    const uint64_t index = row * s.in_w + column;
    const uint64_t count = uint64_t{s.in_w} * s.in_h;
    return src[index < count ? index : count - 1];
  };
  std::vector<Element> dst;
  dst.reserve(size_t{s.out_w} * s.out_h);
  for (uint32_t y = 0; y < s.out_h; ++y)
    for (uint32_t x = 0; x < s.out_w; ++x) {
      const uint32_t acc_y = uint32_t(cut.top) * step_y + y * step_y;
      const uint32_t acc_x = uint32_t(cut.left) * step_x + x * step_x;
      const uint64_t r = acc_y == 0 ? 0 : (acc_y - 1) / one;
      const uint64_t c = acc_x == 0 ? 0 : (acc_x - 1) / one;
      const uint32_t wy1 = acc_y - uint32_t(r) * one, wy0 = one - wy1;
      const uint32_t wx1 = acc_x - uint32_t(c) * one, wx0 = one - wx1;
      const uint32_t upper = sample(r, c) * wx0 + sample(r, c + 1) * wx1;
      const uint32_t lower = sample(r + 1, c) * wx0 + sample(r + 1, c + 1) * wx1;
      const uint32_t sum = upper * wy0 + lower * wy1 + (one * (one / 2));
      dst.push_back(static_cast<Element>(sum >> (2 * FractionBits)));
    }
  return dst;
}

inline std::vector<float> floating_point(const float* src, const sizes& s) {
  const int64_t in_w = s.in_w % 65536, out_w = s.out_w % 65536;
  const int64_t in_h = s.in_h, out_h = s.out_h;
  const float sx = static_cast<float>(in_w - 1) / static_cast<float>(out_w - 1);
  const float sy = static_cast<float>(in_h - 1) / static_cast<float>(out_h - 1);
  std::vector<float> dst;
  for (int64_t y = 0; y < out_h; ++y)
    for (int64_t x = 0; x < out_w; ++x) {
      const float position_y = static_cast<float>(y) * sy;
      const float position_x = static_cast<float>(x) * sx;
      const int64_t r0 = static_cast<int64_t>(std::trunc(position_y)) % 65536;
      const int64_t c0 = static_cast<int64_t>(std::trunc(position_x)) % 65536;
      const int64_t r1 = r0 < in_h - 1 ? r0 + 1 : r0;
      const int64_t c1 = c0 < in_w - 1 ? c0 + 1 : c0;
      const float fy = position_y - static_cast<float>(r0);
      const float fx = position_x - static_cast<float>(c0);
      const float a = src[r1 * in_w + c1];
      const float b = src[r0 * in_w + c1];
      const float c = src[r0 * in_w + c0];
      const float d = src[r1 * in_w + c0];
      dst.push_back(fx * a * fy +
                    (b * fx * (1 - fy) + c * (1 - fx) * (1 - fy) + (1 - fx) * d * fy));
    }
  return dst;
}

}  // namespace resize_2d_reference
