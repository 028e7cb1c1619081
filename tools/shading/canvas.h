/// What a picture is drawn with. The page and the picture file are drawn by the same calls, on two
/// kinds of canvas.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "tools/shading/heat_map.h"

namespace shading {

/// In units: pixels of a page at its normal size, to the right and down.
struct point {
  double x, y;
};
struct box {
  double x, y, width, height;
  [[nodiscard]] double right() const { return x + width; }
  [[nodiscard]] double bottom() const { return y + height; }
};

/// Colours by what they are for: a page shown on a dark screen turns some of them round.
enum class ink : uint8_t {
  none,
  text,       ///< on the page
  faint,      ///< on the page, for what comes second
  paper,      ///< the page itself
  alarm,      ///< on the page, for words of warning
  white,      ///< on dark parts of a heat map
  black,      ///< on light parts of one
  below_one,  ///< below_one_colour
  wrapped,    ///< wrapped_colour
};

enum class alignment : uint8_t { start, middle, end };

struct text_style {
  double size = 10;
  alignment align = alignment::start;
  ink colour = ink::text;
  bool bold = false;
  ink halo = ink::none;  ///< drawn around the letters
  bool upward = false;   ///< from bottom to top
};

class canvas {
 public:
  canvas() = default;
  canvas(const canvas&) = delete;
  canvas& operator=(const canvas&) = delete;
  virtual ~canvas() = default;

  virtual void fill(const box& area, ink colour) = 0;
  virtual void frame(const box& area, ink colour, double thickness) = 0;
  virtual void line(std::span<const point> points, ink colour, double thickness) = 0;
  /// A disc with an edge; either may be ink::none.
  virtual void disc(point middle, double radius, ink inside, ink edge) = 0;
  /// `words` is UTF-8 without control characters; `at` lies on the base line.
  virtual void text(point at, std::string_view words, const text_style& style) = 0;
  /// Pixels as blocks: nothing is blurred.
  virtual void image(const box& area, const raster& pixels) = 0;
};

/// About how wide a text without unusual letters is.
[[nodiscard]] inline double width_estimate(std::string_view words, double size) {
  constexpr double mean_width = 0.6;
  return mean_width * size * static_cast<double>(words.size());
}

}  // namespace shading
