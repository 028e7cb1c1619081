#include "tools/shading/colour_map.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

using shading::colour_map;
using shading::rgb;

struct oklab {
  double lightness, a, b;
};

double linear(uint8_t channel) {
  const double value = channel / 255.0;
  return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

/// From the bytes back, by the published matrices.
oklab oklab_of(rgb colour) {
  const double red = linear(colour.red);
  const double green = linear(colour.green);
  const double blue = linear(colour.blue);
  const double l = std::cbrt(0.4122214708 * red + 0.5363325363 * green + 0.0514459929 * blue);
  const double m = std::cbrt(0.2119034982 * red + 0.6806995451 * green + 0.1073969566 * blue);
  const double s = std::cbrt(0.0883024619 * red + 0.2817188376 * green + 0.6299787005 * blue);
  return {0.2104542553 * l + 0.7936177850 * m - 0.0040720468 * s,
          1.9779984951 * l - 2.4285922050 * m + 0.4505937099 * s,
          0.0259040371 * l + 0.7827717662 * m - 0.8086757660 * s};
}

double distance(oklab x, oklab y) {
  return std::hypot(x.lightness - y.lightness, x.a - y.a, x.b - y.b);
}

TEST(ColourMap, EveryEntryIsWhatTheFormulaSays) {
  for (size_t i = 0; i < shading::colour_count; ++i) {
    const double t = static_cast<double>(i) / 255;
    const double hue = (295 - 195 * t) * std::numbers::pi / 180;
    const oklab expected = {0.28 + 0.65 * t, 0.094 * std::cos(hue), 0.094 * std::sin(hue)};
    // Half a step of 8 bits is less than 0.006 even in the darkest blue.
    EXPECT_LT(distance(expected, oklab_of(colour_map[i])), 0.006) << i;
  }
}

TEST(ColourMap, StepsAreEvenToTheEye) {
  // Over 16 entries, so that the rounding to bytes is small beside the step.
  for (size_t i = 0; i + 16 < shading::colour_count; ++i)
    EXPECT_NEAR(0.0454, distance(oklab_of(colour_map[i]), oklab_of(colour_map[i + 16])), 0.006)
        << i;
}

TEST(ColourMap, AlarmColoursAreFarFromItAndFromEachOther) {
  for (const rgb alarm : {shading::below_one_colour, shading::wrapped_colour})
    for (const rgb entry : colour_map) EXPECT_GT(distance(oklab_of(alarm), oklab_of(entry)), 0.15);
  EXPECT_GT(distance(oklab_of(shading::below_one_colour), oklab_of(shading::wrapped_colour)), 0.15);
}

TEST(ColourMap, PositionsOutsideTakeTheEnds) {
  EXPECT_EQ(colour_map.front(), shading::colour_at(-1));
  EXPECT_EQ(colour_map.front(), shading::colour_at(0));
  EXPECT_EQ(colour_map.back(), shading::colour_at(1));
  EXPECT_EQ(colour_map.back(), shading::colour_at(5));
  EXPECT_EQ(colour_map[128], shading::colour_at(0.5));
}

}  // namespace
