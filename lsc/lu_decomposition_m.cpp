// lu_decomposition_m(): Doolittle factorisation of a square matrix, without pivoting.

#include "qo_cmc/lsc.h"

#include <cassert>
#include <cstring>

#include "base/c_heap.h"
#include "lsc/strided_matrix.h"
#include "qo_cmc/status.h"
#include "rows/row_table.h"

namespace qo {
namespace {

/// Whether every element of a `size` x `size` matrix with these strides lies in the size * size * 4
/// bytes from its base.
[[nodiscard]] bool stays_inside(int32_t size, int32_t stride1, int32_t stride2) {
  assert(size >= 1);
  const int64_t bytes = int64_t{size} * size * int64_t{sizeof(float)};
  const int64_t last_row = element_offset(size - 1, 0, stride1, stride2);
  const int64_t last_column = element_offset(0, size - 1, stride1, stride2);
  const int64_t lowest = (last_row < 0 ? last_row : 0) + (last_column < 0 ? last_column : 0);
  const int64_t highest = (last_row > 0 ? last_row : 0) + (last_column > 0 ? last_column : 0);
  return lowest >= 0 && highest + int64_t{sizeof(float)} <= bytes;
}

/// The rule, for matrices with any strides. Factorises `work`, which is used up. Row and column k
/// of both factors are taken from what is left of it, then their product is taken off the rest.
void factorise_plain(const strided_result& work, const strided_result& result, int32_t size) {
  assert(size >= 1);
  result.set(0, 0, work.at(0, 0));
  for (int32_t k = 0; k < size - 1; ++k) {
    for (int32_t j = k + 1; j < size; ++j) {
      result.set(j, k, work.at(j, k) / result.at(k, k));
      result.set(k, j, work.at(k, j));
    }
    for (int32_t i = k + 1; i < size; ++i)
      for (int32_t j = k + 1; j < size; ++j)
        work.set(i, j, work.at(i, j) - result.at(i, k) * result.at(k, j));
    result.set(k + 1, k + 1, work.at(k + 1, k + 1));
  }
}

/// Columns that follow one another: what the kernel factorises.
[[nodiscard]] strided_result columns_of(float* work, int32_t size) {
  constexpr int32_t element = sizeof(float);
  return {work, element, element * size};
}

/// Copies a dense matrix, to or from one of packed columns.
void copy_matrix(const strided_source& from, const strided_result& to, int32_t size) {
  const auto side = static_cast<size_t>(size);
  if (from.has_packed_columns() && to.has_packed_columns()) {
    for (int32_t column = 0; column < size; ++column)
      memcpy(to.address(0, column), from.address(0, column), side * sizeof(float));
    return;
  }
  const strided_source source = from.has_packed_rows() ? from : from.transposed();
  const strided_result result = from.has_packed_rows() ? to.transposed() : to;
  rows().matrix.transpose({source.base(), source.stride1()}, {result.base(), result.stride1()},
                          side, side);
}

}  // namespace
}  // namespace qo

uint32_t lu_decomposition_m(const float* src, int32_t src_stride1, int32_t src_stride2,
                            int32_t* dst_index, float* dst, int32_t dst_stride1,
                            int32_t dst_stride2, int32_t width_height) {
  // A negative size has a square too, and its working copy is asked for like any other.
  const int64_t elements = int64_t{width_height} * width_height;
  if (elements > INT32_MAX / int64_t{sizeof(float)}) return QO_CMC_NO_MEMORY;
  if (dst_index == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;
  if (width_height >= 1 && !qo::stays_inside(width_height, src_stride1, src_stride2))
    return QO_CMC_INVALID_SIZE;
  const qo::heap_array<float> copy(qo::c_new_array<float>(static_cast<size_t>(elements)));
  if (copy == nullptr) return QO_CMC_NO_MEMORY;

  // Contract: the first element is marked with the low byte of the element count. Only a size below
  // 1 leaves the mark in place.
  const int mark = static_cast<int>(elements & 0xff);
  if (width_height < 1) {
    memset(dst, mark, sizeof(float));
    return QO_CMC_OK;
  }

  // The source is copied before anything is written, so that the result may lie on it in any way.
  const int32_t size = width_height;
  const qo::strided_source source(src, src_stride1, src_stride2);
  const qo::strided_result result(dst, dst_stride1, dst_stride2);
  const qo::strided_result columns = qo::columns_of(copy.get(), size);
  if (source.is_dense(size, size) && result.is_dense(size, size)) {
    if (src != nullptr) qo::copy_matrix(source, columns, size);
    qo::rows().matrix.factorise(copy.get(), static_cast<size_t>(size));
    qo::copy_matrix({columns.base(), columns.stride1(), columns.stride2()}, result, size);
  } else {
    if (src != nullptr) memcpy(copy.get(), src, static_cast<size_t>(elements) * sizeof(float));
    memset(dst, mark, sizeof(float));
    qo::factorise_plain({copy.get(), src_stride1, src_stride2}, result, size);
  }
  for (int32_t k = 0; k < size; ++k) dst_index[k] = k;
  return QO_CMC_OK;
}
