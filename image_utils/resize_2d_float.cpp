// resize_2d_array_float(): bilinear resize of float arrays in single precision, corner-aligned.

#include "qo_cmc/image_utils.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "base/float_to_int.h"
#include "image_utils/corner_alignment.h"
#include "qo_cmc/status.h"
#include "rows/row_table.h"

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

/// What is resized: rows of `width` samples.
struct source_rows {
  const float* first;
  uint32_t width;

  [[nodiscard]] const float* operator[](size_t row) const { return first + row * width; }
};

/// The products of the two source rows that were asked for last. A row stands in the place of its
/// parity: of the two rows around an output neither replaces the other.
class row_products {
 public:
  row_products(const bilinear_float_rows& kernels, const bilinear_float_columns& columns,
               const source_rows& source)
      : kernels_(kernels), columns_(columns), source_(source) {}

  [[nodiscard]] const bilinear_float_row& at(size_t row) {
    const size_t place = row % 2;
    if (held_[place] != row) {
      kernels_.across(columns_, source_[row], rows_[place]);
      held_[place] = row;
    }
    return rows_[place];
  }

 private:
  static constexpr size_t none = SIZE_MAX;

  const bilinear_float_rows& kernels_;
  const bilinear_float_columns& columns_;
  const source_rows& source_;
  size_t held_[2] = {none, none};
  bilinear_float_row rows_[2];
};

/// The output columns from `left` on, as many as a strip has.
void resize_strip(const source_rows& source, uint32_t in_height, float step_x, float step_y,
                  uint32_t left, float* dst, uint32_t out_width, uint32_t out_height) {
  const bilinear_float_rows& kernels = rows().bilinear_float;
  const uint32_t count = std::min(out_width - left, uint32_t{bilinear_float_strip});
  bilinear_float_columns columns;
  kernels.plan({left, count, source.width, step_x}, columns);
  row_products products(kernels, columns, source);
  // From two rows to a step on hardly any source row is used twice.
  const bool are_rows_shared = step_y < 2.0f;
  for (uint32_t i = 0; i < out_height; ++i) {
    const sample_pair y = sample_pair_of(i, step_y, in_height);
    float* const row = dst + size_t{i} * out_width + left;
    if (are_rows_shared)
      kernels.down(products.at(y.first), products.at(y.second), y.fraction, row, count);
    else
      kernels.across_and_down(columns, source[y.first], source[y.second], y.fraction, row);
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
  for (uint32_t left = 0; left < out_width; left += qo::bilinear_float_strip)
    qo::resize_strip({src, in_width}, static_cast<uint32_t>(in_h), step_x, step_y, left, dst,
                     out_width, out_h);
  return QO_CMC_OK;
}
