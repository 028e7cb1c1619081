#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <random>

#include "qo_cmc/lsc.h"
#include "tests/kit/guarded_buffer.h"
#include "tests/lsc/plain_lens_shading.h"

namespace {

using kit::guarded_array;
constexpr float nan_value = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr uint32_t layouts[] = {0, 1, 2, 3, 256, 257, 258, 259, 260, 261, 262, 263};

/// Both sets and the gain tables of one call, every array of exactly its size.
class correction {
 public:
  correction(uint16_t lights, uint16_t width, uint16_t height, uint8_t gain_table_count,
             uint32_t seed = 51)
      : target_lights(lights), source_lights(lights), table_pointers(gain_table_count) {
    std::mt19937 random(seed);
    const size_t samples = size_t{width} * height;
    for (lens_shading_set* set : {&target, &source}) {
      set->light_count = lights;
      set->width = width;
      set->height = height;
    }
    target.lights = target_lights.data();
    source.lights_ext = source_lights.data();
    std::uniform_int_distribution<int> sample(0, 65535);
    for (size_t light = 0; light < lights; ++light) {
      lens_shading_light& to = target_lights[light];
      lens_shading_light_ext& from = source_lights[light];
      to = {1000, {-1.0f, -2.0f}, {-3.0f, -4.0f}, 99, {}};
      from = {uint32_t(light + 1),
              {1.5f, float(light)},
              {0.25f, 0.5f},
              uint16_t(10 + light),
              {},
              uint16_t(1 + light % gain_table_count)};
      for (size_t site = 0; site < 16; ++site) {
        to.tables[site / 4][site % 4] = new_table(samples, [] { return uint16_t{0xabcd}; });
        from.tables[site / 4][site % 4] =
            new_table(samples, [&] { return static_cast<uint16_t>(sample(random)); });
      }
    }
    std::uniform_real_distribution<float> gain(-1.5f, 4.0f);
    for (size_t table = 0; table < gain_table_count; ++table) {
      guarded_array<float>& planes =
          *gain_arrays.emplace_back(std::make_unique<guarded_array<float>>(4 * samples));
      for (float& value : planes) value = gain(random);
      table_pointers[table] = planes.data();
    }
    gains = {gain_table_count, table_pointers.data()};
  }

  uint64_t run(uint32_t cfa_layout, uint32_t plane_order) {
    return ratio_based_sample_to_sample_correction(&target, &source, &gains, cfa_layout,
                                                   plane_order);
  }
  size_t samples() const { return size_t{target.width} * target.height; }
  uint16_t* target_table(size_t light, size_t row, size_t column) const {
    return target_lights[light].tables[row][column];
  }
  uint16_t* source_table(size_t light, size_t row, size_t column) const {
    return source_lights[light].tables[row][column];
  }
  float* plane(size_t table, size_t number) const {
    return table_pointers[table] + number * samples();
  }
  plain::floats gain_values(size_t table) const {
    return {gain_arrays[table]->begin(), gain_arrays[table]->end()};
  }
  bool is_target_untouched(size_t light) const {
    const lens_shading_light& entry = target_lights[light];
    if (entry.light_id != 1000 || entry.gains[0] != -1.0f || entry.gains[1] != -2.0f ||
        entry.coords[0] != -3.0f || entry.coords[1] != -4.0f || entry.fraction_bits != 99)
      return false;
    for (size_t site = 0; site < 16; ++site)
      if (!is_table_untouched(light, site / 4, site % 4)) return false;
    return true;
  }
  bool is_table_untouched(size_t light, size_t row, size_t column) const {
    const uint16_t* const table = target_table(light, row, column);
    if (table == nullptr) return true;
    for (size_t i = 0; i < samples(); ++i)
      if (table[i] != 0xabcd) return false;
    return true;
  }

  lens_shading_set target = {}, source = {};
  computed_upscale_lsc_tables gains = {};
  std::vector<lens_shading_light> target_lights;
  std::vector<lens_shading_light_ext> source_lights;
  std::vector<float*> table_pointers;
  std::vector<std::unique_ptr<guarded_array<float>>> gain_arrays;

 private:
  template <typename Rule>
  uint16_t* new_table(size_t samples, const Rule& rule) {
    guarded_array<uint16_t>& table =
        *tables_.emplace_back(std::make_unique<guarded_array<uint16_t>>(
            samples, tables_.size() % 2 != 0 ? kit::guard_side::before : kit::guard_side::behind));
    for (uint16_t& value : table) value = rule();
    return table.data();
  }

  std::vector<std::unique_ptr<guarded_array<uint16_t>>> tables_;
};

/// What one light's tables must hold, from the gains as they were before the call.
void expect_corrected(const correction& call, size_t light, plain::floats gains,
                      uint32_t cfa_layout, uint32_t plane_order) {
  const auto cell = plain::cell(cfa_layout);
  const size_t samples = call.samples();
  if (cell.size() == 4) {
    float* const green_1 = gains.data() + plain::plane_of("G1", plane_order) * samples;
    float* const green_2 = gains.data() + plain::plane_of("G2", plane_order) * samples;
    for (size_t i = 0; i < samples; ++i) {
      const float mean = (green_1[i] + green_2[i]) * 0.5f;
      green_1[i] = green_2[i] = mean;
    }
  }
  for (size_t row = 0; row < 4; ++row) {
    for (size_t column = 0; column < 4; ++column) {
      const uint16_t* const to = call.target_table(light, row, column);
      const uint16_t* const from = call.source_table(light, row, column);
      if (row >= cell.size() || column >= cell.size() || cell[row][column] == "-" ||
          from == nullptr || to == nullptr) {
        EXPECT_TRUE(call.is_table_untouched(light, row, column)) << row << ' ' << column;
        continue;
      }
      const float* const plane =
          gains.data() + plain::plane_of(cell[row][column], plane_order) * samples;
      for (size_t i = 0; i < samples; ++i)
        ASSERT_EQ(to[i], plain::corrected(from[i], plane[i]))
            << "layout " << cfa_layout << " order " << plane_order << " site " << row << ' '
            << column << " sample " << i;
    }
  }
  const lens_shading_light& entry = call.target_lights[light];
  const lens_shading_light_ext& source = call.source_lights[light];
  EXPECT_EQ(entry.light_id, source.light_id);
  EXPECT_EQ(entry.gains[0], source.gains[0]);
  EXPECT_EQ(entry.gains[1], source.gains[1]);
  EXPECT_EQ(entry.coords[0], source.coords[0]);
  EXPECT_EQ(entry.coords[1], source.coords[1]);
  EXPECT_EQ(entry.fraction_bits, source.fraction_bits);
}

/// One sample times one gain, at site (0, 0) of layout 2 in order 2.
uint16_t corrected_sample(uint16_t sample, float gain) {
  correction call(1, 1, 1, 1);
  call.source_table(0, 0, 0)[0] = sample;
  call.plane(0, 0)[0] = gain;
  EXPECT_EQ(call.run(2, 2), 0u);
  return call.target_table(0, 0, 0)[0];
}

TEST(Correction, EqualsThePlainRuleForEveryLayoutInEveryPlaneOrder) {
  for (const uint32_t layout : layouts) {
    for (uint32_t order = 0; order <= 3; ++order) {
      for (const auto& [width, height] : {std::pair{1, 1}, {7, 1}, {17, 13}}) {
        correction call(2, uint16_t(width), uint16_t(height), 2, layout * 4 + order);
        const plain::floats before[2] = {call.gain_values(0), call.gain_values(1)};
        ASSERT_EQ(call.run(layout, order), 0u);
        for (size_t light = 0; light < 2; ++light)
          expect_corrected(call, light, before[light], layout, order);
      }
    }
  }
}

TEST(Correction, UsesThePlanesInRasterOrderWhenLayoutAndOrderAgree) {
  correction call(1, 3, 2, 1);
  ASSERT_EQ(call.run(2, 2), 0u);
  for (size_t site = 0; site < 4; ++site)
    for (size_t i = 0; i < 6; ++i)
      EXPECT_EQ(
          call.target_table(0, site / 2, site % 2)[i],
          plain::corrected(call.source_table(0, site / 2, site % 2)[i], call.plane(0, site)[i]));
}

TEST(Correction, SwapsThePlanesOfEachRowBetweenLayoutThreeAndOrderTwo) {
  correction call(1, 3, 2, 1);
  ASSERT_EQ(call.run(3, 2), 0u);
  const size_t planes[4] = {1, 0, 3, 2};
  for (size_t site = 0; site < 4; ++site)
    for (size_t i = 0; i < 6; ++i)
      EXPECT_EQ(call.target_table(0, site / 2, site % 2)[i],
                plain::corrected(call.source_table(0, site / 2, site % 2)[i],
                                 call.plane(0, planes[site])[i]));
}

TEST(Correction, LeavesSitesWithoutAColourAlone) {
  correction call(1, 5, 4, 1);
  ASSERT_EQ(call.run(256, 0), 0u);
  for (const size_t row : {1u, 3u})
    for (const size_t column : {1u, 3u}) EXPECT_TRUE(call.is_table_untouched(0, row, column));
  EXPECT_FALSE(call.is_table_untouched(0, 1, 0));
}

TEST(Correction, LeavesTheTwelveOuterTablesOfASmallCellAlone) {
  correction call(1, 5, 4, 1);
  ASSERT_EQ(call.run(0, 0), 0u);
  for (size_t site = 0; site < 16; ++site)
    EXPECT_EQ(call.is_table_untouched(0, site / 4, site % 4), site / 4 > 1 || site % 4 > 1);
}

TEST(Correction, ReplacesTheGreensOfALargeCellByTheirMeanInPlace) {
  correction call(1, 9, 5, 1);
  const plain::floats before = call.gain_values(0);
  ASSERT_EQ(call.run(260, 3), 0u);  // in order 3 the greens are planes 0 and 3
  for (size_t i = 0; i < 45; ++i) {
    const float mean = (before[i] + before[3 * 45 + i]) * 0.5f;
    EXPECT_EQ(call.plane(0, 0)[i], mean);
    EXPECT_EQ(call.plane(0, 3)[i], mean);
    EXPECT_EQ(call.plane(0, 1)[i], before[45 + i]);
    EXPECT_EQ(call.plane(0, 2)[i], before[90 + i]);
  }
}

TEST(Correction, WithASmallCellLeavesTheGainsAlone) {
  correction call(2, 9, 5, 1);
  const plain::floats before = call.gain_values(0);
  ASSERT_EQ(call.run(3, 3), 0u);
  EXPECT_EQ(call.gain_values(0), before);
}

TEST(Correction, AveragesTheGreensOfASharedTableTwiceWithTheSameResult) {
  correction call(3, 9, 5, 1);  // three lights on one table
  const plain::floats before = call.gain_values(0);
  ASSERT_EQ(call.run(257, 1), 0u);
  for (size_t light = 0; light < 3; ++light) expect_corrected(call, light, before, 257, 1);
}

TEST(Correction, LeavesGainTablesThatNoLightNamesAlone) {
  correction call(1, 4, 4, 3);
  call.source_lights[0].aux = 2;
  const plain::floats first = call.gain_values(0), second = call.gain_values(1),
                      third = call.gain_values(2);
  ASSERT_EQ(call.run(263, 0), 0u);
  EXPECT_EQ(call.gain_values(0), first);
  EXPECT_EQ(call.gain_values(2), third);
  expect_corrected(call, 0, second, 263, 0);
}

TEST(CorrectedSample, IsTruncatedTowardZero) {
  EXPECT_EQ(corrected_sample(1000, 1.2345f), 1234);
  EXPECT_EQ(corrected_sample(1, 0.9999f), 0);
  EXPECT_EQ(corrected_sample(1, -0.9999f), 0);
}

TEST(CorrectedSample, WrapsInsteadOfClamping) {
  EXPECT_EQ(corrected_sample(60000, 1.5f), 24464);
  EXPECT_EQ(corrected_sample(2, -0.5f), 65535);
  EXPECT_EQ(corrected_sample(32768, 2.0f), 0);
  EXPECT_EQ(corrected_sample(65535, 1.0f), 65535);
}

TEST(CorrectedSample, SaturatesAt32BitsAndMakesANanZero) {
  EXPECT_EQ(corrected_sample(1, 2147483648.0f), 0xffff);
  EXPECT_EQ(corrected_sample(65535, 1e30f), 0xffff);
  EXPECT_EQ(corrected_sample(1, infinity), 0xffff);
  EXPECT_EQ(corrected_sample(1, 2147483520.0f), 0xff80);  // the last float below 2^31
  EXPECT_EQ(corrected_sample(1, -2147483648.0f), 0);
  EXPECT_EQ(corrected_sample(1, -2147483520.0f), 0x0080);
  EXPECT_EQ(corrected_sample(65535, -1e30f), 0);
  EXPECT_EQ(corrected_sample(1, -infinity), 0);
  EXPECT_EQ(corrected_sample(1, nan_value), 0);
  EXPECT_EQ(corrected_sample(0, infinity), 0);
}

TEST(CorrectedSample, EqualsThePlainRuleForGainsOfEveryMagnitude) {
  // Planes long enough for the vector form, sizes around its steps, gains of all bit patterns.
  std::mt19937 random(52);
  for (uint16_t width = 1; width <= 70; ++width) {
    correction call(1, width, 3, 1, width);
    for (size_t i = 0; i < 4 * call.samples(); ++i) {
      const uint32_t bits = static_cast<uint32_t>(random());
      std::memcpy(call.plane(0, 0) + i, &bits, sizeof bits);
    }
    const plain::floats before = call.gain_values(0);
    ASSERT_EQ(call.run(1, 2), 0u);
    expect_corrected(call, 0, before, 1, 2);
  }
}

TEST(Correction, SkipsASiteWhoseTableIsMissingInEitherSet) {
  for (const uint32_t layout : {1u, 262u}) {
    correction call(1, 6, 5, 1);
    call.target_lights[0].tables[0][0] = nullptr;
    call.source_lights[0].tables[0][1] = nullptr;
    call.target_lights[0].tables[1][0] = nullptr;
    call.source_lights[0].tables[1][0] = nullptr;
    const plain::floats before = call.gain_values(0);
    ASSERT_EQ(call.run(layout, 3), 0u);
    expect_corrected(call, 0, before, layout, 3);
  }
}

TEST(Correction, OfTablesThatTargetAndSourceShareMultipliesInPlace) {
  correction call(1, 17, 3, 1);
  const std::vector<uint16_t> before(call.source_table(0, 0, 0), call.source_table(0, 0, 0) + 51);
  call.target_lights[0].tables[0][0] = call.source_table(0, 0, 0);
  ASSERT_EQ(call.run(2, 2), 0u);
  for (size_t i = 0; i < 51; ++i)
    EXPECT_EQ(call.source_table(0, 0, 0)[i], plain::corrected(before[i], call.plane(0, 0)[i]));
}

TEST(Correction, OfTablesWithoutSamplesCopiesTheLeadingFields) {
  correction call(1, 0, 9, 1);
  ASSERT_EQ(call.run(256, 1), 0u);
  EXPECT_EQ(call.target_lights[0].light_id, 1u);
  EXPECT_EQ(call.target_lights[0].fraction_bits, 10);
}

TEST(Correction, OfNullIsRefused) {
  correction call(1, 2, 2, 1);
  EXPECT_EQ(ratio_based_sample_to_sample_correction(nullptr, &call.source, &call.gains, 2, 2), 32u);
  EXPECT_EQ(ratio_based_sample_to_sample_correction(&call.target, nullptr, &call.gains, 2, 2), 32u);
  EXPECT_EQ(ratio_based_sample_to_sample_correction(&call.target, &call.source, nullptr, 2, 2),
            32u);
  EXPECT_TRUE(call.is_target_untouched(0));
}

TEST(Correction, OfATargetWithoutLightsSucceedsWithoutAnyOtherTest) {
  correction call(1, 2, 2, 1);
  call.target.light_count = 0;
  call.target.lights = nullptr;
  call.source.lights_ext = nullptr;
  call.gains.gain_tables = nullptr;
  EXPECT_EQ(call.run(99, 99), 0u);
  EXPECT_EQ(ratio_based_sample_to_sample_correction(&call.target, nullptr, &call.gains, 2, 2), 32u);
}

TEST(Correction, WithoutLightsOrGainTablesBehindTheSetsIsRefused) {
  {
    correction call(1, 2, 2, 1);
    call.target.lights = nullptr;
    call.source.light_count = 0;  // the null comes first
    EXPECT_EQ(call.run(2, 2), 32u);
  }
  {
    correction call(1, 2, 2, 1);
    call.source.lights_ext = nullptr;
    EXPECT_EQ(call.run(2, 2), 32u);
    EXPECT_TRUE(call.is_target_untouched(0));
  }
  {
    correction call(1, 2, 2, 1);
    call.gains.gain_tables = nullptr;
    call.source_lights[0].aux = 0;
    EXPECT_EQ(call.run(2, 2), 32u);
    EXPECT_TRUE(call.is_target_untouched(0));
  }
}

TEST(Correction, ByASourceWithFewerLightsIsRefusedBeforeAnythingIsWritten) {
  correction call(3, 2, 2, 1);
  call.source.light_count = 2;
  EXPECT_EQ(call.run(256, 2), 8u);
  for (size_t light = 0; light < 3; ++light) EXPECT_TRUE(call.is_target_untouched(light));
}

TEST(Correction, ByASourceWithMoreLightsUsesTheFirstOnes) {
  correction call(3, 2, 2, 1);
  call.target.light_count = 2;
  const plain::floats before = call.gain_values(0);
  EXPECT_EQ(call.run(1, 2), 0u);
  expect_corrected(call, 1, before, 1, 2);
  EXPECT_TRUE(call.is_target_untouched(2));
}

TEST(Correction, ByASourceWithSmallerTablesIsRefusedBeforeAnythingIsWritten) {
  correction call(2, 6, 4, 1);
  const plain::floats before = call.gain_values(0);
  call.source.width = 5;
  EXPECT_EQ(call.run(256, 2), 8u);
  EXPECT_TRUE(call.is_target_untouched(0));
  EXPECT_EQ(call.gain_values(0), before);
}

TEST(Correction, ComparesTheNumberOfSamplesNotTheSides) {
  correction call(1, 6, 4, 1);
  const plain::floats before = call.gain_values(0);
  call.source.width = 3;
  call.source.height = 8;
  EXPECT_EQ(call.run(3, 2), 0u);
  expect_corrected(call, 0, before, 3, 2);
  // 65535 x 65535 samples do not overflow into a small number.
  call.target.width = call.target.height = 65535;
  EXPECT_EQ(call.run(3, 2), 8u);
}

TEST(Correction, StopsAtALightWithoutAGainTableAndKeepsTheLightsBefore) {
  for (const uint32_t aux : {0u, 3u, 256u, 65535u}) {
    for (size_t bad = 0; bad < 5; ++bad) {
      correction call(5, 3, 3, 2);
      call.source_lights[bad].aux = static_cast<uint16_t>(aux);
      const plain::floats before[2] = {call.gain_values(0), call.gain_values(1)};
      EXPECT_EQ(call.run(259, 2), 8u);
      for (size_t light = 0; light < 5; ++light) {
        if (light < bad) {
          expect_corrected(call, light, before[light % 2], 259, 2);
        } else {
          EXPECT_TRUE(call.is_target_untouched(light));
        }
      }
      if (bad == 0) {
        EXPECT_EQ(call.gain_values(0), before[0]);
      }
    }
  }
}

TEST(Correction, StopsAtANullGainTableAndKeepsTheLightsBefore) {
  for (size_t bad = 0; bad < 3; ++bad) {
    correction call(3, 3, 3, 3);
    call.table_pointers[bad] = nullptr;
    std::vector<plain::floats> before;
    for (size_t table = 0; table < 3; ++table) before.push_back(call.gain_values(table));
    EXPECT_EQ(call.run(2, 0), 32u);
    for (size_t light = 0; light < 3; ++light) {
      if (light < bad) {
        expect_corrected(call, light, before[light], 2, 0);
      } else {
        EXPECT_TRUE(call.is_target_untouched(light));
      }
    }
  }
}

TEST(Correction, CountsGainTablesFromOne) {
  correction call(1, 2, 2, 3);
  call.source_lights[0].aux = 1;
  const plain::floats first = call.gain_values(0), third = call.gain_values(2);
  ASSERT_EQ(call.run(2, 2), 0u);
  expect_corrected(call, 0, first, 2, 2);
  call.source_lights[0].aux = 3;
  ASSERT_EQ(call.run(2, 2), 0u);
  EXPECT_EQ(call.target_table(0, 0, 0)[1],
            plain::corrected(call.source_table(0, 0, 0)[1], third[1]));
}

TEST(Correction, OfAnUnknownPlaneOrderIsRefusedBeforeAnythingIsWritten) {
  for (const uint32_t order : {4u, 5u, 255u, 256u, 65535u, UINT32_MAX}) {
    for (const uint32_t layout : {2u, 256u}) {
      correction call(2, 3, 3, 1);
      const plain::floats before = call.gain_values(0);
      EXPECT_EQ(call.run(layout, order), 8u) << order;
      EXPECT_TRUE(call.is_target_untouched(0));
      EXPECT_EQ(call.gain_values(0), before);
    }
  }
}

TEST(Correction, OfAnUnknownLayoutIsRefusedBeforeAnythingIsWritten) {
  for (const uint32_t layout : {4u, 5u, 254u, 255u, 264u, 512u, 65535u, 0x10000u, UINT32_MAX}) {
    for (uint32_t order = 0; order <= 4; ++order) {
      correction call(2, 3, 3, 1);
      const plain::floats before = call.gain_values(0);
      EXPECT_EQ(call.run(layout, order), 8u) << layout;
      EXPECT_TRUE(call.is_target_untouched(0));
      EXPECT_EQ(call.gain_values(0), before);
    }
  }
}

TEST(Correction, TestsALightsTableBeforeTheCodes) {
  correction call(1, 3, 3, 1);
  call.table_pointers[0] = nullptr;
  EXPECT_EQ(call.run(99, 99), 32u);
  call.source_lights[0].aux = 0;
  EXPECT_EQ(call.run(2, 2), 8u);
}

TEST(Correction, IgnoresTheChannelMaps) {
  correction call(1, 3, 3, 1);
  std::memset(call.target.channel_map, -1, sizeof call.target.channel_map);
  std::memset(call.source.channel_map, 9, sizeof call.source.channel_map);
  const plain::floats before = call.gain_values(0);
  ASSERT_EQ(call.run(0, 1), 0u);
  expect_corrected(call, 0, before, 0, 1);
  EXPECT_EQ(call.target.channel_map[0][0], -1);
}

}  // namespace
