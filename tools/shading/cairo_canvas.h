/// A canvas of pixels, for the picture file.
#pragma once

#include <cairo.h>

#include <memory>
#include <vector>

#include "tools/shading/canvas.h"

namespace shading {

/// Text is drawn in DejaVu Sans without hinting, so that the same calls give the same pixels.
class cairo_canvas final : public canvas {
 public:
  /// `scale` pixels a unit. Throws std::runtime_error when there is no memory for them.
  cairo_canvas(double width, double height, double scale);

  void fill(const box& area, ink colour) override;
  void frame(const box& area, ink colour, double thickness) override;
  void line(std::span<const point> points, ink colour, double thickness) override;
  void disc(point middle, double radius, ink inside, ink edge) override;
  void text(point at, std::string_view words, const text_style& style) override;
  void image(const box& area, const raster& pixels) override;

  /// What was drawn. Throws std::runtime_error when some of it could not be.
  [[nodiscard]] raster take();

 private:
  void use(ink colour);

  struct surface_deleter {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  };
  struct context_deleter {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
  };
  std::unique_ptr<cairo_surface_t, surface_deleter> surface_;
  std::unique_ptr<cairo_t, context_deleter> context_;
};

}  // namespace shading
