#include "tools/shading/heat_map.h"

#include "tests/tools/shading/made_subject.h"

namespace {

using shading::colour_at;
using shading::plane_view;
using shading::raster;
using shading::rgb;
using shading::stage;
using shading::subject;

raster map_of(const subject& about, stage which = stage::before) {
  const plane_view plane(about, about.lights[0], about.lights[0].channels[0], which);
  return shading::heat_map_of(plane, shading::scale_between(1.0, 2.0));
}

TEST(HeatMap, ASampleIsAPixelInItsColour) {
  const raster image = map_of(made_subject(3, 1, {256, 384, 512}));
  EXPECT_EQ(3u, image.width);
  EXPECT_EQ(1u, image.height);
  EXPECT_EQ((std::vector<rgb>{colour_at(0), colour_at(0.5), colour_at(1)}), image.pixels);
}

TEST(HeatMap, AlarmsHaveTheirOwnColours) {
  subject about = made_subject(3, 1, {0, 255, 256}, {255, 256, 256});
  only_channel(about).wrapped = {true, false, false};
  EXPECT_EQ((std::vector<rgb>{shading::below_one_colour, shading::below_one_colour, colour_at(0)}),
            map_of(about).pixels);
  EXPECT_EQ(shading::wrapped_colour, map_of(about, stage::after).pixels[0]);
  EXPECT_EQ(shading::wrapped_colour, map_of(about, stage::ratio).pixels[0]);
  only_channel(about).wrapped = {};
  // 255 / 0 is no ratio.
  EXPECT_EQ(shading::below_one_colour, map_of(about, stage::ratio).pixels[0]);
}

TEST(HeatMap, OneSampleOfManyIsNotLostInALargeGrid) {
  constexpr uint16_t side = 900;
  std::vector<uint16_t> samples(size_t{side} * side, 512);
  samples[size_t{450} * side + 899] = 0;
  const raster image = map_of(made_subject(side, side, samples));
  EXPECT_EQ(shading::heat_map_limit, image.width);
  EXPECT_EQ(shading::heat_map_limit, image.height);
  size_t alarms = 0;
  for (const rgb pixel : image.pixels) alarms += pixel == shading::below_one_colour ? 1u : 0u;
  EXPECT_EQ(1u, alarms);
  EXPECT_EQ(colour_at(1), image.pixels[0]);
  EXPECT_EQ(shading::below_one_colour, image.pixels[224 * image.width + 447]);
}

TEST(HeatMap, TheRampRunsFromTheLightEndDown) {
  const raster ramp = shading::colour_ramp();
  EXPECT_EQ(1u, ramp.width);
  EXPECT_EQ(colour_at(1), ramp.pixels.front());
  EXPECT_EQ(colour_at(0), ramp.pixels.back());
}

}  // namespace
