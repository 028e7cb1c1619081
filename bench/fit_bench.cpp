// The least-squares fit of a quartic surface, its samples, and the builders of gain tables.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "bench/builder_peers.h"
#include "bench/eigen_peer.h"
#include "bench/families.h"
#include "bench/scalar_bicubic.h"
#include "qo_cmc/lsc.h"
#include "tests/kit/module_calibration.h"
#include "tests/lsc/plain_lens_shading.h"

namespace bench {
namespace {

constexpr size_t terms = 15;
constexpr size_t channels = 4;
constexpr size_t sets = 3;
constexpr image_size grid{17, 13};
constexpr image_size outputs[] = {{65, 49}, {250, 188}};

// Additions and products that no order of the sums can do without.

/// Five coefficients a row are few; each sample takes four products and four sums.
double surface_operations(const image_size& out) { return 8.0 * double(out.samples()); }
/// The sums of a right side, transpose(A) b.
double fit_operations(const image_size& out) {
  return double(channels) * (2.0 * terms * double(grid.samples()) + surface_operations(out));
}

void fill_normal_equations(contest& race, const image_size& size) {
  const size_t samples = size.samples();
  const plane design = dense_plane(sample::f32, terms, samples);
  const plane design_t = dense_plane(sample::f32, samples, terms);
  const plane lu = dense_plane(sample::f32, terms, terms);
  const plane expected = dense_plane(sample::f32, terms, terms);
  const plane order = dense_plane(sample::u32, terms, 1);
  race.ours([=] {
    lu_decomposition(design.as<float>(), design_t.as<float>(), lu.as<float>(), order.as<int32_t>(),
                     uint16_t(size.width), uint16_t(size.height), terms);
  });
  race.scalar([=] {
    const plain::fit made(size.width, size.height);
    std::copy(made.lu.begin(), made.lu.end(), expected.as<float>());
  });
  race.compare(lu, expected);
#ifdef QO_BENCH_OPENBLAS
  race.peer("openblas", openblas_normal_equations_job(size));
#endif
#ifdef QO_BENCH_LIBXSMM
  race.peer("libxsmm", libxsmm_normal_equations_job(size));
#endif
  for_each_eigen(
      [&](const eigen_variant& eigen) { race.peer(eigen.name, eigen.normal_equations(size)); });
  race.bound_by_bytes(design.bytes() + design_t.bytes());
  // The normal matrix is symmetric: half of its products.
  race.bound_by_operations(double(terms * (terms + 1) * samples));
}

void sample_plainly(const plain::floats& c, const image_size& out, float* dst) {
  const float step_x = float(grid.width - 1) / float(out.width - 1);
  const float step_y = float(grid.height - 1) / float(out.height - 1);
  for (int r = 0; r < int(out.height); ++r)
    for (int k = 0; k < int(out.width); ++k)
      dst[size_t(r) * out.width + size_t(k)] =
          plain::surface_at(c, float(k) * step_x + 1.0f, float(r) * step_y + 1.0f);
}

void fill_surface(contest& race, const image_size& out) {
  const plane coefficients = with_noise(dense_plane(sample::f32, terms, 1));
  const plane dst = dense_plane(sample::f32, out.width, out.height);
  const plane expected = dense_plane(sample::f32, out.width, out.height);
  race.ours([=] {
    do_polynomial_upscale(dst.as<float>(), coefficients.as<float>(), grid.width, grid.height,
                          uint16_t(out.width), uint16_t(out.height));
  });
  const plain::floats c(coefficients.as<float>(), coefficients.as<float>() + terms);
  race.scalar([=] { sample_plainly(c, out, expected.as<float>()); });
  race.compare(dst, expected);
  for_each_eigen(
      [&](const eigen_variant& eigen) { race.peer(eigen.name, eigen.surface(grid, out)); });
  race.bound_by_bytes(dst.bytes());
  race.bound_by_operations(surface_operations(out));
}

void fill_fit(contest& race, const image_size& out) {
  const auto factors = std::make_shared<plain::fit>(grid.width, grid.height);
  const plane grids = with_noise(dense_plane(sample::f32, grid.samples(), channels));
  const plane dst = dense_plane(sample::f32, out.samples(), channels);
  const plane expected = dense_plane(sample::f32, out.samples(), channels);
  race.ours([=] {
    const float* from[channels];
    float* to[channels];
    for (size_t i = 0; i < channels; ++i) {
      from[i] = grids.as<float>() + i * grid.samples();
      to[i] = dst.as<float>() + i * out.samples();
    }
    (void)lsc_polynomial_upscale_float(factors->a_t.data(), factors->lu.data(), nullptr, from, to,
                                       grid.width, grid.height, uint16_t(out.width),
                                       uint16_t(out.height), terms);
  });
  race.scalar([=] {
    for (size_t i = 0; i < channels; ++i) {
      const float* const from = grids.as<float>() + i * grid.samples();
      const plain::floats right = plain::product(
          factors->a_t, plain::floats(from, from + grid.samples()), terms, grid.samples(), 1);
      sample_plainly(plain::solve(factors->lu, right, terms), out,
                     expected.as<float>() + i * out.samples());
    }
  });
  race.compare(dst, expected);
  for_each_eigen([&](const eigen_variant& eigen) { race.peer(eigen.name, eigen.fit(grid, out)); });
  race.bound_by_bytes(grids.bytes() + dst.bytes());
  race.bound_by_operations(fit_operations(out));
}

/// A module whose shading rises from the middle, in every set and channel differently.
std::shared_ptr<kit::module_calibration> shaded_module() {
  return std::make_shared<kit::module_calibration>(
      sets, grid.width, grid.height, 10, [](size_t set, size_t channel, size_t row, size_t column) {
        const int u = int(column) - 8, v = int(row) - 6;
        return uint32_t(100 + 12 * u * u + 9 * v * v) + uint32_t(37 * channel + 11 * set);
      });
}

/// The builder's result is its own memory: a copy of it is compared, once.
using builder = computed_upscale_lsc_tables* (*)(uint32_t, uint32_t, const calibration*, uint32_t);

void compare_tables(contest& race, builder build, kit::module_calibration& module,
                    const image_size& out, const plane& copied, const plane& expected) {
  computed_upscale_lsc_tables* const tables =
      build(uint32_t(out.width), uint32_t(out.height), &module.object(), 0);
  for (size_t set = 0; tables != nullptr && set < sets; ++set)
    std::copy_n(tables->gain_tables[set], channels * out.samples(),
                copied.as<float>() + set * channels * out.samples());
  deinit_computed_upscale_lsc_tables(tables);
  race.compare(copied, expected);
}

void fill_builder(contest& race, builder build, const image_size& out) {
  const auto module = shaded_module();
  race.ours([=] {
    computed_upscale_lsc_tables* const tables =
        build(uint32_t(out.width), uint32_t(out.height), &module->object(), 0);
    keep(tables);
    deinit_computed_upscale_lsc_tables(tables);
  });
  const plane copied = dense_plane(sample::f32, out.samples(), sets * channels);
  const plane expected = dense_plane(sample::f32, out.samples(), sets * channels);
  const auto gains_of = [module](size_t set, size_t channel) {
    const std::vector<uint32_t>& raw = module->raw(set, channel);
    return plain::gains(raw, grid.width, grid.height, 1024.0f, 0);
  };
  const bool polynomial = build == compute_upscaled_lsc_tables_polynom4th;
  race.scalar([=] {
    std::unique_ptr<plain::fit> fit;
    if (polynomial) fit = std::make_unique<plain::fit>(grid.width, grid.height);
    for (size_t i = 0; i < sets * channels; ++i) {
      float* const to = expected.as<float>() + i * out.samples();
      if (polynomial) {
        plain::floats plane =
            fit->upscale(gains_of(i / channels, i % channels), out.width, out.height);
        (void)plain::normalise(plane);
        std::copy(plane.begin(), plane.end(), to);
        continue;
      }
      const std::vector<uint32_t>& raw = module->raw(i / channels, i % channels);
      const std::vector<uint16_t> words(raw.begin(), raw.end());
      scalar::bicubic_upscale(words.data(), grid, to, out);
      for (size_t k = 0; k < out.samples(); ++k) to[k] = to[k] / 1024.0f + 1.0f;
    }
  });
  compare_tables(race, build, *module, out, copied, expected);
  const module_grids grids{grid.width, grid.height, sets};
  const double planes = sets * channels;
  race.bound_by_bytes(copied.bytes());
  if (polynomial) {
    for_each_eigen(
        [&](const eigen_variant& eigen) { race.peer(eigen.name, eigen.gain_tables(grids, out)); });
    race.bound_by_operations(sets * fit_operations(out) + planes * 2 * double(out.samples()));
  } else {
#ifdef QO_BENCH_OPENCV
    race.peer("opencv", opencv_gain_tables_job(grids, out));
#endif
    race.bound_by_operations(planes * (6.0 * double(4 * grid.height + out.height) + 2.0) *
                             double(out.width));
  }
}

std::string text_of(const image_size& size) {
  return std::to_string(size.width) + " x " + std::to_string(size.height);
}

}  // namespace

void add_fit_rows(rows& all) {
  const image_size grids[] = {grid, {33, 25}};
  for (const image_size& size : grids)
    all.push_back({.name = "lu_decomposition " + text_of(size),
                   .samples = size.samples(),
                   .avx512 = size.width == grid.width ? 1.2 : 1.5,
                   .avx2 = 0.36,
                   .rival = "",
                   .fill = [size](contest& race) { fill_normal_equations(race, size); }});
  const image_size surfaces[] = {{64, 48}, outputs[0], outputs[1]};
  for (const image_size& out : surfaces)
    all.push_back({.name = "surface " + text_of(grid, out),
                   .samples = out.samples(),
                   .avx512 = 1.0,
                   .avx2 = {1.3, 1.8},
                   .rival = "",
                   .fill = [out](contest& race) { fill_surface(race, out); }});
  for (const image_size& out : outputs)
    all.push_back({.name = "whole fit " + text_of(grid, out),
                   .samples = channels * out.samples(),
                   .avx512 = 1.15,
                   .avx2 = {1.35, 1.8},
                   .rival = "",
                   .fill = [out](contest& race) { fill_fit(race, out); }});
  for (const image_size& out : outputs)
    all.push_back({.name = "polynomial builder " + text_of(grid, out),
                   .samples = sets * channels * out.samples(),
                   .avx512 = 1.15,
                   .avx2 = {1.1, 1.35},
                   .rival = "",
                   .fill = [out](contest& race) {
                     fill_builder(race, compute_upscaled_lsc_tables_polynom4th, out);
                   }});
  for (const image_size& out : outputs)
    all.push_back({.name = "bicubic builder " + text_of(grid, out),
                   .samples = sets * channels * out.samples(),
                   .avx512 = 0.4,
                   .avx2 = 0.45,
                   .rival = "",
                   .fill = [out](contest& race) {
                     fill_builder(race, compute_upscaled_lsc_tables_bicubic, out);
                   }});
}

}  // namespace bench
