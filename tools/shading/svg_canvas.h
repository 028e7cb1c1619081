/// A canvas that writes an inline SVG element for a page.
#pragma once

#include <string>

#include "tools/shading/canvas.h"

namespace shading {

/// Inks become classes: the page's style sheet gives them their colours.
class svg_canvas final : public canvas {
 public:
  /// `label` says what the picture shows, to readers that do not see it.
  svg_canvas(double width, double height, std::string_view label);

  void fill(const box& area, ink colour) override;
  void frame(const box& area, ink colour, double thickness) override;
  void line(std::span<const point> points, ink colour, double thickness) override;
  void disc(point middle, double radius, ink inside, ink edge) override;
  void text(point at, std::string_view words, const text_style& style) override;
  void image(const box& area, const raster& pixels) override;

  /// The whole element. Nothing can be drawn after.
  [[nodiscard]] std::string take();

  /// Style rules for the inks; those of the page itself come from its variables.
  [[nodiscard]] static std::string style_rules();

 private:
  std::string out_;
};

}  // namespace shading
