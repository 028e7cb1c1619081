/// The scales that make panels comparable: one for all gains, one for all ratios.
#pragma once

#include <string>
#include <vector>

#include "tools/shading/plane_view.h"

namespace shading {

struct value_scale {
  double low = 0;
  double high = 1;
  double step = 1;             ///< between contour lines
  int decimals = 0;            ///< that the step needs
  std::vector<double> levels;  ///< multiples of the step between low and high: contours and ticks

  /// 0 at the low end to 1 at the high end; values outside are clamped. A NaN gives 0.
  [[nodiscard]] double position_of(double value) const;
  /// The value with as many decimals as a level has, and `more`; with as many as it takes where it
  /// would be rounded up to 1.
  [[nodiscard]] std::string text_of(double value, int more = 0) const;
  /// The same for a difference.
  [[nodiscard]] std::string signed_text_of(double difference, int more = 0) const;
};

/// With a decimal point and, unless it rounds to 0, a sign.
[[nodiscard]] std::string signed_number(double value, int decimals);

/// Low below high; four to nine levels.
[[nodiscard]] value_scale scale_between(double low, double high);

struct scales {
  value_scale gain;   ///< 1.0 to the largest gain of all lights and channels
  value_scale ratio;  ///< as far below 1.0 as above it, but not below 0
  [[nodiscard]] const value_scale& of(stage which) const {
    return which == stage::ratio ? ratio : gain;
  }
};

/// Over all lights, also those that are not drawn. What wrapped counts for nothing.
[[nodiscard]] scales scales_of(const subject& about);

}  // namespace shading
