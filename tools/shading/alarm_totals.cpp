#include "tools/shading/alarm_totals.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/shading/plane_view.h"

namespace shading {
namespace {

/// More fraction bits than a sample has bits.
constexpr unsigned most_fraction_bits = 16;

void add_plane(const plane_view& plane, alarm_totals& totals) {
  for (size_t i = 0; i < plane.samples(); ++i) {
    const uint64_t below_one = plane.is_below_one(i) ? 1 : 0;
    switch (plane.which()) {
      case stage::before:
        totals.samples += 1;
        totals.below_one_before += below_one;
        break;
      case stage::after:
        totals.below_one_after += below_one;
        totals.wrapped += plane.is_wrapped(i) ? 1u : 0u;
        break;
      case stage::ratio:
        totals.not_finite += std::isnan(plane.at(i)) ? 1u : 0u;
        break;
    }
  }
}

}  // namespace

alarm_totals totals_of(const subject& about) {
  alarm_totals totals;
  for (const light_panels& light : about.lights) {
    for (const plane_pair& channel : light.channels) {
      for (const stage which : stages_of(about))
        add_plane(plane_view(about, light, channel, which), totals);
      // A light that was left as it was has no products.
      if (about.has_module && light.not_corrected.empty() && !channel.wrapped_known)
        ++totals.unknown_channels;
    }
  }
  return totals;
}

std::vector<totals_sentence> sentences_of(const subject& about, const alarm_totals& totals) {
  std::vector<totals_sentence> result;
  if (totals.samples == 0) return result;
  std::string below = fmt::format("Gains below 1.0: {} of {} samples before",
                                  totals.below_one_before, totals.samples);
  if (about.has_module) below += fmt::format(", {} after the merge", totals.below_one_after);
  result.push_back({below + '.', totals.below_one_before + totals.below_one_after != 0});
  if (about.has_module) {
    std::string wrapped = fmt::format(
        "Products of source and gain that went past 65535 and wrapped: {} samples", totals.wrapped);
    if (totals.unknown_channels != 0)
      wrapped += fmt::format("; not known of {} channels, for which there is no gain plane",
                             totals.unknown_channels);
    result.push_back({wrapped + '.', totals.wrapped + totals.unknown_channels != 0});
    if (totals.not_finite != 0)
      result.push_back(
          {fmt::format("Ratios that are not finite: {} samples.", totals.not_finite), true});
  }
  const auto odd =
      std::find_if(about.lights.begin(), about.lights.end(), [](const light_panels& light) {
        return std::max(light.fraction_bits_before, light.fraction_bits_after) > most_fraction_bits;
      });
  if (odd != about.lights.end())
    result.push_back(
        {fmt::format(
             "Light {} has {} fraction bits before and {} after: more than {} are implausible.",
             odd->light_id, odd->fraction_bits_before, odd->fraction_bits_after,
             most_fraction_bits),
         true});
  return result;
}

}  // namespace shading
