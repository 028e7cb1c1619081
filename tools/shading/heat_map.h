/// The coloured samples of one panel.
#pragma once

#include <cstdint>
#include <vector>

#include "tools/shading/colour_map.h"
#include "tools/shading/plane_view.h"
#include "tools/shading/value_scale.h"

namespace shading {

/// Pixels, row by row.
struct raster {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<rgb> pixels;
};

/// Pixels of a side of a heat map at most.
inline constexpr uint32_t heat_map_limit = 448;

/// One pixel a sample, or, along a side that has more samples than `heat_map_limit`, that many
/// pixels, each coloured by the mean of its samples. A sample in an alarm colour gives its colour
/// to the whole pixel: it must not get lost. Wrapped comes first, then below one or not finite.
[[nodiscard]] raster heat_map_of(const plane_view& plane, const value_scale& scale);

/// The scale from bottom to top, for a colour bar.
[[nodiscard]] raster colour_ramp();

}  // namespace shading
