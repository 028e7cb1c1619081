// Gain tables by bicubic interpolation, and the correction of lens-shading tables.

#include <algorithm>
#include <cmath>

#include "bench/accuracy/errors.h"
#include "bench/accuracy/module_grids.h"
#include "bench/accuracy/page.h"
#include "bench/accuracy/sections.h"
#include "bench/accuracy/shading_surfaces.h"
#include "bench/accuracy/spline_reference.h"
#include "qo_cmc/lsc.h"

namespace accuracy {
namespace {

constexpr unsigned fraction_bits = 10;

void print_bicubic_tables() {
  table lines({"grid -> gain table", "largest error of a gain", "never converted"});
  for (const resizing each :
       {resizing{{9, 7}, {33, 25}}, resizing{{17, 13}, {65, 49}}, resizing{{17, 13}, {80, 60}},
        resizing{{33, 25}, {129, 97}}, resizing{{33, 25}, {255, 191}},
        resizing{{33, 25}, {300, 200}}, resizing{{33, 25}, {256, 192}}}) {
    seeded unused(0);
    four_grids raw;
    for (size_t channel = 0; channel < raw.size(); ++channel)
      raw[channel] = raw_grid(shading_surfaces[channel], each.in.width, each.in.height,
                              fraction_bits, 0, unused);
    const std::vector<std::vector<float>> planes =
        gain_planes(builder::bicubic, raw, each.in.width, each.in.height, fraction_bits,
                    each.out.width, each.out.height);
    errors relative;
    size_t zeros = 0;
    size_t samples = 0;
    for (size_t channel = 0; channel < planes.size(); ++channel) {
      const std::vector<double> expected =
          exact_bicubic(gains_of(raw[channel], fraction_bits), each);
      for (size_t i = 0; i < expected.size(); ++i) {
        const double gain = static_cast<double>(planes[channel][i]);
        // Gains are 1 and more: a 0 is a sample that was not converted.
        if (gain == 0)
          ++zeros;
        else
          relative.add(100 * (gain / expected[i] - 1));
      }
      samples += expected.size();
    }
    const bool whole = zeros == 0;
    lines.line(
        {each.name(), whole ? magnitude(relative.worst()) + " %" : "-", percent(zeros, samples)});
  }
}

void print_correction() {
  table lines({"source samples", "gains", "mean, LSB", "largest, LSB", "wrapped"});
  struct correction {
    uint32_t least;
    uint32_t most;
    double gain;  ///< from 1 to this
  };
  for (const correction each :
       {correction{4096, 16384, 1}, correction{4096, 16384, 3}, correction{4096, 40000, 3}}) {
    constexpr size_t side = 64;
    constexpr size_t samples = side * side;
    seeded random(each.most);
    std::vector<uint16_t> src(samples);
    std::vector<float> gains(4 * samples);
    for (uint16_t& sample : src)
      sample = static_cast<uint16_t>(each.least + random.below(each.most - each.least));
    for (float& gain : gains) gain = static_cast<float>(1 + (each.gain - 1) * random.unit());
    std::vector<uint16_t> dst(samples);

    lens_shading_light light{};
    light.tables[0][0] = dst.data();
    lens_shading_set target{};
    target.light_count = 1;
    target.width = target.height = side;
    target.lights = &light;
    lens_shading_light_ext source_light{};
    source_light.tables[0][0] = src.data();
    source_light.aux = 1;
    lens_shading_set source = target;
    source.lights_ext = &source_light;
    float* blocks[] = {gains.data()};
    computed_upscale_lsc_tables tables{1, blocks};
    (void)ratio_based_sample_to_sample_correction(&target, &source, &tables, 0, 0);

    errors off;
    size_t wrapped = 0;
    for (size_t i = 0; i < samples; ++i) {
      // With equal codes the first site takes the first plane.
      const double expected = src[i] * static_cast<double>(gains[i]);
      if (expected >= 65536)
        ++wrapped;
      else
        off.add(dst[i] - expected);
    }
    std::string range = count(each.least);
    range += " to ";
    range += count(each.most);
    std::string gain = "1";
    if (each.gain != 1) {
      gain += " to ";
      gain += figure(each.gain);
    }
    lines.line(
        {range, gain, signed_figure(off.mean()), figure(off.worst()), percent(wrapped, samples)});
  }
}

}  // namespace

void print_gain_section() {
  heading("Gain tables by bicubic interpolation, and the correction");
  paragraph(
      "`compute_upscaled_lsc_tables_bicubic()` on the four surfaces, 10 fraction bits, against the "
      "spline in double precision. The conversion to gains takes the sides modulo 256, so that "
      "tables with a side of 256 and more are converted in part or not at all.");
  print_bicubic_tables();
  paragraph(
      "`ratio_based_sample_to_sample_correction()` truncates each product, and products of 65536 "
      "and "
      "more wrap. Errors are those of the others.");
  print_correction();
  paragraph(
      "What to do: ask the bicubic builder for sides up to 255. It does not normalise: divide a "
      "plane by its smallest gain. Keep the largest product of table and gain below 65536, in "
      "fewer "
      "fraction bits where it has to be.");
}

}  // namespace accuracy
