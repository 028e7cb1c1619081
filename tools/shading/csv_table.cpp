// csv_table(): every sample of every light.

#include <fmt/format.h>

#include <cmath>
#include <iterator>

#include "tools/shading/plane_view.h"
#include "tools/shading/shading.h"

namespace shading {
namespace {

void append_flag(std::string& flags, bool is_set, const char* name) {
  if (!is_set) return;
  if (!flags.empty()) flags += ' ';
  flags += name;
}

/// Channels are made of letters, digits and "(r, c)": quoted for the comma.
[[nodiscard]] std::string field_of(const std::string& channel) {
  return channel.find(',') == std::string::npos ? channel : fmt::format("\"{}\"", channel);
}

void append_channel(std::string& out, const subject& about, const light_panels& light,
                    const plane_pair& channel) {
  const plane_view before(about, light, channel, stage::before);
  // Both stages are looked at only where there is an `after`.
  const plane_view after(about, light, channel, about.has_module ? stage::after : stage::before);
  const plane_view ratio(about, light, channel, about.has_module ? stage::ratio : stage::before);
  const std::string start = fmt::format("{},{},", light.light_id, field_of(channel.channel));
  for (size_t i = 0; i < before.samples(); ++i) {
    // The shortest text that reads back as the same double.
    fmt::format_to(std::back_inserter(out), "{}{},{},{},", start, i / about.width, i % about.width,
                   before.at(i));
    std::string flags;
    append_flag(flags, before.is_below_one(i), "before-below-1");
    if (about.has_module) {
      append_flag(flags, after.is_below_one(i), "after-below-1");
      append_flag(flags, after.is_wrapped(i), "wrapped");
      append_flag(flags, std::isnan(ratio.at(i)), "ratio-not-finite");
      fmt::format_to(std::back_inserter(out), "{},", after.at(i));
      if (!std::isnan(ratio.at(i))) fmt::format_to(std::back_inserter(out), "{}", ratio.at(i));
      out += ',';
    } else {
      out += ",,";
    }
    out += flags;
    out += '\n';
  }
}

}  // namespace

std::string csv_table(const subject& about) {
  std::string out = "light,channel,row,column,before,after,ratio,flags\n";
  for (const light_panels& light : about.lights)
    for (const plane_pair& channel : light.channels) append_channel(out, about, light, channel);
  return out;
}

}  // namespace shading
