/// The words of a panel and of its scales, whatever draws them.
#pragma once

#include <string>
#include <vector>

#include "tools/shading/plane_figures.h"
#include "tools/shading/value_scale.h"

namespace shading {

/// The lines below a panel: its extremes, its centre, its asymmetry.
[[nodiscard]] std::vector<std::string> captions_of(const plane_view& plane,
                                                   const plane_figures& figures,
                                                   const value_scale& scale);

/// "3 wrapped, 1 below 1.0"; empty when there is nothing to warn of.
[[nodiscard]] std::string alarms_of(const plane_figures& figures);

/// From where to where the scales go, and how far apart their contours are.
[[nodiscard]] std::string scales_in_words(const scales& values, bool has_module);

}  // namespace shading
