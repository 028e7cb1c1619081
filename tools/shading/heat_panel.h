/// One panel: the coloured samples with axes, contour lines, marks and captions.
#pragma once

#include <string>

#include "tools/shading/canvas.h"
#include "tools/shading/plane_figures.h"
#include "tools/shading/value_scale.h"

namespace shading {

/// What stands in a panel's cell.
struct panel_content {
  const plane_view& plane;
  const plane_figures& figures;
  const value_scale& scale;
  std::string title;
  std::string sites;
};

void draw_panel(canvas& on, point cell, const panel_content& content);

/// The marks by themselves, for the legend.
void draw_grid_centre(canvas& on, point at, double arm);
void draw_contour_centre(canvas& on, point at);
void draw_smallest(canvas& on, point at);

}  // namespace shading
