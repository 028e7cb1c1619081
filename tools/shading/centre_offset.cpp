#include "tools/shading/centre_offset.h"

#include <fmt/format.h>

#include "tools/shading/value_scale.h"

namespace shading {

std::optional<centre_offset> offset_of(const plane_view& plane, const plane_figures& figures) {
  if (!figures.contour_centre) return std::nullopt;
  const grid_point centre = centre_of(plane);
  if (centre.row <= 0 || centre.column <= 0) return std::nullopt;
  return centre_offset{100 * (figures.contour_centre->column - centre.column) / centre.column,
                       100 * (figures.contour_centre->row - centre.row) / centre.row};
}

std::string text_of(const std::optional<centre_offset>& offset) {
  if (!offset) return "none";
  return fmt::format("{} %, {} %", signed_number(offset->across, 1),
                     signed_number(offset->down, 1));
}

double reach_for(double largest_offset) {
  for (const double reach : {5.0, 10.0, 20.0, 50.0})
    if (largest_offset <= reach) return reach;
  return 100.0;
}

}  // namespace shading
