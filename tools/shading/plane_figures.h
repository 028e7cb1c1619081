/// The figures that a tuning engineer reads off a panel.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "tools/shading/plane_view.h"

namespace shading {

struct grid_place {
  size_t row;
  size_t column;
};

/// A place between samples.
struct grid_point {
  double row;
  double column;
};

/// The middle of the grid, which lies between samples where a side is even.
[[nodiscard]] grid_point centre_of(const plane_view& plane);

/// "(33.4, 23.3): +1.4, -0.7": column and row, then their distance from `centre`.
[[nodiscard]] std::string text_of(grid_point place, grid_point centre);

/// Top left, top, top right, left, centre, ... bottom right; a middle between two samples is the
/// one before it.
inline constexpr size_t landmark_count = 9;
extern const std::array<const char*, landmark_count> landmark_names;
[[nodiscard]] std::array<grid_place, landmark_count> landmarks_of(const plane_view& plane);

/// The pair of mirrored samples that differ most, the first of them in raster order.
struct asymmetry {
  grid_place first;   ///< to the left, or above
  grid_place second;  ///< its mirror image
  double difference;  ///< first less second
};

struct plane_figures {
  bool any_sound = false;  ///< otherwise there is no smallest and no largest value
  double smallest = 0;     ///< of the sound samples
  double largest = 0;
  uint64_t smallest_count = 0;  ///< samples that hold the smallest value
  grid_point smallest_at = {};  ///< their mean place
  /// Where the contours that close within the frame have their centre: of all samples below the
  /// smallest one on the frame, the mean place, each weighted by how far it lies below. None when
  /// no contour closes, in grids of fewer than three columns or rows too.
  std::optional<grid_point> contour_centre;
  std::optional<asymmetry> left_right;  ///< none where no two sound samples mirror each other
  std::optional<asymmetry> top_bottom;
  uint64_t below_one = 0;
  uint64_t wrapped = 0;
  uint64_t not_finite = 0;  ///< ratios
};

[[nodiscard]] plane_figures figures_of(const plane_view& plane);

}  // namespace shading
