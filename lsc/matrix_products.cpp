// transpose_m(), mul_mm() and mul_mv(): transpose and products of small matrices.

#include "qo_cmc/lsc.h"

#include <cassert>

#include "lsc/strided_matrix.h"
#include "qo_cmc/status.h"
#include "rows/row_table.h"

// The row kernels take packed rows, in results that share no bytes with what is read. Everything
// else, and the rule, is plain loops.

namespace qo {
namespace {

struct matrix_size {
  int32_t rows;
  int32_t columns;
};

[[nodiscard]] matrix_view view_of(const strided_source& matrix) {
  return {matrix.base(), matrix.stride1(), matrix.stride2()};
}
[[nodiscard]] packed_rows rows_of(const strided_source& matrix) {
  return {matrix.base(), matrix.stride1()};
}
[[nodiscard]] packed_result rows_of(const strided_result& matrix) {
  return {matrix.base(), matrix.stride1()};
}

/// What kernels may not be told: nothing is read where something is written, and nothing is written
/// twice.
[[nodiscard]] bool stands_apart(const strided_result& result, const matrix_size& size,
                                const byte_range& read) {
  return result.is_dense(size.rows, size.columns) &&
         !overlap(result.span(size.rows, size.columns), read);
}

void transpose_plain(const strided_source& source, const strided_result& result,
                     const matrix_size& size) {
  for (int32_t row = 0; row < size.rows; ++row)
    for (int32_t column = 0; column < size.columns; ++column)
      result.set(column, row, source.at(row, column));
}

/// The rule: each sum from 0, in ascending order, in one accumulator.
void multiply_plain(const strided_source& left, const strided_source& right,
                    const strided_result& result, const matrix_size& size, int32_t inner) {
  for (int32_t row = 0; row < size.rows; ++row) {
    for (int32_t column = 0; column < size.columns; ++column) {
      float sum = 0.0f;
      for (int32_t k = 0; k < inner; ++k) sum += left.at(row, k) * right.at(k, column);
      result.set(row, column, sum);
    }
  }
}

/// Products of matrices whose rows are packed; false when this one is none.
[[nodiscard]] bool multiply_rows(const strided_source& left, const strided_source& right,
                                 const strided_result& result, const matrix_size& size,
                                 int32_t inner) {
  assert(size.rows >= 1 && size.columns >= 1 && inner >= 0);
  if (!right.has_packed_rows() || !result.has_packed_rows()) return false;
  // Of an empty sum nothing is read, and all elements are 0, whatever lies on what.
  if (inner >= 1 && (!stands_apart(result, size, left.span(size.rows, inner)) ||
                     !stands_apart(result, size, right.span(inner, size.columns))))
    return false;
  rows().matrix.multiply(view_of(left), rows_of(right), rows_of(result),
                         {static_cast<size_t>(size.rows), static_cast<size_t>(inner),
                          static_cast<size_t>(size.columns)});
  return true;
}

void multiply(const strided_source& left, const strided_source& right, const strided_result& result,
              const matrix_size& size, int32_t inner) {
  if (multiply_rows(left, right, result, size, inner)) return;
  // The same products and sums, with packed columns: transpose(left right) is
  // transpose(right) transpose(left).
  if (multiply_rows(right.transposed(), left.transposed(), result.transposed(),
                    {size.columns, size.rows}, inner))
    return;
  multiply_plain(left, right, result, size, inner);
}

}  // namespace
}  // namespace qo

uint32_t transpose_m(const float* src, int32_t src_stride1, int32_t src_stride2, int32_t width,
                     int32_t height, float* dst, int32_t dst_stride1, int32_t dst_stride2) {
  if (width < 1 || height < 1) return QO_CMC_OK;
  if (src == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;

  const qo::strided_source source(src, src_stride1, src_stride2);
  const qo::strided_result result(dst, dst_stride1, dst_stride2);
  if (source.has_packed_rows() && result.has_packed_rows() &&
      qo::stands_apart(result, {width, height}, source.span(height, width))) {
    qo::rows().matrix.transpose(qo::rows_of(source), qo::rows_of(result),
                                static_cast<size_t>(width), static_cast<size_t>(height));
  } else {
    qo::transpose_plain(source, result, {height, width});
  }
  return QO_CMC_OK;
}

uint32_t mul_mm(const float* src1, int32_t src1_stride1, int32_t src1_stride2, int32_t src1_width,
                int32_t src1_height, const float* src2, int32_t src2_stride1, int32_t src2_stride2,
                int32_t src2_width, int32_t src2_height, float* dst, int32_t dst_stride1,
                int32_t dst_stride2) {
  if (src1_width != src2_height) return QO_CMC_INVALID_SIZE;
  if (src1_height < 1 || src2_width < 1) return QO_CMC_OK;
  if (src1 == nullptr || src2 == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;

  qo::multiply(qo::strided_source(src1, src1_stride1, src1_stride2),
               qo::strided_source(src2, src2_stride1, src2_stride2),
               qo::strided_result(dst, dst_stride1, dst_stride2), {src1_height, src2_width},
               src1_width > 0 ? src1_width : 0);
  return QO_CMC_OK;
}

uint32_t mul_mv(const float* src1, int32_t src1_stride1, int32_t src1_stride2, int32_t src1_width,
                int32_t src1_height, const float* src2, int32_t src2_stride, int32_t src2_length,
                float* dst, int32_t dst_stride) {
  if (src1_width != src2_length) return QO_CMC_INVALID_SIZE;
  if (src1_height < 1) return QO_CMC_OK;
  if (src1 == nullptr || src2 == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;

  constexpr int32_t packed = sizeof(float);
  const int32_t inner = src1_width > 0 ? src1_width : 0;
  const qo::strided_source matrix(src1, src1_stride1, src1_stride2);
  const qo::strided_source vector(src2, src2_stride, packed);
  const qo::strided_result result(dst, dst_stride, packed);
  const bool is_packed = matrix.has_packed_rows() && src2_stride == packed && dst_stride == packed;
  if (is_packed && inner >= 1 &&
      qo::stands_apart(result, {src1_height, 1}, matrix.span(src1_height, inner)) &&
      qo::stands_apart(result, {src1_height, 1}, vector.span(inner, 1))) {
    qo::rows().matrix.multiply_vector(qo::rows_of(matrix), src2, static_cast<size_t>(src1_height),
                                      static_cast<size_t>(inner), dst);
  } else {
    // As a row times a matrix: lanes are results, where these are packed.
    qo::multiply(vector.transposed(), matrix.transposed(), result.transposed(), {1, src1_height},
                 inner);
  }
  return QO_CMC_OK;
}
