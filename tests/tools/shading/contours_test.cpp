#include "tools/shading/contours.h"

#include <algorithm>
#include <cmath>

#include "tests/tools/shading/made_subject.h"

namespace {

using shading::contour_line;
using shading::plane_view;
using shading::subject;

std::vector<contour_line> lines_of(const subject& about, const std::vector<double>& levels) {
  const plane_view plane(about, about.lights[0], about.lights[0].channels[0],
                         shading::stage::before);
  return shading::contours_of(plane, levels).value();
}

TEST(Contours, ALevelIsMetBetweenItsNeighboursInProportion) {
  // From 256 to 512: the level 1.25 is a quarter of the way.
  const subject about = made_subject(2, 3, {256, 512, 256, 512, 256, 512});
  const auto lines = lines_of(about, {1.25});
  ASSERT_EQ(1u, lines.size());
  EXPECT_FALSE(lines[0].closed);
  ASSERT_EQ(3u, lines[0].points.size());
  for (const auto& place : lines[0].points) EXPECT_EQ(0.25, place.column);
  EXPECT_EQ(2.0, std::fabs(lines[0].points.front().row - lines[0].points.back().row));
}

TEST(Contours, AroundOneLowSampleTheLineIsClosed) {
  const subject about = made_subject(3, 3, {512, 512, 512, 512, 256, 512, 512, 512, 512});
  const auto lines = lines_of(about, {1.5});
  ASSERT_EQ(1u, lines.size());
  EXPECT_TRUE(lines[0].closed);
  ASSERT_EQ(5u, lines[0].points.size());
  EXPECT_EQ(lines[0].points.front().row, lines[0].points.back().row);
  EXPECT_EQ(lines[0].points.front().column, lines[0].points.back().column);
  for (const auto& place : lines[0].points)
    EXPECT_EQ(0.5, std::fabs(place.row - 1) + std::fabs(place.column - 1));
}

TEST(Contours, ASaddleGoesByItsMiddle) {
  // High corners at top left and bottom right; the middle is above 1.25 and joins them.
  const subject about = made_subject(2, 2, {512, 256, 256, 512});
  const auto lines = lines_of(about, {1.25});
  ASSERT_EQ(2u, lines.size());
  for (const contour_line& line : lines) {
    ASSERT_EQ(2u, line.points.size());
    // Each line cuts off one low corner: both its ends are next to the same one.
    const bool top_right = line.points[0].column + line.points[1].column > 1;
    for (const auto& place : line.points) {
      const double distance = top_right ? std::hypot(place.row, place.column - 1)
                                        : std::hypot(place.row - 1, place.column);
      EXPECT_EQ(0.25, distance);
    }
  }
}

TEST(Contours, CellsWithAWrappedCornerHaveNone) {
  subject about =
      made_subject(3, 2, {256, 512, 256, 256, 512, 256}, {256, 512, 256, 256, 512, 256});
  only_channel(about).wrapped = {true, false, false, false, false, false};
  const plane_view plane(about, about.lights[0], only_channel(about), shading::stage::after);
  const auto lines = shading::contours_of(plane, {1.5}).value();
  ASSERT_EQ(1u, lines.size());
  for (const auto& place : lines[0].points) EXPECT_EQ(1.5, place.column);
}

TEST(Contours, OneSampleOrOneRowHasNone) {
  EXPECT_TRUE(lines_of(made_subject(1, 1, {256}), {1.0, 1.5}).empty());
  EXPECT_TRUE(lines_of(made_subject(4, 1, {256, 512, 256, 512}), {1.5}).empty());
}

TEST(Contours, RestlessSamplesHaveNone) {
  std::vector<uint16_t> samples;
  for (size_t i = 0; i < size_t{120} * 120; ++i)
    samples.push_back((i / 120 + i % 120) % 2 == 0 ? 256 : 512);
  const subject about = made_subject(120, 120, samples);
  const plane_view plane(about, about.lights[0], about.lights[0].channels[0],
                         shading::stage::before);
  EXPECT_FALSE(shading::contours_of(plane, {1.5}).has_value());
}

TEST(Contours, LargeGridsKeepTheirPlaces) {
  // A ramp over 1000 columns, 256 to 1255: the level 2 is met in column 256.
  std::vector<uint16_t> samples;
  for (size_t i = 0; i < 2000; ++i) samples.push_back(static_cast<uint16_t>(256 + i % 1000));
  const auto lines = lines_of(made_subject(1000, 2, samples), {2.0});
  ASSERT_EQ(1u, lines.size());
  for (const auto& place : lines[0].points) EXPECT_NEAR(256, place.column, 1e-9);
}

}  // namespace
