// What a merge works on does not grow with the lights that it has nothing to do for.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cmc_parser/calibration_merge.h"
#include "rows/row_table.h"
#include "tests/kit/merging_module.h"
#include "tests/kit/module_calibration.h"
#include "tests/kit/row_name.h"
#include "writer/records.h"

namespace {

const qo::row_table& plain_rows() { return *qo::find_rows(qo::instruction_set::base); }

size_t averaged_samples = 0;
void count_and_average(float* a, float* b, size_t count) {
  averaged_samples += count;
  plain_rows().gains.average(a, b, count);
}

/// The plain table, but for the average, which counts its samples.
const qo::row_table& counting_rows() {
  static const qo::gain_rows counting = {plain_rows().gains.scale, count_and_average,
                                         plain_rows().gains.minimum, plain_rows().gains.normalise};
  const qo::row_table& plain = plain_rows();
  static const qo::row_table table = {plain.words,   plain.matrix,   plain.surface,
                                      counting,      plain.floats,   plain.splines,
                                      plain.patches, plain.bilinear, plain.bilinear_float,
                                      plain.areas,   plain.nearest,  plain.maxima,
                                      plain.store};
  return table;
}

constexpr uint16_t lights = 5, width = 9, height = 7;

struct work_case {
  const char* name;
  uint16_t cfa_layout;
  int8_t target_plane, source_plane;  ///< of every site, or -1: no table
  size_t samples;                     ///< averaged
};

class MergeWork : public testing::TestWithParam<work_case> {};

TEST_P(MergeWork, IsDoneOnlyForLightsWithSamplesToScale) {
  const work_case& c = GetParam();
  writer::mapped_grid_fields target = {.lights = lights, .width = width, .height = height};
  writer::mapped_grid_fields source = target;
  target.channel_map.assign(16, c.target_plane);
  source.channel_map.assign(16, c.source_plane);
  source.heads.assign(lights, {});  // every one names the first set
  const std::vector<uint8_t> image =
      writer::container()
          .add({writer::record_2({.cfa_layout = c.cfa_layout}), writer::record_17(),
                writer::record_28(target), writer::record_33(source)})
          .image();
  const qo_blob container = writer::blob_of(image);
  parsed_cmc* const cmc = qo_cmc_parser_init(&container);
  ASSERT_NE(nullptr, cmc);
  kit::module_calibration module(1, 7, 6, 10, [](size_t, size_t, size_t r, size_t k) {
    return static_cast<uint32_t>(100 + 3 * r + 5 * k);
  });
  qo::use_rows(counting_rows());
  averaged_samples = 0;
  const qo::merge_result merged = qo::merge_calibration(*cmc, module.object());
  EXPECT_EQ(lights, merged.lights);
  EXPECT_EQ(c.samples, averaged_samples);
  qo_cmc_parser_deinit(cmc);
}

constexpr size_t every_sample = size_t{lights} * width * height;
const work_case work_cases[] = {
    {"tables_in_a_large_cell", 256, 0, 0, every_sample},
    {"tables_in_a_small_cell", 2, 0, 0, 0},
    {"no_target_tables", 256, -1, 0, 0},
    {"no_source_tables", 256, 0, -1, 0},
    {"no_tables", 256, -1, -1, 0},
};
INSTANTIATE_TEST_SUITE_P(Table, MergeWork, testing::ValuesIn(work_cases), kit::row_name);

}  // namespace
