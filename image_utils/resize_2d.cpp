// resize_2d_array_uint32(), resize_2d_array_uint16(), resize_2d_array_uint8() and the two `_v1`
// with a step in the output: bilinear resize of whole integer arrays in fixed point,
// corner-aligned.

#include "qo_cmc/image_utils.h"

#include <cstddef>
#include <cstdint>

#include "image_utils/output_plane.h"
#include "image_utils/resize_inside.h"
#include "qo_cmc/status.h"
#include "rows/bilinear_rows.h"

namespace qo {
namespace {

// Contract: the unsigned sizes are tested as signed ones.
[[nodiscard]] bool is_above_one(uint32_t side) { return static_cast<int32_t>(side) > 1; }

/// The members that resize the whole array. None of their taps leaves it.
template <typename Element>
[[nodiscard]] uint32_t resize_whole(const Element* src, uint32_t in_w, int32_t in_h, Element* dst,
                                    uint32_t out_w, uint32_t out_h, int32_t dst_step) {
  const auto in_height = static_cast<uint32_t>(in_h);
  if (!is_above_one(in_w) || !is_above_one(in_height)) return QO_CMC_INVALID_SIZE;
  if (!is_above_one(out_w) || !is_above_one(out_h)) return QO_CMC_INVALID_SIZE;
  if (dst_step <= 0) return QO_CMC_INVALID_SIZE;
  if (src == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;

  constexpr uint32_t fraction_bits = bilinear_fraction_bits<Element>;
  output_plane<Element> out(dst, out_w, out_h, static_cast<size_t>(dst_step),
                            uint64_t{in_w} * in_height);
  resize_inside<Element>({src, in_w, in_w}, walk_axis<fraction_bits>(in_w, out_w, 0),
                         walk_axis<fraction_bits>(in_height, out_h, 0), out);
  return QO_CMC_OK;
}

}  // namespace
}  // namespace qo

uint32_t resize_2d_array_uint32(const uint32_t* src, uint32_t in_w, int32_t in_h, uint32_t* dst,
                                uint32_t out_w, uint32_t out_h) {
  return qo::resize_whole(src, in_w, in_h, dst, out_w, out_h, 1);
}

uint32_t resize_2d_array_uint16(const uint16_t* src, uint32_t in_w, int32_t in_h, uint16_t* dst,
                                uint32_t out_w, uint32_t out_h) {
  return qo::resize_whole(src, in_w, in_h, dst, out_w, out_h, 1);
}

uint32_t resize_2d_array_uint8(const uint8_t* src, uint32_t in_w, int32_t in_h, uint8_t* dst,
                               uint32_t out_w, uint32_t out_h) {
  return qo::resize_whole(src, in_w, in_h, dst, out_w, out_h, 1);
}

uint32_t resize_2d_array_uint16_v1(const uint16_t* src, uint32_t in_w, int32_t in_h, uint16_t* dst,
                                   uint32_t out_w, uint32_t out_h, int32_t dst_step) {
  return qo::resize_whole(src, in_w, in_h, dst, out_w, out_h, dst_step);
}

uint32_t resize_2d_array_uint8_v1(const uint8_t* src, uint32_t in_w, int32_t in_h, uint8_t* dst,
                                  uint32_t out_w, uint32_t out_h, int32_t dst_step) {
  return qo::resize_whole(src, in_w, in_h, dst, out_w, out_h, dst_step);
}
