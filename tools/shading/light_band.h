/// All panels of up to four channels of one light, with their colour bars; and the legend.
#pragma once

#include "tools/shading/canvas.h"
#include "tools/shading/panel_layout.h"
#include "tools/shading/value_scale.h"

namespace shading {

/// What all bands of a picture have in common.
struct picture_scales {
  scales values;
  double centre_reach;  ///< of the plots of the centres, in percent of half the grid
};

[[nodiscard]] picture_scales picture_scales_of(const subject& about,
                                               const std::vector<panel_band>& bands);

/// From `top` on, height_of_band() units high.
void draw_band(canvas& on, double top, const subject& about, const panel_band& band,
               const picture_scales& common);

/// From `top` on, layout::legend_height units high.
void draw_legend(canvas& on, double top);

}  // namespace shading
