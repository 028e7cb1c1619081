#include "tools/shading/cairo_canvas.h"

#include <cmath>
#include <cstring>
#include <numbers>
#include <stdexcept>
#include <string>

namespace shading {
namespace {

constexpr double halo_thickness = 2.0;

/// The page as it is printed: dark on light.
[[nodiscard]] rgb colour_of(ink which) {
  switch (which) {
    case ink::text:
      return {26, 26, 26};
    case ink::faint:
      return {95, 95, 95};
    case ink::alarm:
      return {180, 0, 30};
    case ink::paper:
    case ink::white:
      return {255, 255, 255};
    case ink::below_one:
      return below_one_colour;
    case ink::wrapped:
      return wrapped_colour;
    case ink::black:
    case ink::none:
      break;
  }
  return {0, 0, 0};
}

void check(cairo_status_t status) {
  if (status != CAIRO_STATUS_SUCCESS)
    throw std::runtime_error(std::string("the picture cannot be drawn: ") +
                             cairo_status_to_string(status));
}

/// Pixels as cairo keeps them: four bytes each, rows at its own distance.
class pixel_rows {
 public:
  explicit pixel_rows(cairo_surface_t* surface)
      : data_(cairo_image_surface_get_data(surface)),
        stride_(static_cast<size_t>(cairo_image_surface_get_stride(surface))) {}
  [[nodiscard]] uint32_t get(size_t x, size_t y) const {
    uint32_t pixel = 0;
    memcpy(&pixel, data_ + y * stride_ + 4 * x, sizeof pixel);
    return pixel;
  }
  void set(size_t x, size_t y, uint32_t pixel) {
    memcpy(data_ + y * stride_ + 4 * x, &pixel, sizeof pixel);
  }

 private:
  unsigned char* data_;
  size_t stride_;
};

}  // namespace

cairo_canvas::cairo_canvas(double width, double height, double scale)
    : surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24,
                                          static_cast<int>(std::ceil(width * scale)),
                                          static_cast<int>(std::ceil(height * scale)))),
      context_(cairo_create(surface_.get())) {
  check(cairo_surface_status(surface_.get()));
  check(cairo_status(context_.get()));
  cairo_t* const context = context_.get();
  cairo_scale(context, scale, scale);
  cairo_set_antialias(context, CAIRO_ANTIALIAS_GRAY);
  cairo_set_line_join(context, CAIRO_LINE_JOIN_ROUND);
  cairo_font_options_t* const options = cairo_font_options_create();
  cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
  cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
  cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  cairo_set_font_options(context, options);
  cairo_font_options_destroy(options);
  fill({0, 0, width, height}, ink::paper);
}

void cairo_canvas::use(ink colour) {
  const rgb value = colour_of(colour);
  cairo_set_source_rgb(context_.get(), value.red / 255.0, value.green / 255.0, value.blue / 255.0);
}

void cairo_canvas::fill(const box& area, ink colour) {
  use(colour);
  cairo_rectangle(context_.get(), area.x, area.y, area.width, area.height);
  cairo_fill(context_.get());
}

void cairo_canvas::frame(const box& area, ink colour, double thickness) {
  use(colour);
  cairo_set_line_width(context_.get(), thickness);
  cairo_rectangle(context_.get(), area.x, area.y, area.width, area.height);
  cairo_stroke(context_.get());
}

void cairo_canvas::line(std::span<const point> points, ink colour, double thickness) {
  use(colour);
  cairo_set_line_width(context_.get(), thickness);
  for (const point& at : points) cairo_line_to(context_.get(), at.x, at.y);
  cairo_stroke(context_.get());
}

void cairo_canvas::disc(point middle, double radius, ink inside, ink edge) {
  cairo_t* const context = context_.get();
  cairo_new_path(context);
  cairo_arc(context, middle.x, middle.y, radius, 0, 2 * std::numbers::pi);
  if (inside != ink::none) {
    use(inside);
    cairo_fill_preserve(context);
  }
  if (edge != ink::none) {
    use(edge);
    cairo_set_line_width(context, 1);
    cairo_stroke_preserve(context);
  }
  cairo_new_path(context);
}

void cairo_canvas::text(point at, std::string_view words, const text_style& style) {
  cairo_t* const context = context_.get();
  const std::string terminated(words);
  cairo_select_font_face(context, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL,
                         style.bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(context, style.size);
  cairo_text_extents_t extents;
  cairo_text_extents(context, terminated.c_str(), &extents);
  double shift = 0;
  if (style.align == alignment::middle) shift = -extents.x_advance / 2;
  if (style.align == alignment::end) shift = -extents.x_advance;
  cairo_save(context);
  cairo_translate(context, at.x, at.y);
  if (style.upward) cairo_rotate(context, -std::numbers::pi / 2);
  cairo_move_to(context, shift, 0);
  if (style.halo != ink::none) {
    cairo_text_path(context, terminated.c_str());
    use(style.halo);
    cairo_set_line_width(context, halo_thickness);
    cairo_stroke_preserve(context);
    use(style.colour);
    cairo_fill(context);
  } else {
    use(style.colour);
    cairo_show_text(context, terminated.c_str());
  }
  cairo_restore(context);
  cairo_new_path(context);
}

void cairo_canvas::image(const box& area, const raster& pixels) {
  const std::unique_ptr<cairo_surface_t, surface_deleter> source(cairo_image_surface_create(
      CAIRO_FORMAT_RGB24, static_cast<int>(pixels.width), static_cast<int>(pixels.height)));
  check(cairo_surface_status(source.get()));
  cairo_surface_flush(source.get());
  pixel_rows rows(source.get());
  for (size_t y = 0; y < pixels.height; ++y) {
    for (size_t x = 0; x < pixels.width; ++x) {
      const rgb pixel = pixels.pixels[y * pixels.width + x];
      rows.set(x, y, uint32_t{pixel.red} << 16 | uint32_t{pixel.green} << 8 | pixel.blue);
    }
  }
  cairo_surface_mark_dirty(source.get());

  cairo_t* const context = context_.get();
  cairo_save(context);
  cairo_rectangle(context, area.x, area.y, area.width, area.height);
  cairo_clip(context);
  cairo_translate(context, area.x, area.y);
  cairo_scale(context, area.width / pixels.width, area.height / pixels.height);
  cairo_set_source_surface(context, source.get(), 0, 0);
  cairo_pattern_set_filter(cairo_get_source(context), CAIRO_FILTER_NEAREST);
  // Past its edge the source is clear, and rounding reaches there.
  cairo_pattern_set_extend(cairo_get_source(context), CAIRO_EXTEND_PAD);
  cairo_paint(context);
  cairo_restore(context);
}

raster cairo_canvas::take() {
  check(cairo_status(context_.get()));
  cairo_surface_flush(surface_.get());
  raster result;
  result.width = static_cast<uint32_t>(cairo_image_surface_get_width(surface_.get()));
  result.height = static_cast<uint32_t>(cairo_image_surface_get_height(surface_.get()));
  result.pixels.reserve(size_t{result.width} * result.height);
  const pixel_rows rows(surface_.get());
  for (size_t y = 0; y < result.height; ++y) {
    for (size_t x = 0; x < result.width; ++x) {
      const uint32_t pixel = rows.get(x, y);
      result.pixels.push_back({static_cast<uint8_t>(pixel >> 16), static_cast<uint8_t>(pixel >> 8),
                               static_cast<uint8_t>(pixel)});
    }
  }
  return result;
}

}  // namespace shading
