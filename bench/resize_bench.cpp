// Bilinear resizing of whole arrays, dense and into one channel of three.

#include <cmath>
#include <cstdint>

#include "bench/families.h"
#include "bench/image_sizes.h"
#include "bench/image_task.h"
#include "bench/scalar_resize.h"
#include "qo_cmc/image_utils.h"

namespace bench {
namespace {

constexpr size_t channels = 3;

template <typename Sample>
uint32_t resize(const Sample* src, const image_size& in, Sample* dst, const image_size& out) {
  const auto in_w = static_cast<uint32_t>(in.width), out_w = static_cast<uint32_t>(out.width);
  const auto in_h = static_cast<int32_t>(in.height);
  const auto out_h = static_cast<uint32_t>(out.height);
  if constexpr (sample_of<Sample> == sample::u8)
    return resize_2d_array_uint8(src, in_w, in_h, dst, out_w, out_h);
  else if constexpr (sample_of<Sample> == sample::u16)
    return resize_2d_array_uint16(src, in_w, in_h, dst, out_w, out_h);
  else if constexpr (sample_of<Sample> == sample::u32)
    return resize_2d_array_uint32(src, in_w, in_h, dst, out_w, out_h);
  else
    return resize_2d_array_float(src, in_w, in_h, dst, out_w, out_h);
}

template <typename Sample>
uint32_t resize_into_channel(const Sample* src, const image_size& in, Sample* dst,
                             const image_size& out) {
  const auto in_w = static_cast<uint32_t>(in.width), out_w = static_cast<uint32_t>(out.width);
  const auto in_h = static_cast<int32_t>(in.height);
  const auto out_h = static_cast<uint32_t>(out.height);
  if constexpr (sample_of<Sample> == sample::u8)
    return resize_2d_array_uint8_v1(src, in_w, in_h, dst, out_w, out_h, channels);
  else
    return resize_2d_array_uint16_v1(src, in_w, in_h, dst, out_w, out_h, channels);
}

template <typename Sample>
void resize_by_definition(const Sample* src, const image_size& in, Sample* dst,
                          const image_size& out, size_t step) {
  if constexpr (sample_of<Sample> == sample::f32)
    scalar::resize_float(src, in, dst, out);
  else
    scalar::resize<sample_of<Sample> == sample::u32 ? 12 : 8>(src, in, {}, dst, out, step);
}

/// The source rows and columns that an enlargement or a reduction reads at all.
size_t samples_read(const resize_size& size) {
  const double rows = std::fmin(double(size.in.height), 2 * double(size.out.height));
  const double columns = std::fmin(double(size.in.width), 2 * double(size.out.width));
  return size_t(rows * columns);
}

template <typename Sample>
void fill(contest& race, const resize_size& size, size_t step) {
  constexpr sample type = sample_of<Sample>;
  const plane src = with_noise(dense_plane(type, size.in.width, size.in.height));
  const plane dst = dense_plane(type, size.out.width * step, size.out.height);
  const plane expected = dense_plane(type, size.out.width * step, size.out.height);
  race.ours([=] {
    if (step == 1)
      (void)resize(src.as<Sample>(), size.in, dst.as<Sample>(), size.out);
    else if constexpr (sizeof(Sample) < 4)
      (void)resize_into_channel(src.as<Sample>(), size.in, dst.as<Sample>(), size.out);
  });
  race.scalar([=] {
    resize_by_definition(src.as<Sample>(), size.in, expected.as<Sample>(), size.out, step);
  });
  race.compare(dst, expected);
  // 32-bit integers are no peer's format: floats have the same size.
  const sample peers_type = type == sample::u32 ? sample::f32 : type;
  add_image_peers(race, {.how = method::bilinear,
                         .from = peers_type,
                         .to = peers_type,
                         .in = size.in,
                         .out = size.out,
                         .channel_step = step});
  race.bound_by_bytes(sizeof(Sample) * (samples_read(size) + size.out.samples() * step));
  // The last blend: two products, a sum, and for integers rounding and shift. Samples of 8 and 16
  // bits can have their products and sum in one operation on pairs.
  race.bound_by_operations(3.0 * double(size.out.samples()));
}

goal goal_avx512(sample type, const resize_size& size) {
  const bool to_1920 = size.out.width == image_down.out.width;
  switch (type) {
    case sample::u8:
      return size.is_grid() ? 0.45 : to_1920 ? 0.30 : 1.0;
    case sample::u16:
      return size.is_grid() || size.out.width == 320 ? 0.75 : to_1920 ? 0.40 : 1.1;
    case sample::f32:
      return size.is_grid() ? 1.0 : size.is_thumb() ? 1.25 : to_1920 ? 0.7 : 0.95;
    case sample::u32:
      return size.is_grid() ? 0.75 : 1.0;
  }
  return {};
}

goal goal_avx2(sample type, const resize_size& size) {
  const bool to_1920 = size.out.width == image_down.out.width;
  switch (type) {
    case sample::u8:
      return size.is_grid() ? 0.65 : to_1920 ? 0.6 : size.out.width == 320 ? 3.0 : 2.0;
    case sample::u16:
      return size.is_grid() ? 0.5 : to_1920 ? 0.6 : 1.6;
    case sample::f32:
      if (size.is_thumb()) return {1.25, 1.6};
      return size.is_grid() ? 0.8 : to_1920 ? 0.75 : 1.25;
    case sample::u32:
      return size.is_grid() ? goal(0.57) : goal(0.95, 1.6);
  }
  return {};
}

template <typename Sample>
void add_whole(rows& all, const char* name) {
  constexpr sample type = sample_of<Sample>;
  for (const resize_size& size : all_sizes) {
    // For 4000 -> 2000 no goal is set.
    const bool aimed_at = size.out.width != image_half.out.width;
    const bool exact_half = type == sample::u8 && size.out.width == 320;
    all.push_back({.name = std::string(name) + " " + text_of(size.in, size.out),
                   .samples = size.out.samples(),
                   .avx512 = aimed_at ? goal_avx512(type, size) : goal(),
                   .avx2 = aimed_at ? goal_avx2(type, size) : goal(),
                   // libyuv has a kernel for exactly this.
                   .rival = exact_half ? "opencv" : "",
                   .fill = [size](contest& race) { fill<Sample>(race, size, 1); }});
  }
}

template <typename Sample>
void add_interleaved(rows& all, const char* name, goal avx512, goal avx2) {
  for (const resize_size& size : all_sizes) {
    all.push_back({.name = std::string(name) + " " + text_of(size.in, size.out),
                   .samples = size.out.samples(),
                   .avx512 = avx512,
                   .avx2 = avx2,
                   .rival = "",
                   .fill = [size](contest& race) { fill<Sample>(race, size, channels); }});
  }
}

}  // namespace

void add_resize_rows(rows& all) {
  add_whole<uint8_t>(all, "resize u8");
  add_whole<uint16_t>(all, "resize u16");
  add_whole<float>(all, "resize float");
  add_whole<uint32_t>(all, "resize u32");
  add_interleaved<uint16_t>(all, "resize u16 step 3", 0.75, 0.7);
  add_interleaved<uint8_t>(all, "resize u8 step 3", 0.85, 0.8);
}

}  // namespace bench
