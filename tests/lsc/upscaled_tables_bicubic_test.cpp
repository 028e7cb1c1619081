// Gain tables of one camera module by bicubic interpolation.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "qo_cmc/lsc.h"
#include "tests/image_utils/bicubic_reference.h"
#include "tests/kit/allocation_ledger.h"
#include "tests/kit/module_calibration.h"
#include "tests/kit/same_bits.h"

namespace {

using kit::module_calibration;

struct release_tables {
  void operator()(computed_upscale_lsc_tables* tables) const {
    deinit_computed_upscale_lsc_tables(tables);
  }
};
using tables_ptr = std::unique_ptr<computed_upscale_lsc_tables, release_tables>;

tables_ptr build(uint32_t out_width, uint32_t out_height, module_calibration& module,
                 uint32_t orientation = 0) {
  return tables_ptr(
      compute_upscaled_lsc_tables_bicubic(out_width, out_height, &module.object(), orientation));
}

/// Different in every set, channel and place, with steep edges.
uint32_t uneven(size_t set, size_t channel, size_t row, size_t column) {
  return static_cast<uint32_t>(
      (set * 7919 + channel * 104729 + row * 1299709 + column * 15485863) >> 3);
}

/// One plane of a block in plain loops: enlarged, turned into gains, mirrored. The conversion knows
/// 8-bit sizes only, and rows of that length; what it leaves out is 0.
std::vector<float> plain_plane(const std::vector<uint32_t>& raw, int grid_w, int grid_h, int out_w,
                               int out_h, float divisor, uint32_t orientation) {
  const std::vector<float> enlarged = reference::upscale(raw.data(), grid_w, grid_h, out_w, out_h);
  std::vector<float> gains(enlarged.size(), 0.0f);
  const int w = out_w % 256, h = out_h % 256;
  for (int r = 0; r < h && orientation < 4; ++r)
    for (int k = 0; k < w; ++k) {
      const int to_row = orientation == 2 || orientation == 3 ? h - 1 - r : r;
      const int to_column = orientation == 1 || orientation == 3 ? w - 1 - k : k;
      gains[static_cast<size_t>(to_row * w + to_column)] =
          enlarged[static_cast<size_t>(r * w + k)] / divisor + 1.0f;
    }
  return gains;
}

/// Every block against the plain loops.
::testing::AssertionResult matches(const computed_upscale_lsc_tables* tables,
                                   const module_calibration& module, int sets, int grid_w,
                                   int grid_h, int out_w, int out_h, float divisor,
                                   uint32_t orientation) {
  if (tables == nullptr) return ::testing::AssertionFailure() << "no tables";
  if (tables->table_count != sets) return ::testing::AssertionFailure() << "count";
  const size_t samples = static_cast<size_t>(out_w) * static_cast<size_t>(out_h);
  for (size_t set = 0; set < tables->table_count; ++set)
    for (size_t channel = 0; channel < 4; ++channel) {
      const std::vector<float> expected =
          plain_plane(module.raw(set, channel), grid_w, grid_h, out_w, out_h, divisor, orientation);
      const float* const plane = tables->gain_tables[set] + channel * samples;
      const size_t i = kit::first_difference(expected.data(), plane, samples);
      if (i != samples)
        return ::testing::AssertionFailure()
               << "set " << set << " channel " << channel << " sample " << i << ": expected "
               << expected[i] << ", got " << plane[i];
    }
  return ::testing::AssertionSuccess();
}

TEST(BicubicTables, EqualThePlainRuleForEveryOrientationAndElementWidth) {
  for (const uint8_t fraction_bits : std::initializer_list<uint8_t>{0, 7, 8, 9, 10, 16, 31}) {
    const float divisor = std::ldexp(1.0f, fraction_bits);
    module_calibration module(3, 17, 13, fraction_bits, uneven);
    for (uint32_t orientation = 0; orientation <= 3; ++orientation)
      EXPECT_TRUE(matches(build(33, 25, module, orientation).get(), module, 3, 17, 13, 33, 25,
                          divisor, orientation))
          << int{fraction_bits} << " fraction bits, orientation " << orientation;
  }
}

TEST(BicubicTables, OfEverySmallSizeEqualThePlainRule) {
  for (uint8_t grid = 2; grid <= 9; ++grid)
    for (uint16_t out_w = grid; out_w <= 20; ++out_w) {
      const auto grid_h = static_cast<uint8_t>(2 + grid % 3);
      const auto out_h = static_cast<uint16_t>(grid_h + out_w % 4);
      const uint32_t orientation = out_w % 4u;
      module_calibration module(1, grid, grid_h, 8, uneven);
      ASSERT_TRUE(matches(build(out_w, out_h, module, orientation).get(), module, 1, grid, grid_h,
                          out_w, out_h, 256.0f, orientation));
    }
}

TEST(BicubicTables, TurnRawValuesIntoGainsWithoutNormalising) {
  const auto flat = [](uint32_t raw) {
    return [raw](size_t, size_t, size_t, size_t) { return raw; };
  };
  module_calibration bytes(1, 4, 3, 8, flat(128));
  module_calibration words(1, 4, 3, 10, flat(512));
  for (module_calibration* const module : {&bytes, &words}) {
    const tables_ptr tables = build(10, 8, *module);
    ASSERT_NE(nullptr, tables);
    for (size_t i = 0; i < 4 * 10 * 8; ++i) ASSERT_EQ(1.5f, tables->gain_tables[0][i]);
  }
}

TEST(BicubicTables, TakeBytesUpToEightFractionBitsAndWordsFromNine) {
  // The grids end at an inaccessible page: bytes read as words would run into it.
  for (const uint8_t fraction_bits : std::initializer_list<uint8_t>{8, 9}) {
    module_calibration module(1, 4, 3, fraction_bits, uneven);
    EXPECT_TRUE(matches(build(4, 3, module).get(), module, 1, 4, 3, 4, 3,
                        std::ldexp(1.0f, fraction_bits), 0));
  }
}

TEST(BicubicTables, TakeTheExponentModulo32) {
  module_calibration module(1, 9, 7, 40, uneven);
  EXPECT_TRUE(matches(build(12, 10, module).get(), module, 1, 9, 7, 12, 10, 256.0f, 0));
  module_calibration last(1, 9, 7, 255, uneven);
  EXPECT_TRUE(matches(build(12, 10, last).get(), last, 1, 9, 7, 12, 10, 0x1p31f, 0));
}

TEST(BicubicTables, MirrorTheEnlargedPlane) {
  // At equal size the samples are the grid's own.
  module_calibration module(1, 64, 48, 9, [](size_t, size_t channel, size_t row, size_t column) {
    return uint32_t(channel * 8192 + row * 64 + column);
  });
  const auto gain = [](size_t channel, size_t row, size_t column) {
    return static_cast<float>(channel * 8192 + row * 64 + column) / 512.0f + 1.0f;
  };
  const size_t samples = 64 * 48;
  for (size_t channel = 0; channel < 4; ++channel) {
    const size_t at = channel * samples;
    EXPECT_EQ(build(64, 48, module, 0)->gain_tables[0][at + 5], gain(channel, 0, 5));
    EXPECT_EQ(build(64, 48, module, 1)->gain_tables[0][at + 63 - 5], gain(channel, 0, 5));
    EXPECT_EQ(build(64, 48, module, 2)->gain_tables[0][at + 47 * 64 + 5], gain(channel, 0, 5));
    // The first element lands in the last place.
    EXPECT_EQ(build(64, 48, module, 3)->gain_tables[0][at + 47 * 64 + 63], gain(channel, 0, 0));
  }
}

TEST(BicubicTables, MayLieBelowOneWhereTheSplineSwingsBelowZero) {
  module_calibration module(
      1, 4, 2, 8, [](size_t, size_t, size_t, size_t column) { return column < 2 ? 0u : 255u; });
  const tables_ptr tables = build(7, 2, module);
  ASSERT_NE(nullptr, tables);
  EXPECT_EQ(tables->gain_tables[0][1], -255.0f / 16 / 256 + 1.0f);
}

TEST(BicubicTables, OfSidesUpTo255AreConvertedWhole) {
  module_calibration module(1, 5, 4, 10, uneven);
  for (uint32_t orientation = 0; orientation <= 3; ++orientation)
    EXPECT_TRUE(matches(build(255, 255, module, orientation).get(), module, 1, 5, 4, 255, 255,
                        1024.0f, orientation));
}

TEST(BicubicTables, OfSidesOf256StayZero) {
  module_calibration module(1, 5, 4, 8, uneven);
  const uint16_t sizes[][2] = {{256, 256}, {256, 10}, {10, 256}, {512, 7}};
  for (const auto& [w, h] : sizes)
    for (uint32_t orientation = 0; orientation <= 3; ++orientation) {
      const tables_ptr tables = build(w, h, module, orientation);
      ASSERT_NE(nullptr, tables);
      const float* const block = tables->gain_tables[0];
      EXPECT_TRUE(std::all_of(block, block + size_t{4} * w * h, [](float v) { return v == 0.0f; }))
          << w << " x " << h << " orientation " << orientation;
    }
}

TEST(BicubicTables, OfLargerSidesAreConvertedModulo256) {
  module_calibration module(2, 5, 4, 8, uneven);
  const uint16_t sizes[][2] = {{300, 10}, {10, 300}, {257, 259}};
  for (const auto& [w, h] : sizes)
    for (uint32_t orientation = 0; orientation <= 3; ++orientation)
      ASSERT_TRUE(matches(build(w, h, module, orientation).get(), module, 2, 5, 4, w, h, 256.0f,
                          orientation))
          << w << " x " << h << " orientation " << orientation;
}

TEST(BicubicTables, Of300By10HoldOnlyTheFirst440SamplesOfAPlane) {
  module_calibration module(1, 4, 3, 8, [](size_t, size_t, size_t, size_t) { return 64u; });
  for (uint32_t orientation = 0; orientation <= 3; ++orientation) {
    const tables_ptr tables = build(300, 10, module, orientation);
    ASSERT_NE(nullptr, tables);
    for (size_t channel = 0; channel < 4; ++channel)
      for (size_t i = 0; i < 3000; ++i)
        ASSERT_EQ(tables->gain_tables[0][channel * 3000 + i], i < 44 * 10 ? 1.25f : 0.0f) << i;
  }
}

TEST(BicubicTables, OfAnUnknownOrientationAreZero) {
  module_calibration module(2, 5, 4, 8, uneven);
  for (const uint32_t orientation : {4u, 5u, 256u, 0x10000u, UINT32_MAX}) {
    const tables_ptr tables = build(12, 10, module, orientation);
    ASSERT_NE(nullptr, tables) << orientation;
    ASSERT_EQ(2, tables->table_count);
    for (size_t set = 0; set < 2; ++set)
      for (size_t i = 0; i < 4 * 120; ++i) ASSERT_EQ(0.0f, tables->gain_tables[set][i]);
  }
}

TEST(BicubicTables, OfNoSetsAreAnEmptyRecordButNeedTheArrayOfSets) {
  module_calibration module(0, 5, 4, 8, uneven);
  const lsc_calibration_set unused = {};
  module.object().lsc_sets = &unused;
  kit::allocation_ledger ledger;
  tables_ptr tables = build(12, 10, module, 99);
  ASSERT_NE(nullptr, tables);
  EXPECT_EQ(0, tables->table_count);
  EXPECT_EQ(2u, ledger.live_blocks());  // the record and its array; the working planes are gone
  tables.reset();
  EXPECT_EQ(0u, ledger.live_blocks());
  // Not even the grid's size is looked at.
  module.object().lsc_grid_width = 0;
  EXPECT_NE(nullptr, build(12, 10, module));
  module.object().lsc_sets = nullptr;
  EXPECT_EQ(nullptr, build(12, 10, module));
}

TEST(BicubicTables, OfSetsOfDifferentElementWidthsAreEachConverted) {
  module_calibration bytes(1, 5, 4, 7, uneven);
  module_calibration words(1, 5, 4, 12, uneven);
  const lsc_calibration_set sets[] = {bytes.set(0), words.set(0), bytes.set(0)};
  calibration both = bytes.object();
  both.lsc_set_count = 3;
  both.lsc_sets = sets;
  const tables_ptr tables(compute_upscaled_lsc_tables_bicubic(11, 9, &both, 1));
  const tables_ptr of_bytes = build(11, 9, bytes, 1);
  const tables_ptr of_words = build(11, 9, words, 1);
  ASSERT_NE(nullptr, tables);
  const size_t size = 4 * 11 * 9 * sizeof(float);
  EXPECT_EQ(0, memcmp(tables->gain_tables[0], of_bytes->gain_tables[0], size));
  EXPECT_EQ(0, memcmp(tables->gain_tables[1], of_words->gain_tables[0], size));
  EXPECT_EQ(0, memcmp(tables->gain_tables[2], of_bytes->gain_tables[0], size));
  EXPECT_NE(0, memcmp(tables->gain_tables[0], tables->gain_tables[1], size));
}

TEST(BicubicTables, TakeTheLowSixteenBitsOfTheSizes) {
  module_calibration module(1, 5, 4, 8, uneven);
  EXPECT_TRUE(matches(build(0x10000 + 12, 0xabc0000 + 10, module).get(), module, 1, 5, 4, 12, 10,
                      256.0f, 0));
  EXPECT_EQ(nullptr, build(0x10000, 10, module));
  EXPECT_EQ(nullptr, build(10, 0x20000, module));
}

TEST(BicubicTables, FailWithoutASizeACalibrationItsSetsOrOneOfItsGrids) {
  kit::allocation_ledger ledger;
  EXPECT_EQ(nullptr, compute_upscaled_lsc_tables_bicubic(10, 10, nullptr, 0));
  module_calibration module(2, 5, 4, 8, uneven);
  EXPECT_EQ(nullptr, build(0, 10, module));
  EXPECT_EQ(nullptr, build(10, 0, module));
  for (size_t set = 0; set < 2; ++set)
    for (size_t channel = 0; channel < 4; ++channel) {
      const void* const grid = module.set(set).channel_tables[channel];
      module.set(set).channel_tables[channel] = nullptr;
      EXPECT_EQ(nullptr, build(10, 10, module));
      module.set(set).channel_tables[channel] = grid;
    }
  EXPECT_EQ(0u, ledger.allocations());
  EXPECT_NE(nullptr, build(10, 10, module));
  module.object().lsc_sets = nullptr;
  EXPECT_EQ(nullptr, build(10, 10, module));
  EXPECT_EQ(0u, ledger.live_blocks());
}

TEST(BicubicTables, FailWhenTheUpscalerRefusesTheSizes) {
  kit::allocation_ledger ledger;
  module_calibration module(2, 5, 4, 8, uneven);
  EXPECT_EQ(nullptr, build(4, 10, module));
  EXPECT_EQ(nullptr, build(10, 3, module));
  EXPECT_EQ(nullptr, build(1, 1, module));
  EXPECT_NE(nullptr, build(5, 4, module));
  const uint8_t grids[][2] = {{0, 4}, {5, 0}, {0, 0}, {1, 4}, {5, 1}};
  for (const auto& [w, h] : grids) {
    module.object().lsc_grid_width = w;
    module.object().lsc_grid_height = h;
    EXPECT_EQ(nullptr, build(10, 10, module)) << int{w} << " x " << int{h};
  }
  EXPECT_EQ(0u, ledger.live_blocks());
  EXPECT_EQ(0u, ledger.bad_releases());
}

TEST(BicubicTables, LeaveNothingBehindWhicheverAllocationFails) {
  module_calibration module(3, 5, 4, 8, uneven);
  kit::allocation_ledger ledger;
  size_t successes = 0;
  for (;; ++successes) {
    ASSERT_LT(successes, 50u);
    ledger.fail_after(successes);
    const size_t failures = ledger.failures();
    const tables_ptr tables = build(12, 10, module);
    if (ledger.failures() == failures) {
      EXPECT_NE(nullptr, tables);
      EXPECT_EQ(5u, ledger.live_blocks());  // the record, its array, three blocks
      EXPECT_EQ(ledger.live_bytes(), 16u + 3 * 8 + 3 * 4 * 12 * 10 * 4);
      break;
    }
    EXPECT_EQ(nullptr, tables) << "after " << successes;
    EXPECT_EQ(0u, ledger.live_blocks()) << "after " << successes;
  }
  // Four planes, the record, its array, and for each set its block and two of the upscaler.
  EXPECT_EQ(successes, 4u + 2 + 3 * 3);
  EXPECT_EQ(0u, ledger.live_blocks());
  EXPECT_EQ(0u, ledger.bad_releases());
}

}  // namespace
