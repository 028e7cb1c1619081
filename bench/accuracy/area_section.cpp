// The area means against sums in double precision over exact areas.

#include <algorithm>
#include <cmath>

#include "bench/accuracy/errors.h"
#include "bench/accuracy/page.h"
#include "bench/accuracy/resizing.h"
#include "bench/accuracy/sections.h"
#include "bench/accuracy/seeded.h"
#include "qo_cmc/image_utils.h"

namespace accuracy {
namespace {

[[nodiscard]] uint16_t u16(size_t side) { return static_cast<uint16_t>(side); }

/// A source sample and the share of it that an output covers along one axis.
struct covered {
  size_t index;
  double share;
};

/// What output k of `out` covers of `in` samples, in units of 1 / out sample: whole numbers.
[[nodiscard]] std::vector<covered> covered_by(size_t k, size_t in, size_t out) {
  std::vector<covered> samples;
  const size_t begin = k * in;
  const size_t end = begin + in;
  for (size_t index = begin / out; index * out < end; ++index) {
    const size_t from = std::max(begin, index * out);
    const size_t to = std::min(end, (index + 1) * out);
    samples.push_back({index, static_cast<double>(to - from) / static_cast<double>(in)});
  }
  return samples;
}

template <typename Sample>
[[nodiscard]] std::vector<double> exact_means(const std::vector<Sample>& src,
                                              const resizing& sizes) {
  std::vector<std::vector<covered>> columns;
  for (size_t x = 0; x < sizes.out.width; ++x)
    columns.push_back(covered_by(x, sizes.in.width, sizes.out.width));
  std::vector<double> means;
  for (size_t y = 0; y < sizes.out.height; ++y) {
    const std::vector<covered> rows = covered_by(y, sizes.in.height, sizes.out.height);
    for (const std::vector<covered>& of_x : columns) {
      double mean = 0;
      for (const covered& row : rows) {
        double of_row = 0;
        for (const covered& column : of_x)
          of_row +=
              column.share * static_cast<double>(src[row.index * sizes.in.width + column.index]);
        mean += row.share * of_row;
      }
      means.push_back(mean);
    }
  }
  return means;
}

[[nodiscard]] std::vector<uint16_t> p10_means(const std::vector<float>& src,
                                              const resizing& sizes) {
  std::vector<uint16_t> dst(sizes.out.samples());
  const float* const src_planes[] = {src.data()};
  uint16_t* const dst_planes[] = {dst.data()};
  (void)image_downscale_32f_to_u16p10(src_planes, dst_planes, u16(sizes.in.width),
                                      u16(sizes.in.height), u16(sizes.out.width),
                                      u16(sizes.out.height), 1, nullptr);
  return dst;
}

[[nodiscard]] std::vector<uint16_t> word_means(const std::vector<uint16_t>& src, unsigned in_bits,
                                               unsigned out_bits, const resizing& sizes) {
  std::vector<uint16_t> dst(sizes.out.samples());
  const uint16_t* const src_planes[] = {src.data()};
  uint16_t* const dst_planes[] = {dst.data()};
  (void)image_downscale_u16_to_u16(src_planes, dst_planes, u16(sizes.in.width),
                                   u16(sizes.in.height), u16(in_bits), u16(sizes.out.width),
                                   u16(sizes.out.height), u16(out_bits), 1, nullptr);
  return dst;
}

/// Errors in LSB of results with `bits` fractional bits.
[[nodiscard]] errors in_lsb(const std::vector<uint16_t>& dst, const std::vector<double>& means,
                            unsigned bits) {
  errors off;
  for (size_t i = 0; i < dst.size(); ++i)
    off.add(dst[i] - means[i] * static_cast<double>(1u << bits));
  return off;
}

void print_drift() {
  table lines({"samples an output", "1.7, mean, LSB", "constants, largest", "in two steps",
               "noise, largest", "in two steps"});
  // Sides of the square that an output covers, reached in two steps through squares of `first`.
  struct area {
    size_t side;
    size_t first;
  };
  for (const area each : {area{8, 4}, area{30, 5}, area{60, 10}, area{100, 10}, area{150, 15},
                          area{474, 79}, area{1344, 42}}) {
    const resizing at_once{{3 * each.side, 3 * each.side}, {3, 3}};
    const size_t between = 3 * each.side / each.first;
    const resizing first{at_once.in, {between, between}};
    const resizing second{first.out, at_once.out};
    const auto two_steps = [&](const std::vector<float>& src) {
      return word_means(p10_means(src, first), 10, 10, second);
    };
    double of_seventeen = 0;
    double worst = 0;
    double worst_of_two = 0;
    std::vector<float> src(at_once.in.samples());
    for (const float value : {1.1f, 1.3f, 1.7f, 2.3f, 2.9f}) {
      std::fill(src.begin(), src.end(), value);
      const std::vector<double> means(at_once.out.samples(), static_cast<double>(value));
      const errors off = in_lsb(p10_means(src, at_once), means, 10);
      if (value == 1.7f) of_seventeen = off.mean();
      worst = std::max(worst, off.worst());
      worst_of_two = std::max(worst_of_two, in_lsb(two_steps(src), means, 10).worst());
    }

    seeded random(each.side);
    for (float& sample : src) sample = static_cast<float>(1 + 1.4 * random.unit());
    const std::vector<double> means = exact_means(src, at_once);
    lines.line({count(each.side * each.side), signed_figure(of_seventeen), figure(worst),
                figure(worst_of_two), figure(in_lsb(p10_means(src, at_once), means, 10).worst()),
                figure(in_lsb(two_steps(src), means, 10).worst())});
  }
}

void print_image_sizes() {
  table lines({"noise of 12 bits", "samples an output", "mean, LSB", "largest, LSB"});
  for (const resizing each : {resizing{{33, 25}, {17, 13}}, resizing{{640, 480}, {639, 479}},
                              resizing{{640, 480}, {320, 240}}, resizing{{640, 480}, {64, 48}},
                              resizing{{2000, 1500}, {64, 48}}, resizing{{2000, 1500}, {17, 13}}}) {
    seeded random(each.in.width);
    std::vector<uint16_t> src(each.in.samples());
    for (uint16_t& sample : src) sample = static_cast<uint16_t>(random.below(4096));
    std::vector<double> means = exact_means(src, each);
    for (double& mean : means) mean /= 1024;
    const errors off = in_lsb(word_means(src, 10, 10, each), means, 10);
    lines.line({each.name(), count(each.in.samples() / each.out.samples()),
                signed_figure(off.mean()), figure(off.worst())});
  }
}

void print_rounding_term() {
  table lines({"fraction bits of the output", "mean, LSB", "2^(bits - 11) - 0.5"});
  constexpr resizing sizes{{512, 512}, {64, 64}};
  constexpr unsigned in_bits = 14;
  seeded random(sizes.in.width);
  std::vector<uint16_t> src(sizes.in.samples());
  for (uint16_t& sample : src) sample = static_cast<uint16_t>(random.word());
  std::vector<double> means = exact_means(src, sizes);
  for (double& mean : means) mean /= 1u << in_bits;
  for (const unsigned bits : {4u, 6u, 7u, 8u, 9u, 10u, 11u, 12u, 13u, 14u}) {
    const errors off = in_lsb(word_means(src, in_bits, bits, sizes), means, bits);
    lines.line({count(bits), signed_figure(off.mean()),
                signed_figure(static_cast<double>(1u << bits) / 2048 - 0.5)});
  }
}

}  // namespace

void print_area_section() {
  heading("Area means");
  paragraph(
      "`image_downscale_32f_to_u16p10()` and `image_downscale_u16_to_u16()` add up all samples of "
      "an "
      "output in one single-precision number. The larger the sum is, the more digits each addition "
      "loses: on a constant plane always the same ones, so that the loss adds up. Errors in p10 "
      "LSB, "
      "of which rounding half up is 0.5 (1.7 is 1740.8 LSB, so that 1741 is +0.2); the constants "
      "are "
      "1.1, 1.3, 1.7, 2.3 and 2.9, the noise is from 1.0 to 2.4. In two steps: squares of 4 to 79 "
      "a "
      "side first, then the rest by `image_downscale_u16_to_u16()`.");
  print_drift();
  paragraph(
      "16-bit samples of 12 bits as p10, at ratios that do not divide too. Of four samples the "
      "mean "
      "often ends in a half, which goes up:");
  print_image_sizes();
  paragraph(
      "The rounding term of `image_downscale_u16_to_u16()` is 2^-11 whatever the output's fraction "
      "bits are. With 10 it rounds half up; with fewer it nearly truncates, with more it lifts "
      "every "
      "mean. Means of 64 samples of noise from 0 to 4:");
  print_rounding_term();
  paragraph(
      "What to do: reduce in two steps where an output would cover more than some thousand "
      "samples; "
      "it costs one more rounding to p10. Where fewer than 10 fraction bits are wanted, ask for 10 "
      "and round those. Where more are wanted, subtract 2^(bits - 11) from every result: that is "
      "the "
      "truncated mean.");
}

}  // namespace accuracy
