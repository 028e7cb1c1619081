#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "qo_cmc/lsc.h"
#include "tests/kit/allocation_ledger.h"
#include "tests/kit/module_calibration.h"
#include "tests/lsc/plain_lens_shading.h"

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
      compute_upscaled_lsc_tables_polynom4th(out_width, out_height, &module.object(), orientation));
}

/// Lens shading of one module: rising toward the corners, different in every set and channel.
uint32_t shading(size_t set, size_t channel, size_t row, size_t column) {
  const size_t u = column > 8 ? column - 8 : 8 - column;
  const size_t v = row > 5 ? row - 5 : 5 - row;
  return static_cast<uint32_t>(20 + u * u * (1 + channel % 2) + v * v + column + 3 * set +
                               5 * channel);
}

/// The whole builder in plain loops, or nothing when it fails.
std::optional<std::vector<plain::floats>> plain_tables(const module_calibration& module,
                                                       size_t sets, size_t width, size_t height,
                                                       float divisor, size_t out_width,
                                                       size_t out_height, uint32_t orientation) {
  const plain::fit fit(width, height);
  std::vector<plain::floats> blocks;
  for (size_t set = 0; set < sets; ++set) {
    plain::floats& block = blocks.emplace_back();
    for (size_t channel = 0; channel < 4; ++channel) {
      plain::floats plane =
          fit.upscale(plain::gains(module.raw(set, channel), width, height, divisor, orientation),
                      out_width, out_height);
      if (!plain::normalise(plane)) return std::nullopt;
      block.insert(block.end(), plane.begin(), plane.end());
    }
  }
  return blocks;
}

TEST(PolynomialTables, EqualThePlainRuleForEveryOrientationAndElementWidth) {
  for (const uint8_t fraction_bits : std::initializer_list<uint8_t>{7, 8, 9, 10}) {
    const float divisor = float(1 << fraction_bits);
    module_calibration module(3, 17, 13, fraction_bits, shading);
    for (uint32_t orientation = 0; orientation <= 3; ++orientation) {
      const tables_ptr tables = build(33, 25, module, orientation);
      const auto expected = plain_tables(module, 3, 17, 13, divisor, 33, 25, orientation);
      ASSERT_TRUE(expected.has_value());
      ASSERT_NE(tables, nullptr);
      ASSERT_EQ(tables->table_count, 3);
      for (size_t set = 0; set < 3; ++set)
        EXPECT_EQ(
            plain::first_difference((*expected)[set].data(), tables->gain_tables[set], 4 * 33 * 25),
            4u * 33 * 25)
            << "set " << set << " orientation " << orientation;
    }
  }
}

TEST(PolynomialTables, AreAtLeastOneAndReachOneInEveryPlane) {
  module_calibration module(2, 17, 13, 8, shading);
  const tables_ptr tables = build(65, 49, module);
  ASSERT_NE(tables, nullptr);
  for (size_t set = 0; set < 2; ++set)
    for (size_t channel = 0; channel < 4; ++channel) {
      const float* const plane = tables->gain_tables[set] + channel * 65 * 49;
      EXPECT_EQ(*std::min_element(plane, plane + 65 * 49), 1.0f);
      EXPECT_GT(*std::max_element(plane, plane + 65 * 49), 1.2f);
    }
}

TEST(PolynomialTables, FollowTheModulesShading) {
  // Gain 1 + raw / 256 with raw = 2 ((column - 8)^2 + (row - 6)^2): a surface of the fitted kind,
  // 1 in the middle, so that the tables are that surface up to the fit's rounding.
  module_calibration module(1, 17, 13, 8, [](size_t, size_t, size_t row, size_t column) {
    const int u = int(column) - 8, v = int(row) - 6;
    return uint32_t(2 * (u * u + v * v));
  });
  const tables_ptr tables = build(65, 49, module);
  ASSERT_NE(tables, nullptr);
  double worst = 0;
  for (size_t r = 0; r < 49; ++r)
    for (size_t k = 0; k < 65; ++k) {
      const double u = double(k) / 4 - 8, v = double(r) / 4 - 6;
      worst = std::max(worst, std::fabs(double(tables->gain_tables[0][r * 65 + k]) -
                                        (1 + 2 * (u * u + v * v) / 256)));
    }
  EXPECT_LT(worst, 5e-3);
}

TEST(PolynomialTables, OfAFlatModuleAreOneNearlyExactly) {
  module_calibration module(1, 17, 13, 8, [](size_t, size_t, size_t, size_t) { return 128u; });
  const tables_ptr tables = build(65, 49, module);
  ASSERT_NE(tables, nullptr);
  for (size_t i = 0; i < 4 * 65 * 49; ++i) {
    ASSERT_GE(tables->gain_tables[0][i], 1.0f);
    ASSERT_LT(tables->gain_tables[0][i], 1.0005f);
  }
}

TEST(PolynomialTables, MirrorTheModulesGridAsTheOrientationSays) {
  // Shading that rises to the right and, more steeply, downward.
  module_calibration module(1, 9, 9, 10, [](size_t, size_t, size_t row, size_t column) {
    return uint32_t(20 * column + 60 * row);
  });
  struct corner_case {
    uint32_t orientation;
    size_t smallest, largest;  // corner: 0 top left, 1 top right, 2 bottom left, 3 bottom right
  };
  for (const corner_case c : {corner_case{0, 0, 3}, {1, 1, 2}, {2, 2, 1}, {3, 3, 0}}) {
    const tables_ptr tables = build(21, 15, module, c.orientation);
    ASSERT_NE(tables, nullptr);
    const float* const plane = tables->gain_tables[0];
    const float corners[4] = {plane[0], plane[20], plane[14 * 21], plane[14 * 21 + 20]};
    EXPECT_EQ(size_t(std::min_element(corners, corners + 4) - corners), c.smallest);
    EXPECT_EQ(size_t(std::max_element(corners, corners + 4) - corners), c.largest);
  }
}

TEST(PolynomialTables, TakeTheExponentModulo32) {
  // 40 fraction bits divide by 2^8; the elements are u16.
  module_calibration module(1, 9, 9, 40, shading);
  const tables_ptr tables = build(12, 12, module);
  const auto expected = plain_tables(module, 1, 9, 9, 256.0f, 12, 12, 0);
  ASSERT_NE(tables, nullptr);
  EXPECT_EQ(plain::first_difference((*expected)[0].data(), tables->gain_tables[0], 4 * 144),
            4u * 144);
}

TEST(PolynomialTables, TakeTheLowSixteenBitsOfTheSizes) {
  module_calibration module(1, 9, 9, 8, shading);
  const tables_ptr narrow = build(12, 10, module);
  const tables_ptr wide = build(0x10000 + 12, 0xabc0000 + 10, module);
  ASSERT_NE(narrow, nullptr);
  ASSERT_NE(wide, nullptr);
  EXPECT_EQ(plain::first_difference(narrow->gain_tables[0], wide->gain_tables[0], 480), 480u);
  EXPECT_EQ(build(0x10000, 10, module), nullptr);
  EXPECT_EQ(build(10, 0x20000, module), nullptr);
}

TEST(PolynomialTables, OfNoSetsAreAnEmptyRecord) {
  module_calibration module(0, 9, 9, 8, shading);
  module.object().lsc_sets = nullptr;
  for (const uint32_t orientation : {0u, 99u}) {
    const tables_ptr tables = build(12, 10, module, orientation);
    ASSERT_NE(tables, nullptr);
    EXPECT_EQ(tables->table_count, 0);
  }
}

TEST(PolynomialTables, FailWhenASizeIsZero) {
  module_calibration module(1, 9, 9, 8, shading);
  EXPECT_EQ(build(0, 10, module), nullptr);
  EXPECT_EQ(build(10, 0, module), nullptr);
  module.object().lsc_grid_width = 0;
  EXPECT_EQ(build(10, 10, module), nullptr);
  module.object().lsc_grid_width = 9;
  module.object().lsc_grid_height = 0;
  EXPECT_EQ(build(10, 10, module), nullptr);
}

TEST(PolynomialTables, FailWithAnEmptyGridAlsoWhenThereAreNoSets) {
  module_calibration module(0, 9, 9, 8, shading);
  module.object().lsc_grid_width = 5;
  module.object().lsc_grid_height = 0;
  EXPECT_EQ(nullptr, build(12, 10, module));
  module.object().lsc_grid_width = 0;
  module.object().lsc_grid_height = 5;
  EXPECT_EQ(nullptr, build(12, 10, module));
}

TEST(PolynomialTables, FailWithoutACalibrationItsSetsOrOneOfItsGrids) {
  EXPECT_EQ(compute_upscaled_lsc_tables_polynom4th(10, 10, nullptr, 0), nullptr);
  module_calibration module(2, 9, 9, 8, shading);
  for (size_t set = 0; set < 2; ++set) {
    for (size_t channel = 0; channel < 4; ++channel) {
      const void* const grid = module.set(set).channel_tables[channel];
      module.set(set).channel_tables[channel] = nullptr;
      EXPECT_EQ(build(10, 10, module), nullptr);
      module.set(set).channel_tables[channel] = grid;
    }
  }
  EXPECT_NE(build(10, 10, module), nullptr);
  module.object().lsc_sets = nullptr;
  EXPECT_EQ(build(10, 10, module), nullptr);
}

TEST(PolynomialTables, FailWithAnUnknownOrientation) {
  module_calibration module(1, 9, 9, 8, shading);
  for (const uint32_t orientation : {4u, 5u, 256u, 0x10000u, UINT32_MAX})
    EXPECT_EQ(build(10, 10, module, orientation), nullptr) << orientation;
}

TEST(PolynomialTables, FailWithAnOutputSideOfOne) {
  module_calibration module(1, 9, 9, 8, shading);
  EXPECT_EQ(build(1, 10, module), nullptr);
  EXPECT_EQ(build(10, 1, module), nullptr);
  EXPECT_EQ(build(1, 1, module), nullptr);
}

TEST(PolynomialTables, OfNarrowGridsFailOrSucceedAsTheMinimumDecides) {
  size_t failures = 0;
  for (uint8_t width = 1; width <= 6; ++width) {
    for (uint8_t height = 1; height <= 6; ++height) {
      module_calibration module(1, width, height, 8, shading);
      const auto expected = plain_tables(module, 1, width, height, 256.0f, 11, 9, 0);
      const tables_ptr tables = build(11, 9, module);
      ASSERT_EQ(tables != nullptr, expected.has_value()) << int(width) << " x " << int(height);
      if (expected) {
        EXPECT_EQ(plain::first_difference((*expected)[0].data(), tables->gain_tables[0], 396),
                  396u);
      } else {
        ++failures;
      }
    }
  }
  EXPECT_GT(failures, 0u);
}

TEST(PolynomialTables, FailAsAWholeWhenALaterSetHasNoPositiveMinimum) {
  // The second set's fourth channel falls so steeply that the surface dips below zero.
  const auto raw = [](size_t set, size_t channel, size_t row, size_t column) {
    const bool steep = set == 1 && channel == 3 && row == 4 && column == 4;
    return steep ? 65535u : 0u;
  };
  module_calibration module(2, 9, 9, 9, raw);
  ASSERT_FALSE(plain_tables(module, 2, 9, 9, 512.0f, 30, 30, 0).has_value());
  ASSERT_TRUE(plain_tables(module, 1, 9, 9, 512.0f, 30, 30, 0).has_value());
  kit::allocation_ledger ledger;
  EXPECT_EQ(build(30, 30, module), nullptr);
  EXPECT_EQ(ledger.live_blocks(), 0u);
  EXPECT_EQ(ledger.bad_releases(), 0u);
  module.object().lsc_set_count = 1;
  EXPECT_NE(build(30, 30, module), nullptr);
}

TEST(PolynomialTables, LeaveNothingBehindWhicheverAllocationFails) {
  module_calibration module(3, 9, 7, 8, shading);
  kit::allocation_ledger ledger;
  size_t successes = 0;
  for (;; ++successes) {
    ASSERT_LT(successes, 200u);
    ledger.fail_after(successes);
    const size_t failures = ledger.failures();
    const tables_ptr tables = build(12, 10, module);
    if (ledger.failures() == failures) {
      EXPECT_NE(tables, nullptr);
      EXPECT_EQ(ledger.live_blocks(), 5u);  // the record, its array, three blocks
      EXPECT_EQ(ledger.live_bytes(), 16u + 3 * 8 + 3 * 4 * 12 * 10 * 4);
      break;
    }
    EXPECT_EQ(tables, nullptr) << "after " << successes;
    EXPECT_EQ(ledger.live_blocks(), 0u) << "after " << successes;
  }
  // 10 buffers of the call, 2 of the factorisation, and for each set its block and 6 of the fit.
  EXPECT_EQ(successes, 10u + 2 + 3 * 7);
  EXPECT_EQ(ledger.live_blocks(), 0u);
  EXPECT_EQ(ledger.bad_releases(), 0u);
}

TEST(TableRelease, AcceptsNullAndRecordsWithoutBlocks) {
  deinit_computed_upscale_lsc_tables(nullptr);
  kit::allocation_ledger ledger;
  for (const uint8_t count : std::initializer_list<uint8_t>{0, 3}) {
    auto* const tables =
        static_cast<computed_upscale_lsc_tables*>(calloc(1, sizeof(computed_upscale_lsc_tables)));
    ASSERT_NE(tables, nullptr);
    tables->table_count = count;
    ledger.adopt(tables, sizeof *tables);
    deinit_computed_upscale_lsc_tables(tables);
    EXPECT_EQ(ledger.live_blocks(), 0u);
  }
  EXPECT_EQ(ledger.bad_releases(), 0u);
}

}  // namespace
