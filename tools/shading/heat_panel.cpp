#include "tools/shading/heat_panel.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/shading/contours.h"
#include "tools/shading/panel_layout.h"
#include "tools/shading/panel_words.h"

namespace shading {
namespace {

constexpr double tick_length = 3;
constexpr double small_size = 8.5;
constexpr double caption_size = 9;
constexpr double caption_pitch = 11;
constexpr double label_size = 8;

/// From samples to units.
class panel_axes {
 public:
  panel_axes(const plane_view& plane, const box& area)
      : area_(area),
        column_width_(area.width / static_cast<double>(plane.width())),
        row_height_(area.height / static_cast<double>(plane.height())) {}

  [[nodiscard]] point at(grid_point place) const {
    return {area_.x + (place.column + 0.5) * column_width_,
            area_.y + (place.row + 0.5) * row_height_};
  }

 private:
  box area_;
  double column_width_;
  double row_height_;
};

/// Numbers along an axis: every 2^k-th, at most six.
[[nodiscard]] std::vector<size_t> tick_numbers(size_t samples) {
  constexpr size_t most_steps = 5;
  size_t step = 1;
  while ((samples - 1) / step > most_steps) step *= 2;
  std::vector<size_t> numbers;
  for (size_t number = 0; number < samples; number += step) numbers.push_back(number);
  return numbers;
}

void draw_axes(canvas& on, const plane_view& plane, const box& area) {
  const panel_axes axes(plane, area);
  on.frame(area, ink::faint, 1);
  for (const size_t column : tick_numbers(plane.width())) {
    const double x = axes.at({0, static_cast<double>(column)}).x;
    const point tick[] = {{x, area.bottom()}, {x, area.bottom() + tick_length}};
    on.line(tick, ink::faint, 1);
    on.text({x, area.bottom() + 11}, fmt::format("{}", column),
            {.size = small_size, .align = alignment::middle, .colour = ink::faint});
  }
  for (const size_t row : tick_numbers(plane.height())) {
    const double y = axes.at({static_cast<double>(row), 0}).y;
    const point tick[] = {{area.x - tick_length, y}, {area.x, y}};
    on.line(tick, ink::faint, 1);
    on.text({area.x - 5, y + 3}, fmt::format("{}", row),
            {.size = small_size, .align = alignment::end, .colour = ink::faint});
  }
  on.text({area.x + area.width / 2, area.bottom() + 20}, "column",
          {.size = small_size, .align = alignment::middle, .colour = ink::faint});
  on.text({area.x - 31, area.y + area.height / 2}, "row",
          {.size = small_size, .align = alignment::middle, .colour = ink::faint, .upward = true});
}

[[nodiscard]] bool overlap(const box& a, const box& b) {
  return a.x < b.right() && b.x < a.right() && a.y < b.bottom() && b.y < a.bottom();
}

[[nodiscard]] bool lies_in(const box& inner, const box& outer) {
  return inner.x >= outer.x && inner.right() <= outer.right() && inner.y >= outer.y &&
         inner.bottom() <= outer.bottom();
}

/// Contour lines and one label for each level, where there is room.
class contour_drawing {
 public:
  contour_drawing(canvas& on, const panel_content& content, const box& area)
      : on_(on), content_(content), area_(area), axes_(content.plane, area) {
    constexpr double margin = 7;
    if (const std::optional<grid_point>& centre = content.figures.contour_centre)
      keep_free(axes_.at(*centre), margin);
    if (content.figures.any_sound) keep_free(axes_.at(content.figures.smallest_at), margin / 2);
    keep_free(axes_.at(centre_of(content.plane)), margin);
  }

  void draw(const std::vector<contour_line>& lines) {
    for (const contour_line& line : lines) {
      std::vector<point> points;
      points.reserve(line.points.size());
      for (const grid_point& place : line.points) points.push_back(axes_.at(place));
      on_.line(points, ink_of(line.level), is_unchanged(line.level) ? 1.6 : 0.8);
      drawn_.push_back({line.level, std::move(points)});
    }
    // The longest line of a level has the most room.
    std::stable_sort(drawn_.begin(), drawn_.end(), [](const auto& a, const auto& b) {
      return a.points.size() > b.points.size();
    });
    for (const drawn_line& line : drawn_) add_label(line);
  }

 private:
  struct drawn_line {
    double level;
    std::vector<point> points;
  };

  void keep_free(point middle, double reach) {
    taken_.push_back({middle.x - reach, middle.y - reach, 2 * reach, 2 * reach});
  }

  [[nodiscard]] bool is_dark(double level) const { return content_.scale.position_of(level) < 0.5; }
  [[nodiscard]] ink ink_of(double level) const { return is_dark(level) ? ink::white : ink::black; }

  /// The ratio's middle: on one side of it the module asks for more gain, on the other for less.
  [[nodiscard]] bool is_unchanged(double level) const {
    return content_.plane.which() == stage::ratio &&
           std::fabs(level - 1.0) < content_.scale.step / 2;
  }

  void add_label(const drawn_line& line) {
    if (std::find(labelled_.begin(), labelled_.end(), line.level) != labelled_.end()) return;
    const std::string words = content_.scale.text_of(line.level);
    const double width = width_estimate(words, label_size) + 2;
    constexpr size_t tries = 16;
    for (size_t i = 0; i < tries; ++i) {
      // From the middle of the line outwards.
      const size_t offset = (i + 1) / 2;
      const size_t sixteenth = i % 2 == 0 ? tries / 2 + offset : tries / 2 - offset;
      const point at = line.points[(line.points.size() - 1) * sixteenth / tries];
      const box room = {at.x - width / 2, at.y - 5, width, 10};
      if (!lies_in(room, area_) || is_taken(room)) continue;
      on_.text({at.x, at.y + 3}, words,
               {.size = label_size,
                .align = alignment::middle,
                .colour = ink_of(line.level),
                .halo = is_dark(line.level) ? ink::black : ink::white});
      taken_.push_back(room);
      labelled_.push_back(line.level);
      return;
    }
  }

  [[nodiscard]] bool is_taken(const box& room) const {
    return std::any_of(taken_.begin(), taken_.end(),
                       [&room](const box& other) { return overlap(room, other); });
  }

  canvas& on_;
  const panel_content& content_;
  box area_;
  panel_axes axes_;
  std::vector<drawn_line> drawn_;
  std::vector<box> taken_;
  std::vector<double> labelled_;
};

/// Rings around samples in an alarm colour, where they are so few that they could be overlooked, or
/// lie under a mark.
void draw_alarm_rings(canvas& on, const panel_content& content, const panel_axes& axes) {
  constexpr uint64_t few = 12;
  const plane_figures& figures = content.figures;
  const uint64_t alarms = figures.below_one + figures.wrapped + figures.not_finite;
  if (alarms == 0 || alarms > few) return;
  const plane_view& plane = content.plane;
  for (size_t i = 0; i < plane.samples(); ++i) {
    const bool wrapped = plane.is_wrapped(i);
    if (!wrapped && !plane.is_below_one(i) && !std::isnan(plane.at(i))) continue;
    const size_t row = i / plane.width();
    const point at = axes.at({static_cast<double>(row), static_cast<double>(i % plane.width())});
    for (const double radius : {6.0, 6.8})
      on.disc(at, radius, ink::none, wrapped ? ink::wrapped : ink::below_one);
  }
}

void draw_title(canvas& on, point cell, const panel_content& content) {
  constexpr size_t longest_sites = 20;
  on.text({cell.x, cell.y + 11}, content.title, {.size = 10.5, .bold = true});
  const std::string alarms = alarms_of(content.figures);
  on.text({cell.x + layout::panel_width, cell.y + 11},
          alarms.empty() ? shortened(content.sites, longest_sites) : alarms,
          {.size = caption_size,
           .align = alignment::end,
           .colour = alarms.empty() ? ink::faint : ink::alarm,
           .bold = !alarms.empty()});
}

}  // namespace

void draw_grid_centre(canvas& on, point at, double arm) {
  const point across[] = {{at.x - arm, at.y}, {at.x + arm, at.y}};
  const point down[] = {{at.x, at.y - arm}, {at.x, at.y + arm}};
  for (const auto& [colour, thickness] : {std::pair{ink::black, 2.4}, std::pair{ink::white, 1.0}}) {
    on.line(across, colour, thickness);
    on.line(down, colour, thickness);
  }
}

void draw_contour_centre(canvas& on, point at) { on.disc(at, 4, ink::white, ink::black); }

void draw_smallest(canvas& on, point at) { on.disc(at, 2, ink::black, ink::white); }

void draw_panel(canvas& on, point cell, const panel_content& content) {
  const plane_view& plane = content.plane;
  const plane_figures& figures = content.figures;
  const box area = panel_box(cell, plane.width(), plane.height());
  const panel_axes axes(plane, area);
  draw_title(on, cell, content);
  on.image(area, heat_map_of(plane, content.scale));
  const std::optional<std::vector<contour_line>> lines = contours_of(plane, content.scale.levels);
  if (lines) contour_drawing(on, content, area).draw(*lines);
  if (plane.which() != stage::ratio) {
    constexpr double longest_arm = 9;
    draw_grid_centre(on, axes.at(centre_of(plane)),
                     std::min({longest_arm, area.width / 2, area.height / 2}));
    if (figures.contour_centre) draw_contour_centre(on, axes.at(*figures.contour_centre));
    if (figures.any_sound) draw_smallest(on, axes.at(figures.smallest_at));
  }
  draw_alarm_rings(on, content, axes);
  draw_axes(on, plane, area);

  std::vector<std::string> captions = captions_of(content.plane, content.figures, content.scale);
  if (!lines) captions.emplace_back("no contour lines: the samples are too restless");
  double y = area.bottom() + 33;
  for (const std::string& caption : captions) {
    on.text({cell.x, y}, caption, {.size = caption_size});
    y += caption_pitch;
  }
}

}  // namespace shading
