#include "tools/shading/panel_words.h"

#include <fmt/format.h>

namespace shading {
namespace {

[[nodiscard]] std::string asymmetry_text(const plane_figures& figures, const value_scale& scale) {
  const auto text = [&scale](const std::optional<asymmetry>& found) {
    return found ? scale.signed_text_of(found->difference, 2) : std::string("none");
  };
  return fmt::format("left - right {}, top - bottom {}", text(figures.left_right),
                     text(figures.top_bottom));
}

}  // namespace

std::vector<std::string> captions_of(const plane_view& plane, const plane_figures& figures,
                                     const value_scale& scale) {
  if (!figures.any_sound) return {"no sample says anything of the lens"};
  std::vector<std::string> captions;
  const std::string smallest = scale.text_of(figures.smallest, 2);
  if (plane.which() == stage::ratio) {
    captions.push_back(fmt::format("min {}, max {}", smallest, scale.text_of(figures.largest, 2)));
  } else {
    const grid_point centre = centre_of(plane);
    captions.push_back(fmt::format("min {} at {}", smallest, text_of(figures.smallest_at, centre)));
    captions.push_back(figures.contour_centre
                           ? fmt::format("centre at {}", text_of(*figures.contour_centre, centre))
                           : "no contour closes within the frame");
  }
  captions.push_back(asymmetry_text(figures, scale));
  return captions;
}

std::string alarms_of(const plane_figures& figures) {
  std::string words;
  const auto add = [&words](uint64_t count, const char* what) {
    if (count == 0) return;
    if (!words.empty()) words += ", ";
    words += fmt::format("{} {}", count, what);
  };
  add(figures.wrapped, "wrapped");
  add(figures.below_one, "below 1.0");
  add(figures.not_finite, "not finite");
  return words;
}

std::string scales_in_words(const scales& values, bool has_module) {
  const auto text = [](const char* what, const value_scale& scale) {
    return fmt::format("{} {} to {}, contours every {}", what, scale.text_of(scale.low, 2),
                       scale.text_of(scale.high, 2), scale.text_of(scale.step));
  };
  std::string words = "Same scale for all lights: " + text("gain", values.gain);
  if (has_module) words += "; " + text("ratio", values.ratio);
  return words;
}

}  // namespace shading
