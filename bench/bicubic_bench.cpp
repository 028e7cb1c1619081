// Bicubic resizing to 16 bit and enlarging to float.

#include <algorithm>
#include <cstdint>

#include "bench/families.h"
#include "bench/image_sizes.h"
#include "bench/image_task.h"
#include "bench/scalar_bicubic.h"
#include "qo_cmc/image_utils.h"

namespace bench {
namespace {

constexpr uint16_t fraction_bits = 10;

/// Cubics of 15 operations along the rows that are used, then down the columns.
double cubics(const resize_size& size) {
  const auto rows = double(std::min(size.in.height, 4 * size.out.height));
  return (rows + double(size.out.height)) * double(size.out.width);
}

template <typename Sample>
void fill_16bit(contest& race, const resize_size& size) {
  constexpr sample type = sample_of<Sample>;
  const plane src = with_noise(dense_plane(type, size.in.width, size.in.height));
  const plane dst = dense_plane(sample::u16, size.out.width, size.out.height);
  const plane expected = dense_plane(sample::u16, size.out.width, size.out.height);
  const auto in_w = uint16_t(size.in.width), in_h = uint16_t(size.in.height);
  const auto out_w = uint16_t(size.out.width), out_h = uint16_t(size.out.height);
  race.ours([=] {
    if constexpr (type == sample::f32)
      bicubic_resize_32f_to_u16p10(src.as<float>(), in_h, in_w, dst.as<uint16_t>(), out_h, out_w);
    else
      bicubic_resize_u16_to_u16(src.as<uint16_t>(), in_h, in_w, fraction_bits, dst.as<uint16_t>(),
                                out_h, out_w);
  });
  race.scalar([=] {
    if constexpr (type == sample::f32)
      scalar::bicubic_16bit(reference::extrapolated(src.as<float>(), in_w, in_h),
                            expected.as<uint16_t>(), size.out);
    else
      scalar::bicubic_16bit(
          reference::extrapolated_scaled(src.as<uint16_t>(), in_w, in_h, fraction_bits),
          expected.as<uint16_t>(), size.out);
  });
  race.compare(dst, expected);
  add_image_peers(race, {.how = method::cubic,
                         .from = type,
                         .to = sample::u16,
                         .in = size.in,
                         .out = size.out,
                         .scale = type == sample::f32 ? 1024.0 : 1.0});
  race.bound_by_bytes(sizeof(Sample) * size.in.samples() + 2 * size.out.samples());
  race.bound_by_operations(2 * 15 * cubics(size));  // of double precision: two lanes each
}

template <typename Sample>
void fill_float(contest& race, const resize_size& size) {
  constexpr sample type = sample_of<Sample>;
  const plane src = with_noise(dense_plane(type, size.in.width, size.in.height));
  const plane dst = dense_plane(sample::f32, size.out.width, size.out.height);
  const plane expected = dense_plane(sample::f32, size.out.width, size.out.height);
  const auto in_w = uint16_t(size.in.width), in_h = uint16_t(size.in.height);
  const auto out_w = uint16_t(size.out.width), out_h = uint16_t(size.out.height);
  race.ours([=] {
    const Sample* const from = src.as<Sample>();
    float* const to = dst.as<float>();
    if constexpr (type == sample::u8)
      image_bicubic_upscale_uint8_to_float(&from, &to, in_w, in_h, out_w, out_h, 1);
    else
      image_bicubic_upscale_uint16_to_float(&from, &to, in_w, in_h, out_w, out_h, 1);
  });
  race.scalar(
      [=] { scalar::bicubic_upscale(src.as<Sample>(), size.in, expected.as<float>(), size.out); });
  race.compare(dst, expected);
  add_image_peers(
      race,
      {.how = method::cubic, .from = type, .to = sample::f32, .in = size.in, .out = size.out});
  race.bound_by_bytes(sizeof(Sample) * size.in.samples() + 4 * size.out.samples());
  // Four rows R for each cell row, and the column's sum: three products and three sums each.
  race.bound_by_operations(6 * (4 * double(size.in.height) + double(size.out.height)) *
                           double(size.out.width));
}

template <typename Sample>
void add_16bit(rows& all, const char* name) {
  for (const resize_size& size : all_sizes)
    all.push_back({.name = std::string(name) + " " + text_of(size.in, size.out),
                   .samples = size.out.samples(),
                   .avx512 = size.is_grid() ? 0.9 : 0.7,
                   .avx2 = size.is_grid() ? 1.15 : 1.25,
                   .rival = "opencv",
                   .fill = [size](contest& race) { fill_16bit<Sample>(race, size); }});
}

template <typename Sample>
void add_float(rows& all, const char* name) {
  for (const resize_size& size : enlargements)
    all.push_back({.name = std::string(name) + " " + text_of(size.in, size.out),
                   .samples = size.out.samples(),
                   .avx512 = size.is_grid()    ? 1.0
                             : size.is_thumb() ? 0.6
                                               : 0.85,
                   .avx2 = size.is_grid()    ? 0.65
                           : size.is_thumb() ? 1.0
                                             : 1.1,
                   .rival = "",
                   .fill = [size](contest& race) { fill_float<Sample>(race, size); }});
}

}  // namespace

void add_bicubic_rows(rows& all) {
  add_16bit<float>(all, "bicubic float to 16 bit");
  add_16bit<uint16_t>(all, "bicubic u16 to 16 bit");
  add_float<uint8_t>(all, "bicubic u8 to float");
  add_float<uint16_t>(all, "bicubic u16 to float");
}

}  // namespace bench
