// Nearest neighbour of 16- and 32-bit samples, and the maxima of blocks.

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "bench/families.h"
#include "bench/image_sizes.h"
#include "bench/image_task.h"
#include "qo_cmc/image_utils.h"

namespace bench {
namespace {

// The obvious loops over outputs. Positions stay inside the plane: the sizes are chosen so.

void left_aligned(const uint32_t* src, const image_size& in, uint32_t* dst, const image_size& out) {
  const uint64_t step_x = (in.width << 16) / out.width + 1;
  const uint64_t step_y = (in.height << 16) / out.height + 1;
  for (size_t y = 0; y < out.height; ++y)
    for (size_t x = 0; x < out.width; ++x)
      dst[y * out.width + x] = src[(y * step_y >> 16) * in.width + (x * step_x >> 16)];
}

/// ceil(k scale) - 1
uint32_t far_edge(size_t k, float scale) {
  const float edge = float(int(k)) * scale;
  const auto whole = uint32_t(int(edge));
  return whole - (float(int(whole)) == edge);
}

template <typename Sample, typename Out>
void far_edge_copy(const Sample* src, const image_size& in, Out* dst, const image_size& out) {
  const float scale_x = float(in.width) / float(out.width);
  const float scale_y = float(in.height) / float(out.height);
  for (size_t y = 0; y < out.height; ++y) {
    const Sample* const row = src + far_edge(y + 1, scale_y) * in.width;
    for (size_t x = 0; x < out.width; ++x)
      dst[y * out.width + x] = Out(row[far_edge(x + 1, scale_x)]);
  }
}

void block_maxima(const int32_t* src, const image_size& in, uint32_t* dst, const image_size& out) {
  const float scale_x = float(in.width) / float(out.width);
  const float scale_y = float(in.height) / float(out.height);
  for (size_t y = 0; y < out.height; ++y) {
    const uint32_t top = y == 0 ? 0 : far_edge(y, scale_y), bottom = far_edge(y + 1, scale_y);
    for (size_t x = 0; x < out.width; ++x) {
      const uint32_t left = x == 0 ? 0 : far_edge(x, scale_x), right = far_edge(x + 1, scale_x);
      int32_t maximum = 0;
      for (size_t r = top + 1; r <= bottom; ++r)
        for (size_t c = left + 1; c <= right; ++c)
          maximum = std::max(maximum, src[r * in.width + c]);
      dst[y * out.width + x] = uint32_t(maximum);
    }
  }
}

enum class rule { u32, i32, u16, maximum };

struct planes {
  planes(sample type, const resize_size& sizes)
      : size(sizes),
        src(with_noise(dense_plane(type, size.in.width, size.in.height))),
        dst(dense_plane(type, size.out.width, size.out.height)),
        expected(dense_plane(type, size.out.width, size.out.height)) {}
  resize_size size;
  plane src, dst, expected;
};

void add_jobs(contest& race, rule by, const planes& p) {
  const auto in_w = uint16_t(p.size.in.width), in_h = uint16_t(p.size.in.height);
  const auto out_w = uint16_t(p.size.out.width), out_h = uint16_t(p.size.out.height);
  switch (by) {
    case rule::u32:
      race.ours([=] {
        image_nearest_neighbor_scale_uint32(p.src.as<uint32_t>(), in_w, in_h, p.dst.as<uint32_t>(),
                                            out_w, out_h);
      });
      race.scalar([=] {
        left_aligned(p.src.as<uint32_t>(), p.size.in, p.expected.as<uint32_t>(), p.size.out);
      });
      break;
    case rule::u16:
      race.ours([=] {
        image_upscale_nearest_neighbor_uint16(p.src.as<uint16_t>(), p.dst.as<uint16_t>(), in_w,
                                              in_h, out_w, out_h);
      });
      race.scalar([=] {
        far_edge_copy(p.src.as<uint16_t>(), p.size.in, p.expected.as<uint16_t>(), p.size.out);
      });
      break;
    case rule::i32:
    case rule::maximum:
      race.ours([=] {
        image_downscale_nearest_neighbor_int32(p.src.as<int32_t>(), p.dst.as<uint32_t>(), in_w,
                                               in_h, out_w, out_h, by == rule::maximum);
      });
      race.scalar([=] {
        const auto loop = by == rule::maximum ? block_maxima : far_edge_copy<int32_t, uint32_t>;
        loop(p.src.as<int32_t>(), p.size.in, p.expected.as<uint32_t>(), p.size.out);
      });
      break;
  }
  race.compare(p.dst, p.expected);
}

void fill(contest& race, rule by, const resize_size& size) {
  const sample type = by == rule::u16 ? sample::u16 : sample::u32;
  add_jobs(race, by, planes(type, size));
  if (by == rule::maximum) {
    race.bound_by_bytes(bytes_of(type) * (size.in.samples() + size.out.samples()));
    race.bound_by_operations(double(size.in.samples()));
    return;  // no peer takes maxima of blocks
  }
  const image_task task{
      .how = method::nearest, .from = type, .to = type, .in = size.in, .out = size.out};
  add_image_peers(race, task);
  if (type == sample::u32) add_onlookers(race, task);
  // A sample that is taken comes with the 64 bytes that it stands in; a row that is not, never.
  const size_t rows = std::min(size.in.height, size.out.height);
  race.bound_by_bytes(bytes_of(type) * (rows * size.in.width + size.out.samples()));
}

void add(rows& all, const char* name, rule by, const resize_size& size, goal avx512, goal avx2) {
  all.push_back({.name = std::string(name) + " " + text_of(size.in, size.out),
                 .samples = size.out.samples(),
                 .avx512 = avx512,
                 .avx2 = avx2,
                 .rival = by == rule::maximum ? contest::scalar_name : "",
                 .fill = [by, size](contest& race) { fill(race, by, size); }});
}

}  // namespace

void add_nearest_rows(rows& all) {
  for (const resize_size& size : all_sizes)
    add(all, "nearest u32", rule::u32, size, size.is_grid() ? 0.5 : 0.35,
        size.is_grid() ? 0.37 : 0.6);
  for (const resize_size& size : all_sizes)
    add(all, "nearest int32", rule::i32, size, size.is_grid() ? 0.5 : 0.35,
        size.is_grid() ? 0.37 : 0.6);
  for (const resize_size& size : all_sizes)
    add(all, "nearest u16", rule::u16, size,
        size.is_grid()    ? 0.5
        : size.is_thumb() ? 0.4
                          : 0.9,
        size.is_grid()    ? 0.39
        : size.is_thumb() ? 0.6
                          : 0.9);
  for (const resize_size& size : {thumb_down, image_down, image_half, statistics})
    add(all, "block maximum", rule::maximum, size, 0.3, {0.28, 0.35});
}

}  // namespace bench
