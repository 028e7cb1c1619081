// Whose greens a correction averages: of every light for callers who keep the gains, and otherwise
// only where samples are multiplied by them.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lsc/sample_correction.h"
#include "qo_cmc/status.h"
#include "tests/kit/row_name.h"

namespace {

constexpr uint32_t large_cell = 256;
constexpr uint32_t plane_order = 0;
constexpr size_t samples = 6;

struct greens_case {
  const char* name;
  bool target_table, source_table;
  uint32_t cfa_layout;
  qo::averaged_greens greens;
  bool averaged;
};

class Greens : public testing::TestWithParam<greens_case> {};

TEST_P(Greens, AreAveragedWhereTheyCount) {
  const greens_case& c = GetParam();
  std::vector<uint16_t> from_table(samples, 300), to_table(samples, 7);
  lens_shading_light_ext from = {};
  from.aux = 1;
  from.light_id = 11;
  if (c.source_table) from.tables[0][1] = from_table.data();
  lens_shading_light to = {};
  if (c.target_table) to.tables[0][1] = to_table.data();
  lens_shading_set target = {}, source = {};
  target.light_count = source.light_count = 1;
  target.width = source.width = samples;
  target.height = source.height = 1;
  target.lights = &to;
  source.lights_ext = &from;
  std::vector<float> planes;
  for (const float gain : {1.0f, 2.0f, 4.0f, 7.0f}) planes.insert(planes.end(), samples, gain);
  const std::vector<float> before = planes;
  float* const tables[] = {planes.data()};
  computed_upscale_lsc_tables gains = {1, const_cast<float**>(tables)};

  const qo::correction_result result =
      qo::correct_samples(&target, &source, &gains, c.cfa_layout, plane_order, c.greens);
  EXPECT_EQ(uint64_t{QO_CMC_OK}, result.code);
  EXPECT_EQ(1, result.lights);
  EXPECT_EQ(11u, to.light_id);
  EXPECT_EQ(c.averaged, planes != before);
}

constexpr auto every_light = qo::averaged_greens::of_every_light;
constexpr auto scaled_sites = qo::averaged_greens::of_scaled_sites;
const greens_case greens_cases[] = {
    {"every_light_with_tables", true, true, large_cell, every_light, true},
    {"every_light_without_any", false, false, large_cell, every_light, true},
    {"every_light_in_a_small_cell", true, true, 0, every_light, false},
    {"scaled_site", true, true, large_cell, scaled_sites, true},
    {"no_target_table", false, true, large_cell, scaled_sites, false},
    {"no_source_table", true, false, large_cell, scaled_sites, false},
    {"no_tables", false, false, large_cell, scaled_sites, false},
    {"scaled_site_in_a_small_cell", true, true, 0, scaled_sites, false},
};
INSTANTIATE_TEST_SUITE_P(Table, Greens, testing::ValuesIn(greens_cases), kit::row_name);

}  // namespace
