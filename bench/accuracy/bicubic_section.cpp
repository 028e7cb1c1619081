// The bicubic routines against the spline surface in double precision.

#include <algorithm>
#include <cmath>

#include "bench/accuracy/errors.h"
#include "bench/accuracy/page.h"
#include "bench/accuracy/sections.h"
#include "bench/accuracy/seeded.h"
#include "bench/accuracy/spline_reference.h"
#include "qo_cmc/image_utils.h"

namespace accuracy {
namespace {

[[nodiscard]] uint16_t u16(size_t side) { return static_cast<uint16_t>(side); }

template <typename Sample>
[[nodiscard]] std::vector<Sample> noise_plane(size_t samples, uint32_t limit) {
  seeded random(samples);
  std::vector<Sample> plane(samples);
  for (Sample& sample : plane) sample = static_cast<Sample>(random.below(limit));
  return plane;
}

/// Largest error of an upscaler on noise over the whole range, in LSB of the source.
template <typename Sample, typename Upscaler>
[[nodiscard]] double upscale_error(Upscaler upscale, const resizing& each) {
  const std::vector<Sample> src = noise_plane<Sample>(each.in.samples(), Sample(~Sample(0)) + 1u);
  std::vector<float> dst(each.out.samples());
  const Sample* const src_planes[] = {src.data()};
  float* const dst_planes[] = {dst.data()};
  (void)upscale(src_planes, dst_planes, u16(each.in.width), u16(each.in.height),
                u16(each.out.width), u16(each.out.height), 1);
  const std::vector<double> expected = exact_bicubic(src, each);
  errors off;
  for (size_t i = 0; i < dst.size(); ++i)
    off.add(static_cast<double>(dst[i]) - std::clamp(expected[i], -255.0, 65535.0));
  return off.worst();
}

void print_upscalers() {
  table lines({"noise over the whole range", "8 bit, LSB", "16 bit, LSB"});
  for (const resizing each : {resizing{{17, 13}, {65, 49}}, resizing{{17, 13}, {80, 60}},
                              resizing{{33, 25}, {129, 97}}, resizing{{33, 25}, {640, 480}},
                              resizing{{320, 240}, {640, 480}}, resizing{{4000, 8}, {4001, 16}}})
    lines.line({each.name(),
                magnitude(upscale_error<uint8_t>(image_bicubic_upscale_uint8_to_float, each)),
                magnitude(upscale_error<uint16_t>(image_bicubic_upscale_uint16_to_float, each))});
}

void print_resizers() {
  table lines({"noise from 1.0 to 3.0", "mean, LSB", "largest, LSB", "unlike the truncated value"});
  for (const resizing each : {resizing{{17, 13}, {65, 49}}, resizing{{17, 13}, {80, 60}},
                              resizing{{33, 25}, {640, 480}}, resizing{{320, 240}, {640, 480}},
                              resizing{{640, 480}, {320, 240}}, resizing{{4000, 8}, {4001, 16}}}) {
    seeded random(each.in.width);
    std::vector<float> src(each.in.samples());
    for (float& sample : src) sample = static_cast<float>(1 + 2 * random.unit());
    std::vector<uint16_t> dst(each.out.samples());
    (void)bicubic_resize_32f_to_u16p10(src.data(), u16(each.in.height), u16(each.in.width),
                                       dst.data(), u16(each.out.height), u16(each.out.width));
    const std::vector<double> expected = exact_bicubic(src, each);
    errors off;
    size_t unlike = 0;
    for (size_t i = 0; i < dst.size(); ++i) {
      off.add(dst[i] - 1024 * expected[i]);
      if (dst[i] != std::trunc(1024 * expected[i])) ++unlike;
    }
    lines.line(
        {each.name(), signed_figure(off.mean()), figure(off.worst()), percent(unlike, dst.size())});
  }
}

void print_constants() {
  table lines({"constant", "17 x 13 -> 65 x 49", "mean, LSB"});
  struct constant {
    const char* name;
    float value;
  };
  constexpr resizing sizes{{17, 13}, {65, 49}};
  for (const constant each : {constant{"1.0", 1.0f}, constant{"1.1", 1.1f}, constant{"1.5", 1.5f},
                              constant{"1.7", 1.7f}, constant{"2.9", 2.9f}}) {
    const std::vector<float> src(sizes.in.samples(), each.value);
    std::vector<uint16_t> dst(sizes.out.samples());
    (void)bicubic_resize_32f_to_u16p10(src.data(), u16(sizes.in.height), u16(sizes.in.width),
                                       dst.data(), u16(sizes.out.height), u16(sizes.out.width));
    errors off;
    for (const uint16_t sample : dst) off.add(sample - 1024 * static_cast<double>(each.value));
    const auto [least, most] = std::minmax_element(dst.begin(), dst.end());
    lines.line({each.name,
                *least == *most ? "all " + count(*least) : arrow(count(*least), count(*most)),
                signed_figure(off.mean())});
  }
}

void print_equal_sides() {
  table lines({"p10 noise, equal sides", "sides", "sides that differ", "outputs that differ",
               "largest, LSB", "outputs, half an LSB added"});
  struct range {
    size_t first;
    size_t last;
  };
  for (const range each : {range{2, 40}, range{41, 100}, range{101, 256}, range{257, 400}}) {
    size_t sides_off = 0;
    size_t outputs = 0;
    size_t outputs_off = 0;
    size_t rounded_off = 0;
    errors off;
    for (size_t side = each.first; side <= each.last; ++side) {
      constexpr size_t rows = 2;
      const std::vector<uint16_t> src = noise_plane<uint16_t>(side * rows, 4096);
      std::vector<uint16_t> dst(src.size());
      std::vector<float> raised;
      for (const uint16_t sample : src) raised.push_back((sample + 0.5f) / 1024);
      (void)bicubic_resize_32f_to_u16p10(raised.data(), rows, u16(side), dst.data(), rows,
                                         u16(side));
      for (size_t i = 0; i < dst.size(); ++i)
        if (dst[i] != src[i]) ++rounded_off;
      (void)bicubic_resize_u16_to_u16(src.data(), rows, u16(side), 10, dst.data(), rows, u16(side));
      size_t here = 0;
      for (size_t i = 0; i < dst.size(); ++i) {
        if (dst[i] != src[i]) ++here;
        // Contract: what is below 0 wraps; -1 differs from 0 by one.
        off.add(static_cast<int16_t>(dst[i] - src[i]));
      }
      outputs += dst.size();
      outputs_off += here;
      if (here != 0) ++sides_off;
    }
    std::string name = std::to_string(each.first);
    name += " to ";
    name += std::to_string(each.last);
    lines.line({name, count(each.last - each.first + 1), count(sides_off),
                percent(outputs_off, outputs), figure(off.worst()), percent(rounded_off, outputs)});
  }
}

/// Cells of the continued buffer that are not the whole number that a linear continuation gives.
[[nodiscard]] size_t cells_off(size_t width, size_t height) {
  const std::vector<uint16_t> src = noise_plane<uint16_t>(width * height, 65536);
  std::vector<float> buffer((width + 3) * (height + 3));
  create_extrapolated_buffer_for_bicubic_u16(src.data(), buffer.data(), u16(width), u16(height));

  // A cell outside continues the two outermost samples: at a distance d, (1 + d) and -d of them.
  struct pair {
    size_t outer;
    size_t inner;
    int64_t distance;
  };
  const auto place = [](size_t cell, size_t side) {
    if (cell == 0) return pair{0, 1, 1};
    if (cell <= side) return pair{cell - 1, cell - 1, 0};
    return pair{side - 1, side - 2, static_cast<int64_t>(cell - side)};
  };
  size_t off = 0;
  for (size_t row = 0; row < height + 3; ++row)
    for (size_t column = 0; column < width + 3; ++column) {
      const pair y = place(row, height);
      const pair x = place(column, width);
      const auto of_row = [&](size_t r) {
        return (1 + x.distance) * src[r * width + x.outer] - x.distance * src[r * width + x.inner];
      };
      const int64_t expected = (1 + y.distance) * of_row(y.outer) - y.distance * of_row(y.inner);
      if (static_cast<int64_t>(buffer[row * (width + 3) + column]) != expected) ++off;
    }
  return off;
}

}  // namespace

void print_bicubic_section() {
  heading("Bicubic resizing");
  paragraph(
      "`image_bicubic_upscale_uint8_to_float()` and `image_bicubic_upscale_uint16_to_float()` lose "
      "what "
      "single precision loses, positions included: largest error, in LSB of the source.");
  print_upscalers();
  paragraph(
      "`bicubic_resize_32f_to_u16p10()` and `bicubic_resize_u16_to_u16()` truncate: means lie half "
      "an "
      "LSB "
      "low. The last column counts the outputs that are not even the truncated exact value, "
      "because "
      "the position was rounded.");
  print_resizers();
  paragraph("A constant plane stays constant, and is truncated like all else.");
  print_constants();
  paragraph(
      "At equal sides, where the result should be the source, a position can fall a rounding short "
      "of its sample, and truncation then takes one LSB. Widths from 2 to 400, two rows, samples "
      "of "
      "10 fractional bits:");
  print_equal_sides();
  paragraph(
      "`create_extrapolated_buffer_for_bicubic_u16()`, and `interpolate_gain_value()` below it, "
      "are "
      "exact "
      "for 16-bit samples: on noise of 2 x 2, 17 x 13 and 320 x 240 samples " +
      count(cells_off(2, 2) + cells_off(17, 13) + cells_off(320, 240)) +
      " cells differ from whole numbers.");
  paragraph(
      "What to do: add 0.5 / 1024 to a float source, and the result of "
      "`bicubic_resize_32f_to_u16p10()` is rounded half up, equal sides included. Values stay from "
      "0 "
      "to below 64: others wrap. Do not reduce with it: a smaller output takes points of the "
      "surface, and what lies between them is lost; take an area mean.");
}

}  // namespace accuracy
