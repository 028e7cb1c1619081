#include "tools/shading/heat_map.h"

#include <algorithm>
#include <cmath>

namespace shading {
namespace {

/// The samples of one pixel along a side: first to before last.
struct sample_range {
  size_t first;
  size_t last;
};

[[nodiscard]] sample_range range_of(size_t pixel, size_t pixels, size_t samples) {
  return {pixel * samples / pixels, (pixel + 1) * samples / pixels};
}

[[nodiscard]] rgb pixel_of(const plane_view& plane, const value_scale& scale, sample_range rows,
                           sample_range columns) {
  double sum = 0;
  size_t count = 0;
  bool alarm = false;
  for (size_t row = rows.first; row < rows.last; ++row) {
    for (size_t column = columns.first; column < columns.last; ++column) {
      const size_t index = row * plane.width() + column;
      if (plane.is_wrapped(index)) return wrapped_colour;
      const double value = plane.at(index);
      alarm = alarm || plane.is_below_one(index) || std::isnan(value);
      sum += value;
      ++count;
    }
  }
  if (alarm) return below_one_colour;
  return colour_at(scale.position_of(sum / static_cast<double>(count)));
}

}  // namespace

raster heat_map_of(const plane_view& plane, const value_scale& scale) {
  raster image;
  image.width = static_cast<uint32_t>(std::min<size_t>(plane.width(), heat_map_limit));
  image.height = static_cast<uint32_t>(std::min<size_t>(plane.height(), heat_map_limit));
  image.pixels.reserve(size_t{image.width} * image.height);
  for (size_t y = 0; y < image.height; ++y)
    for (size_t x = 0; x < image.width; ++x)
      image.pixels.push_back(pixel_of(plane, scale, range_of(y, image.height, plane.height()),
                                      range_of(x, image.width, plane.width())));
  return image;
}

raster colour_ramp() {
  raster image = {1, colour_count, {colour_map.rbegin(), colour_map.rend()}};
  return image;
}

}  // namespace shading
