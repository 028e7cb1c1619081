// The lens-shading toolkit beside the plain scalar rule and an Eigen version, in one run:
//   tables      gain tables of 3 calibration sets, 17 x 13 fitted and sampled at 65 x 49
//   correction  5 lights of 65 x 49 samples, four sites each
// The plain rule gives the library's bits; Eigen's sums run in another order.

#include <benchmark/benchmark.h>

#include <Eigen/Dense>
#include <cstring>
#include <vector>

#include "qo_cmc/lsc.h"
#include "qo_nvm.h"
#include "tests/lsc/plain_lens_shading.h"

namespace {

constexpr size_t sets = 3, grid_width = 17, grid_height = 13, grid_samples = 17 * 13;
constexpr size_t out_width = 65, out_height = 49, samples = 65 * 49;
constexpr size_t lights = 5;
constexpr size_t terms = 15;

using matrix = Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
using vector = Eigen::VectorXf;

/// The calibration of a module whose shading differs in every set and channel.
struct shaded_module {
  shaded_module() {
    for (size_t set = 0; set < sets; ++set) {
      entries[set].fraction_bits = 10;
      for (size_t channel = 0; channel < 4; ++channel) {
        std::vector<uint16_t>& grid = grids[set][channel];
        for (size_t i = 0; i < grid_samples; ++i) {
          const int u = int(i % grid_width) - 8, v = int(i / grid_width) - 6;
          grid.push_back(uint16_t(100 + 12 * u * u + 9 * v * v + int(37 * channel + 11 * set)));
        }
        entries[set].channel_tables[channel] = grid.data();
      }
    }
    module.lsc_set_count = sets;
    module.lsc_grid_width = grid_width;
    module.lsc_grid_height = grid_height;
    module.lsc_sets = entries;
  }
  calibration module = {};
  lsc_calibration_set entries[sets] = {};
  std::vector<uint16_t> grids[sets][4];
};

const shaded_module& the_module() {
  static const shaded_module module;
  return module;
}

std::vector<plain::floats> plain_tables() {
  const plain::fit fit(grid_width, grid_height);
  std::vector<plain::floats> planes;
  for (const auto& set : the_module().grids) {
    for (const std::vector<uint16_t>& grid : set) {
      planes.push_back(fit.upscale(plain::gains(grid, grid_width, grid_height, 1024.0f, 0),
                                   out_width, out_height));
      if (!plain::normalise(planes.back())) return {};
    }
  }
  return planes;
}

/// The four grids of a set in one product, solved by LU with partial pivoting, sampled as a product
/// of monomials.
std::vector<matrix> eigen_tables() {
  const auto monomial_rows = [](size_t width, size_t height, float step_x, float step_y) {
    matrix rows(width * height, terms);
    for (size_t r = 0; r < height; ++r) {
      for (size_t k = 0; k < width; ++k) {
        const float x = 1 + float(k) * step_x, y = 1 + float(r) * step_y;
        rows.row(Eigen::Index(r * width + k)) << 1, x, y, x * x, x * y, y * y, x * x * x, x * x * y,
            x * y * y, y * y * y, x * x * x * x, x * x * x * y, x * x * y * y, x * y * y * y,
            y * y * y * y;
      }
    }
    return rows;
  };
  const matrix design = monomial_rows(grid_width, grid_height, 1, 1);
  const Eigen::PartialPivLU<Eigen::MatrixXf> lu(design.transpose() * design);
  const matrix out = monomial_rows(out_width, out_height, 0.25f, 0.25f);
  std::vector<matrix> blocks;
  for (const auto& set : the_module().grids) {
    matrix gains(grid_samples, 4);
    for (Eigen::Index channel = 0; channel < 4; ++channel)
      gains.col(channel) = Eigen::Map<const Eigen::Matrix<uint16_t, Eigen::Dynamic, 1>>(
                               set[channel].data(), Eigen::Index(grid_samples))
                                   .cast<float>() /
                               1024.0f +
                           vector::Ones(Eigen::Index(grid_samples));
    matrix planes = (out * lu.solve(design.transpose() * gains)).transpose();
    for (Eigen::Index channel = 0; channel < 4; ++channel) {
      const float minimum = planes.row(channel).minCoeff();
      planes.row(channel) = (planes.row(channel) / minimum).cwiseMax(1.0f);
    }
    blocks.push_back(std::move(planes));
  }
  return blocks;
}

void tables_library(benchmark::State& state) {
  const calibration& module = the_module().module;
  {
    computed_upscale_lsc_tables* const tables =
        compute_upscaled_lsc_tables_polynom4th(out_width, out_height, &module, 0);
    const std::vector<plain::floats> expected = plain_tables();
    bool same = tables != nullptr && expected.size() == sets * 4;
    for (size_t plane = 0; same && plane < expected.size(); ++plane)
      same =
          std::memcmp(expected[plane].data(), tables->gain_tables[plane / 4] + plane % 4 * samples,
                      samples * sizeof(float)) == 0;
    deinit_computed_upscale_lsc_tables(tables);
    if (!same) return state.SkipWithError("differs from the plain rule");
  }
  for (auto _ : state) {
    computed_upscale_lsc_tables* const tables =
        compute_upscaled_lsc_tables_polynom4th(out_width, out_height, &module, 0);
    benchmark::DoNotOptimize(tables->gain_tables);
    deinit_computed_upscale_lsc_tables(tables);
  }
}

void tables_plain(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(plain_tables());
}

void tables_eigen(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(eigen_tables());
}

/// Five lights with a gain table each; every call reads the sources and rewrites the targets.
struct lens_shading {
  lens_shading() {
    for (size_t light = 0; light < lights; ++light) {
      for (size_t i = 0; i < 4 * samples; ++i)
        gain_values[light].push_back(1.0f + float(i % 997) / 499);
      gain_pointers[light] = gain_values[light].data();
      from[light].aux = uint16_t(light + 1);
      for (size_t site = 0; site < 4; ++site) {
        for (size_t i = 0; i < samples; ++i)
          source_values[light][site].push_back(uint16_t(4096 + (i * 7 + site) % 9001));
        target_values[light][site].resize(samples);
        from[light].tables[site / 2][site % 2] = source_values[light][site].data();
        to[light].tables[site / 2][site % 2] = target_values[light][site].data();
      }
    }
    for (lens_shading_set* set : {&target, &source}) {
      set->light_count = lights;
      set->width = out_width;
      set->height = out_height;
    }
    target.lights = to;
    source.lights_ext = from;
    gains = {lights, gain_pointers};
  }
  std::vector<float> gain_values[lights];
  std::vector<uint16_t> source_values[lights][4], target_values[lights][4];
  float* gain_pointers[lights];
  lens_shading_light to[lights] = {};
  lens_shading_light_ext from[lights] = {};
  lens_shading_set target = {}, source = {};
  computed_upscale_lsc_tables gains = {};
};

void correct_plainly(lens_shading& set) {
  for (size_t light = 0; light < lights; ++light)
    for (size_t site = 0; site < 4; ++site)
      for (size_t i = 0; i < samples; ++i)
        set.target_values[light][site][i] = plain::corrected(
            set.source_values[light][site][i], set.gain_values[light][site * samples + i]);
}

/// No rule for values beyond 32 bits: only the cast.
void correct_with_eigen(lens_shading& set) {
  using words = Eigen::Array<uint16_t, Eigen::Dynamic, 1>;
  for (size_t light = 0; light < lights; ++light) {
    for (size_t site = 0; site < 4; ++site) {
      const Eigen::Map<const words> from(set.source_values[light][site].data(), samples);
      const Eigen::Map<const Eigen::ArrayXf> gain(&set.gain_values[light][site * samples], samples);
      Eigen::Map<words> to(set.target_values[light][site].data(), samples);
      to = (from.cast<float>() * gain).cast<int32_t>().cast<uint16_t>();
    }
  }
}

void correction_library(benchmark::State& state) {
  lens_shading set, expected;
  correct_plainly(expected);
  if (ratio_based_sample_to_sample_correction(&set.target, &set.source, &set.gains, 2, 2) != 0)
    return state.SkipWithError("refused");
  for (size_t light = 0; light < lights; ++light)
    for (size_t site = 0; site < 4; ++site)
      if (set.target_values[light][site] != expected.target_values[light][site])
        return state.SkipWithError("differs from the plain rule");
  for (auto _ : state) {
    ratio_based_sample_to_sample_correction(&set.target, &set.source, &set.gains, 2, 2);
    benchmark::ClobberMemory();
  }
}

void correction_plain(benchmark::State& state) {
  lens_shading set;
  for (auto _ : state) {
    correct_plainly(set);
    benchmark::ClobberMemory();
  }
}

void correction_eigen(benchmark::State& state) {
  lens_shading set;
  for (auto _ : state) {
    correct_with_eigen(set);
    benchmark::ClobberMemory();
  }
}

BENCHMARK(tables_library)->Unit(benchmark::kMicrosecond);
BENCHMARK(tables_plain)->Unit(benchmark::kMicrosecond);
BENCHMARK(tables_eigen)->Unit(benchmark::kMicrosecond);
BENCHMARK(correction_library)->Unit(benchmark::kMicrosecond);
BENCHMARK(correction_plain)->Unit(benchmark::kMicrosecond);
BENCHMARK(correction_eigen)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
