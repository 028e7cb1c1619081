#include "tools/shading/svg_canvas.h"

#include <fmt/format.h>

#include <array>
#include <iterator>
#include <utility>

#include "tools/shading/markup.h"

namespace shading {
namespace {

struct ink_style {
  const char* name;
  std::string colour;
};

[[nodiscard]] std::string hex_of(rgb colour) {
  return fmt::format("#{:02x}{:02x}{:02x}", colour.red, colour.green, colour.blue);
}

/// In the order of the enumeration.
[[nodiscard]] std::array<ink_style, 9> ink_styles() {
  return {{{"none", "none"},
           {"text", "var(--text)"},
           {"faint", "var(--faint)"},
           {"paper", "var(--paper)"},
           {"alarm", "var(--alarm)"},
           {"white", "#ffffff"},
           {"black", "#000000"},
           {"below", hex_of(below_one_colour)},
           {"wrap", hex_of(wrapped_colour)}}};
}

[[nodiscard]] const char* class_of(ink colour) {
  static constexpr const char* names[] = {"none",  "text",  "faint", "paper", "alarm",
                                          "white", "black", "below", "wrap"};
  return names[static_cast<size_t>(colour)];
}

/// Two decimals, without zeros at the end: a hundredth of a pixel is enough.
[[nodiscard]] std::string number(double value) {
  std::string result = fmt::format("{:.2f}", value);
  result.erase(result.find_last_not_of('0') + 1);
  if (result.back() == '.') result.pop_back();
  return result == "-0" ? "0" : result;
}

[[nodiscard]] std::string box_attributes(const box& area) {
  return fmt::format("x=\"{}\" y=\"{}\" width=\"{}\" height=\"{}\"", number(area.x), number(area.y),
                     number(area.width), number(area.height));
}

[[nodiscard]] const char* anchor_of(alignment align) {
  switch (align) {
    case alignment::start:
      return "";
    case alignment::middle:
      return " text-anchor=\"middle\"";
    case alignment::end:
      return " text-anchor=\"end\"";
  }
  return "";
}

}  // namespace

svg_canvas::svg_canvas(double width, double height, std::string_view label)
    : out_(fmt::format("<svg viewBox=\"0 0 {} {}\" width=\"{}\" height=\"{}\" role=\"img\" "
                       "aria-label=\"{}\">\n",
                       number(width), number(height), number(width), number(height),
                       marked_up(label))) {}

void svg_canvas::fill(const box& area, ink colour) {
  fmt::format_to(std::back_inserter(out_), "<rect {} class=\"f-{}\"/>\n", box_attributes(area),
                 class_of(colour));
}

void svg_canvas::frame(const box& area, ink colour, double thickness) {
  fmt::format_to(std::back_inserter(out_), "<rect {} class=\"f-none s-{}\" stroke-width=\"{}\"/>\n",
                 box_attributes(area), class_of(colour), number(thickness));
}

void svg_canvas::line(std::span<const point> points, ink colour, double thickness) {
  out_ += "<polyline points=\"";
  for (const point& at : points) {
    if (&at != points.data()) out_ += ' ';
    out_ += number(at.x) + ',' + number(at.y);
  }
  fmt::format_to(std::back_inserter(out_), "\" class=\"f-none s-{}\" stroke-width=\"{}\"/>\n",
                 class_of(colour), number(thickness));
}

void svg_canvas::disc(point middle, double radius, ink inside, ink edge) {
  fmt::format_to(std::back_inserter(out_),
                 "<circle cx=\"{}\" cy=\"{}\" r=\"{}\" class=\"f-{} s-{}\"/>\n", number(middle.x),
                 number(middle.y), number(radius), class_of(inside), class_of(edge));
}

void svg_canvas::text(point at, std::string_view words, const text_style& style) {
  std::string place = fmt::format("x=\"{}\" y=\"{}\"", number(at.x), number(at.y));
  if (style.upward)
    place += fmt::format(" transform=\"rotate(-90 {} {})\"", number(at.x), number(at.y));
  std::string classes = fmt::format("f-{}", class_of(style.colour));
  if (style.bold) classes += " bold";
  if (style.halo != ink::none) classes += fmt::format(" halo s-{}", class_of(style.halo));
  fmt::format_to(std::back_inserter(out_), "<text {} font-size=\"{}\" class=\"{}\"{}>{}</text>\n",
                 place, number(style.size), classes, anchor_of(style.align), marked_up(words));
}

void svg_canvas::image(const box& area, const raster& pixels) {
  fmt::format_to(std::back_inserter(out_), "<image {} preserveAspectRatio=\"none\" href=\"{}\"/>\n",
                 box_attributes(area), data_address_of(pixels));
}

std::string svg_canvas::take() {
  out_ += "</svg>\n";
  return std::move(out_);
}

std::string svg_canvas::style_rules() {
  std::string rules;
  for (const ink_style& style : ink_styles())
    rules += fmt::format(".f-{0} {{ fill: {1}; }} .s-{0} {{ stroke: {1}; }}\n", style.name,
                         style.colour);
  return rules;
}

}  // namespace shading
