/// Columns of output that are formed together, from the first row to the last.
#pragma once

#include <algorithm>
#include <cstdint>

namespace qo {

/// Some neighbouring columns.
struct column_strip {
  uint32_t left;
  uint32_t width;
};

/// As few strips as `most` columns in each allow, of the same width but the last.
template <typename EachStrip>
void in_strips(uint32_t width, uint32_t most, EachStrip each_strip) {
  constexpr uint32_t unit = 64;
  const uint32_t strips = (width - 1) / most + 1;
  const uint64_t strip_width = (uint64_t{(width - 1) / strips} / unit + 1) * unit;
  for (uint64_t left = 0; left < width; left += strip_width)
    each_strip(column_strip{static_cast<uint32_t>(left),
                            static_cast<uint32_t>(std::min(strip_width, width - left))});
}

}  // namespace qo
