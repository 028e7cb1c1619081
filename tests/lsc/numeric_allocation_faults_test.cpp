// Every numeric entry with each of its allocations refused, alone and with all later ones: it
// reports what its header says, and holds no block afterwards. Entries that allocate nothing go
// through without memory.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "qo_cmc/image_utils.h"
#include "qo_cmc/lsc.h"
#include "tests/kit/allocation_ledger.h"
#include "tests/kit/module_calibration.h"
#include "tests/kit/row_name.h"

namespace {

/// Samples to read, not 0, and samples to write, enough for all calls below.
template <typename Sample>
struct arena {
  std::vector<Sample> from = std::vector<Sample>(1024, Sample{3});
  std::vector<Sample> to = std::vector<Sample>(2048);
  const Sample* sources[4] = {from.data(), from.data() + 64, from.data() + 128, from.data() + 192};
  Sample* targets[4] = {to.data(), to.data() + 256, to.data() + 512, to.data() + 768};
};

struct arenas {
  arena<uint8_t> bytes;
  arena<uint16_t> halves;
  arena<uint32_t> words;
  arena<int32_t> integers;
  arena<float> floats;
  std::vector<float> design = std::vector<float>(15 * 42);
  std::vector<float> design_t = std::vector<float>(15 * 42);
  std::vector<float> lu = std::vector<float>(15 * 15);
  std::vector<int32_t> index = std::vector<int32_t>(15);
  kit::module_calibration module{
      2, 7, 6, 10, [](size_t set, size_t channel, size_t r, size_t k) {
        return static_cast<uint32_t>(100 + 7 * set + 16 * channel + 3 * r + 5 * k);
      }};
};

struct entry {
  const char* name;
  std::function<uint64_t(arenas&)> call;
  /// What it answers without its first allocation, without its second, and so on.
  std::vector<uint64_t> answers{};
};

/// The answer of a builder: whether there are tables.
uint64_t built(computed_upscale_lsc_tables* tables) {
  deinit_computed_upscale_lsc_tables(tables);
  return tables != nullptr ? QO_CMC_OK : QO_CMC_NO_MEMORY;
}

uint64_t corrected(arenas& a) {
  lens_shading_light target_light = {};
  lens_shading_light_ext source_light = {};
  // A cell of 4 x 4 sites, which averages greens.
  for (size_t row = 0; row < 4; ++row)
    for (size_t column = 0; column < 4; ++column) {
      target_light.tables[row][column] = a.halves.to.data();
      source_light.tables[row][column] = a.halves.from.data();
    }
  lens_shading_set target = {};
  lens_shading_set source = {};
  target.width = source.width = 4;
  target.height = source.height = 3;
  target.light_count = source.light_count = 1;
  target.lights = &target_light;
  source.lights_ext = &source_light;
  source_light.aux = 1;
  float* planes[] = {a.floats.from.data()};
  computed_upscale_lsc_tables gains = {};
  gains.table_count = 1;
  gains.gain_tables = planes;
  return ratio_based_sample_to_sample_correction(&target, &source, &gains, 256, 3);
}

template <typename Call>
auto of_nothing(Call call) {
  return [call](arenas& a) {
    call(a);
    return uint64_t{QO_CMC_OK};
  };
}

const entry entries[] = {
    {"transpose_m",
     [](arenas& a) {
       return transpose_m(a.floats.from.data(), 16, 4, 4, 3, a.floats.to.data(), 12, 4);
     }},
    {"mul_mm",
     [](arenas& a) {
       return mul_mm(a.floats.from.data(), 16, 4, 4, 4, a.floats.from.data(), 16, 4, 4, 4,
                     a.floats.to.data(), 16, 4);
     }},
    {"mul_mv",
     [](arenas& a) {
       return mul_mv(a.floats.from.data(), 16, 4, 4, 4, a.floats.from.data(), 4, 4,
                     a.floats.to.data(), 4);
     }},
    {"lu_decomposition_m",
     [](arenas& a) {
       return lu_decomposition_m(a.floats.from.data(), 16, 4, a.index.data(), a.floats.to.data(),
                                 16, 4, 4);
     },
     {QO_CMC_NO_MEMORY}},
    // The normal matrix, and the copy that is factorised.
    {"lu_decomposition",
     [](arenas& a) {
       return lu_decomposition(a.design.data(), a.design_t.data(), a.lu.data(), a.index.data(), 7,
                               6, 15);
     },
     {QO_CMC_NO_MEMORY, QO_CMC_STEP_FAILED}},
    // Right sides, coefficients, and one solution for each channel.
    {"lsc_polynomial_upscale_float",
     [](arenas& a) {
       return lsc_polynomial_upscale_float(a.design_t.data(), a.lu.data(), nullptr,
                                           a.floats.sources, a.floats.targets, 7, 6, 9, 7, 15);
     },
     std::vector<uint64_t>(6, QO_CMC_STEP_FAILED)},
    {"do_polynomial_upscale", of_nothing([](arenas& a) {
       do_polynomial_upscale(a.floats.to.data(), a.floats.from.data(), 7, 6, 9, 7);
     })},
    // The design, its transpose, the factors and their order, four grids; the factorisation's two;
    // the tables and their array; for each set its block and the six of the fit.
    {"compute_upscaled_lsc_tables_polynom4th",
     [](arenas& a) {
       return built(compute_upscaled_lsc_tables_polynom4th(9, 7, &a.module.object(), 0));
     },
     std::vector<uint64_t>(8 + 2 + 2 + 2 * 7, QO_CMC_NO_MEMORY)},
    // Four planes, the tables and their array; for each set its block and the enlargement's two.
    {"compute_upscaled_lsc_tables_bicubic",
     [](arenas& a) {
       return built(compute_upscaled_lsc_tables_bicubic(9, 7, &a.module.object(), 0));
     },
     std::vector<uint64_t>(4 + 2 + 2 * 3, QO_CMC_NO_MEMORY)},
    {"ratio_based_sample_to_sample_correction", corrected},
    {"interpolate_gain_value",
     of_nothing([](arenas& a) { interpolate_gain_value(a.floats.to.data() + 100, 10, 1); })},
    {"image_bicubic_upscale_uint8_to_float",
     [](arenas& a) {
       return image_bicubic_upscale_uint8_to_float(a.bytes.sources, a.floats.targets, 4, 4, 8, 8,
                                                   2);
     },
     {QO_CMC_NO_MEMORY, QO_CMC_NO_MEMORY}},
    {"image_bicubic_upscale_uint16_to_float",
     [](arenas& a) {
       return image_bicubic_upscale_uint16_to_float(a.halves.sources, a.floats.targets, 4, 4, 8, 8,
                                                    2);
     },
     {QO_CMC_NO_MEMORY, QO_CMC_NO_MEMORY}},
    {"create_extrapolated_buffer_for_bicubic_u16", of_nothing([](arenas& a) {
       create_extrapolated_buffer_for_bicubic_u16(a.halves.from.data(), a.floats.to.data(), 5, 4);
     })},
    {"bicubic_resize_32f_to_u16p10",
     [](arenas& a) {
       return bicubic_resize_32f_to_u16p10(a.floats.from.data(), 4, 5, a.halves.to.data(), 7, 9);
     },
     {QO_CMC_NO_MEMORY}},
    {"bicubic_resize_u16_to_u16",
     [](arenas& a) {
       return bicubic_resize_u16_to_u16(a.halves.from.data(), 4, 5, 10, a.halves.to.data(), 7, 9);
     },
     {QO_CMC_NO_MEMORY}},
    {"image_nearest_neighbor_scale_uint32",
     [](arenas& a) {
       return image_nearest_neighbor_scale_uint32(a.words.from.data(), 5, 4, a.words.to.data(), 9,
                                                  7);
     }},
    {"image_upscale_nearest_neighbor_uint16",
     [](arenas& a) {
       return image_upscale_nearest_neighbor_uint16(a.halves.from.data(), a.halves.to.data(), 5, 4,
                                                    9, 7);
     }},
    {"image_downscale_nearest_neighbor_int32",
     [](arenas& a) {
       return image_downscale_nearest_neighbor_int32(a.integers.from.data(), a.words.to.data(), 9,
                                                     7, 5, 4, 1);
     }},
    {"resize_2d_array_uint32",
     [](arenas& a) {
       return resize_2d_array_uint32(a.words.from.data(), 5, 4, a.words.to.data(), 9, 7);
     }},
    {"resize_2d_array_uint16",
     [](arenas& a) {
       return resize_2d_array_uint16(a.halves.from.data(), 5, 4, a.halves.to.data(), 9, 7);
     }},
    {"resize_2d_array_uint16_v1",
     [](arenas& a) {
       return resize_2d_array_uint16_v1(a.halves.from.data(), 5, 4, a.halves.to.data(), 9, 7, 1);
     }},
    {"resize_2d_array_uint8",
     [](arenas& a) {
       return resize_2d_array_uint8(a.bytes.from.data(), 5, 4, a.bytes.to.data(), 9, 7);
     }},
    {"resize_2d_array_uint8_v1",
     [](arenas& a) {
       return resize_2d_array_uint8_v1(a.bytes.from.data(), 5, 4, a.bytes.to.data(), 9, 7, 1);
     }},
    {"resize_2d_array_float",
     [](arenas& a) {
       return resize_2d_array_float(a.floats.from.data(), 5, 4, a.floats.to.data(), 9, 7);
     }},
    {"crop_resize_2d_array_uint16",
     [](arenas& a) {
       return crop_resize_2d_array_uint16(a.halves.from.data(), 9, 7, {1, 1}, {2, 1},
                                          a.halves.to.data(), 5, 4);
     }},
    {"image_downscale_32f_to_u16p10",
     [](arenas& a) {
       return image_downscale_32f_to_u16p10(a.floats.sources, a.halves.targets, 9, 7, 5, 4, 2,
                                            nullptr);
     }},
    {"image_downscale_u16_to_u16",
     [](arenas& a) {
       return image_downscale_u16_to_u16(a.halves.sources, a.halves.targets, 9, 7, 10, 5, 4, 10, 2,
                                         nullptr);
     }},
};

class NumericAllocationFaults : public testing::TestWithParam<entry> {};

TEST_P(NumericAllocationFaults, AreReportedAndLeaveNoBlock) {
  const entry& c = GetParam();
  arenas memory;
  kit::allocation_ledger ledger;
  EXPECT_EQ(uint64_t{QO_CMC_OK}, c.call(memory));
  ASSERT_EQ(c.answers.size(), ledger.allocations());
  for (const bool all_later : {false, true}) {
    for (size_t n = 0; n <= c.answers.size(); ++n) {
      SCOPED_TRACE(testing::Message()
                   << "allocation " << n << (all_later ? " and all later ones" : "") << " refused");
      const size_t failures = ledger.failures();
      all_later ? ledger.fail_from(n) : ledger.fail_after(n);
      const bool is_refused = n < c.answers.size();
      EXPECT_EQ(is_refused ? c.answers[n] : uint64_t{QO_CMC_OK}, c.call(memory));
      ledger.fail_never();
      EXPECT_EQ(is_refused, ledger.failures() != failures);
      EXPECT_EQ(0u, ledger.live_blocks());
      EXPECT_EQ(0u, ledger.bad_releases());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Table, NumericAllocationFaults, testing::ValuesIn(entries), kit::row_name);

}  // namespace
