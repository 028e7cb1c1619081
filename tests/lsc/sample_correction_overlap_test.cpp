// Tables that overlap: for each i ascending, a sample and its gain are loaded and then the two
// bytes of the result are stored, whatever lies on what.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "qo_cmc/lsc.h"
#include "tests/kit/guarded_buffer.h"
#include "tests/lsc/plain_lens_shading.h"

namespace {

using byte_vector = std::vector<uint8_t>;

// Around the sizes and the multiples of the groups that a vector form would work in.
constexpr size_t lengths[] = {1, 2, 3, 7, 8, 9, 31, 63, 64, 65, 71, 127, 128, 129, 200};

template <typename T>
T load_at(const byte_vector& memory, size_t offset) {
  T value;
  std::memcpy(&value, memory.data() + offset, sizeof value);
  return value;
}

template <typename T>
void store_at(byte_vector& memory, size_t offset, T value) {
  std::memcpy(memory.data() + offset, &value, sizeof value);
}

void scale_plainly(byte_vector& memory, size_t source, size_t gains, size_t target, size_t count) {
  for (size_t i = 0; i < count; ++i)
    store_at(memory, target + 2 * i,
             plain::corrected(load_at<uint16_t>(memory, source + 2 * i),
                              load_at<float>(memory, gains + 4 * i)));
}

/// Bytes whose floats are gains from 1 to 2, or, read as samples, anything.
byte_vector random_gains(size_t size, uint32_t seed) {
  std::mt19937 random(seed);
  byte_vector memory(size);
  for (size_t offset = 0; offset + 4 <= size; offset += 4)
    store_at(memory, offset, 0x3f800000u | (static_cast<uint32_t>(random()) & 0x7fffffu));
  return memory;
}

/// One light of one table, all of it in one block: where the table is read and written, and where
/// the four gain planes start, in bytes from the block's start.
struct placed_table {
  size_t source, gains, target, count;
};

/// The block as the correction leaves it: the first plane scales site (0, 0), no other has tables.
byte_vector corrected_block(const byte_vector& before, const placed_table& table) {
  kit::guarded_buffer block(before.size());
  std::copy(before.begin(), before.end(), block.data());
  const auto samples_at = [&block](size_t offset) {
    return reinterpret_cast<uint16_t*>(block.data() + offset);
  };
  lens_shading_light to = {};
  lens_shading_light_ext from = {};
  from.aux = 1;
  from.tables[0][0] = samples_at(table.source);
  to.tables[0][0] = samples_at(table.target);
  lens_shading_set target = {}, source = {};
  for (lens_shading_set* set : {&target, &source}) {
    set->light_count = 1;
    set->width = static_cast<uint16_t>(table.count);
    set->height = 1;
  }
  target.lights = &to;
  source.lights_ext = &from;
  float* planes = reinterpret_cast<float*>(block.data() + table.gains);
  computed_upscale_lsc_tables gains = {1, &planes};
  EXPECT_EQ(0u, ratio_based_sample_to_sample_correction(&target, &source, &gains, 2, 2));
  return byte_vector(block.data(), block.data() + block.size());
}

void expect_plain_rule(const byte_vector& before, const placed_table& table) {
  byte_vector expected = before;
  scale_plainly(expected, table.source, table.gains, table.target, table.count);
  ASSERT_EQ(expected, corrected_block(before, table))
      << table.count << " samples, target " << table.target << ", source " << table.source
      << ", gains " << table.gains;
}

TEST(OverlappingTables, ATargetAtAnyDistanceFromItsSourceFollowsThePlainRule) {
  constexpr size_t reach = 2 * 70 + 2;  // 70 samples to either side, at odd bytes too
  for (const size_t count : lengths) {
    const size_t gains = (2 * reach + 2 * count + 3) / 4 * 4;
    const byte_vector before = random_gains(gains + 16 * count, static_cast<uint32_t>(count));
    for (size_t target = 0; target <= 2 * reach; ++target)
      ASSERT_NO_FATAL_FAILURE(expect_plain_rule(before, {reach, gains, target, count}));
  }
}

TEST(OverlappingTables, ATargetAnywhereInItsGainsFollowsThePlainRule) {
  constexpr size_t reach = 2 * 70 + 4;
  for (const size_t count : lengths) {
    const size_t source = reach + 16 * count + reach + 2 * count;
    const byte_vector before = random_gains(source + 2 * count + 4, static_cast<uint32_t>(count));
    const size_t behind = std::max(reach + 4 * count + 4, 2 * reach);
    for (size_t target = 0; target <= behind; ++target)
      ASSERT_NO_FATAL_FAILURE(expect_plain_rule(before, {source, reach, target, count}));
  }
}

TEST(OverlappingTables, ATargetThatIsItsSourceInsideTheGainsFollowsThePlainRule) {
  for (const size_t count : lengths) {
    const byte_vector before = random_gains(4 + 16 * count + 4, static_cast<uint32_t>(count));
    for (size_t target = 0; target <= 4 + 4 * count; ++target)
      ASSERT_NO_FATAL_FAILURE(expect_plain_rule(before, {target, 4, target, count}));
  }
}

/// Three lights of a 4 x 4 cell, their tables anywhere in one block that also holds the gains.
struct scattered_lights {
  static constexpr size_t lights = 3;
  size_t gains;  ///< a multiple of 4: the planes themselves are floats
  size_t source[lights][16];
  size_t target[lights][16];
  size_t count;
};

/// Whether the result is defined to the bit: a table that an earlier light has written over the
/// gains may hold two NaNs for one mean, and which of them the sum takes is the processor's choice.
[[nodiscard]] bool correct_plainly(byte_vector& memory, const scattered_lights& set,
                                   uint32_t layout, uint32_t order) {
  const auto cell = plain::cell(layout);
  const auto plane = [&](const std::string& colour) {
    return set.gains + 4 * set.count * static_cast<size_t>(plain::plane_of(colour, order));
  };
  for (size_t light = 0; light < scattered_lights::lights; ++light) {
    for (size_t i = 0; i < set.count; ++i) {
      const size_t green_1 = plane("G1") + 4 * i, green_2 = plane("G2") + 4 * i;
      const float first = load_at<float>(memory, green_1), second = load_at<float>(memory, green_2);
      if (std::isnan(first) && std::isnan(second)) return false;
      const float mean = (first + second) * 0.5f;
      store_at(memory, green_1, mean);
      store_at(memory, green_2, mean);
    }
    for (size_t site = 0; site < 16; ++site) {
      const std::string& colour = cell[site / 4][site % 4];
      if (colour != "-")
        scale_plainly(memory, set.source[light][site], plane(colour), set.target[light][site],
                      set.count);
    }
  }
  return true;
}

byte_vector corrected_block(const byte_vector& before, const scattered_lights& set, uint32_t layout,
                            uint32_t order) {
  constexpr size_t lights = scattered_lights::lights;
  kit::guarded_buffer block(before.size());
  std::copy(before.begin(), before.end(), block.data());
  lens_shading_light to[lights] = {};
  lens_shading_light_ext from[lights] = {};
  for (size_t light = 0; light < lights; ++light) {
    from[light].aux = 1;
    for (size_t site = 0; site < 16; ++site) {
      from[light].tables[site / 4][site % 4] =
          reinterpret_cast<uint16_t*>(block.data() + set.source[light][site]);
      to[light].tables[site / 4][site % 4] =
          reinterpret_cast<uint16_t*>(block.data() + set.target[light][site]);
    }
  }
  lens_shading_set target = {}, source = {};
  for (lens_shading_set* side : {&target, &source}) {
    side->light_count = lights;
    side->width = static_cast<uint16_t>(set.count);
    side->height = 1;
  }
  target.lights = to;
  source.lights_ext = from;
  float* planes = reinterpret_cast<float*>(block.data() + set.gains);
  computed_upscale_lsc_tables gains = {1, &planes};
  EXPECT_EQ(0u, ratio_based_sample_to_sample_correction(&target, &source, &gains, layout, order));
  return byte_vector(block.data(), block.data() + block.size());
}

TEST(OverlappingTables, OfWholeCellsAverageAllGreensFirstAndThenGoSiteBySite) {
  std::mt19937 random(53);
  size_t defined = 0;
  for (uint32_t round = 0; round < 1000; ++round) {
    scattered_lights set = {};
    set.count = 1 + random() % 100;
    const size_t size = 4 * (random() % 50) + 16 * set.count + 4 * (random() % 50);
    const byte_vector before = random_gains(size, round);
    set.gains = random() % ((size - 16 * set.count) / 4 + 1) * 4;
    for (size_t light = 0; light < scattered_lights::lights; ++light) {
      for (size_t site = 0; site < 16; ++site) {
        set.source[light][site] = random() % (size - 2 * set.count + 1);
        set.target[light][site] = random() % (size - 2 * set.count + 1);
      }
    }
    const uint32_t layout = 256 + round % 8, order = round / 8 % 4;
    byte_vector expected = before;
    if (!correct_plainly(expected, set, layout, order)) continue;
    ++defined;
    ASSERT_EQ(expected, corrected_block(before, set, layout, order)) << "round " << round;
  }
  EXPECT_GT(defined, 100u);
}

}  // namespace
