// png_picture(): all bands in one file.

#include <algorithm>

#include "tools/shading/alarm_totals.h"
#include "tools/shading/cairo_canvas.h"
#include "tools/shading/light_band.h"
#include "tools/shading/panel_layout.h"
#include "tools/shading/png_file.h"
#include "tools/shading/shading.h"

namespace shading {
namespace {

/// Two pixels a unit, as for a fine screen, unless that makes the picture too large to be handled.
constexpr double fine_scale = 2;
constexpr double most_pixels = 40e6;

constexpr size_t longest_line = 190;
constexpr double line_pitch = 16;

struct heading_line {
  std::string words;
  bool alarm;
};

[[nodiscard]] std::vector<heading_line> heading_of(const subject& about,
                                                   const std::vector<panel_band>& bands) {
  std::vector<heading_line> lines = {{about.file, false}};
  lines.push_back({about.module_state, !about.valid || about.module_lost});
  const alarm_totals totals = totals_of(about);
  for (const totals_sentence& sentence : sentences_of(about, totals))
    lines.push_back({sentence.words, sentence.alarm});
  if (about.valid && totals.samples == 0)
    lines.push_back({"There are no lens-shading samples to draw.", false});
  if (const std::string limit = limit_sentence(about, bands); !limit.empty())
    lines.push_back({limit, true});
  return lines;
}

}  // namespace

std::vector<uint8_t> png_picture(const subject& about) {
  const std::vector<panel_band> bands = bands_of(about);
  const std::vector<heading_line> heading = heading_of(about, bands);
  const double bands_top = 48 + line_pitch * static_cast<double>(heading.size());
  const double legend_top = bands_top + height_of_band(about) * static_cast<double>(bands.size());
  const double height = legend_top + (bands.empty() ? 0 : layout::legend_height);
  const bool fine = layout::width * height * fine_scale * fine_scale <= most_pixels;
  cairo_canvas on(layout::width, height, fine ? fine_scale : 1);

  on.text({layout::left, 30},
          "Lens shading: " + (about.module_name.empty() ? std::string("module without a name")
                                                        : shortened(about.module_name, 80)),
          {.size = 18, .bold = true});
  double y = 50;
  for (const heading_line& line : heading) {
    on.text({layout::left, y}, shortened(line.words, longest_line),
            {.size = 11, .colour = line.alarm ? ink::alarm : ink::text});
    y += line_pitch;
  }
  if (!bands.empty()) {
    const picture_scales common = picture_scales_of(about, bands);
    double top = bands_top;
    for (const panel_band& band : bands) {
      draw_band(on, top, about, band, common);
      top += height_of_band(about);
    }
    draw_legend(on, legend_top);
  }
  const raster picture = on.take();
  return png_file_of(picture.pixels, picture.width, picture.height);
}

}  // namespace shading
