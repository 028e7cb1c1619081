#include "tools/shading/value_scale.h"

#include <cmath>

#include "tests/tools/shading/made_subject.h"

namespace {

using shading::scale_between;
using shading::value_scale;

TEST(ValueScale, StepsAreRoundAndLevelsTheirMultiples) {
  const value_scale scale = scale_between(1.0, 2.9);
  EXPECT_EQ(0.25, scale.step);
  EXPECT_EQ((std::vector<double>{1.25, 1.5, 1.75, 2.0, 2.25, 2.5, 2.75}), scale.levels);
  EXPECT_EQ("1.25", scale.text_of(1.25));
  EXPECT_EQ("1.2500", scale.text_of(1.25, 2));
}

TEST(ValueScale, WhatIsBelowOneDoesNotReadAsOne) {
  const value_scale scale = scale_between(1.0, 16.0);
  EXPECT_EQ("1.00", scale.text_of(1.0, 2));
  EXPECT_EQ("1.00", scale.text_of(4097.0 / 4096, 2));
  EXPECT_EQ("0.9998", scale.text_of(4095.0 / 4096, 2));
  EXPECT_EQ("0.99998", scale.text_of(65535.0 / 65536, 2));
  EXPECT_EQ("0.98", scale.text_of(0.98, 2));
  EXPECT_EQ("0.9999999999999999", scale.text_of(std::nextafter(1.0, 0.0)));
}

TEST(ValueScale, AnyRangeHasFourToNineLevels) {
  for (double span = 0.001; span < 1e9; span *= 1.07) {
    const value_scale scale = scale_between(1.0, 1.0 + span);
    EXPECT_GE(scale.levels.size(), 3u) << span;
    EXPECT_LE(scale.levels.size(), 9u) << span;
    for (const double level : scale.levels) {
      EXPECT_GT(level, scale.low) << span;
      EXPECT_LT(level, scale.high) << span;
    }
  }
}

TEST(ValueScale, PositionsRunFromLowToHighAndAreClamped) {
  const value_scale scale = scale_between(1.0, 3.0);
  EXPECT_EQ(0.0, scale.position_of(1.0));
  EXPECT_EQ(0.5, scale.position_of(2.0));
  EXPECT_EQ(1.0, scale.position_of(3.0));
  EXPECT_EQ(0.0, scale.position_of(0.2));
  EXPECT_EQ(1.0, scale.position_of(9.0));
}

TEST(ValueScale, GainsShareAScaleFromOneToTheLargestAndRatiosOneAroundOne) {
  shading::subject about = made_subject(2, 1, {256, 512}, {300, 320});
  about.lights.push_back(about.lights[0]);
  about.lights[1].channels[0].before[0] = 640;  // gain 2.5
  const shading::scales scales = shading::scales_of(about);
  EXPECT_EQ(1.0, scales.gain.low);
  EXPECT_EQ(2.5, scales.gain.high);
  // Ratios: 300 / 256, 320 / 512, 300 / 640: the last is furthest from 1.
  EXPECT_EQ(300.0 / 640, scales.ratio.low);
  EXPECT_EQ(2 - 300.0 / 640, scales.ratio.high);
}

TEST(ValueScale, RatiosAboveTwoDoNotTakeItsLowEndBelowZero) {
  const shading::scales scales = shading::scales_of(made_subject(2, 1, {256, 512}, {1024, 512}));
  EXPECT_EQ(0.0, scales.ratio.low);
  EXPECT_EQ(4.0, scales.ratio.high);
  EXPECT_GT(scales.ratio.levels.front(), 0.0);
}

TEST(ValueScale, WrappedSamplesDoNotStretchIt) {
  shading::subject about = made_subject(2, 1, {256, 512}, {65535, 320});
  about.lights[0].channels[0].wrapped = {true, false};
  EXPECT_EQ(2.0, shading::scales_of(about).gain.high);
}

TEST(ValueScale, NonsensicalFractionBitsLeaveItFinite) {
  shading::subject about = made_subject(1, 1, {1}, {65535});
  about.lights[0].fraction_bits_before = 1007;
  about.lights[0].fraction_bits_after = 0;
  const shading::scales scales = shading::scales_of(about);
  EXPECT_LT(scales.ratio.high, 1e101);
  EXPECT_LE(scales.ratio.levels.size(), 10u);
  EXPECT_LT(scales.ratio.text_of(scales.ratio.high).size(), 12u);
}

TEST(ValueScale, SignsStandUnlessTheNumberRoundsToZero) {
  EXPECT_EQ("+1.5", shading::signed_number(1.5, 1));
  EXPECT_EQ("-0.25", shading::signed_number(-0.25, 2));
  EXPECT_EQ("0.0", shading::signed_number(-0.01, 1));
  EXPECT_EQ("0.0", shading::signed_number(0.01, 1));
}

}  // namespace
