#include "tools/shading/light_band.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/shading/centre_plot.h"
#include "tools/shading/heat_panel.h"
#include "tools/shading/panel_words.h"
#include "tools/shading/plane_figures.h"

namespace shading {
namespace {

constexpr size_t longest_name = 60;
constexpr size_t longest_reason = 150;

void draw_header(canvas& on, double top, const subject& about, const panel_band& band,
                 const scales& values) {
  const light_panels& light = about.lights[band.light];
  std::string title =
      fmt::format("Light {} ({} of {})", light.light_id, band.light + 1, about.lights.size());
  if (light.channels.size() > layout::columns)
    title += fmt::format(", channels {} to {} of {}", band.first_channel + 1,
                         band.first_channel + band.channel_count, light.channels.size());
  const double x = layout::left;
  on.text({x, top + 18}, title, {.size = 14, .bold = true});
  on.text({x, top + 33},
          fmt::format("{}, {}, {} x {} samples, fraction bits: {} before{}",
                      about.module_name.empty() ? "module without a name"
                                                : shortened(about.module_name, longest_name),
                      shortened(about.file, longest_name), about.width, about.height,
                      light.fraction_bits_before,
                      about.has_module ? fmt::format(", {} after", light.fraction_bits_after) : ""),
          {.size = 10});
  on.text({x, top + 47}, scales_in_words(values, about.has_module),
          {.size = 10, .colour = ink::faint});
  if (!light.not_corrected.empty())
    on.text({x, top + 61}, "Not corrected: " + shortened(light.not_corrected, longest_reason),
            {.size = 10, .colour = ink::alarm, .bold = true});
}

/// Ticks at the contours' levels, and the ends.
void draw_colour_bar(canvas& on, const box& area, const value_scale& scale, const char* unit) {
  constexpr double label_room = 9;
  on.text({area.x, area.y - 8}, unit, {.size = 10.5, .bold = true});
  on.image(area, colour_ramp());
  on.frame(area, ink::faint, 1);
  const auto draw_tick = [&](double value, const std::string& words) {
    const double y = area.bottom() - scale.position_of(value) * area.height;
    const point tick[] = {{area.right(), y}, {area.right() + 3, y}};
    on.line(tick, ink::faint, 1);
    on.text({area.right() + 6, y + 3}, words, {.size = 9});
    return y;
  };
  const double bottom = draw_tick(scale.low, scale.text_of(scale.low, 2));
  const double top = draw_tick(scale.high, scale.text_of(scale.high, 2));
  for (const double level : scale.levels) {
    const double y = area.bottom() - scale.position_of(level) * area.height;
    if (y - top < label_room || bottom - y < label_room) continue;
    draw_tick(level, scale.text_of(level));
  }
}

void draw_colour_bars(canvas& on, double top, const subject& about, const scales& values) {
  constexpr double bar_width = 14;
  const auto panel = [&](size_t row) {
    return panel_box(cell_at(top, 0, row), about.width, about.height);
  };
  // Tall enough for its labels beside a flat grid.
  const auto bar = [](double from, double to) {
    constexpr double least_height = 120;
    return box{layout::bar_x, from, bar_width, std::max(to - from, least_height)};
  };
  const size_t gains = about.has_module ? 1 : 0;
  draw_colour_bar(on, bar(panel(0).y, panel(gains).bottom()), values.gain, "gain");
  if (about.has_module)
    draw_colour_bar(on, bar(panel(2).y, panel(2).bottom()), values.ratio, "ratio");
}

[[nodiscard]] double reach_of(const std::optional<centre_offset>& offset) {
  return offset ? std::max(std::fabs(offset->across), std::fabs(offset->down)) : 0.0;
}

}  // namespace

picture_scales picture_scales_of(const subject& about, const std::vector<panel_band>& bands) {
  double largest = 0;
  for (const panel_band& band : bands) {
    const light_panels& light = about.lights[band.light];
    for (size_t i = 0; i < band.channel_count; ++i) {
      for (const stage which : stages_of(about)) {
        if (which == stage::ratio) continue;
        const plane_view plane(about, light, light.channels[band.first_channel + i], which);
        largest = std::max(largest, reach_of(offset_of(plane, figures_of(plane))));
      }
    }
  }
  return {scales_of(about), reach_for(largest)};
}

void draw_band(canvas& on, double top, const subject& about, const panel_band& band,
               const picture_scales& common) {
  const light_panels& light = about.lights[band.light];
  draw_header(on, top, about, band, common.values);
  std::vector<channel_centres> centres;
  for (size_t column = 0; column < band.channel_count; ++column) {
    const plane_pair& channel = light.channels[band.first_channel + column];
    centres.push_back({.channel = channel.channel, .before = {}, .after = {}});
    const std::span<const stage> stages = stages_of(about);
    for (size_t row = 0; row < stages.size(); ++row) {
      const plane_view plane(about, light, channel, stages[row]);
      const plane_figures figures = figures_of(plane);
      draw_panel(on, cell_at(top, column, row),
                 {.plane = plane,
                  .figures = figures,
                  .scale = common.values.of(stages[row]),
                  .title = channel.channel + " " + name_of(stages[row]),
                  .sites = channel.sites});
      if (stages[row] == stage::before) centres.back().before = offset_of(plane, figures);
      if (stages[row] == stage::after) centres.back().after = offset_of(plane, figures);
    }
  }
  draw_colour_bars(on, top, about, common.values);
  draw_centre_plot(on, {layout::centres_x, top + layout::header}, centres, about.has_module,
                   common.centre_reach);
}

void draw_legend(canvas& on, double top) {
  const double first = top + 18;
  const double second = top + 38;
  const auto words = [&on](double x, double y, const char* text) {
    on.text({x, y + 4}, text, {.size = 10});
  };
  double x = layout::left + 10;
  draw_grid_centre(on, {x, first}, 9);
  words(x + 16, first, "centre of the grid");
  draw_contour_centre(on, {x + 160, first});
  words(x + 172, first, "centre of the contours that close within the frame");
  draw_smallest(on, {x + 490, first});
  words(x + 502, first, "smallest gain (the mean place, when several samples hold it)");
  on.fill({x - 8, second - 5, 16, 10}, ink::below_one);
  words(x + 16, second, "gain below 1.0, or ratio that is not finite");
  on.fill({x + 302, second - 5, 16, 10}, ink::wrapped);
  words(x + 326, second, "source x gain went past 65535 and wrapped");
  words(x + 606, second,
        "places are (column, row): then their offset from the grid's centre, right and down");
  words(x - 8, second + 20,
        "left - right, top - bottom: the largest difference between mirrored samples. A pixel "
        "takes an alarm colour when one of its samples has it; a few such samples are ringed. "
        "What wrapped counts in no minimum, centre or difference.");
}

}  // namespace shading
