#include "tools/shading/plane_view.h"

#include <cassert>
#include <cmath>
#include <limits>

namespace shading {
namespace {

/// 2^-bits, which is 0 for bits that no double reaches.
[[nodiscard]] double unit_of(unsigned fraction_bits) {
  return std::ldexp(1.0, -static_cast<int>(fraction_bits));
}

constexpr stage every_stage[] = {stage::before, stage::after, stage::ratio};

}  // namespace

const char* name_of(stage which) {
  switch (which) {
    case stage::before:
      return "before";
    case stage::after:
      return "after";
    case stage::ratio:
      return "ratio";
  }
  return "";
}

plane_view::plane_view(const subject& about, const light_panels& light, const plane_pair& channel,
                       stage which)
    : channel_(channel),
      width_(about.width),
      height_(about.height),
      which_(which),
      unit_before_(unit_of(light.fraction_bits_before)),
      unit_after_(unit_of(light.fraction_bits_after)) {
  assert(channel.before.size() == samples());
  assert(which == stage::before || channel.after.size() == samples());
}

double plane_view::at(size_t index) const {
  if (which_ == stage::before) return channel_.before[index] * unit_before_;
  const double after = channel_.after[index] * unit_after_;
  if (which_ == stage::after) return after;
  const double ratio = after / (channel_.before[index] * unit_before_);
  return std::isfinite(ratio) ? ratio : std::numeric_limits<double>::quiet_NaN();
}

bool plane_view::is_below_one(size_t index) const {
  return which_ != stage::ratio && at(index) < 1.0;
}

bool plane_view::is_wrapped(size_t index) const {
  return which_ != stage::before && !channel_.wrapped.empty() && channel_.wrapped[index];
}

bool plane_view::is_sound(size_t index) const {
  return !is_wrapped(index) && !std::isnan(at(index));
}

std::span<const stage> stages_of(const subject& about) {
  const std::span<const stage> all = every_stage;
  return about.has_module ? all : all.first(1);
}

}  // namespace shading
