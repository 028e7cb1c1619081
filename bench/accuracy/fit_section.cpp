// The quartic fit: gain tables of the polynomial builder against the same fit in double precision.

#include <algorithm>
#include <utility>

#include "bench/accuracy/errors.h"
#include "bench/accuracy/module_grids.h"
#include "bench/accuracy/page.h"
#include "bench/accuracy/quartic_reference.h"
#include "bench/accuracy/resizing.h"
#include "bench/accuracy/sections.h"
#include "bench/accuracy/shading_surfaces.h"

namespace accuracy {
namespace {

constexpr unsigned fraction_bits = 10;
constexpr unsigned noise = 2;

constexpr size small_output{33, 25};

/// What calls of one kind of grid came to. Errors are a plane's worst, in percent.
struct outcome {
  size_t calls = 0;
  size_t nulls = 0;
  std::vector<double> of_rounding;  ///< from the same fit in double precision
  std::vector<double> of_quartic;   ///< of that fit from the surface that the grid samples
  std::vector<double> of_both;      ///< of the table from the surface
};

[[nodiscard]] four_grids sampled_grids(size grid, unsigned raw_noise, uint64_t seed) {
  seeded random(seed);
  four_grids raw;
  for (size_t channel = 0; channel < raw.size(); ++channel)
    raw[channel] = raw_grid(shading_surfaces[channel], grid.width, grid.height, fraction_bits,
                            raw_noise, random);
  return raw;
}

/// Gains divided by the smallest, none below 1.
template <typename Sample>
[[nodiscard]] std::vector<double> normalised(const std::vector<Sample>& plane) {
  const double smallest = static_cast<double>(*std::min_element(plane.begin(), plane.end()));
  std::vector<double> gains;
  for (const Sample sample : plane)
    gains.push_back(std::max(static_cast<double>(sample) / smallest, 1.0));
  return gains;
}

[[nodiscard]] std::vector<double> true_plane(const shading_surface& surface, size out) {
  std::vector<double> plane;
  for (size_t row = 0; row < out.height; ++row)
    for (size_t column = 0; column < out.width; ++column)
      plane.push_back(surface.gain(static_cast<double>(column) / static_cast<double>(out.width - 1),
                                   static_cast<double>(row) / static_cast<double>(out.height - 1)));
  return normalised(plane);
}

template <typename Sample>
[[nodiscard]] double worst_percent(const std::vector<Sample>& plane,
                                   const std::vector<double>& expected) {
  errors relative;
  for (size_t i = 0; i < plane.size(); ++i)
    relative.add(100 * (static_cast<double>(plane[i]) / expected[i] - 1));
  return relative.worst();
}

void build_once(size grid, const four_grids& raw, outcome& result) {
  const size out = small_output;
  const std::vector<std::vector<float>> planes = gain_planes(
      builder::polynomial, raw, grid.width, grid.height, fraction_bits, out.width, out.height);
  ++result.calls;
  if (planes.empty()) {
    ++result.nulls;
    return;
  }
  const bool determined = grid.width >= 5 && grid.height >= 5;
  const quartic_reference reference(grid.width, grid.height);
  for (size_t channel = 0; channel < planes.size(); ++channel) {
    const std::vector<double> surface = true_plane(shading_surfaces[channel], out);
    result.of_both.push_back(worst_percent(planes[channel], surface));
    if (!determined) continue;
    const std::vector<double> fitted =
        normalised(reference.sampled(gains_of(raw[channel], fraction_bits), out.width, out.height));
    result.of_rounding.push_back(worst_percent(planes[channel], fitted));
    result.of_quartic.push_back(worst_percent(fitted, surface));
  }
}

/// One grid without noise and `noisy` with it.
void build_all(size grid, size_t noisy, outcome& result) {
  build_once(grid, sampled_grids(grid, 0, 0), result);
  for (size_t i = 0; i < noisy; ++i)
    build_once(grid, sampled_grids(grid, noise, 1000 * grid.width + 10 * grid.height + i), result);
}

[[nodiscard]] std::string at_share(const std::vector<double>& values, double share) {
  return values.empty() ? "-" : figure(value_at(values, share)) + " %";
}

[[nodiscard]] std::vector<std::string> line_of(std::string name, const outcome& result) {
  return {std::move(name),
          count(result.calls),
          count(result.nulls),
          at_share(result.of_rounding, 0.0),
          at_share(result.of_rounding, 0.5),
          at_share(result.of_rounding, 1.0),
          at_share(result.of_quartic, 0.5),
          at_share(result.of_quartic, 1.0)};
}

const std::vector<std::string> fit_columns = {
    "grid", "calls", "null", "least", "middle", "largest", "quartic, middle", "quartic, largest"};

void print_ranges() {
  struct range {
    const char* name;
    std::vector<size_t> sides;
    size_t noisy;
  };
  const range ranges[] = {
      {"both sides 5 to 10", {5, 6, 7, 8, 9, 10}, 3},
      {"both sides 11 to 16", {11, 12, 13, 14, 15, 16}, 3},
      {"both sides 17 to 20", {17, 18, 19, 20}, 3},
      {"both sides 21 to 24", {21, 22, 23, 24}, 3},
      {"both of 25, 29, 33, 37", {25, 29, 33, 37}, 3},
      {"both of 41, 49, 57, 65, 73", {41, 49, 57, 65, 73}, 1},
      {"both of 80, 96, 112, 128", {80, 96, 112, 128}, 1},
      {"both of 160, 255", {160, 255}, 1},
  };
  table lines(fit_columns);
  for (const range& each : ranges) {
    outcome result;
    for (const size_t width : each.sides)
      for (const size_t height : each.sides) build_all({width, height}, each.noisy, result);
    lines.line(line_of(each.name, result));
  }
}

void print_sizes() {
  const size grids[] = {{5, 5},   {9, 7},   {10, 10}, {13, 10}, {17, 13}, {20, 15},
                        {25, 19}, {33, 25}, {49, 37}, {65, 49}, {80, 60}};
  table lines(fit_columns);
  for (const size grid : grids) {
    outcome result;
    build_all(grid, 3, result);
    lines.line(line_of(sides(grid.width, grid.height), result));
  }
}

void print_undetermined() {
  table lines({"grid", "calls", "null", "least", "middle", "largest"});
  for (const size_t side : {size_t{2}, size_t{3}, size_t{4}}) {
    outcome result;
    for (size_t other = side; other <= 20; ++other) {
      build_all({side, other}, 3, result);
      if (other != side) build_all({other, side}, 3, result);
    }
    lines.line({"one side " + std::to_string(side) + ", the other up to 20", count(result.calls),
                count(result.nulls), at_share(result.of_both, 0.0), at_share(result.of_both, 0.5),
                at_share(result.of_both, 1.0)});
  }
}

void print_constant() {
  table lines({"grid", "calls", "null", "planes of 1 only", "samples of 1", "largest"});
  const size grids[] = {{5, 5}, {7, 5}, {9, 7}, {10, 10}, {13, 10}, {17, 13}, {25, 19}, {33, 25}};
  for (const size grid : grids) {
    size_t calls = 0;
    size_t nulls = 0;
    size_t planes_of_one = 0;
    size_t ones = 0;
    size_t samples = 0;
    errors off;
    for (const size_t first : {0u, 100u, 512u, 1000u}) {
      four_grids raw;
      for (size_t channel = 0; channel < raw.size(); ++channel)
        raw[channel].assign(grid.width * grid.height, static_cast<uint16_t>(first + 7 * channel));
      ++calls;
      const std::vector<std::vector<float>> planes =
          gain_planes(builder::polynomial, raw, grid.width, grid.height, fraction_bits,
                      small_output.width, small_output.height);
      if (planes.empty()) ++nulls;
      for (const std::vector<float>& plane : planes) {
        const auto equal = static_cast<size_t>(std::count(plane.begin(), plane.end(), 1.0f));
        if (equal == plane.size()) ++planes_of_one;
        ones += equal;
        samples += plane.size();
        for (const float sample : plane) off.add(100 * (static_cast<double>(sample) - 1));
      }
    }
    lines.line({sides(grid.width, grid.height), count(calls), count(nulls), count(planes_of_one),
                percent(ones, samples), figure(off.worst()) + " %"});
  }
}

/// Every `step`th sample of every `step`th row.
[[nodiscard]] four_grids thinned(const four_grids& raw, size grid, size_t step) {
  four_grids kept;
  for (size_t channel = 0; channel < raw.size(); ++channel)
    for (size_t row = 0; row < grid.height; row += step)
      for (size_t column = 0; column < grid.width; column += step)
        kept[channel].push_back(raw[channel][row * grid.width + column]);
  return kept;
}

[[nodiscard]] std::string distance_from_surface(builder method, const four_grids& raw, size grid,
                                                size out) {
  const std::vector<std::vector<float>> planes =
      gain_planes(method, raw, grid.width, grid.height, fraction_bits, out.width, out.height);
  if (planes.empty()) return "null";
  double worst = 0;
  for (size_t channel = 0; channel < planes.size(); ++channel)
    worst = std::max(worst, worst_percent(normalised(planes[channel]),
                                          true_plane(shading_surfaces[channel], out)));
  return figure(worst) + " %";
}

void print_ways_out() {
  struct thinning {
    size grid;
    size_t step;
  };
  constexpr size out{193, 145};
  table lines({"grid", "fitted whole", "fitted as 9 x 7", "bicubic"});
  for (const thinning each : {thinning{{17, 13}, 2}, thinning{{25, 19}, 3}, thinning{{33, 25}, 4},
                              thinning{{65, 49}, 8}, thinning{{129, 97}, 16}}) {
    const four_grids raw = sampled_grids(each.grid, noise, each.grid.width);
    lines.line({sides(each.grid.width, each.grid.height),
                distance_from_surface(builder::polynomial, raw, each.grid, out),
                distance_from_surface(builder::polynomial, thinned(raw, each.grid, each.step),
                                      {9, 7}, out),
                distance_from_surface(builder::bicubic, raw, each.grid, out)});
  }
}

}  // namespace

void print_fit_section() {
  heading("The quartic fit");
  paragraph(
      "`compute_upscaled_lsc_tables_polynom4th()`, and below it `lu_decomposition()` and "
      "`lsc_polynomial_upscale_float()`. The normal equations are formed on raw coordinates, "
      "counted "
      "from 1, in single precision: they hold powers up to the eighth of a side, and lose more "
      "digits the larger the grid is.");
  std::string surfaces =
      "The surfaces, one a channel, with r the distance from the middle and r = 1 "
      "in the corners, x from -0.8 to 0.8, y from -0.6 to 0.6:";
  for (const shading_surface& each : shading_surfaces)
    surfaces +=
        std::string(&each == shading_surfaces ? " " : "; ") + each.name + ", " + each.formula;
  paragraph(surfaces +
            ". Raw values have 10 fraction bits; one grid of each size is exact, others "
            "have noise of 2 LSB to either side. The tables have 33 x 25 samples.");
  paragraph(
      "Largest relative error of each gain plane, after its normalisation, from the same fit in "
      "double precision: the least, the middle and the largest of all planes. A call is null for "
      "all "
      "four planes at once. The last columns say how far the fit in double precision itself is "
      "from "
      "the surface that the grid samples: what the quartic cannot follow. A large error hardly "
      "ever "
      "makes a call null.");
  print_ranges();
  print_sizes();
  paragraph(
      "Fewer than five columns or rows do not determine the surface. Errors here are from the "
      "surface that the grid samples.");
  print_undetermined();
  paragraph(
      "A constant grid comes out as 1 on 5 x 5 samples, nearly so on others: four calls with four "
      "values each, from 1.0 to about 2.0.");
  print_constant();
  paragraph(
      "What to do: fit grids of 5 to 10 samples a side. A larger one is thinned first, or its gain "
      "tables come from `compute_upscaled_lsc_tables_bicubic()`, which follows the grid, noise "
      "included, and leaves the normalisation to the caller. Largest error from the surface that "
      "the "
      "grid samples, noise 2 LSB, tables of 193 x 145 samples; 9 x 7 is every second, third, "
      "fourth, "
      "eighth or sixteenth sample:");
  print_ways_out();
}

}  // namespace accuracy
