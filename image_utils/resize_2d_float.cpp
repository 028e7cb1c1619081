// resize_2d_array_float(): bilinear resize of float arrays in single precision, corner-aligned.

#include "qo_cmc/image_utils.h"

#include <cstddef>

#include "base/float_to_int.h"
#include "image_utils/corner_alignment.h"
#include "qo_cmc/status.h"

namespace qo {
namespace {

/// The two samples around a position, and how far it stands from the first.
struct sample_pair {
  size_t first;
  size_t second;  ///< `first` itself at the last sample: nothing is extrapolated
  float fraction;
};

[[nodiscard]] sample_pair sample_pair_of(uint32_t out_index, float step, uint32_t in_side) {
  const float position = static_cast<float>(out_index) * step;
  // Contract: 16 bits. In an array of more rows the index starts over at 65536, while the fraction
  // keeps the whole distance.
  const auto first = static_cast<uint16_t>(truncate_to_i32(position));
  const size_t second = first < in_side - 1 ? size_t{first} + 1 : first;
  return {first, second, position - static_cast<float>(first)};
}

/// One output row from the two source rows around it. The order of the products and sums is part of
/// the result.
void blend_rows(const float* upper, const float* lower, float fraction_y, uint32_t in_width,
                float step_x, float* dst, uint32_t out_width) {
  const float rest_y = 1.0f - fraction_y;
  for (uint32_t i = 0; i < out_width; ++i) {
    const sample_pair x = sample_pair_of(i, step_x, in_width);
    const float rest_x = 1.0f - x.fraction;
    dst[i] = x.fraction * lower[x.second] * fraction_y +
             (upper[x.second] * x.fraction * rest_y + upper[x.first] * rest_x * rest_y +
              rest_x * lower[x.first] * fraction_y);
  }
}

}  // namespace
}  // namespace qo

uint32_t resize_2d_array_float(const float* src, uint32_t in_w, int32_t in_h, float* dst,
                               uint32_t out_w, uint32_t out_h) {
  // Contract: of the widths the low 16 bits count, also as row lengths; the heights are tested as
  // signed values.
  const auto in_width = static_cast<uint16_t>(in_w);
  const auto out_width = static_cast<uint16_t>(out_w);
  const auto out_height = static_cast<int32_t>(out_h);
  if (in_width < 2 || out_width < 2 || in_h < 2 || out_height < 2) return QO_CMC_INVALID_SIZE;
  if (src == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;

  const float step_x = qo::corner_aligned_step(in_width, out_width);
  const float step_y = qo::corner_aligned_step(in_h, out_height);
  for (uint32_t i = 0; i < out_h; ++i) {
    const qo::sample_pair y = qo::sample_pair_of(i, step_y, static_cast<uint32_t>(in_h));
    qo::blend_rows(src + y.first * in_width, src + y.second * in_width, y.fraction, in_width,
                   step_x, dst + size_t{i} * out_width, out_width);
  }
  return QO_CMC_OK;
}
