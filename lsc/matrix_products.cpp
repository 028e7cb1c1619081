// transpose_m(), mul_mm() and mul_mv(): transpose and products of small matrices.

#include "qo_cmc/lsc.h"

#include <cstring>

#include "lsc/strided_matrix.h"
#include "qo_cmc/status.h"

namespace qo {
namespace {

/// Sums formed side by side. One sum is a chain of dependent additions; several hide its latency.
constexpr int32_t lanes = 8;

/// One operand of a dot product: the bytes from one index of the sum to the next.
struct sum_operand {
  const uint8_t* base;
  ptrdiff_t step;
};

/// The plain rule: from 0, in ascending order, one accumulator.
[[nodiscard]] float dot(sum_operand a, sum_operand b, int32_t count) {
  float sum = 0.0f;
  for (int32_t k = 0; k < count; ++k)
    sum += load_float(a.base + k * a.step) * load_float(b.base + k * b.step);
  return sum;
}

/// sums[lane] = dot(a, b moved by lane * lane_step). Each lane has the accumulator of the plain
/// rule, so each sum has its bits; the terms of one sum are never spread over accumulators.
template <typename LaneStep>
void dot_lanes(sum_operand a, sum_operand b, LaneStep lane_step, int32_t count,
               float (&sums)[lanes]) {
  float accumulators[lanes] = {};
  for (int32_t k = 0; k < count; ++k) {
    const float factor = load_float(a.base + k * a.step);
    const uint8_t* const row = b.base + k * b.step;
    for (int32_t lane = 0; lane < lanes; ++lane)
      accumulators[lane] += factor * load_float(row + lane * lane_step());
  }
  memcpy(sums, accumulators, sizeof accumulators);
}

struct packed_lanes {
  [[nodiscard]] constexpr ptrdiff_t operator()() const { return sizeof(float); }
};

struct spaced_lanes {
  ptrdiff_t step;
  [[nodiscard]] constexpr ptrdiff_t operator()() const { return step; }
};

/// A row (or column) of results: dst[j] = dot(a, b moved by j * lane_step), j below `results`.
void dot_row(sum_operand a, sum_operand b, ptrdiff_t lane_step, int32_t count, uint8_t* dst,
             ptrdiff_t dst_step, int32_t results) {
  if (results < lanes) {
    for (int32_t j = 0; j < results; ++j)
      store_float(dst + j * dst_step, dot(a, {b.base + j * lane_step, b.step}, count));
    return;
  }
  for (int32_t done = 0; done < results;) {
    // The last group is moved back to be whole, and forms some results a second time.
    const int32_t first = done <= results - lanes ? done : results - lanes;
    const sum_operand group = {b.base + first * lane_step, b.step};
    float sums[lanes];
    if (lane_step == sizeof(float)) {
      dot_lanes(a, group, packed_lanes{}, count, sums);
    } else {
      dot_lanes(a, group, spaced_lanes{lane_step}, count, sums);
    }
    for (int32_t lane = 0; lane < lanes; ++lane)
      store_float(dst + (first + lane) * dst_step, sums[lane]);
    done = first + lanes;
  }
}

}  // namespace
}  // namespace qo

uint32_t transpose_m(const float* src, int32_t src_stride1, int32_t src_stride2, int32_t width,
                     int32_t height, float* dst, int32_t dst_stride1, int32_t dst_stride2) {
  if (width < 1 || height < 1) return QO_CMC_OK;
  if (src == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;

  const qo::strided_source source(src, src_stride1, src_stride2);
  const qo::strided_result result(dst, dst_stride1, dst_stride2);
  for (int32_t row = 0; row < height; ++row)
    for (int32_t column = 0; column < width; ++column)
      result.set(column, row, source.at(row, column));
  return QO_CMC_OK;
}

uint32_t mul_mm(const float* src1, int32_t src1_stride1, int32_t src1_stride2, int32_t src1_width,
                int32_t src1_height, const float* src2, int32_t src2_stride1, int32_t src2_stride2,
                int32_t src2_width, int32_t src2_height, float* dst, int32_t dst_stride1,
                int32_t dst_stride2) {
  if (src1_width != src2_height) return QO_CMC_INVALID_SIZE;
  if (src1_height < 1 || src2_width < 1) return QO_CMC_OK;
  if (src1 == nullptr || src2 == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;

  const qo::strided_source left(src1, src1_stride1, src1_stride2);
  const qo::strided_source right(src2, src2_stride1, src2_stride2);
  const qo::strided_result result(dst, dst_stride1, dst_stride2);
  for (int32_t row = 0; row < src1_height; ++row)
    qo::dot_row({left.address(row, 0), src1_stride2}, {right.address(0, 0), src2_stride1},
                src2_stride2, src1_width, result.address(row, 0), dst_stride2, src2_width);
  return QO_CMC_OK;
}

uint32_t mul_mv(const float* src1, int32_t src1_stride1, int32_t src1_stride2, int32_t src1_width,
                int32_t src1_height, const float* src2, int32_t src2_stride, int32_t src2_length,
                float* dst, int32_t dst_stride) {
  if (src1_width != src2_length) return QO_CMC_INVALID_SIZE;
  if (src1_height < 1) return QO_CMC_OK;
  if (src1 == nullptr || src2 == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;

  const qo::strided_source matrix(src1, src1_stride1, src1_stride2);
  const qo::strided_source vector(src2, 0, src2_stride);
  const qo::strided_result result(dst, dst_stride, 0);
  qo::dot_row({vector.address(0, 0), src2_stride}, {matrix.address(0, 0), src1_stride2},
              src1_stride1, src1_width, result.address(0, 0), dst_stride, src1_height);
  return QO_CMC_OK;
}
