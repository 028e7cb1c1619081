/// Lines of equal value over a panel.
#pragma once

#include <optional>
#include <vector>

#include "tools/shading/plane_figures.h"

namespace shading {

struct contour_line {
  double level;
  bool closed;
  std::vector<grid_point> points;  ///< in samples: (0, 0) is the middle of the first one
};

/// The lines of all levels. They are found on at most 113 x 113 samples, evenly spread; cells with
/// a corner that is not sound have none. Nothing when the samples are so restless that the lines
/// would cover the panel.
[[nodiscard]] std::optional<std::vector<contour_line>> contours_of(
    const plane_view& plane, const std::vector<double>& levels);

}  // namespace shading
