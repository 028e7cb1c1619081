// The bilinear resizers: fixed point and single precision against the same interpolation at the
// exact positions.

#include <algorithm>
#include <cmath>

#include "bench/accuracy/errors.h"
#include "bench/accuracy/exact_position.h"
#include "bench/accuracy/page.h"
#include "bench/accuracy/resizing.h"
#include "bench/accuracy/sections.h"
#include "bench/accuracy/shading_surfaces.h"
#include "qo_cmc/image_utils.h"

namespace accuracy {
namespace {

template <typename Sample>
[[nodiscard]] std::vector<double> exact_bilinear(const std::vector<Sample>& src,
                                                 const resizing& each) {
  const auto at = [&](size_t row, size_t column) {
    return static_cast<double>(src[std::min(row, each.in.height - 1) * each.in.width +
                                   std::min(column, each.in.width - 1)]);
  };
  std::vector<double> dst;
  for (size_t y = 0; y < each.out.height; ++y) {
    const exact_position row = position_of(y, each.in.height, each.out.height);
    for (size_t x = 0; x < each.out.width; ++x) {
      const exact_position column = position_of(x, each.in.width, each.out.width);
      const double upper = at(row.index, column.index) * (1 - column.share) +
                           at(row.index, column.index + 1) * column.share;
      const double lower = at(row.index + 1, column.index) * (1 - column.share) +
                           at(row.index + 1, column.index + 1) * column.share;
      dst.push_back(upper * (1 - row.share) + lower * row.share);
    }
  }
  return dst;
}

/// Errors of dst in units of the expected values' largest, in percent.
template <typename Sample>
[[nodiscard]] errors percents(const std::vector<Sample>& dst, const std::vector<double>& expected) {
  errors relative;
  for (size_t i = 0; i < dst.size(); ++i)
    relative.add(100 * (static_cast<double>(dst[i]) / expected[i] - 1));
  return relative;
}

// ---- The far edge ----

/// Source position of the last column, read off a ramp: the ramp's height at column c is c * slope.
[[nodiscard]] double last_position_u16(size_t in, size_t out) {
  const size_t slope = 65535 / (in - 1);
  std::vector<uint16_t> ramp(in * 2);
  for (size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<uint16_t>(i % in * slope);
  std::vector<uint16_t> dst(out * 2);
  (void)resize_2d_array_uint16(ramp.data(), static_cast<uint32_t>(in), 2, dst.data(),
                               static_cast<uint32_t>(out), 2);
  return static_cast<double>(dst[out - 1]) / static_cast<double>(slope);
}

/// The same with 12 fractional bits, where samples are below 256: the weight of the last sample.
/// Where that is 0 the last output lies a whole sample or more before it.
[[nodiscard]] std::string lost_u32(size_t in, size_t out) {
  std::vector<uint32_t> src(in * 2, 0);
  src[in - 1] = src[2 * in - 1] = 255;
  std::vector<uint32_t> dst(out * 2);
  (void)resize_2d_array_uint32(src.data(), static_cast<uint32_t>(in), 2, dst.data(),
                               static_cast<uint32_t>(out), 2);
  if (dst[out - 1] == 0) return "1 or more";
  return figure(1 - dst[out - 1] / 255.0);
}

/// What the truncated step loses in out - 1 steps, in source samples.
[[nodiscard]] double lost_steps(size_t in, size_t out) {
  return static_cast<double>((in - 1) * 256 % (out - 1)) / 256;
}

void print_far_edge() {
  table lines({"width", "8 and 16 bit", "bound", "most of any width", "32 bit"});
  struct widths {
    size_t in;
    size_t out;
  };
  for (const widths each :
       {widths{17, 33}, widths{17, 65}, widths{33, 65}, widths{33, 129}, widths{65, 480},
        widths{17, 640}, widths{33, 640}, widths{65, 640}, widths{320, 640}, widths{640, 1280},
        widths{65, 1920}, widths{1280, 1920}, widths{65, 4000}}) {
    double most = 0;
    for (size_t in = 2; in <= each.out; ++in) most = std::max(most, lost_steps(in, each.out));
    const double lost = static_cast<double>(each.in - 1) - last_position_u16(each.in, each.out);
    lines.line({arrow(std::to_string(each.in), std::to_string(each.out)), figure(lost),
                figure(static_cast<double>(each.out - 2) / 256), figure(most),
                lost_u32(each.in, each.out)});
  }
}

// ---- Values ----

constexpr unsigned gain_bits = 10;

[[nodiscard]] std::vector<uint16_t> gains_p10(const shading_surface& surface, size in) {
  seeded unused(0);
  std::vector<uint16_t> gains = raw_grid(surface, in.width, in.height, gain_bits, 0, unused);
  for (uint16_t& gain : gains) gain = static_cast<uint16_t>(gain + (1u << gain_bits));
  return gains;
}

void print_gain_grids() {
  table lines({"p10 gains", "fixed point, largest", "in LSB", "single precision, largest"});
  for (const resizing each :
       {resizing{{17, 13}, {33, 25}}, resizing{{17, 13}, {129, 97}}, resizing{{33, 25}, {129, 97}},
        resizing{{17, 13}, {80, 60}}, resizing{{17, 13}, {128, 96}}, resizing{{33, 25}, {128, 96}},
        resizing{{17, 13}, {640, 480}}, resizing{{33, 25}, {640, 480}},
        resizing{{65, 49}, {640, 480}}}) {
    double worst = 0;
    double worst_lsb = 0;
    double worst_float = 0;
    for (const shading_surface& surface : shading_surfaces) {
      const std::vector<uint16_t> src = gains_p10(surface, each.in);
      const std::vector<double> expected = exact_bilinear(src, each);
      std::vector<uint16_t> dst(each.out.width * each.out.height);
      (void)resize_2d_array_uint16(src.data(), static_cast<uint32_t>(each.in.width),
                                   static_cast<int32_t>(each.in.height), dst.data(),
                                   static_cast<uint32_t>(each.out.width),
                                   static_cast<uint32_t>(each.out.height));
      worst = std::max(worst, percents(dst, expected).worst());
      for (size_t i = 0; i < dst.size(); ++i)
        worst_lsb = std::max(worst_lsb, std::fabs(dst[i] - expected[i]));

      const std::vector<float> of_float(src.begin(), src.end());
      std::vector<float> float_dst(dst.size());
      (void)resize_2d_array_float(of_float.data(), static_cast<uint32_t>(each.in.width),
                                  static_cast<int32_t>(each.in.height), float_dst.data(),
                                  static_cast<uint32_t>(each.out.width),
                                  static_cast<uint32_t>(each.out.height));
      worst_float = std::max(worst_float, percents(float_dst, expected).worst());
    }
    lines.line(
        {each.name(), figure(worst) + " %", figure(worst_lsb), magnitude(worst_float) + " %"});
  }
}

void print_single_precision() {
  table lines({"noise from 0 to 1", "largest error", "by the same at 32 x 32"});
  double unit = 0;
  for (const resizing each : {resizing{{32, 32}, {64, 64}}, resizing{{64, 48}, {640, 480}},
                              resizing{{640, 480}, {320, 240}}, resizing{{640, 480}, {1280, 960}},
                              resizing{{4000, 16}, {3999, 31}}, resizing{{16000, 4}, {24000, 7}}}) {
    seeded random(each.in.width);
    std::vector<float> src(each.in.width * each.in.height);
    for (float& sample : src) sample = static_cast<float>(random.unit());
    std::vector<float> dst(each.out.width * each.out.height);
    (void)resize_2d_array_float(
        src.data(), static_cast<uint32_t>(each.in.width), static_cast<int32_t>(each.in.height),
        dst.data(), static_cast<uint32_t>(each.out.width), static_cast<uint32_t>(each.out.height));
    const std::vector<double> expected = exact_bilinear(src, each);
    errors off;
    for (size_t i = 0; i < dst.size(); ++i) off.add(static_cast<double>(dst[i]) - expected[i]);
    if (unit == 0) unit = off.worst();
    lines.line({each.name(), magnitude(off.worst()), figure(off.worst() / unit)});
  }
}

// ---- The crop's origin ----

void print_crop() {
  table lines(
      {"width, cut left and right", "out", "first column", "meant", "last column", "meant"});
  struct crop {
    size_t in;
    size_t left;
    size_t right;
    size_t out;
  };
  for (const crop each : {crop{65, 16, 16, 33}, crop{65, 16, 16, 65}, crop{65, 16, 16, 17},
                          crop{129, 32, 32, 129}, crop{129, 32, 32, 33}, crop{129, 8, 0, 640}}) {
    const size_t slope = 65535 / (each.in - 1);
    std::vector<uint16_t> ramp(each.in * 2);
    for (size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<uint16_t>(i % each.in * slope);
    std::vector<uint16_t> dst(each.out * 2);
    (void)crop_resize_2d_array_uint16(
        ramp.data(), static_cast<uint32_t>(each.in), 2, {static_cast<int32_t>(each.left), 0},
        {static_cast<int32_t>(each.right), 0}, dst.data(), static_cast<uint32_t>(each.out), 2);
    std::string name = std::to_string(each.in);
    name += ", ";
    name += std::to_string(each.left);
    name += " and ";
    name += std::to_string(each.right);
    const double unit = static_cast<double>(slope);
    lines.line({name, count(each.out), figure(dst[0] / unit), count(each.left),
                figure(dst[each.out - 1] / unit), count(each.in - 1 - each.right)});
  }
}

}  // namespace

void print_bilinear_section() {
  heading("Bilinear resizing");
  paragraph(
      "`resize_2d_array_uint8()`, `_uint16()`, `_uint32()` and their _v1 forms step over the "
      "source in "
      "fixed point, with 8 fractional bits, 12 for 32-bit samples. The step is truncated, and what "
      "it loses adds up: the last output falls short of the last source sample by up to "
      "(out - 2) / 256 samples, (out - 2) / 4096 for 32-bit ones. Source samples lost at the far "
      "edge, measured on ramps for one pair of widths, its bound, and the most that any source "
      "width up to the output's loses:");
  print_far_edge();
  paragraph(
      "What that makes of gains in p10, on the four surfaces of the fit: largest error relative to "
      "the interpolation at exact positions. `resize_2d_array_float()` is given the same gains.");
  print_gain_grids();
  paragraph(
      "`resize_2d_array_float()` rounds positions: its error grows with the largest source "
      "coordinate "
      "times the step from sample to sample.");
  print_single_precision();
  paragraph(
      "`crop_resize_2d_array_uint16()` multiplies the crop's origin by its step, so that the "
      "region "
      "it "
      "samples begins at the column that was meant only where region and output are equally wide. "
      "Source columns of the first and last output:");
  print_crop();
  paragraph(
      "What to do: the loss is (in - 1) 256 mod (out - 1), by 256: 0 in 17 -> 33, 17 -> 65 or "
      "33 -> 129. Where it is not, convert to floats and take `resize_2d_array_float()`. To crop, "
      "copy the region into an array of its own and resize that. "
      "`resize_2d_array_uint32()` takes samples below 256 only; larger ones wrap.");
}

}  // namespace accuracy
