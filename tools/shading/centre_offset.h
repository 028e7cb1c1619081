/// How far a channel's contours are from being centred.
#pragma once

#include <optional>
#include <string>

#include "tools/shading/plane_figures.h"

namespace shading {

/// An offset from the grid's centre, in percent of half the grid; positive to the right and down.
struct centre_offset {
  double across;
  double down;
};

/// None without a centre, or in a grid with one column or row.
[[nodiscard]] std::optional<centre_offset> offset_of(const plane_view& plane,
                                                     const plane_figures& figures);

/// "+4.5 %, -3.0 %", or "none".
[[nodiscard]] std::string text_of(const std::optional<centre_offset>& offset);

/// How far a plot of offsets reaches, in percent: the same for all lights of a picture.
[[nodiscard]] double reach_for(double largest_offset);

}  // namespace shading
