#include "tools/shading/value_scale.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace shading {
namespace {

constexpr double most_levels = 9;
/// Scales are never narrower: all panels may hold the same value.
constexpr double least_span = 0.01;
constexpr double least_half_span = 0.001;
/// Nor wider: nonsensical fraction bits give ratios up to the end of what a double holds.
constexpr double largest_half_span = 1e100;
/// From here on a number is written with an exponent.
constexpr double long_number = 1e7;

/// 1, 2, 2.5 or 5 times a power of ten, at least `smallest`, and the decimals that it needs.
[[nodiscard]] double round_step(double smallest, int& decimals) {
  int exponent = static_cast<int>(std::floor(std::log10(smallest)));
  const double mantissa = smallest / std::pow(10.0, exponent);
  double factor = 1;
  bool half_digit = false;
  if (mantissa > 5) {
    ++exponent;
  } else if (mantissa > 2.5) {
    factor = 5;
  } else if (mantissa > 2) {
    factor = 2.5;
    half_digit = true;
  } else if (mantissa > 1) {
    factor = 2;
  }
  decimals = std::max((half_digit ? 1 : 0) - exponent, 0);
  // A quotient of whole numbers is the double next to the decimal fraction.
  return exponent < 0 ? factor / std::pow(10.0, -exponent) : factor * std::pow(10.0, exponent);
}

template <typename Function>
void for_each_sound(const subject& about, const light_panels& light, stage which,
                    Function&& function) {
  for (const plane_pair& channel : light.channels) {
    const plane_view plane(about, light, channel, which);
    for (size_t i = 0; i < plane.samples(); ++i)
      if (plane.is_sound(i)) function(plane.at(i));
  }
}

}  // namespace

double value_scale::position_of(double value) const {
  const double position = (value - low) / (high - low);
  if (!(position > 0.0)) return 0.0;
  return std::min(position, 1.0);
}

std::string value_scale::text_of(double value, int more) const {
  if (std::fabs(value) >= long_number) return fmt::format("{:.3e}", value);
  int places = decimals + more;
  std::string text = fmt::format("{:.{}f}", value, places);
  // What lies below 1.0 is marked and counted: it does not read as 1.0.
  while (value < 1.0 && text.front() == '1') text = fmt::format("{:.{}f}", value, ++places);
  return text;
}

std::string value_scale::signed_text_of(double difference, int more) const {
  return signed_number(difference, decimals + more);
}

std::string signed_number(double value, int decimals) {
  if (std::fabs(value) >= long_number) return fmt::format("{:+.3e}", value);
  std::string text = fmt::format("{:+.{}f}", value, decimals);
  if (text.find_first_of("123456789") == std::string::npos) text.erase(0, 1);
  return text;
}

value_scale scale_between(double low, double high) {
  value_scale scale;
  scale.low = low;
  scale.high = high;
  scale.step = round_step((high - low) / most_levels, scale.decimals);
  for (double n = std::floor(low / scale.step); n * scale.step < high; n += 1.0)
    if (n * scale.step > low) scale.levels.push_back(n * scale.step);
  return scale;
}

scales scales_of(const subject& about) {
  double largest = 1.0 + least_span;
  double span = least_half_span;
  for (const light_panels& light : about.lights) {
    for (const stage which : stages_of(about)) {
      for_each_sound(about, light, which, [&](double value) {
        if (which == stage::ratio)
          span = std::max(span, std::fabs(value - 1.0));
        else
          largest = std::max(largest, value);
      });
    }
  }
  span = std::min(span, largest_half_span);
  // 1.0 is in the middle unless that would take ratios below 0, which there are none of.
  return {scale_between(1.0, largest), scale_between(std::max(1.0 - span, 0.0), 1.0 + span)};
}

}  // namespace shading
