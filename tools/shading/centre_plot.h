/// Where the contours of a light's channels have their centres, seen closely: a lens that is not
/// centred shows at a glance.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/shading/canvas.h"
#include "tools/shading/centre_offset.h"

namespace shading {

struct channel_centres {
  std::string channel;
  std::optional<centre_offset> before;
  std::optional<centre_offset> after;
};

void draw_centre_plot(canvas& on, point corner, const std::vector<channel_centres>& channels,
                      bool has_module, double reach);

}  // namespace shading
