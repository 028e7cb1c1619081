// The heap that the routines of lsc/ state: what they work with, and what they hand out.

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "qo_cmc/lsc.h"
#include "qo_cmc/status.h"
#include "tests/kit/allocation_ledger.h"
#include "tests/kit/module_calibration.h"
#include "tests/kit/row_name.h"

namespace {

struct stated_heap {
  const char* name;
  size_t bytes;  ///< at most, at any time
  std::function<void()> call;
};

constexpr int32_t side = 21;
constexpr uint16_t terms = 17;
constexpr uint16_t grid_w = 17, grid_h = 13;
constexpr uint16_t out_w = 40, out_h = 30;
constexpr uint8_t sets = 3;
constexpr size_t grid = size_t{grid_w} * grid_h;
constexpr size_t plane = size_t{out_w} * out_h;

void factorise() {
  const std::vector<float> source(size_t{side} * side, 1);
  std::vector<float> factors(source.size());
  std::vector<int32_t> index(side);
  EXPECT_EQ(QO_CMC_OK, lu_decomposition_m(source.data(), 4 * side, 4, index.data(), factors.data(),
                                          4 * side, 4, side));
}

void prepare_fit() {
  std::vector<float> design(grid * terms), design_t(grid * terms), lu(size_t{terms} * terms);
  std::vector<int32_t> index(terms);
  EXPECT_EQ(QO_CMC_OK, lu_decomposition(design.data(), design_t.data(), lu.data(), index.data(),
                                        grid_w, grid_h, terms));
}

void fit(uint16_t term_count) {
  const std::vector<float> design_t(grid * term_count), lu(size_t{term_count} * term_count);
  const std::vector<float> source(grid);
  std::vector<float> destination(plane);
  const float* const sources[] = {source.data(), source.data(), source.data(), source.data()};
  float* const planes[] = {destination.data(), destination.data(), destination.data(),
                           destination.data()};
  EXPECT_EQ(QO_CMC_OK,
            lsc_polynomial_upscale_float(design_t.data(), lu.data(), nullptr, sources, planes,
                                         grid_w, grid_h, out_w, out_h, term_count));
}

template <auto build>
void build_tables() {
  kit::module_calibration module(sets, grid_w, grid_h, 8, [](size_t, size_t, size_t y, size_t x) {
    return static_cast<uint32_t>(100 + x + y);
  });
  computed_upscale_lsc_tables* const tables = build(out_w, out_h, &module.object(), 0);
  ASSERT_NE(nullptr, tables);
  deinit_computed_upscale_lsc_tables(tables);
}

constexpr size_t handed_out = 16 * plane * sets + 8 * sets + 16;

class WorkingMemory : public testing::TestWithParam<stated_heap> {};

TEST_P(WorkingMemory, IsWhatTheHeaderStates) {
  kit::allocation_ledger ledger;
  GetParam().call();
  EXPECT_LT(0u, ledger.peak_bytes());
  EXPECT_GE(GetParam().bytes, ledger.peak_bytes());
  EXPECT_EQ(0u, ledger.live_blocks());
}

INSTANTIATE_TEST_SUITE_P(
    Each, WorkingMemory,
    testing::Values(stated_heap{"lu_decomposition_m", 4 * side* side, factorise},
                    stated_heap{"lu_decomposition", 8 * terms* terms, prepare_fit},
                    stated_heap{"lsc_polynomial_upscale_float", 24 * terms, [] { fit(terms); }},
                    stated_heap{"lsc_polynomial_upscale_float_few_terms", 24 * 15, [] { fit(1); }},
                    stated_heap{"polynomial_builder", handed_out + 136 * grid + 3 * 1024,
                                build_tables<compute_upscaled_lsc_tables_polynom4th>},
                    stated_heap{
                        "bicubic_builder",
                        handed_out + 16 * plane + sizeof(float) * (4 * (grid_w + 3) + out_w),
                        build_tables<compute_upscaled_lsc_tables_bicubic>}),
    kit::row_name);

}  // namespace
