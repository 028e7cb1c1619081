// image_downscale_32f_to_u16p10() and image_downscale_u16_to_u16(): reduction of planes by area
// averaging, to 16-bit fixed point.

#include "qo_cmc/image_utils.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

#include "base/float_to_int.h"
#include "base/powers_of_two.h"
#include "image_utils/plane_arrays.h"
#include "qo_cmc/status.h"
#include "rows/row_table.h"

namespace qo {
namespace {

struct plane_size {
  uint64_t width;
  uint64_t height;
};

struct area {
  uint32_t x;
  uint32_t y;
  uint32_t width;
  uint32_t height;
};

/// What one output sample covers along one axis: `count` samples from `first` on, those between
/// the first and the last in full. A sample that is both has the weight of the first.
struct coverage {
  uint32_t first;
  uint32_t count;
  float first_weight;
  float last_weight;
};

/// Walks an axis from one output sample to the next.
class coverage_walk {
 public:
  /// Contract: positions are clamped to the side of the whole plane, also in a region. There the
  /// last one may be rounded past the region's edge, and covers a sliver of the sample after it.
  coverage_walk(float step, uint32_t plane_side)
      : step_(step), limit_(static_cast<float>(plane_side)) {}

  [[nodiscard]] coverage next() {
    const float edge = std::min(static_cast<float>(++position_) * step_, limit_);
    const auto index = static_cast<uint16_t>(truncate_to_i32(edge));
    const float fraction = edge - static_cast<float>(index);
    const bool exact = fraction == 0.0f;
    const coverage covered{index_, index - uint32_t{index_} + (exact ? 0 : 1), 1.0f - fraction_,
                           exact ? 1.0f : fraction};
    index_ = index;
    fraction_ = fraction;
    return covered;
  }

 private:
  float step_;
  float limit_;
  uint32_t position_ = 0;
  uint16_t index_ = 0;     // where the sample before ended,
  float fraction_ = 0.0f;  // and how much of its last one it took
};

/// The coverage of the next columns, as the kernels take it.
void cover_columns(coverage_walk& walk, uint32_t count, area_columns& columns) {
  uint32_t least = UINT32_MAX;
  columns.count = count;
  columns.taps = 0;
  coverage column{};
  const uint32_t groups = (count + area_columns::group - 1) / area_columns::group;
  for (uint32_t c = 0; c < groups * area_columns::group; ++c) {
    if (c < count) column = walk.next();
    columns.taps = std::max(columns.taps, column.count);
    least = std::min(least, column.count);
    columns.starts[c] = static_cast<uint16_t>(column.first);
    columns.counts[c] = static_cast<uint16_t>(column.count);
    columns.first_weights[c] = column.first_weight;
    columns.last_weights[c] = column.last_weight;
  }
  // Intervals of one length meet one sample more or less, and with rounded ends one more.
  assert(least >= 1 && columns.taps - least <= 2);
}

/// Rows of a region, as the kernels take them.
template <typename Sample>
[[nodiscard]] area_band<Sample> cover_rows(const Sample* plane, const plane_size& size,
                                           const area& region, const coverage& rows) {
  const uint64_t first_row = uint64_t{region.y} + rows.first;
  const uint64_t first = first_row * size.width + region.x;
  return {plane + first,
          size.width,
          rows.count,
          static_cast<uint32_t>(size.height - 1 - first_row),
          size.width * size.height - first,
          rows.first_weight,
          rows.last_weight};
}

/// Bands that the kernels get at once.
constexpr size_t most_bands = 32;

/// As many as stay in the nearer caches while the kernels pass over them, some columns at a time.
[[nodiscard]] size_t bands_at_once(size_t sample_size, uint64_t width, float step_y) {
  constexpr float near = 48.0f * 1024.0f;
  const float band_bytes = step_y * static_cast<float>(width * sample_size);
  const auto bands = static_cast<size_t>(truncate_to_i32(near / band_bytes));
  return std::clamp(bands, 16 / sample_size, most_bands);
}

/// The kernels for samples of a type.
template <typename Sample>
struct kernels;

template <>
struct kernels<uint16_t> {
  static constexpr auto average = &area_rows::average_u16;
  static constexpr auto halve = &area_rows::halve_u16;
};

template <>
struct kernels<float> {
  static constexpr auto average = &area_rows::average_float;
  static constexpr auto halve = &area_rows::halve_float;
};

/// Steps of two samples in both directions: nothing is covered in part.
template <typename Sample>
void halve_plane(const Sample* src, const plane_size& size, const area& region, uint16_t* dst,
                 uint16_t out_width, uint16_t out_height, const area_format& format) {
  const auto halve = rows().areas.*kernels<Sample>::halve;
  const Sample* top = src + region.y * size.width + region.x;
  for (uint32_t r = 0; r < out_height; ++r, top += 2 * size.width, dst += out_width)
    halve(top, top + size.width, out_width, format, dst);
}

/// Powers of two between sample values and numbers.
struct number_format {
  float in_unit;    ///< value of one unit of a source sample
  float out_scale;  ///< units of an output sample in 1.0
};

/// trunc((sum * normaliser * in_unit + rounding) * out_scale), in one product and one sum: products
/// with powers of two round nothing, and what they could drive out of range saturates or is lost
/// beside the rounding term either way.
[[nodiscard]] area_format format_of(float normaliser, const number_format& numbers) {
  // Contract: half a unit of 10 fractional bits, whatever the output has.
  constexpr float rounding = 0x1p-11f;
  return {normaliser * numbers.in_unit * numbers.out_scale, rounding * numbers.out_scale};
}

template <typename Sample>
void downscale_plane(const Sample* src, const plane_size& size, const area& region, uint16_t* dst,
                     uint16_t out_width, uint16_t out_height, const number_format& numbers) {
  // An empty region has means that are no numbers.
  if (region.width == 0 || region.height == 0) {
    std::fill_n(dst, size_t{out_width} * out_height, uint16_t{0});
    return;
  }
  const float step_x = static_cast<float>(region.width) / static_cast<float>(out_width);
  const float step_y = static_cast<float>(region.height) / static_cast<float>(out_height);
  const area_format format = format_of(1.0f / (step_x * step_y), numbers);
  if (step_x == 2.0f && step_y == 2.0f)
    return halve_plane(src, size, region, dst, out_width, out_height, format);

  const auto average = rows().areas.*kernels<Sample>::average;
  const size_t most_at_once = bands_at_once(sizeof(Sample), size.width, step_y);
  coverage_walk column_walk(step_x, static_cast<uint32_t>(size.width));
  area_columns columns;  // 24 KiB
  for (uint32_t first = 0; first < out_width; first += area_columns::capacity) {
    const uint32_t count = std::min(area_columns::capacity, out_width - first);
    cover_columns(column_walk, count, columns);
    coverage_walk row_walk(step_y, static_cast<uint32_t>(size.height));
    area_means means{dst + first, out_width, 0};
    for (size_t r = 0; r < out_height; r += most_at_once) {
      area_band<Sample> bands[most_bands];
      means.count = std::min(most_at_once, out_height - r);
      for (size_t b = 0; b < means.count; ++b)
        bands[b] = cover_rows(src, size, region, row_walk.next());
      average(columns, bands, format, means);
      means.first += means.count * means.row_step;
    }
  }
}

template <typename Sample>
[[nodiscard]] uint32_t downscale_planes(const Sample* const* src_planes,
                                        uint16_t* const* dst_planes, const plane_size& size,
                                        uint16_t out_width, uint16_t out_height, uint16_t n_planes,
                                        const uint16_t* roi, const number_format& numbers) {
  if (size.width <= out_width || size.height <= out_height) return QO_CMC_INVALID_SIZE;
  if (out_width < 3 || out_height < 3) return QO_CMC_INVALID_SIZE;
  area region{0, 0, static_cast<uint32_t>(size.width), static_cast<uint32_t>(size.height)};
  if (roi != nullptr) {
    region = {roi[0], roi[1], roi[2], roi[3]};
    if (region.x >= size.width || region.y >= size.height) return QO_CMC_INVALID_SIZE;
    if (region.x + region.width > size.width) return QO_CMC_INVALID_SIZE;
    if (region.y + region.height > size.height) return QO_CMC_INVALID_SIZE;
  }
  if (n_planes == 0) return QO_CMC_OK;
  if (has_null_plane(src_planes, dst_planes, n_planes)) return QO_CMC_INVALID_SIZE;

  for (size_t i = 0; i < n_planes; ++i)
    downscale_plane(src_planes[i], size, region, dst_planes[i], out_width, out_height, numbers);
  return QO_CMC_OK;
}

}  // namespace
}  // namespace qo

uint32_t image_downscale_32f_to_u16p10(const float* const* src_planes, uint16_t* const* dst_planes,
                                       uint16_t in_w, uint16_t in_h, uint16_t out_w, uint16_t out_h,
                                       uint16_t n_planes, const uint16_t* roi) {
  return qo::downscale_planes(src_planes, dst_planes, {in_w, in_h}, out_w, out_h, n_planes, roi,
                              {1.0f, qo::signed_power_of_two(10)});
}

uint32_t image_downscale_u16_to_u16(const uint16_t* const* src_planes, uint16_t* const* dst_planes,
                                    uint16_t in_w, uint16_t in_h, uint16_t in_frac_bits,
                                    uint16_t out_w, uint16_t out_h, uint16_t out_frac_bits,
                                    uint16_t n_planes, const uint16_t* roi) {
  const float in_unit = 1.0f / qo::signed_power_of_two(in_frac_bits);
  return qo::downscale_planes(src_planes, dst_planes, {in_w, in_h}, out_w, out_h, n_planes, roi,
                              {in_unit, qo::signed_power_of_two(out_frac_bits)});
}
