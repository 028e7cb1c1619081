#include "tools/shading/plane_figures.h"

#include <fmt/format.h>

#include <cmath>

#include "tools/shading/value_scale.h"

namespace shading {
namespace {

void count_samples(const plane_view& plane, plane_figures& figures) {
  double row_sum = 0;
  double column_sum = 0;
  for (size_t row = 0; row < plane.height(); ++row) {
    for (size_t column = 0; column < plane.width(); ++column) {
      const size_t index = row * plane.width() + column;
      const double value = plane.at(index);
      figures.below_one += plane.is_below_one(index) ? 1u : 0u;
      figures.wrapped += plane.is_wrapped(index) ? 1u : 0u;
      figures.not_finite += std::isnan(value) ? 1u : 0u;
      if (!plane.is_sound(index)) continue;
      if (!figures.any_sound || value > figures.largest) figures.largest = value;
      if (!figures.any_sound || value < figures.smallest) {
        figures.smallest = value;
        figures.smallest_count = 0;
        row_sum = 0;
        column_sum = 0;
      }
      figures.any_sound = true;
      if (value != figures.smallest) continue;
      ++figures.smallest_count;
      row_sum += static_cast<double>(row);
      column_sum += static_cast<double>(column);
    }
  }
  if (!figures.any_sound) return;
  const auto count = static_cast<double>(figures.smallest_count);
  figures.smallest_at = {row_sum / count, column_sum / count};
}

[[nodiscard]] bool is_on_frame(const plane_view& plane, size_t row, size_t column) {
  return row == 0 || column == 0 || row + 1 == plane.height() || column + 1 == plane.width();
}

/// The smallest sound sample on the frame: the highest contour that does not leave it.
[[nodiscard]] std::optional<double> frame_minimum(const plane_view& plane) {
  std::optional<double> result;
  for (size_t row = 0; row < plane.height(); ++row) {
    const bool whole_row = row == 0 || row + 1 == plane.height();
    const size_t step = whole_row || plane.width() < 2 ? 1 : plane.width() - 1;
    for (size_t column = 0; column < plane.width(); column += step) {
      const size_t index = row * plane.width() + column;
      if (!plane.is_sound(index)) continue;
      if (!result || plane.at(index) < *result) result = plane.at(index);
    }
  }
  return result;
}

[[nodiscard]] std::optional<grid_point> contour_centre_of(const plane_view& plane) {
  const std::optional<double> level = frame_minimum(plane);
  if (!level) return std::nullopt;
  double weights = 0;
  double rows = 0;
  double columns = 0;
  for (size_t row = 0; row < plane.height(); ++row) {
    for (size_t column = 0; column < plane.width(); ++column) {
      const size_t index = row * plane.width() + column;
      if (is_on_frame(plane, row, column) || !plane.is_sound(index)) continue;
      const double weight = *level - plane.at(index);
      if (!(weight > 0)) continue;
      weights += weight;
      rows += weight * static_cast<double>(row);
      columns += weight * static_cast<double>(column);
    }
  }
  if (!(weights > 0)) return std::nullopt;
  return grid_point{rows / weights, columns / weights};
}

/// Keeps the pair that differs most.
void compare(const plane_view& plane, grid_place first, grid_place second,
             std::optional<asymmetry>& largest) {
  const size_t first_index = first.row * plane.width() + first.column;
  const size_t second_index = second.row * plane.width() + second.column;
  if (!plane.is_sound(first_index) || !plane.is_sound(second_index)) return;
  const double difference = plane.at(first_index) - plane.at(second_index);
  if (!largest || std::fabs(difference) > std::fabs(largest->difference))
    largest = {first, second, difference};
}

[[nodiscard]] std::optional<asymmetry> left_right_of(const plane_view& plane) {
  std::optional<asymmetry> largest;
  for (size_t row = 0; row < plane.height(); ++row)
    for (size_t column = 0; column < plane.width() / 2; ++column)
      compare(plane, {row, column}, {row, plane.width() - 1 - column}, largest);
  return largest;
}

[[nodiscard]] std::optional<asymmetry> top_bottom_of(const plane_view& plane) {
  std::optional<asymmetry> largest;
  for (size_t row = 0; row < plane.height() / 2; ++row)
    for (size_t column = 0; column < plane.width(); ++column)
      compare(plane, {row, column}, {plane.height() - 1 - row, column}, largest);
  return largest;
}

}  // namespace

const std::array<const char*, landmark_count> landmark_names = {
    "top left", "top",         "top right", "left",        "centre",
    "right",    "bottom left", "bottom",    "bottom right"};

grid_point centre_of(const plane_view& plane) {
  return {(static_cast<double>(plane.height()) - 1) / 2,
          (static_cast<double>(plane.width()) - 1) / 2};
}

std::string text_of(grid_point place, grid_point centre) {
  return fmt::format("({:.1f}, {:.1f}): {}, {}", place.column, place.row,
                     signed_number(place.column - centre.column, 1),
                     signed_number(place.row - centre.row, 1));
}

std::array<grid_place, landmark_count> landmarks_of(const plane_view& plane) {
  std::array<grid_place, landmark_count> result = {};
  if (plane.samples() == 0) return result;
  for (size_t i = 0; i < landmark_count; ++i)
    result[i] = {(plane.height() - 1) * (i / 3) / 2, (plane.width() - 1) * (i % 3) / 2};
  return result;
}

plane_figures figures_of(const plane_view& plane) {
  plane_figures figures;
  count_samples(plane, figures);
  figures.contour_centre = contour_centre_of(plane);
  figures.left_right = left_right_of(plane);
  figures.top_bottom = top_bottom_of(plane);
  return figures;
}

}  // namespace shading
