#include "tools/shading/plane_figures.h"

#include <cmath>

#include "tests/tools/shading/made_subject.h"
#include "tools/shading/alarm_totals.h"

namespace {

using shading::grid_place;
using shading::plane_figures;
using shading::plane_view;
using shading::stage;
using shading::subject;

plane_view view_of(const subject& about, stage which = stage::before) {
  return {about, about.lights.at(0), about.lights.at(0).channels.at(0), which};
}

plane_figures figures(const subject& about, stage which = stage::before) {
  return shading::figures_of(view_of(about, which));
}

TEST(PlaneView, GainsAreSamplesByThePowerOfTheirFractionBits) {
  subject about = made_subject(2, 1, {256, 384}, {512, 65535});
  about.lights[0].fraction_bits_after = 12;
  EXPECT_EQ(1.5, view_of(about).at(1));
  EXPECT_EQ(0.125, view_of(about, stage::after).at(0));
  EXPECT_EQ(65535.0 / 4096, view_of(about, stage::after).at(1));
  EXPECT_EQ(0.125, view_of(about, stage::ratio).at(0));
}

TEST(PlaneView, FractionBitsBeyondEveryDoubleGiveGainsOfZeroAndNoRatio) {
  subject about = made_subject(1, 1, {65535}, {65535});
  about.lights[0].fraction_bits_before = 65535;
  EXPECT_EQ(0.0, view_of(about).at(0));
  EXPECT_TRUE(std::isnan(view_of(about, stage::ratio).at(0)));
  EXPECT_EQ(1u, figures(about, stage::ratio).not_finite);
  EXPECT_FALSE(figures(about, stage::ratio).any_sound);
}

TEST(PlaneView, ARatioOfNothingByNothingIsNotFinite) {
  const subject about = made_subject(2, 1, {0, 256}, {0, 0});
  EXPECT_TRUE(std::isnan(view_of(about, stage::ratio).at(0)));
  EXPECT_EQ(0.0, view_of(about, stage::ratio).at(1));
}

TEST(PlaneFigures, AsymmetryIsTheLargestDifferenceOfMirroredSamplesAndItsPlace) {
  // Left less right: row 0: 256 - 320 = -64, row 1: 300 - 290 = 10. Top less bottom, by column:
  // 256 - 300 = -44, 280 - 280 = 0, 320 - 290 = 30.
  const subject about = made_subject(3, 2, {256, 280, 320, 300, 280, 290});
  const plane_figures found = figures(about);
  ASSERT_TRUE(found.left_right.has_value());
  EXPECT_EQ(-64.0 / 256, found.left_right->difference);
  EXPECT_EQ(0u, found.left_right->first.row);
  EXPECT_EQ(0u, found.left_right->first.column);
  EXPECT_EQ(0u, found.left_right->second.row);
  EXPECT_EQ(2u, found.left_right->second.column);
  ASSERT_TRUE(found.top_bottom.has_value());
  EXPECT_EQ(-44.0 / 256, found.top_bottom->difference);
  EXPECT_EQ(0u, found.top_bottom->first.row);
  EXPECT_EQ(0u, found.top_bottom->first.column);
  EXPECT_EQ(1u, found.top_bottom->second.row);
  EXPECT_EQ(0u, found.top_bottom->second.column);
}

TEST(PlaneFigures, TheFirstOfEqualAsymmetriesIsTold) {
  const subject about = made_subject(2, 3, {256, 300, 300, 256, 256, 300});
  EXPECT_EQ(0u, figures(about).left_right->first.row);
  EXPECT_EQ(-44.0 / 256, figures(about).left_right->difference);
}

TEST(PlaneFigures, OneSampleMirrorsNothing) {
  const subject about = made_subject(1, 1, {256});
  EXPECT_FALSE(figures(about).left_right.has_value());
  EXPECT_FALSE(figures(about).top_bottom.has_value());
  EXPECT_FALSE(figures(about).contour_centre.has_value());
  EXPECT_EQ(0.0, figures(about).smallest_at.row);
  EXPECT_EQ(0.0, figures(about).smallest_at.column);
}

TEST(PlaneFigures, SmallestSamplesAreCountedAndTheirMeanPlaceTaken) {
  const subject about = made_subject(4, 2, {300, 256, 256, 300, 300, 256, 300, 400});
  const plane_figures found = figures(about);
  EXPECT_EQ(1.0, found.smallest);
  EXPECT_EQ(400.0 / 256, found.largest);
  EXPECT_EQ(3u, found.smallest_count);
  EXPECT_EQ(4.0 / 3, found.smallest_at.column);
  EXPECT_EQ(1.0 / 3, found.smallest_at.row);
}

TEST(PlaneFigures, ContoursCentreIsTheWeightedPlaceOfWhatLiesBelowTheFrame) {
  // The frame's smallest sample is 300; below it 260 (weight 40) in column 1 and 290 (weight 10) in
  // column 2, both in row 1.
  const subject about = made_subject(4, 3,
                                     {400, 400, 400, 400,  //
                                      300, 260, 290, 400,  //
                                      400, 400, 400, 400});
  const plane_figures found = figures(about);
  ASSERT_TRUE(found.contour_centre.has_value());
  EXPECT_EQ(1.0, found.contour_centre->row);
  EXPECT_EQ((40.0 * 1 + 10.0 * 2) / 50, found.contour_centre->column);
}

TEST(PlaneFigures, ContoursHaveNoCentreWhenTheSmallestSampleStandsOnTheFrame) {
  const subject tilted = made_subject(3, 3, {256, 300, 350, 256, 300, 350, 256, 300, 350});
  EXPECT_FALSE(figures(tilted).contour_centre.has_value());
  const subject flat = made_subject(3, 3, std::vector<uint16_t>(9, 256));
  EXPECT_FALSE(figures(flat).contour_centre.has_value());
  EXPECT_EQ(1.0, figures(flat).smallest_at.row);
  EXPECT_EQ(1.0, figures(flat).smallest_at.column);
}

TEST(PlaneFigures, GainsBelowOneAreCounted) {
  const subject about = made_subject(2, 2, {255, 256, 0, 257}, {256, 255, 255, 255});
  EXPECT_EQ(2u, figures(about).below_one);
  EXPECT_EQ(3u, figures(about, stage::after).below_one);
  EXPECT_EQ(0u, figures(about, stage::ratio).below_one);
  EXPECT_EQ(1u, figures(about, stage::ratio).not_finite);
}

TEST(PlaneFigures, WrappedSamplesCountAndSayNothingElse) {
  subject about = made_subject(3, 1, {256, 256, 256}, {10, 300, 290});
  only_channel(about).wrapped = {true, false, false};
  only_channel(about).wrapped_known = true;
  const plane_figures after = figures(about, stage::after);
  EXPECT_EQ(1u, after.wrapped);
  EXPECT_EQ(290.0 / 256, after.smallest);
  EXPECT_FALSE(after.left_right.has_value());
  EXPECT_EQ(0u, figures(about, stage::before).wrapped);
  EXPECT_EQ(1u, figures(about, stage::ratio).wrapped);
}

TEST(PlaneFigures, LandmarksAreCornersMiddlesAndTheCentre) {
  const subject about = made_subject(5, 4, std::vector<uint16_t>(20, 256));
  const auto places = shading::landmarks_of(view_of(about));
  const grid_place expected[] = {{0, 0}, {0, 2}, {0, 4}, {1, 0}, {1, 2},
                                 {1, 4}, {3, 0}, {3, 2}, {3, 4}};
  for (size_t i = 0; i < shading::landmark_count; ++i) {
    EXPECT_EQ(expected[i].row, places[i].row) << shading::landmark_names[i];
    EXPECT_EQ(expected[i].column, places[i].column) << shading::landmark_names[i];
  }
  EXPECT_EQ(1.5, shading::centre_of(view_of(about)).row);
  EXPECT_EQ(2.0, shading::centre_of(view_of(about)).column);
}

TEST(AlarmTotals, CountOverAllLightsAndAreSaid) {
  subject about = made_subject(2, 1, {0, 256}, {10, 255});
  only_channel(about).wrapped = {true, false};
  only_channel(about).wrapped_known = true;
  about.lights.push_back(about.lights[0]);
  about.lights[1].fraction_bits_after = 17;
  const shading::alarm_totals totals = shading::totals_of(about);
  EXPECT_EQ(4u, totals.samples);
  EXPECT_EQ(2u, totals.below_one_before);
  EXPECT_EQ(4u, totals.below_one_after);
  EXPECT_EQ(2u, totals.wrapped);
  EXPECT_EQ(2u, totals.not_finite);
  EXPECT_EQ(0u, totals.unknown_channels);
  const auto sentences = shading::sentences_of(about, totals);
  ASSERT_EQ(4u, sentences.size());
  EXPECT_EQ("Gains below 1.0: 2 of 4 samples before, 4 after the merge.", sentences[0].words);
  EXPECT_EQ("Products of source and gain that went past 65535 and wrapped: 2 samples.",
            sentences[1].words);
  EXPECT_EQ("Ratios that are not finite: 2 samples.", sentences[2].words);
  EXPECT_EQ("Light 7 has 8 fraction bits before and 17 after: more than 16 are implausible.",
            sentences[3].words);
  for (const auto& sentence : sentences) EXPECT_TRUE(sentence.alarm) << sentence.words;
}

TEST(AlarmTotals, NothingToComplainOfIsNoAlarm) {
  const subject about = made_subject(2, 1, {256, 256});
  const auto sentences = shading::sentences_of(about, shading::totals_of(about));
  ASSERT_EQ(1u, sentences.size());
  EXPECT_EQ("Gains below 1.0: 0 of 2 samples before.", sentences[0].words);
  EXPECT_FALSE(sentences[0].alarm);
}

}  // namespace
