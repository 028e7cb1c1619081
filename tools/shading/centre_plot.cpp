#include "tools/shading/centre_plot.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace shading {
namespace {

constexpr double side = 160;
constexpr double small_size = 8.5;
constexpr double line_pitch = 11.5;

[[nodiscard]] box plot_box(point corner) { return {corner.x, corner.y + 16, side, side}; }

void draw_target(canvas& on, const box& area, double reach) {
  const point middle = {area.x + side / 2, area.y + side / 2};
  const point across[] = {{area.x, middle.y}, {area.right(), middle.y}};
  const point down[] = {{middle.x, area.y}, {middle.x, area.bottom()}};
  on.line(across, ink::faint, 0.6);
  on.line(down, ink::faint, 0.6);
  on.disc(middle, side / 4, ink::none, ink::faint);
  on.disc(middle, side / 2, ink::none, ink::faint);
  on.frame(area, ink::faint, 1);
  const text_style style = {.size = small_size, .align = alignment::middle, .colour = ink::faint};
  on.text({area.x, area.bottom() + 11}, fmt::format("-{:.0f} %", reach), style);
  on.text({middle.x, area.bottom() + 11}, "0", style);
  on.text({area.right(), area.bottom() + 11}, fmt::format("+{:.0f} %", reach), style);
}

/// Puts a channel's name beside its mark, on the first side where it meets no other.
class name_placing {
 public:
  void keep_free(point at) { taken_.push_back({at.x - 4, at.y - 4, 8, 8}); }

  void draw(canvas& on, point mark, const std::string& name) {
    const double width = 1.25 * width_estimate(name, small_size);  // bold
    const point corners[] = {{mark.x + 6, mark.y - 4},          {mark.x - 6 - width, mark.y - 4},
                             {mark.x - width / 2, mark.y - 15}, {mark.x - width / 2, mark.y + 6},
                             {mark.x + 6, mark.y - 14},         {mark.x + 6, mark.y + 6},
                             {mark.x - 6 - width, mark.y - 14}, {mark.x - 6 - width, mark.y + 6}};
    for (const point& corner : corners) {
      const box room = {corner.x, corner.y, width, 9};
      if (std::any_of(taken_.begin(), taken_.end(), [&room](const box& other) {
            return room.x < other.right() && other.x < room.right() && room.y < other.bottom() &&
                   other.y < room.bottom();
          }))
        continue;
      on.text({corner.x, corner.y + 8}, name, {.size = small_size, .bold = true});
      taken_.push_back(room);
      return;
    }
  }

 private:
  std::vector<box> taken_;
};

}  // namespace

void draw_centre_plot(canvas& on, point corner, const std::vector<channel_centres>& channels,
                      bool has_module, double reach) {
  const box area = plot_box(corner);
  on.text({corner.x, corner.y + 11}, "Centres of the contours", {.size = 10.5, .bold = true});
  draw_target(on, area, reach);
  const auto place_of = [&](const centre_offset& offset) {
    return point{area.x + side / 2 * (1 + offset.across / reach),
                 area.y + side / 2 * (1 + offset.down / reach)};
  };
  name_placing names;
  for (const channel_centres& channel : channels) {
    if (channel.before && channel.after) {
      const point path[] = {place_of(*channel.before), place_of(*channel.after)};
      on.line(path, ink::text, 0.8);
    }
  }
  for (const channel_centres& channel : channels) {
    if (channel.before) {
      on.disc(place_of(*channel.before), 3, ink::paper, ink::text);
      names.keep_free(place_of(*channel.before));
    }
    if (channel.after) {
      on.disc(place_of(*channel.after), 3, ink::text, ink::text);
      names.keep_free(place_of(*channel.after));
    }
  }
  for (const channel_centres& channel : channels) {
    const std::optional<centre_offset>& marked = has_module ? channel.after : channel.before;
    if (marked) names.draw(on, place_of(*marked), channel.channel);
  }

  double y = area.bottom() + 28;
  const auto write = [&](const std::string& words, bool bold = false) {
    on.text({corner.x, y}, words, {.size = small_size, .bold = bold});
    y += line_pitch;
  };
  write("of half the grid, right and down");
  write(has_module ? "hollow: before, solid: after" : "before the module's calibration");
  y += 4;
  for (const channel_centres& channel : channels) {
    if (!has_module) {
      write(fmt::format("{}: {}", channel.channel, text_of(channel.before)));
      continue;
    }
    write(channel.channel, true);
    write("before " + text_of(channel.before));
    write("after " + text_of(channel.after));
  }
}

}  // namespace shading
