/// A matrix in memory: a base address and the byte distances between rows and between the elements
/// of a row, either of which may be negative or odd.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "base/load.h"
#include "lsc/byte_range.h"

namespace qo {

/// Elements go through memcpy: a stride that is no multiple of 4 breaks their alignment.
[[nodiscard]] inline float load_float(const uint8_t* address) { return load<float>(address); }

inline void store_float(uint8_t* address, float value) { memcpy(address, &value, sizeof value); }

/// Offsets are formed in 64 bits: 32-bit indices times 32-bit strides never leave them.
[[nodiscard]] constexpr ptrdiff_t element_offset(int32_t row, int32_t column, int32_t stride1,
                                                 int32_t stride2) {
  return ptrdiff_t{row} * stride1 + ptrdiff_t{column} * stride2;
}

/// `Byte` is const for a matrix that is only read.
template <typename Byte>
class strided_matrix {
 public:
  using void_type = std::conditional_t<std::is_const_v<Byte>, const void, void>;

  strided_matrix(void_type* base, int32_t stride1, int32_t stride2)
      : base_(static_cast<Byte*>(base)), stride1_(stride1), stride2_(stride2) {}

  [[nodiscard]] Byte* address(int32_t row, int32_t column) const {
    return base_ + element_offset(row, column, stride1_, stride2_);
  }
  [[nodiscard]] float at(int32_t row, int32_t column) const {
    return load_float(address(row, column));
  }
  void set(int32_t row, int32_t column, float value) const {
    store_float(address(row, column), value);
  }

  /// Whether a row's elements follow one another, or a column's.
  [[nodiscard]] bool has_packed_rows() const { return stride2_ == sizeof(float); }
  [[nodiscard]] bool has_packed_columns() const { return stride1_ == sizeof(float); }

  /// Whether no two of the first `rows` x `columns` elements share bytes, given that rows, or
  /// columns, are packed.
  [[nodiscard]] bool is_dense(int32_t rows, int32_t columns) const {
    const bool by_rows = has_packed_rows();
    const int64_t run = int64_t{sizeof(float)} * (by_rows ? columns : rows);
    const int64_t step = by_rows ? stride1_ : stride2_;
    const int32_t runs = by_rows ? rows : columns;
    return (by_rows || has_packed_columns()) && (runs == 1 || step >= run || step <= -run);
  }

  /// From the lowest to the highest byte of `rows` x `columns` elements, each count at least 1.
  [[nodiscard]] byte_range span(int32_t rows, int32_t columns) const {
    assert(rows >= 1 && columns >= 1);
    const ptrdiff_t last_row = element_offset(rows - 1, 0, stride1_, stride2_);
    const ptrdiff_t last_column = element_offset(0, columns - 1, stride1_, stride2_);
    const ptrdiff_t lowest = (last_row < 0 ? last_row : 0) + (last_column < 0 ? last_column : 0);
    const ptrdiff_t highest = (last_row > 0 ? last_row : 0) + (last_column > 0 ? last_column : 0);
    return {reinterpret_cast<uintptr_t>(base_) + static_cast<uintptr_t>(lowest),
            static_cast<size_t>(highest - lowest) + sizeof(float)};
  }

  [[nodiscard]] Byte* base() const { return base_; }
  [[nodiscard]] int32_t stride1() const { return stride1_; }
  [[nodiscard]] int32_t stride2() const { return stride2_; }

  /// Rows and columns exchanged, in place.
  [[nodiscard]] strided_matrix transposed() const { return {base_, stride2_, stride1_}; }

 private:
  Byte* base_;
  int32_t stride1_;
  int32_t stride2_;
};

using strided_source = strided_matrix<const uint8_t>;
using strided_result = strided_matrix<uint8_t>;

}  // namespace qo
