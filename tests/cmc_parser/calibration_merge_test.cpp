// When the lens-shading tables are rebuilt for a module, when they are left alone, and what becomes
// of the calibration.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "qo_cmc/lsc.h"
#include "tests/kit/container_cycle.h"
#include "tests/kit/fake_platform.h"
#include "tests/kit/module_calibration.h"
#include "tests/kit/row_name.h"
#include "writer/records.h"

namespace {

constexpr uint8_t some_image[] = {1, 2, 3};
const qo_blob some_nvm = {some_image, sizeof some_image};
constexpr uint16_t width = 9;
constexpr uint16_t height = 7;
constexpr size_t samples = size_t{width} * height;

/// Gains that differ in every sample, so that a table that was rebuilt shows.
kit::module_calibration sloping_module(uint8_t sets = 2) {
  return kit::module_calibration(
      sets, 7, 6, 10, [](size_t set, size_t channel, size_t r, size_t k) {
        return static_cast<uint32_t>(40 * set + 16 * channel + 30 * r * r + 20 * k * k + 100);
      });
}

uint16_t base_sample(size_t light, size_t plane, size_t index) {
  return static_cast<uint16_t>(4096 + 100 * light + 10 * plane + index);
}
uint16_t ext_sample(size_t light, size_t plane, size_t index) {
  return static_cast<uint16_t>(5000 + 200 * light + 20 * plane + index);
}

writer::mapped_grid_fields grid_of(writer::sample_source sample) {
  writer::mapped_grid_fields fields;
  fields.width = width;
  fields.height = height;
  fields.sample = std::move(sample);
  return fields;
}

struct records_given {
  bool mapped = true;
  bool mapped_ext = true;
  bool record_2 = true;
  bool record_17 = true;
};

writer::container container_of(const records_given& given) {
  writer::container container;
  if (given.record_2) container.add(writer::record_2({.cfa_layout = 2}));
  if (given.record_17) container.add(writer::record_17({.plane_order = 2, .orientation = 0}));
  if (given.mapped) container.add(writer::record_28(grid_of(base_sample)));
  if (given.mapped_ext) container.add(writer::record_33(grid_of(ext_sample)));
  return container;
}

/// A map without planes: a set with lights and a grid, but with no table.
writer::mapped_grid_fields without_tables(uint16_t grid_width, uint16_t grid_height,
                                          uint16_t lights) {
  writer::mapped_grid_fields fields;
  fields.width = grid_width;
  fields.height = grid_height;
  fields.lights = lights;
  fields.channel_map.assign(16, -1);
  return fields;
}

/// Every sample of a set that `light`s of this form hold, in order of light, site and place.
template <typename Light>
std::vector<uint16_t> samples_of(const lens_shading_set& set, const Light* lights) {
  std::vector<uint16_t> all;
  for (size_t light = 0; light < set.light_count; ++light)
    for (const auto& row : lights[light].tables)
      for (const uint16_t* const table : row)
        if (table != nullptr) all.insert(all.end(), table, table + size_t{set.width} * set.height);
  return all;
}
std::vector<uint16_t> target_samples(const parsed_cmc& cmc) {
  return samples_of(*cmc.lens_shading, cmc.lens_shading->lights);
}
std::vector<uint16_t> source_samples(const parsed_cmc& cmc) {
  return samples_of(*cmc.lens_shading_ext, cmc.lens_shading_ext->lights_ext);
}

struct merge_case {
  const char* name;
  bool image_given;
  qo_blob nvm;
  bool handle_made;
  records_given records;
  bool rebuilt;
  size_t releases;
};

class Merge : public testing::TestWithParam<merge_case> {};

TEST_P(Merge, RebuildsTheTablesOrLeavesThemAndReleasesTheHandleOnce) {
  const merge_case& c = GetParam();
  const std::vector<uint8_t> image = container_of(c.records).image();
  const kit::cmc_ptr plain = kit::parse(image);
  kit::fake_platform platform;
  kit::module_calibration module = sloping_module();
  platform.answer_images_with(c.handle_made ? &module.object() : nullptr);
  const kit::cmc_ptr cmc = kit::parse(image, c.image_given ? &c.nvm : nullptr);
  ASSERT_NE(nullptr, cmc);

  EXPECT_EQ(c.records.mapped, cmc->lens_shading != nullptr);
  EXPECT_EQ(c.records.mapped_ext, cmc->lens_shading_ext != nullptr);
  if (c.records.mapped) {
    EXPECT_EQ(c.rebuilt, target_samples(*plain) != target_samples(*cmc));
  }
  if (c.records.mapped_ext) {
    EXPECT_EQ(source_samples(*plain), source_samples(*cmc));
  }
  const std::vector<const calibration*> released = platform.released_handles();
  EXPECT_EQ(c.releases, released.size());
  EXPECT_EQ(c.releases,
            static_cast<size_t>(std::count(released.begin(), released.end(), &module.object())));
}

const merge_case merge_cases[] = {
    {"everything_given", true, some_nvm, true, {}, true, 1},
    {"no_image", false, some_nvm, true, {}, false, 0},
    {"an_image_without_data", true, {nullptr, 3}, true, {}, false, 0},
    {"an_image_of_size_0", true, {some_image, 0}, true, {}, false, 0},
    {"an_image_without_a_handle", true, some_nvm, false, {}, false, 0},
    {"no_target", true, some_nvm, true, {.mapped = false}, false, 1},
    {"no_source", true, some_nvm, true, {.mapped_ext = false}, false, 1},
    {"neither_set", true, some_nvm, true, {.mapped = false, .mapped_ext = false}, false, 1},
    {"no_record_2", true, some_nvm, true, {.record_2 = false}, false, 1},
    {"no_record_17", true, some_nvm, true, {.record_17 = false}, false, 1},
    {"neither_record", true, some_nvm, true, {.record_2 = false, .record_17 = false}, false, 1},
};
INSTANTIATE_TEST_SUITE_P(Table, Merge, testing::ValuesIn(merge_cases), kit::row_name);

TEST(CalibrationMerge, MultipliesTheSourceByThePlanesOfTheLightsSet) {
  // Record 33 stores a light's set less 1 in `aux`; the default heads number the sets from 1.
  const std::vector<uint8_t> image = container_of({}).image();
  kit::fake_platform platform;
  kit::module_calibration module = sloping_module();
  platform.answer_images_with(&module.object());
  const kit::cmc_ptr cmc = kit::parse(image, &some_nvm);
  computed_upscale_lsc_tables* const gains =
      compute_upscaled_lsc_tables_polynom4th(width, height, &module.object(), 0);
  ASSERT_NE(nullptr, gains);
  for (size_t light = 0; light < 2; ++light) {
    const lens_shading_light_ext& source = cmc->lens_shading_ext->lights_ext[light];
    const lens_shading_light& target = cmc->lens_shading->lights[light];
    ASSERT_EQ(light + 1, source.aux);
    EXPECT_EQ(source.light_id, target.light_id);
    EXPECT_EQ(source.fraction_bits, target.fraction_bits);
    for (size_t site = 0; site < 4; ++site) {
      const float* const plane = gains->gain_tables[light] + site * samples;
      for (size_t i = 0; i < samples; ++i)
        ASSERT_EQ(static_cast<uint16_t>(static_cast<float>(source.tables[site / 2][site % 2][i]) *
                                        plane[i]),
                  target.tables[site / 2][site % 2][i]);
    }
  }
  deinit_computed_upscale_lsc_tables(gains);
}

TEST(CalibrationMerge, TakesLayoutOrderAndOrientationFromRecords2And17) {
  // Layout 3 is G1 C1 / C2 G2; order 2 holds the planes as C1 G1 G2 C2: columns are exchanged.
  const std::vector<uint8_t> image =
      writer::container()
          .add(writer::record_2({.cfa_layout = 3}))
          .add(writer::record_17({.plane_order = 2, .orientation = 3}))
          .add(writer::record_28(grid_of(base_sample)))
          .add(writer::record_33(grid_of(ext_sample)))
          .image();
  kit::fake_platform platform;
  kit::module_calibration module = sloping_module();
  platform.answer_images_with(&module.object());
  const kit::cmc_ptr cmc = kit::parse(image, &some_nvm);
  computed_upscale_lsc_tables* const gains =
      compute_upscaled_lsc_tables_polynom4th(width, height, &module.object(), 3);
  ASSERT_NE(nullptr, gains);
  constexpr size_t plane_of_site[4] = {1, 0, 3, 2};
  for (size_t site = 0; site < 4; ++site) {
    const uint16_t* const from = cmc->lens_shading_ext->lights_ext[0].tables[site / 2][site % 2];
    const uint16_t* const to = cmc->lens_shading->lights[0].tables[site / 2][site % 2];
    const float* const plane = gains->gain_tables[0] + plane_of_site[site] * samples;
    for (size_t i = 0; i < samples; ++i)
      ASSERT_EQ(static_cast<uint16_t>(static_cast<float>(from[i]) * plane[i]), to[i]);
  }
  deinit_computed_upscale_lsc_tables(gains);
}

struct refused_module {
  const char* name;
  uint8_t width, height;
  kit::module_calibration::raw_rule raw;
};

class MergeRefusal : public testing::TestWithParam<refused_module> {};

TEST_P(MergeRefusal, LeavesTheSetsAloneWhenTheTablesCannotBeBuilt) {
  const refused_module& c = GetParam();
  const std::vector<uint8_t> image = container_of({}).image();
  const kit::cmc_ptr plain = kit::parse(image);
  kit::fake_platform platform;
  kit::module_calibration module(1, c.width, c.height, 9, c.raw);
  platform.answer_images_with(&module.object());
  const kit::cmc_ptr cmc = kit::parse(image, &some_nvm);
  EXPECT_EQ(target_samples(*plain), target_samples(*cmc));
  EXPECT_EQ(1u, platform.released_handles().size());
}

const refused_module refused_modules[] = {
    {"an_empty_grid", 0, 6, [](size_t, size_t, size_t, size_t) { return 0u; }},
    // One point determines no quartic: the normal matrix is all ones, its second pivot 0.
    {"a_singular_grid", 1, 1, [](size_t, size_t, size_t, size_t) { return 512u; }},
    // A surface through a single spike of 129 falls below 0 around it.
    {"a_surface_below_0", 9, 9,
     [](size_t, size_t, size_t r, size_t k) { return r == 4 && k == 4 ? 65535u : 0u; }},
};
INSTANTIATE_TEST_SUITE_P(Table, MergeRefusal, testing::ValuesIn(refused_modules), kit::row_name);

TEST(CalibrationMerge, ServesSetsOfTheUnmappedKinds) {
  // Records 10 and 11: a 2 x 2 cell, and `aux` as it is stored.
  writer::fixed_grid_fields base, ext;
  base.width = ext.width = width;
  base.height = ext.height = height;
  base.sample = base_sample;
  ext.sample = ext_sample;
  const std::vector<uint8_t> image = writer::container()
                                         .add(writer::record_2({.cfa_layout = 2}))
                                         .add(writer::record_17())
                                         .add(writer::record_10(base))
                                         .add(writer::record_11(ext))
                                         .image();
  kit::fake_platform platform;
  kit::module_calibration module = sloping_module();
  platform.answer_images_with(&module.object());
  const kit::cmc_ptr cmc = kit::parse(image, &some_nvm);
  computed_upscale_lsc_tables* const gains =
      compute_upscaled_lsc_tables_polynom4th(width, height, &module.object(), 0);
  ASSERT_NE(nullptr, gains);
  for (size_t light = 0; light < 2; ++light) {
    ASSERT_EQ(light + 1, cmc->lens_shading_ext->lights_ext[light].aux);
    for (size_t site = 0; site < 4; ++site)
      for (size_t i = 0; i < samples; ++i)
        ASSERT_EQ(static_cast<uint16_t>(static_cast<float>(ext_sample(light, site, i)) *
                                        gains->gain_tables[light][site * samples + i]),
                  cmc->lens_shading->lights[light].tables[site / 2][site % 2][i]);
  }
  deinit_computed_upscale_lsc_tables(gains);
}

TEST(CalibrationMerge, LeavesTheSitesWithoutAColourOfALargeCell) {
  // Layout 256: rows 1 and 3 are G1 - G1 -, the others hold no dash.
  writer::mapped_grid_fields base = grid_of(base_sample), ext = grid_of(ext_sample);
  base.lights = ext.lights = 1;
  for (size_t site = 0; site < 16; ++site)
    base.channel_map[site] = ext.channel_map[site] = static_cast<int8_t>(site);
  const std::vector<uint8_t> image = writer::container()
                                         .add(writer::record_2({.cfa_layout = 256}))
                                         .add(writer::record_17({.plane_order = 3}))
                                         .add(writer::record_28(base))
                                         .add(writer::record_33(ext))
                                         .image();
  kit::fake_platform platform;
  kit::module_calibration module = sloping_module();
  platform.answer_images_with(&module.object());
  const kit::cmc_ptr cmc = kit::parse(image, &some_nvm);
  for (size_t row = 0; row < 4; ++row) {
    for (size_t column = 0; column < 4; ++column) {
      const size_t site = 4 * row + column;
      const bool dash = row % 2 == 1 && column % 2 == 1;
      const uint16_t* const table = cmc->lens_shading->lights[0].tables[row][column];
      bool is_base = true;
      for (size_t i = 0; i < samples; ++i) is_base = is_base && table[i] == base_sample(0, site, i);
      EXPECT_EQ(dash, is_base) << "row " << row << " column " << column;
    }
  }
}

TEST(CalibrationMerge, OfATargetWithoutTablesCopiesTheLeadingFields) {
  const std::vector<uint8_t> image = writer::container()
                                         .add(writer::record_2())
                                         .add(writer::record_17())
                                         .add(writer::record_28(without_tables(4, 10, 3)))
                                         .add(writer::record_33(grid_of(ext_sample)))
                                         .image();
  kit::fake_platform platform;
  // The source has fewer lights than the target: nothing may be copied.
  kit::module_calibration module = sloping_module();
  platform.answer_images_with(&module.object());
  const kit::cmc_ptr fewer = kit::parse(image, &some_nvm);
  EXPECT_EQ(writer::default_light_head(0).gains[0], fewer->lens_shading->lights[0].gains[0]);

  writer::mapped_grid_fields target = without_tables(4, 10, 2);
  target.heads = {writer::default_light_head(7), writer::default_light_head(8)};
  const kit::cmc_ptr cmc = kit::parse(writer::container()
                                          .add(writer::record_2())
                                          .add(writer::record_17())
                                          .add(writer::record_28(target))
                                          .add(writer::record_33(grid_of(ext_sample)))
                                          .image(),
                                      &some_nvm);
  for (size_t light = 0; light < 2; ++light)
    EXPECT_EQ(cmc->lens_shading_ext->lights_ext[light].gains[0],
              cmc->lens_shading->lights[light].gains[0]);
}

TEST(CalibrationMerge, ThatStopsAtALightKeepsTheLightsBeforeIt) {
  // The second light asks for set 2, which this module does not have.
  const std::vector<uint8_t> image = container_of({}).image();
  const kit::cmc_ptr plain = kit::parse(image);
  kit::fake_platform platform;
  kit::module_calibration module = sloping_module(1);
  platform.answer_images_with(&module.object());
  const kit::cmc_ptr cmc = kit::parse(image, &some_nvm);
  const std::vector<uint16_t> before = target_samples(*plain);
  const std::vector<uint16_t> after = target_samples(*cmc);
  ASSERT_EQ(before.size(), after.size());
  const auto half = static_cast<std::ptrdiff_t>(before.size() / 2);
  EXPECT_FALSE(std::equal(before.begin(), before.begin() + half, after.begin()));
  EXPECT_TRUE(std::equal(before.begin() + half, before.end(), after.begin() + half));
  EXPECT_EQ(1u, platform.released_handles().size());
}

struct target_case {
  const char* name;
  uint16_t width, height, lights;
  bool built;
};

class MergeTarget : public testing::TestWithParam<target_case> {};

TEST_P(MergeTarget, HasGainPlanesBuiltOnlyWhenItHasSomethingToRebuild) {
  const target_case& c = GetParam();
  const std::vector<uint8_t> image =
      writer::container()
          .add(writer::record_2())
          .add(writer::record_17())
          .add(writer::record_28(without_tables(c.width, c.height, c.lights)))
          .add(writer::record_33(grid_of(ext_sample)))
          .image();
  kit::fake_platform platform;
  kit::module_calibration module = sloping_module();
  kit::allocation_ledger ledger;
  kit::parse(image);
  const size_t without = ledger.allocations();
  platform.answer_images_with(&module.object());
  kit::parse(image, &some_nvm);
  // A merge allocates working storage, or nothing at all.
  EXPECT_EQ(c.built, ledger.allocations() > 2 * without);
  EXPECT_EQ(1u, platform.released_handles().size());
  EXPECT_EQ(0u, ledger.live_blocks());
}

const target_case target_cases[] = {
    {"no_light", 4, 4, 0, false},
    {"no_table_and_a_grid_within_its_record", 4, 10, 3, true},   // 80 of 32 + 66 + 6 bytes
    {"no_table_and_a_grid_beyond_its_record", 4, 20, 3, false},  // 160 bytes
    {"no_table_and_the_largest_grid", 65535, 65535, 1, false},
};
INSTANTIATE_TEST_SUITE_P(Table, MergeTarget, testing::ValuesIn(target_cases), kit::row_name);

/// The two lights of record 33 name these sets, counted from 1; it stores them less 1.
writer::container container_naming(uint16_t first, uint16_t second, uint16_t cfa_layout = 2) {
  writer::mapped_grid_fields ext = grid_of(ext_sample);
  ext.heads = {writer::default_light_head(0), writer::default_light_head(1)};
  ext.heads[0].aux = static_cast<uint16_t>(first - 1);
  ext.heads[1].aux = static_cast<uint16_t>(second - 1);
  return writer::container()
      .add(writer::record_2({.cfa_layout = cfa_layout}))
      .add(writer::record_17({.plane_order = 2, .orientation = 0}))
      .add(writer::record_28(grid_of(base_sample)))
      .add(writer::record_33(ext));
}

/// Blocks of gain planes that a parse asked the heap for.
size_t gain_blocks_of(const std::vector<uint8_t>& image) {
  kit::allocation_ledger ledger;
  kit::parse(image, &some_nvm);
  size_t blocks = 0;
  for (const kit::heap_call& call : ledger.calls())
    blocks += !call.is_release && call.size == 16 * samples ? 1 : 0;
  EXPECT_EQ(0u, ledger.live_blocks());
  EXPECT_EQ(0u, ledger.bad_releases());
  return blocks;
}

struct named_sets_case {
  const char* name;
  uint16_t first, second;  // named by the two lights, from 1 on
  uint16_t cfa_layout;
  size_t blocks;
};

class MergeSets : public testing::TestWithParam<named_sets_case> {};

TEST_P(MergeSets, AreKeptOnlyWhenTablesAreMultipliedByThem) {
  const named_sets_case& c = GetParam();
  kit::fake_platform platform;
  kit::module_calibration module = sloping_module(6);
  platform.answer_images_with(&module.object());
  EXPECT_EQ(c.blocks, gain_blocks_of(container_naming(c.first, c.second, c.cfa_layout).image()));
}

const named_sets_case named_sets_cases[] = {
    {"two_and_one_for_the_others", 5, 2, 2, 3},
    {"one_that_serves_both_lights", 4, 4, 2, 2},
    {"the_last_and_none", 6, 0, 2, 2},
    {"one_beyond_the_modules", 7, 1, 2, 2},
    {"one_beyond_all_modules", 256, 65535, 2, 1},
    {"a_large_cell", 5, 2, 256, 3},
    {"a_layout_that_is_none", 5, 2, 4, 1},
};
INSTANTIATE_TEST_SUITE_P(Table, MergeSets, testing::ValuesIn(named_sets_cases), kit::row_name);

TEST(CalibrationMerge, MultipliesByTheKeptSetWhateverStandsInTheOthers) {
  kit::fake_platform platform;
  kit::module_calibration module = sloping_module(6);
  platform.answer_images_with(&module.object());
  computed_upscale_lsc_tables* const gains =
      compute_upscaled_lsc_tables_polynom4th(width, height, &module.object(), 0);
  ASSERT_NE(nullptr, gains);
  constexpr uint16_t named[2] = {5, 2};
  const kit::cmc_ptr cmc = kit::parse(container_naming(named[0], named[1]).image(), &some_nvm);
  for (size_t light = 0; light < 2; ++light)
    for (size_t site = 0; site < 4; ++site)
      for (size_t i = 0; i < samples; ++i)
        ASSERT_EQ(static_cast<uint16_t>(static_cast<float>(ext_sample(light, site, i)) *
                                        gains->gain_tables[named[light] - 1][site * samples + i]),
                  cmc->lens_shading->lights[light].tables[site / 2][site % 2][i]);
  deinit_computed_upscale_lsc_tables(gains);
}

TEST(CalibrationMerge, IsStoppedByASetThatNoLightNames) {
  // Set 3 is a single spike, whose surface falls below 0.
  const std::vector<uint8_t> image = container_naming(1, 2).image();
  const std::vector<uint16_t> plain = target_samples(*kit::parse(image));
  kit::fake_platform platform;
  kit::module_calibration module(4, 9, 9, 9, [](size_t set, size_t, size_t r, size_t k) {
    if (set == 2) return r == 4 && k == 4 ? 65535u : 0u;
    return static_cast<uint32_t>(100 + r + k);
  });
  platform.answer_images_with(&module.object());
  EXPECT_EQ(plain, target_samples(*kit::parse(image, &some_nvm)));
}

TEST(CalibrationMerge, OfALightWithoutTablesAveragesTheGreensOfNobody) {
  // The target has no tables, so no set is kept, and its lights name the block of the others.
  constexpr uint16_t lights = 6;
  writer::mapped_grid_fields ext = grid_of(ext_sample);
  ext.lights = lights;
  const std::vector<uint8_t> image = writer::container()
                                         .add(writer::record_2({.cfa_layout = 256}))
                                         .add(writer::record_17({.plane_order = 3}))
                                         .add(writer::record_28(without_tables(9, 7, lights)))
                                         .add(writer::record_33(ext))
                                         .image();
  kit::fake_platform platform;
  kit::module_calibration module = sloping_module(6);
  platform.answer_images_with(&module.object());
  EXPECT_EQ(1u, gain_blocks_of(image));
  const kit::cmc_ptr cmc = kit::parse(image, &some_nvm);
  for (size_t light = 0; light < lights; ++light)
    EXPECT_EQ(cmc->lens_shading_ext->lights_ext[light].light_id,
              cmc->lens_shading->lights[light].light_id);
}

TEST(CalibrationMerge, LeavesNothingThatPointsIntoTheCalibration) {
  const std::vector<uint8_t> image = container_of({}).image();
  kit::fake_platform platform;
  kit::cmc_ptr cmc;
  std::vector<uint16_t> at_once;
  {
    // The grids end at inaccessible pages that go away with the module.
    kit::module_calibration module = sloping_module();
    platform.answer_images_with(&module.object());
    cmc = kit::parse(image, &some_nvm);
    at_once = target_samples(*cmc);
  }
  EXPECT_EQ(at_once, target_samples(*cmc));
  kit::tour_of(*cmc);
}

TEST(CalibrationMerge, WithoutMemoryAtAnyPointStillParsesAndLeaksNothing) {
  const std::vector<uint8_t> image = container_of({}).image();
  const std::vector<uint16_t> plain = target_samples(*kit::parse(image));
  kit::fake_platform platform;
  // Sets that a light names, and others.
  kit::module_calibration module = sloping_module(4);
  platform.answer_images_with(&module.object());
  const std::vector<uint16_t> merged = target_samples(*kit::parse(image, &some_nvm));
  kit::allocation_ledger ledger;
  kit::parse(image);
  const size_t before_the_merge = ledger.allocations();
  size_t uncorrected = 0;
  for (size_t successes = before_the_merge;; ++successes) {
    const size_t failures = ledger.failures();
    ledger.fail_after(successes);
    const kit::cmc_ptr cmc = kit::parse(image, &some_nvm);
    ledger.fail_never();
    ASSERT_NE(nullptr, cmc);
    if (ledger.failures() == failures) {
      EXPECT_EQ(merged, target_samples(*cmc));
      break;
    }
    EXPECT_EQ(plain, target_samples(*cmc));
    ++uncorrected;
  }
  // Working storage, the record with its blocks, one factorisation and the solvers of all sets.
  EXPECT_GE(uncorrected, 20u);
  EXPECT_EQ(0u, ledger.live_blocks());
  EXPECT_EQ(0u, ledger.bad_releases());
}

}  // namespace
