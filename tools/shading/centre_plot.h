/// Where the contours of a light's channels have their centres, seen closely: a lens that is not
/// centred shows at a glance.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/shading/canvas.h"
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

struct channel_centres {
  std::string channel;
  std::optional<centre_offset> before;
  std::optional<centre_offset> after;
};

/// How far the plot reaches, in percent: the same for all lights of a picture.
[[nodiscard]] double reach_for(double largest_offset);

void draw_centre_plot(canvas& on, point corner, const std::vector<channel_centres>& channels,
                      bool has_module, double reach);

}  // namespace shading
