// html_page(): the pictures, their figures as tables, and what is known of the container.

#include <fmt/format.h>

#include <cmath>
#include <iterator>

#include "tools/shading/alarm_totals.h"
#include "tools/shading/centre_plot.h"
#include "tools/shading/light_band.h"
#include "tools/shading/markup.h"
#include "tools/shading/page_style.h"
#include "tools/shading/panel_layout.h"
#include "tools/shading/plane_figures.h"
#include "tools/shading/shading.h"
#include "tools/shading/svg_canvas.h"

namespace shading {
namespace {

class page_writer {
 public:
  explicit page_writer(const subject& about) : about_(about), bands_(bands_of(about)) {
    if (!bands_.empty()) common_ = picture_scales_of(about, bands_);
  }

  [[nodiscard]] std::string write() {
    const std::string title =
        "Lens shading: " + (about_.module_name.empty() ? about_.file : about_.module_name);
    add("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\"/>\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n"
        "<title>{}</title>\n<style>\n{}{}</style>\n</head>\n<body>\n<h1>{}</h1>\n",
        marked_up(title), page_style, svg_canvas::style_rules(), marked_up(title));
    write_state();
    write_table_of_contents();
    if (!bands_.empty()) {
      svg_canvas legend(layout::width, layout::legend_height, "What the marks mean");
      draw_legend(legend, 0);
      out_ += "<div class=\"wide\">" + legend.take() + "</div>\n";
    }
    for (size_t i = 0; i < lights_shown(bands_); ++i) write_light(i);
    write_summary();
    write_findings();
    out_ += "</body>\n</html>\n";
    return std::move(out_);
  }

 private:
  template <typename... Arguments>
  void add(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    fmt::format_to(std::back_inserter(out_), format, std::forward<Arguments>(arguments)...);
  }

  void paragraph(const std::string& words, bool alarm) {
    add("<p{}>{}</p>\n", alarm ? " class=\"alarm\"" : "", marked_up(words));
  }

  void write_state() {
    const alarm_totals totals = totals_of(about_);
    paragraph(about_.module_state, !about_.valid || about_.module_lost);
    for (const totals_sentence& sentence : sentences_of(about_, totals))
      paragraph(sentence.words, sentence.alarm);
    if (about_.valid && totals.samples == 0)
      paragraph("There are no lens-shading samples to draw.", false);
    if (const std::string limit = limit_sentence(about_, bands_); !limit.empty())
      paragraph(limit, true);
  }

  void write_table_of_contents() {
    out_ += "<nav>";
    for (size_t i = 0; i < lights_shown(bands_); ++i)
      add("<a href=\"#light-{}\">light {}</a> ", i + 1, about_.lights[i].light_id);
    out_ += "<a href=\"#container\">container</a> <a href=\"#findings\">findings</a></nav>\n";
  }

  void write_light(size_t index) {
    const light_panels& light = about_.lights[index];
    add("<section id=\"light-{}\">\n<h2>Light {}</h2>\n", index + 1, light.light_id);
    if (light.channels.empty()) paragraph("This light has no tables.", false);
    for (const panel_band& band : bands_) {
      if (band.light != index) continue;
      svg_canvas picture(layout::width, height_of_band(about_),
                         fmt::format("Heat maps of light {}", light.light_id));
      draw_band(picture, 0, about_, band, common_);
      out_ += "<div class=\"wide\">" + picture.take() + "</div>\n";
    }
    if (!light.channels.empty()) {
      write_landmarks(light);
      write_figures(light);
    }
    out_ += "</section>\n";
  }

  template <typename Function>
  void for_each_panel(const light_panels& light, Function&& function) {
    for (const plane_pair& channel : light.channels)
      for (const stage which : stages_of(about_))
        function(channel, plane_view(about_, light, channel, which));
  }

  void start_table(const char* caption, const std::vector<std::string>& columns) {
    add("<div class=\"wide\"><table>\n<caption>{}</caption>\n<thead><tr>", caption);
    for (const std::string& column : columns) add("<th scope=\"col\">{}</th>", marked_up(column));
    out_ += "</tr></thead>\n<tbody>\n";
  }
  void end_table() { out_ += "</tbody></table></div>\n"; }

  void row_heads(const plane_pair& channel, const plane_view& plane) {
    add("<tr><th scope=\"row\">{}</th><td>{}</td>", marked_up(channel.channel),
        name_of(plane.which()));
  }

  [[nodiscard]] std::string value_text(const plane_view& plane, double value) const {
    if (std::isnan(value)) return "not finite";
    return common_.values.of(plane.which()).text_of(value, 2);
  }

  void value_cell(const plane_view& plane, size_t index) {
    const bool wrapped = plane.is_wrapped(index);
    const bool alarm = wrapped || plane.is_below_one(index) || std::isnan(plane.at(index));
    add("<td class=\"number{}\">{}{}</td>", alarm ? " alarm" : "",
        value_text(plane, plane.at(index)), wrapped ? " wrapped" : "");
  }

  void write_landmarks(const light_panels& light) {
    std::vector<std::string> columns = {"channel", "stage"};
    const plane_view any(about_, light, light.channels.front(), stage::before);
    const auto places = landmarks_of(any);
    for (size_t i = 0; i < landmark_count; ++i)
      columns.push_back(
          fmt::format("{} ({}, {})", landmark_names[i], places[i].column, places[i].row));
    start_table("Centre, edges and corners, at (column, row)", columns);
    for_each_panel(light, [&](const plane_pair& channel, const plane_view& plane) {
      row_heads(channel, plane);
      for (const grid_place& place : places)
        value_cell(plane, place.row * plane.width() + place.column);
      out_ += "</tr>\n";
    });
    end_table();
  }

  [[nodiscard]] std::string asymmetry_text(const plane_view& plane,
                                           const std::optional<asymmetry>& found) const {
    if (!found) return "none";
    return fmt::format("{} at ({}, {}), ({}, {})",
                       common_.values.of(plane.which()).signed_text_of(found->difference, 2),
                       found->first.column, found->first.row, found->second.column,
                       found->second.row);
  }

  void write_figures(const light_panels& light) {
    start_table(
        "Extremes, centring and symmetry: places are (column, row), then the offset from "
        "the centre of the grid, right and down",
        {"channel", "stage", "sites", "smallest", "at", "largest", "centre of the contours",
         "of half the grid", "largest left - right", "largest top - bottom", "below 1.0", "wrapped",
         "not finite"});
    for_each_panel(light, [&](const plane_pair& channel, const plane_view& plane) {
      const plane_figures figures = figures_of(plane);
      const grid_point centre = centre_of(plane);
      const bool gains = plane.which() != stage::ratio;
      row_heads(channel, plane);
      const auto cell = [&](const std::string& words) { add("<td>{}</td>", marked_up(words)); };
      const auto count = [&](uint64_t value, bool known) {
        add("<td class=\"number{}\">{}</td>", value != 0 ? " alarm" : "",
            known ? fmt::format("{}", value) : "-");
      };
      cell(channel.sites);
      cell(figures.any_sound ? value_text(plane, figures.smallest) : "none");
      cell(!figures.any_sound ? "none"
                              : text_of(figures.smallest_at, centre) +
                                    (figures.smallest_count > 1
                                         ? fmt::format(" (mean of {})", figures.smallest_count)
                                         : ""));
      cell(figures.any_sound ? value_text(plane, figures.largest) : "none");
      cell(gains && figures.contour_centre ? text_of(*figures.contour_centre, centre) : "-");
      cell(gains ? text_of(offset_of(plane, figures)) : "-");
      cell(asymmetry_text(plane, figures.left_right));
      cell(asymmetry_text(plane, figures.top_bottom));
      count(figures.below_one, gains);
      count(figures.wrapped, plane.which() != stage::before && channel.wrapped_known);
      count(figures.not_finite, !gains);
      out_ += "</tr>\n";
    });
    end_table();
  }

  void write_summary() {
    out_ += "<section id=\"container\">\n<h2>Container</h2>\n<table class=\"names\"><tbody>\n";
    for (const auto& [name, value] : about_.summary)
      add("<tr><th scope=\"row\">{}</th><td>{}</td></tr>\n", marked_up(name), marked_up(value));
    out_ += "</tbody></table>\n</section>\n";
  }

  void write_findings() {
    out_ += "<section id=\"findings\">\n<h2>Findings</h2>\n";
    if (about_.found.empty()) {
      paragraph("None.", false);
    } else {
      start_table("In the order of the container",
                  {"offset", "severity", "code", "what", "record", "field"});
      for (const findings::finding& finding : about_.found) write_finding(finding);
      end_table();
    }
    out_ += "</section>\n";
  }

  void write_finding(const findings::finding& finding) {
    const std::string offset = finding.offset ? fmt::format("{}", *finding.offset) : "";
    const std::string record =
        finding.record
            ? fmt::format("index {}, id {}, version {}, {} bytes at {}", finding.record->index,
                          finding.record->id, finding.record->version, finding.record->size,
                          finding.record->offset)
            : "";
    add("<tr><td class=\"number\">{}</td><td{}>{}</td><td>{}</td><td>{}</td><td>{}</td>"
        "<td>{}</td></tr>\n",
        offset, finding.how_bad == findings::severity::note ? "" : " class=\"alarm\"",
        findings::word_of(finding.how_bad), marked_up(finding.code), marked_up(finding.message),
        record, marked_up(finding.field));
  }

  const subject& about_;
  std::vector<panel_band> bands_;
  picture_scales common_ = {};
  std::string out_;
};

}  // namespace

std::string html_page(const subject& about) { return page_writer(about).write(); }

}  // namespace shading
