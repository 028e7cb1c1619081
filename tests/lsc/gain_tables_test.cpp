#include "lsc/gain_tables.h"

#include <gtest/gtest.h>

#include "qo_nvm.h"
#include "tests/lsc/plain_lens_shading.h"

namespace {

template <typename Raw>
void expect_plain_placement(std::vector<Raw> raw, size_t width, size_t height, float divisor) {
  for (uint32_t orientation = 0; orientation <= 3; ++orientation) {
    plain::floats placed(width * height, 0.0f);
    qo::place_gains(raw.data(), width, height, divisor, orientation, placed.data());
    EXPECT_EQ(placed, plain::gains(raw, width, height, divisor, orientation))
        << width << " x " << height << " orientation " << orientation;
  }
}

TEST(GainPlacement, MirrorsLeftToRightAsCodeOneSays) {
  const uint8_t raw[6] = {0, 1, 2, 3, 4, 5};
  plain::floats gains(6);
  qo::place_gains(raw, 3, 2, 1.0f, 1, gains.data());
  EXPECT_EQ(gains, (plain::floats{3, 2, 1, 6, 5, 4}));
}

TEST(GainPlacement, MirrorsTopToBottomAsCodeTwoSays) {
  const uint8_t raw[6] = {0, 1, 2, 3, 4, 5};
  plain::floats gains(6);
  qo::place_gains(raw, 3, 2, 1.0f, 2, gains.data());
  EXPECT_EQ(gains, (plain::floats{4, 5, 6, 1, 2, 3}));
}

TEST(GainPlacement, TurnsByHalfATurnAsCodeThreeSays) {
  const uint8_t raw[6] = {0, 1, 2, 3, 4, 5};
  plain::floats gains(6);
  qo::place_gains(raw, 3, 2, 1.0f, 3, gains.data());
  EXPECT_EQ(gains, (plain::floats{6, 5, 4, 3, 2, 1}));
}

TEST(GainPlacement, EqualsThePlainRuleForEveryElementAndSize) {
  for (size_t height = 1; height <= 9; height += 4) {
    for (size_t width = 1; width <= 40; ++width) {
      std::vector<uint8_t> bytes;
      std::vector<uint16_t> words;
      plain::floats values;
      for (size_t i = 0; i < width * height; ++i) {
        bytes.push_back(uint8_t(i * 37));
        words.push_back(uint16_t(i * 9973));
        values.push_back(float(i) * 1.37f - 20.0f);
      }
      expect_plain_placement(bytes, width, height, 256.0f);
      expect_plain_placement(words, width, height, 1024.0f);
      expect_plain_placement(values, width, height, 3.0f);
    }
  }
}

TEST(GainPlacement, OfAnUnknownOrientationWritesNothing) {
  const float raw = 1.0f;
  for (const uint32_t orientation : {4u, 5u, 7u, 256u, UINT32_MAX}) {
    float gain = 7.0f;
    qo::place_gains(&raw, 1, 1, 1.0f, orientation, &gain);
    EXPECT_EQ(gain, 7.0f);
  }
}

TEST(GainPlacement, OfAnEmptyGridWritesNothing) {
  float gain = 7.0f;
  for (uint32_t orientation = 0; orientation <= 3; ++orientation) {
    qo::place_gains(&gain, 0, 5, 1.0f, orientation, &gain);
    qo::place_gains(&gain, 5, 0, 1.0f, orientation, &gain);
  }
  EXPECT_EQ(gain, 7.0f);
}

TEST(RawGain, HasSixteenBitsFromNineFractionBitsOn) {
  EXPECT_FALSE(qo::has_wide_elements(0));
  EXPECT_FALSE(qo::has_wide_elements(8));
  EXPECT_TRUE(qo::has_wide_elements(9));
  EXPECT_TRUE(qo::has_wide_elements(255));
}

TEST(GainTables, StartWithoutBlocksAndReleaseThoseThatWereAdded) {
  qo::gain_tables_ptr tables = qo::new_gain_tables(3);
  ASSERT_NE(tables, nullptr);
  EXPECT_EQ(tables->table_count, 3);
  for (size_t i = 0; i < 3; ++i) EXPECT_EQ(tables->gain_tables[i], nullptr);
  float* const block = qo::add_gain_block(*tables, 1, 35);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(tables->gain_tables[1], block);
  EXPECT_EQ(plain::floats(block, block + 140), plain::floats(140, 0.0f));
}

TEST(GainTables, AreRefusedWhenAnyGridOfAnySetIsMissing) {
  const uint8_t grid = 0;
  lsc_calibration_set sets[2] = {};
  for (lsc_calibration_set& set : sets)
    for (const void*& table : set.channel_tables) table = &grid;
  calibration module = {};
  module.lsc_sets = sets;
  module.lsc_set_count = 2;
  EXPECT_TRUE(qo::has_all_grids(module));
  for (lsc_calibration_set& set : sets) {
    for (const void*& table : set.channel_tables) {
      table = nullptr;
      EXPECT_FALSE(qo::has_all_grids(module));
      table = &grid;
    }
  }
  module.lsc_sets = nullptr;
  EXPECT_FALSE(qo::has_all_grids(module));
  module.lsc_set_count = 0;
  EXPECT_TRUE(qo::has_all_grids(module));
}

}  // namespace
