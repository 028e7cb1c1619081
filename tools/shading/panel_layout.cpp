#include "tools/shading/panel_layout.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace shading {
namespace {

/// A grid that is narrower than that is drawn wider than it is, so that it can be seen.
constexpr double least_side = 8;

}  // namespace

std::vector<panel_band> bands_of(const subject& about) {
  std::vector<panel_band> bands;
  if (about.width == 0 || about.height == 0) return bands;
  for (size_t light = 0; light < std::min(about.lights.size(), light_limit); ++light) {
    const size_t channels = about.lights[light].channels.size();
    const size_t needed = (channels + layout::columns - 1) / layout::columns;
    if (bands.size() + needed > band_limit) break;
    for (size_t first = 0; first < channels; first += layout::columns)
      bands.push_back({light, first, std::min(layout::columns, channels - first)});
  }
  return bands;
}

size_t lights_shown(const std::vector<panel_band>& bands) {
  return bands.empty() ? 0 : bands.back().light + 1;
}

std::string limit_sentence(const subject& about, const std::vector<panel_band>& bands) {
  if (bands.empty() || lights_shown(bands) == about.lights.size()) return {};
  return fmt::format("Pictures and tables show the first {} of {} lights.", lights_shown(bands),
                     about.lights.size());
}

double height_of_band(const subject& about) {
  return layout::header + std::max(layout::row_pitch * static_cast<double>(stages_of(about).size()),
                                   layout::least_rows);
}

point cell_at(double top, size_t column, size_t stage_index) {
  return {layout::left + layout::column_pitch * static_cast<double>(column),
          top + layout::header + layout::row_pitch * static_cast<double>(stage_index)};
}

box panel_box(point cell, size_t width, size_t height) {
  const double fit = std::min(layout::panel_width / static_cast<double>(width),
                              layout::panel_height / static_cast<double>(height));
  return {cell.x, cell.y + layout::title,
          std::max(std::round(fit * static_cast<double>(width)), least_side),
          std::max(std::round(fit * static_cast<double>(height)), least_side)};
}

std::string shortened(const std::string& text, size_t most) {
  if (text.size() <= most) return text;
  size_t end = most;
  // Back to the start of a character.
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0u) == 0x80u) --end;
  return text.substr(0, end) + "\xe2\x80\xa6";
}

}  // namespace shading
