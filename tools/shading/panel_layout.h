/// Where the parts of a picture stand, and which parts there are.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/shading/canvas.h"
#include "tools/shading/shading.h"
#include "tools/shading/value_scale.h"

namespace shading {

/// Up to four channels of one light, side by side: a column each, a row for each stage.
struct panel_band {
  size_t light;
  size_t first_channel;
  size_t channel_count;
};

namespace layout {
inline constexpr double width = 1290;        ///< of a band
inline constexpr double header = 72;         ///< of a band
inline constexpr double left = 46;           ///< to the first panel
inline constexpr double column_pitch = 250;  ///< from a panel to the next
inline constexpr double panel_width = 208;   ///< at most
inline constexpr double panel_height = 156;  ///< at most
inline constexpr double title = 16;          ///< above a panel
inline constexpr double row_pitch = 248;     ///< from a stage to the next
inline constexpr double least_rows = 288;    ///< of all stages: the plot of the centres
inline constexpr double bar_x = 1022;        ///< of the colour bars
inline constexpr double centres_x = 1104;    ///< of the plot of the centres
inline constexpr double legend_height = 80;
inline constexpr size_t columns = 4;
}  // namespace layout

/// Lights and bands that are drawn at most; the table of all samples has every light.
inline constexpr size_t light_limit = 16;
inline constexpr size_t band_limit = 24;

/// The bands that are drawn: those of whole lights, from the first on.
[[nodiscard]] std::vector<panel_band> bands_of(const subject& about);

/// Lights that the bands show.
[[nodiscard]] size_t lights_shown(const std::vector<panel_band>& bands);

/// A sentence about the lights that are not drawn; empty when all are.
[[nodiscard]] std::string limit_sentence(const subject& about,
                                         const std::vector<panel_band>& bands);

[[nodiscard]] double height_of_band(const subject& about);

/// Top left of a panel's cell in a band that starts at `top`.
[[nodiscard]] point cell_at(double top, size_t column, size_t stage_index);

/// The panel's samples inside its cell, in the grid's proportions as far as they are bearable.
[[nodiscard]] box panel_box(point cell, size_t width, size_t height);

/// The text, or its start and an ellipsis when it has more than `most` bytes. UTF-8 stays whole.
[[nodiscard]] std::string shortened(const std::string& text, size_t most);

}  // namespace shading
