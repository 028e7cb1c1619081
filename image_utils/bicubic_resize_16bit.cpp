// bicubic_resize_32f_to_u16p10() and bicubic_resize_u16_to_u16(): sizes, positions and memory. The
// arithmetic is in catmull_rom_kernel.

#include "qo_cmc/image_utils.h"

#include <cassert>
#include <cstring>

#include "base/float_to_int.h"
#include "image_utils/catmull_rom_kernel.h"
#include "image_utils/extrapolated_buffer.h"
#include "qo_cmc/status.h"

namespace qo {
namespace {

/// Heights first, as these two functions take them.
struct resize_size {
  uint16_t in_height;
  uint16_t in_width;
  uint16_t out_height;
  uint16_t out_width;
};

/// Where an output sample falls on the source: between which sample and the next, and how far.
struct spline_position {
  size_t sample;
  float fraction;
};

/// Corner-aligned: index / (out_side - 1) * (in_side - 1), divided first. An output of one sample
/// takes the first.
[[nodiscard]] spline_position spline_position_of(size_t index, uint16_t in_side,
                                                 uint16_t out_side) {
  assert(in_side >= 1 && index < out_side);
  if (out_side == 1) return {0, 0.0f};
  const float position = static_cast<float>(index) / static_cast<float>(out_side - 1) *
                         static_cast<float>(in_side - 1);
  const int32_t sample = truncate_to_i32(position);  // the floor, for nothing is negative
  return {static_cast<size_t>(sample), position - static_cast<float>(sample)};
}

/// One output row. `border_row` is the first of the four buffer rows that the splines run through.
void resize_row(const float* border_row, float fy, const resize_size& size, uint16_t* dst) {
  const size_t stride = extrapolated_stride(size.in_width);
  for (size_t column = 0; column < size.out_width; ++column) {
    const spline_position x = spline_position_of(column, size.in_width, size.out_width);
    float block[16];
    for (size_t row = 0; row < 4; ++row)
      memcpy(block + 4 * row, border_row + row * stride + x.sample, 4 * sizeof(float));
    // Contract: the low 16 bits. What the spline leaves below 0 or above 65535 wraps.
    dst[column] = static_cast<uint16_t>(bicubic_kernel_4x4_p10(block, fy, x.fraction));
  }
}

/// Both members: `fill_buffer(buffer)` loads the source.
template <typename FillBuffer>
[[nodiscard]] uint32_t resize_plane(const void* src, uint16_t* dst, const resize_size& size,
                                    const FillBuffer fill_buffer) {
  if (!has_extrapolated_buffer(size.in_width, size.in_height)) return QO_CMC_INVALID_SIZE;
  if (size.out_height == 0 || size.out_width == 0) return QO_CMC_OK;
  if (src == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;

  const heap_array<float> buffer = new_extrapolated_buffer(size.in_width, size.in_height);
  if (buffer == nullptr) return QO_CMC_NO_MEMORY;
  fill_buffer(buffer.get());
  const size_t stride = extrapolated_stride(size.in_width);
  for (size_t row = 0; row < size.out_height; ++row) {
    const spline_position y = spline_position_of(row, size.in_height, size.out_height);
    resize_row(buffer.get() + y.sample * stride, y.fraction, size, dst + row * size.out_width);
  }
  return QO_CMC_OK;
}

}  // namespace
}  // namespace qo

uint32_t bicubic_resize_32f_to_u16p10(const float* src, uint16_t in_h, uint16_t in_w, uint16_t* dst,
                                      uint16_t out_h, uint16_t out_w) {
  return qo::resize_plane(src, dst, {in_h, in_w, out_h, out_w}, [src, in_w, in_h](float* buffer) {
    qo::fill_extrapolated_buffer(src, buffer, in_w, in_h);
  });
}

uint32_t bicubic_resize_u16_to_u16(const uint16_t* src, uint16_t in_h, uint16_t in_w,
                                   uint16_t in_frac_bits, uint16_t* dst, uint16_t out_h,
                                   uint16_t out_w) {
  // Deliberate: only this member refuses an output of one row or column.
  if (out_h == 1 || out_w == 1) return QO_CMC_INVALID_SIZE;
  return qo::resize_plane(
      src, dst, {in_h, in_w, out_h, out_w}, [src, in_w, in_h, in_frac_bits](float* buffer) {
        qo::create_scaled_extrapolated_buffer_u16(src, buffer, in_w, in_h, in_frac_bits);
      });
}
