#include "python/binding/shading_panels.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <cmath>
#include <string_view>

#include "python/binding/text_object.h"
#include "tools/shading/centre_offset.h"
#include "tools/shading/colour_map.h"
#include "tools/shading/contours.h"
#include "tools/shading/panel_words.h"
#include "tools/shading/shading.h"

namespace qo_python {

namespace py = pybind11;
using namespace py::literals;

namespace {

[[nodiscard]] std::span<const uint8_t> content_of(const py::bytes& bytes) {
  const auto text = static_cast<std::string_view>(bytes);
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

[[nodiscard]] shading::subject collect(const py::bytes& container, const py::object& nvm) {
  const std::span<const uint8_t> content = content_of(container);
  const py::object image = nvm.is_none() ? nvm : py::bytes(nvm);
  std::optional<std::span<const uint8_t>> image_content;
  if (!image.is_none()) image_content = content_of(py::reinterpret_borrow<py::bytes>(image));
  const py::gil_scoped_release others_run;  // bytes are never written, and both are held here
  return shading::collect("", content, image_content);
}

/// height x width values, of (index)
template <typename T, typename Value>
[[nodiscard]] py::array_t<T> samples_of(const shading::plane_view& plane, Value value) {
  py::array_t<T> samples({plane.height(), plane.width()});
  T* const to = samples.mutable_data();
  for (size_t i = 0; i < plane.samples(); ++i) to[i] = value(i);
  return samples;
}

[[nodiscard]] py::object place_of(const shading::grid_point& place) {
  return py::make_tuple(place.row, place.column);
}

/// Pairs of a level and its line's places, an array of (row, column); None where there are too
/// many.
[[nodiscard]] py::object contours_of(const shading::plane_view& plane,
                                     const shading::value_scale& scale) {
  const std::optional<std::vector<shading::contour_line>> lines =
      shading::contours_of(plane, scale.levels);
  if (!lines) return py::none();
  py::tuple all(lines->size());
  for (size_t i = 0; i < lines->size(); ++i) {
    const shading::contour_line& line = (*lines)[i];
    py::array_t<double> places({line.points.size(), size_t{2}});
    double* to = places.mutable_data();
    for (const shading::grid_point& place : line.points) {
      *to++ = place.row;
      *to++ = place.column;
    }
    all[i] = py::make_tuple(line.level, places);
  }
  return all;
}

/// Makes the objects of one light; they share the scales of all lights.
class panel_maker {
 public:
  explicit panel_maker(const shading::subject& about)
      : about_(about),
        values_(shading::scales_of(about)),
        classes_(py::module_::import("qo_cmc._panels")) {}

  [[nodiscard]] py::object light(size_t index) const {
    const shading::light_panels& light = about_.lights[index];
    py::tuple channels(light.channels.size());
    for (size_t i = 0; i < channels.size(); ++i) channels[i] = channel(light, light.channels[i]);
    const bool has_module = about_.has_module;
    return classes_.attr("LightPanels")(
        "light_id"_a = light.light_id, "index"_a = index, "light_count"_a = about_.lights.size(),
        "module_name"_a = text_object(about_.module_name),
        "module_state"_a = text_object(about_.module_state), "module_lost"_a = about_.module_lost,
        "width"_a = about_.width, "height"_a = about_.height,
        "fraction_bits_before"_a = light.fraction_bits_before,
        "fraction_bits_after"_a =
            has_module ? py::cast(light.fraction_bits_after) : py::object(py::none()),
        "not_corrected"_a = text_object(light.not_corrected), "gain"_a = scale(values_.gain),
        "ratio"_a = has_module ? scale(values_.ratio) : py::object(py::none()),
        "scales"_a = shading::scales_in_words(values_, has_module), "reach"_a = reach(),
        "channels"_a = channels);
  }

 private:
  [[nodiscard]] py::object channel(const shading::light_panels& light,
                                   const shading::plane_pair& channel) const {
    py::list panels;
    for (const shading::stage which : shading::stages_of(about_))
      panels.append(panel(shading::plane_view(about_, light, channel, which)));
    return classes_.attr("Channel")("name"_a = channel.channel, "sites"_a = channel.sites,
                                    "panels"_a = py::tuple(panels));
  }

  [[nodiscard]] py::object panel(const shading::plane_view& plane) const {
    const shading::plane_figures figures = shading::figures_of(plane);
    const shading::value_scale& scale = values_.of(plane.which());
    const bool gains = plane.which() != shading::stage::ratio;
    const auto offset =
        gains ? shading::offset_of(plane, figures) : std::optional<shading::centre_offset>();
    const py::object none = py::none();
    return classes_.attr("Panel")(
        "stage"_a = shading::name_of(plane.which()),
        "values"_a = samples_of<double>(plane, [&](size_t i) { return plane.at(i); }),
        "wrapped"_a = samples_of<bool>(plane, [&](size_t i) { return plane.is_wrapped(i); }),
        "captions"_a = shading::captions_of(plane, figures, scale),
        "alarms"_a = shading::alarms_of(figures), "contours"_a = contours_of(plane, scale),
        "smallest"_a = gains && figures.any_sound ? place_of(figures.smallest_at) : none,
        "centre"_a = gains && figures.contour_centre ? place_of(*figures.contour_centre) : none,
        "offset"_a = offset ? py::object(py::make_tuple(offset->across, offset->down)) : none,
        "offset_text"_a = shading::text_of(offset));
  }

  [[nodiscard]] py::object scale(const shading::value_scale& scale) const {
    py::list labels;
    for (const double level : scale.levels) labels.append(scale.text_of(level));
    return classes_.attr("Scale")(
        "low"_a = scale.low, "high"_a = scale.high, "step"_a = scale.step,
        "levels"_a = py::tuple(py::cast(scale.levels)), "labels"_a = py::tuple(labels),
        "ends"_a = py::make_tuple(scale.text_of(scale.low, 2), scale.text_of(scale.high, 2)));
  }

  /// Of the plots of the centres: the same for all lights.
  [[nodiscard]] double reach() const {
    double largest = 0;
    for (const shading::light_panels& light : about_.lights) {
      for (const shading::plane_pair& channel : light.channels) {
        for (const shading::stage which : shading::stages_of(about_)) {
          if (which == shading::stage::ratio) continue;
          const shading::plane_view plane(about_, light, channel, which);
          if (const auto offset = shading::offset_of(plane, shading::figures_of(plane)))
            largest = std::max({largest, std::fabs(offset->across), std::fabs(offset->down)});
        }
      }
    }
    return shading::reach_for(largest);
  }

  const shading::subject& about_;
  shading::scales values_;
  py::module_ classes_;
};

}  // namespace

py::object light_panels_of(const py::bytes& container, const py::object& nvm, size_t light) {
  const shading::subject about = collect(container, nvm);
  if (about.lights.empty()) throw py::value_error("the container gives no lens-shading tables");
  if (light >= about.lights.size()) throw py::index_error("there is no such light");
  return panel_maker(about).light(light);
}

py::tuple colours() {
  const auto parts_of = [](const shading::rgb& colour) {
    return py::make_tuple(colour.red, colour.green, colour.blue);
  };
  py::tuple map(shading::colour_count);
  for (size_t i = 0; i < shading::colour_count; ++i) map[i] = parts_of(shading::colour_map[i]);
  return py::make_tuple(map, parts_of(shading::below_one_colour),
                        parts_of(shading::wrapped_colour));
}

}  // namespace qo_python
