/// The bicubic surface in double precision: the Catmull-Rom spline at exact positions.
#pragma once

#include <vector>

#include "bench/accuracy/exact_position.h"
#include "bench/accuracy/resizing.h"

namespace accuracy {

/// The spline through sample(0) ... sample(side - 1), continued linearly on both ends.
template <typename Sample>
[[nodiscard]] double spline_at(const Sample& sample, size_t side, exact_position position) {
  const auto continued = [&](size_t one_more) {  // the sample before `one_more`
    if (one_more == 0) return 2 * sample(0) - sample(1);
    if (one_more <= side) return static_cast<double>(sample(one_more - 1));
    const double beyond = static_cast<double>(one_more - side);
    return sample(side - 1) + beyond * (sample(side - 1) - sample(side - 2));
  };
  const double t = position.share;
  if (t == 0) return sample(position.index);
  const double p0 = continued(position.index);
  const double p1 = continued(position.index + 1);
  const double p2 = continued(position.index + 2);
  const double p3 = continued(position.index + 3);
  return p1 +
         t / 2 * (p2 - p0 + t * (2 * p0 - 5 * p1 + 4 * p2 - p3 + t * (3 * (p1 - p2) + p3 - p0)));
}

/// A plane resized corner to corner, not rounded or clamped.
template <typename Value>
[[nodiscard]] std::vector<double> exact_bicubic(const std::vector<Value>& src,
                                                const resizing& sizes) {
  // Along the rows first: a column of the result needs each source row at one place.
  std::vector<double> narrow;
  for (size_t row = 0; row < sizes.in.height; ++row)
    for (size_t x = 0; x < sizes.out.width; ++x)
      narrow.push_back(spline_at(
          [&](size_t column) { return static_cast<double>(src[row * sizes.in.width + column]); },
          sizes.in.width, position_of(x, sizes.in.width, sizes.out.width)));
  std::vector<double> dst;
  for (size_t y = 0; y < sizes.out.height; ++y)
    for (size_t x = 0; x < sizes.out.width; ++x)
      dst.push_back(spline_at([&](size_t row) { return narrow[row * sizes.out.width + x]; },
                              sizes.in.height, position_of(y, sizes.in.height, sizes.out.height)));
  return dst;
}

}  // namespace accuracy
