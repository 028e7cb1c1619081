// image_downscale_32f_to_u16p10() and image_downscale_u16_to_u16(): reduction of planes by area
// averaging, to 16-bit fixed point.

#include "qo_cmc/image_utils.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

#include "base/float_to_int.h"
#include "base/powers_of_two.h"
#include "image_utils/clamped_samples.h"
#include "image_utils/plane_arrays.h"
#include "qo_cmc/status.h"

namespace qo {
namespace {

struct area {
  uint32_t x;
  uint32_t y;
  uint32_t width;
  uint32_t height;
};

/// What one output sample covers along one axis: `count` samples from `first` on.
struct coverage {
  uint32_t first;
  uint32_t count;
  float first_weight;
  float last_weight;

  /// A sample that is first and last has the weight of the first.
  [[nodiscard]] float weight(uint32_t i) const {
    assert(i < count);
    if (i == 0) return first_weight;
    return i + 1 == count ? last_weight : 1.0f;
  }
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

/// The weighted sum over one output sample's area. One accumulator, rows outer, columns inner: the
/// order is part of the result.
template <typename Sample>
[[nodiscard]] float weighted_sum(const Sample* plane, const plane_size& size, const area& region,
                                 const coverage& rows, const coverage& columns) {
  float sum = 0.0f;
  for (uint32_t k = 0; k < rows.count; ++k) {
    const auto samples =
        samples_from(plane, size, region.y + rows.first + k, region.x + columns.first);
    const float row_weight = rows.weight(k);
    for (uint32_t j = 0; j < columns.count; ++j)
      sum += columns.weight(j) * row_weight * static_cast<float>(samples[j]);
  }
  return sum;
}

/// Powers of two between sample values and numbers.
struct number_format {
  float in_unit;    ///< value of one unit of a source sample
  float out_scale;  ///< units of an output sample in 1.0
};

[[nodiscard]] uint16_t to_fixed_point(float mean, const number_format& format) {
  // Contract: half a unit of 10 fractional bits, whatever the output has.
  constexpr float rounding = 0x1p-11f;
  return static_cast<uint16_t>(
      truncate_to_i32((mean * format.in_unit + rounding) * format.out_scale));
}

template <typename Sample>
void downscale_plane(const Sample* src, const plane_size& size, const area& region, uint16_t* dst,
                     uint16_t out_width, uint16_t out_height, const number_format& format) {
  const float step_x = static_cast<float>(region.width) / static_cast<float>(out_width);
  const float step_y = static_cast<float>(region.height) / static_cast<float>(out_height);
  // An empty region makes this infinite, the mean no number, and the output 0.
  const float normaliser = 1.0f / (step_x * step_y);
  coverage_walk row_walk(step_y, static_cast<uint32_t>(size.height));
  for (uint32_t r = 0; r < out_height; ++r) {
    const coverage rows = row_walk.next();
    uint16_t* const dst_row = dst + size_t{r} * out_width;
    coverage_walk column_walk(step_x, static_cast<uint32_t>(size.width));
    for (uint32_t c = 0; c < out_width; ++c) {
      const float sum = weighted_sum(src, size, region, rows, column_walk.next());
      dst_row[c] = to_fixed_point(sum * normaliser, format);
    }
  }
}

template <typename Sample>
[[nodiscard]] uint32_t downscale_planes(const Sample* const* src_planes,
                                        uint16_t* const* dst_planes, const plane_size& size,
                                        uint16_t out_width, uint16_t out_height, uint16_t n_planes,
                                        const uint16_t* roi, const number_format& format) {
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
    downscale_plane(src_planes[i], size, region, dst_planes[i], out_width, out_height, format);
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
