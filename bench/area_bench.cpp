// Area averages of whole planes and of a region, to 16 bit.

#include <algorithm>
#include <cstdint>

#include "bench/families.h"
#include "bench/image_sizes.h"
#include "bench/image_task.h"
#include "qo_cmc/image_utils.h"

namespace bench {
namespace {

constexpr uint16_t fraction_bits = 10;

struct region {
  uint16_t x, y, width, height;
};

/// The obvious loop over outputs. Positions stay inside the plane: the sizes are chosen so.
template <typename Sample>
void average(const Sample* src, const image_size& in, const region& roi, float in_unit,
             uint16_t* dst, const image_size& out) {
  const float step_x = float(roi.width) / float(out.width);
  const float step_y = float(roi.height) / float(out.height);
  const float normaliser = 1.0f / (step_x * step_y);
  size_t first_row = 0;
  float row_begin = 0;
  for (size_t r = 0; r < out.height; ++r) {
    const float end_y = std::min(float(int(r + 1)) * step_y, float(int(in.height)));
    const auto last_row = size_t(int(end_y));
    const float row_end = end_y - float(int(last_row));
    const size_t rows = last_row - first_row + (row_end != 0);
    size_t first_column = 0;
    float column_begin = 0;
    for (size_t c = 0; c < out.width; ++c) {
      const float end_x = std::min(float(int(c + 1)) * step_x, float(int(in.width)));
      const auto last_column = size_t(int(end_x));
      const float column_end = end_x - float(int(last_column));
      const size_t columns = last_column - first_column + (column_end != 0);
      float sum = 0;
      for (size_t k = 0; k < rows; ++k) {
        const Sample* const from = src + (roi.y + first_row + k) * in.width + roi.x + first_column;
        const float row_weight = k == 0                          ? 1 - row_begin
                                 : k + 1 == rows && row_end != 0 ? row_end
                                                                 : 1;
        for (size_t j = 0; j < columns; ++j) {
          const float weight = j == 0                                ? 1 - column_begin
                               : j + 1 == columns && column_end != 0 ? column_end
                                                                     : 1;
          sum = sum + weight * row_weight * float(from[j]);
        }
      }
      const float value = (sum * normaliser * in_unit + 0x1p-11f) * 1024.0f;
      dst[r * out.width + c] = uint16_t(int32_t(value));
      first_column = last_column;
      column_begin = column_end;
    }
    first_row = last_row;
    row_begin = row_end;
  }
}

template <typename Sample>
void fill(contest& race, const resize_size& size, size_t left, size_t top) {
  constexpr sample type = sample_of<Sample>;
  const image_task task{.how = method::area,
                        .from = type,
                        .to = sample::u16,
                        .in = size.in,
                        .out = size.out,
                        .left = left,
                        .top = top,
                        .scale = type == sample::f32 ? 1024.0 : 1.0};
  const image_size used = task.region();
  const plane src = with_noise(dense_plane(type, size.in.width, size.in.height));
  const plane dst = dense_plane(sample::u16, size.out.width, size.out.height);
  const plane expected = dense_plane(sample::u16, size.out.width, size.out.height);
  const region roi{uint16_t(left), uint16_t(top), uint16_t(used.width), uint16_t(used.height)};
  const bool whole = left == 0 && top == 0;
  race.ours([=] {
    const Sample* const from = src.as<Sample>();
    uint16_t* const to = dst.as<uint16_t>();
    const uint16_t values[] = {roi.x, roi.y, roi.width, roi.height};
    const auto in_w = uint16_t(size.in.width), in_h = uint16_t(size.in.height);
    const auto out_w = uint16_t(size.out.width), out_h = uint16_t(size.out.height);
    if constexpr (type == sample::f32)
      image_downscale_32f_to_u16p10(&from, &to, in_w, in_h, out_w, out_h, 1,
                                    whole ? nullptr : values);
    else
      image_downscale_u16_to_u16(&from, &to, in_w, in_h, fraction_bits, out_w, out_h, fraction_bits,
                                 1, whole ? nullptr : values);
  });
  race.scalar([=] {
    average(src.as<Sample>(), size.in, roi, type == sample::f32 ? 1.0f : 0x1p-10f,
            expected.as<uint16_t>(), size.out);
  });
  race.compare(dst, expected);
  add_image_peers(race, task);
  race.bound_by_bytes(sizeof(Sample) * used.samples() + 2 * size.out.samples());
  // Every source sample is added; where areas end inside of samples it is weighed, too.
  const bool whole_ratio = used.width % size.out.width == 0 && used.height % size.out.height == 0;
  race.bound_by_operations((whole_ratio ? 1.0 : 2.0) * double(used.samples()));
}

struct area_row {
  const char* name;
  resize_size size;
  bool cropped;
  goal avx512[2];  ///< of u16, of float
  goal avx2[2];
  const char* float_rival = "";
};

template <typename Sample>
void add(rows& all, const area_row& from) {
  constexpr bool is_float = sample_of<Sample> == sample::f32;
  const size_t left = from.cropped ? from.size.in.width / 10 : 0;
  const size_t top = from.cropped ? from.size.in.height / 10 : 0;
  all.push_back({.name = std::string(from.name) + (is_float ? " float " : " u16 ") +
                         text_of(from.size.in, from.size.out),
                 .samples = from.size.out.samples(),
                 .avx512 = from.avx512[is_float],
                 .avx2 = from.avx2[is_float],
                 .rival = is_float ? from.float_rival : "",
                 .fill = [size = from.size, left, top](contest& race) {
                   fill<Sample>(race, size, left, top);
                 }});
}

}  // namespace

void add_area_rows(rows& all) {
  const area_row every[] = {
      {"area 2:1", thumb_down, false, {1.0, 0.75}, {1.0, 0.67}},
      {"area 2:1", image_half, false, {0.5, 0.5}, {0.5, 0.5}},
      {"area fractional", {{65, 49}, {33, 25}}, false, {0.65, 0.75}, {1.2, 1.2}},
      {"area fractional", {{640, 480}, {256, 192}}, false, {0.65, 0.75}, {1.2, 1.2}},
      {"area fractional", image_down, false, {0.65, 0.75}, {1.2, 1.2}},
      {"area region", thumb_down, true, {0.65, 0.15}, {1.2, 0.3}, contest::scalar_name},
      {"area region", image_down, true, {0.65, 0.15}, {1.2, 0.3}, contest::scalar_name},
      {"area statistics", statistics, false, {2.0, 1.0}, {4.0, 2.5}}};
  for (const area_row& each : every) {
    add<uint16_t>(all, each);
    add<float>(all, each);
  }
}

}  // namespace bench
