/// Matrices as two strides lay them out, in exactly the bytes that their elements reach.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "fuzz/exact_array.h"
#include "fuzz/input_reader.h"

namespace fuzz {

inline constexpr size_t most_matrix_bytes = 65536;

struct matrix_layout {
  int32_t rows, columns;
  int32_t stride1, stride2;
  size_t shift;  ///< bytes before the first element, which takes it to any alignment

  [[nodiscard]] bool is_empty() const { return rows < 1 || columns < 1; }
  [[nodiscard]] int64_t offset(int32_t row, int32_t column) const {
    return int64_t{row} * stride1 + int64_t{column} * stride2;
  }
  /// Of the lowest element's first byte, from element (0, 0).
  [[nodiscard]] int64_t lowest() const {
    if (is_empty()) return 0;
    return std::min<int64_t>(0, offset(rows - 1, 0)) + std::min<int64_t>(0, offset(0, columns - 1));
  }
  /// Bytes from the lowest to the highest element.
  [[nodiscard]] size_t span() const {
    if (is_empty()) return 0;
    const int64_t highest =
        std::max<int64_t>(0, offset(rows - 1, 0)) + std::max<int64_t>(0, offset(0, columns - 1));
    return static_cast<size_t>(highest - lowest()) + sizeof(float);
  }
  /// Where element (0, 0) stands in a block of bytes.
  [[nodiscard]] size_t origin() const { return shift + static_cast<size_t>(-lowest()); }
  [[nodiscard]] size_t bytes() const { return shift + span(); }

  /// Calls with the place of each element in the block, row by row.
  template <typename Use>
  void for_each(Use use) const {
    for (int32_t row = 0; row < rows; ++row)
      for (int32_t column = 0; column < columns; ++column)
        use(static_cast<size_t>(static_cast<int64_t>(origin()) + offset(row, column)));
  }
  /// The least distance of two elements, 4 if none are closer.
  [[nodiscard]] size_t least_distance(bool count_equal) const {
    std::vector<size_t> places;
    for_each([&places](size_t place) { places.push_back(place); });
    std::sort(places.begin(), places.end());
    size_t least = sizeof(float);
    for (size_t i = 1; i < places.size(); ++i)
      if (count_equal || places[i] != places[i - 1])
        least = std::min(least, places[i] - places[i - 1]);
    return least;
  }
  [[nodiscard]] bool has_distinct_elements() const { return least_distance(true) == 4; }
};

/// Five bytes. How the strides come about: bits 0-2 of the first, 0 and 1 packed rows, 2 packed
/// columns, 3 and 4 the same with gaps, the others any two strides; bits 3-4 the shift; 6 and 7
/// turn a stride around. Then the two strides, which are halved until the matrix is small enough.
[[nodiscard]] inline matrix_layout read_layout(input_reader& fields, int32_t rows,
                                               int32_t columns) {
  const uint8_t kind = fields.u8();
  matrix_layout layout = {rows, columns, fields.i16(), fields.i16(), kind >> 3 & 3u};
  const int32_t row_bytes = 4 * std::max(columns, 0), column_bytes = 4 * std::max(rows, 0);
  switch (kind & 7) {
    case 0:
    case 1:
      layout.stride1 = row_bytes;
      layout.stride2 = 4;
      break;
    case 2:
      layout.stride1 = 4;
      layout.stride2 = column_bytes;
      break;
    case 3:
      layout.stride1 = row_bytes + (layout.stride1 & 0xff);
      layout.stride2 = 4;
      break;
    case 4:
      layout.stride1 = 4;
      layout.stride2 = column_bytes + (layout.stride2 & 0xff);
      break;
    default:
      break;
  }
  if ((kind & 0x40) != 0) layout.stride1 = -layout.stride1;
  if ((kind & 0x80) != 0) layout.stride2 = -layout.stride2;
  while (layout.span() > most_matrix_bytes) {
    layout.stride1 /= 2;
    layout.stride2 /= 2;
  }
  return layout;
}

/// The same for a result: elements that shared some bytes but not all would show the payload of a
/// NaN, which nobody promises, in an element that is none.
[[nodiscard]] inline matrix_layout read_result_layout(input_reader& fields, int32_t rows,
                                                      int32_t columns) {
  matrix_layout layout = read_layout(fields, rows, columns);
  if (layout.least_distance(false) < sizeof(float)) {
    layout.stride1 -= layout.stride1 % 4;
    layout.stride2 -= layout.stride2 % 4;
  }
  return layout;
}

using byte_block = exact_array<uint8_t>;

[[nodiscard]] inline float* float_at(byte_block& block, size_t place) {
  return reinterpret_cast<float*>(block.data() + place);
}
[[nodiscard]] inline const float* float_at(const byte_block& block, size_t place) {
  return reinterpret_cast<const float*>(block.data() + place);
}

[[nodiscard]] inline float load_at(const byte_block& block, size_t place) {
  float value;
  memcpy(&value, block.data() + place, sizeof value);
  return value;
}
inline void store_at(byte_block& block, size_t place, float value) {
  memcpy(block.data() + place, &value, sizeof value);
}

/// Elements row by row.
[[nodiscard]] inline std::vector<float> packed(const byte_block& block,
                                               const matrix_layout& layout) {
  std::vector<float> values;
  layout.for_each([&](size_t place) { values.push_back(load_at(block, place)); });
  return values;
}
inline void store_packed(byte_block& block, const matrix_layout& layout,
                         const std::vector<float>& values) {
  size_t i = 0;
  layout.for_each([&](size_t place) { store_at(block, place, values[i++]); });
}

/// Gives all NaNs the same bits.
inline void level_nans(byte_block& block, const matrix_layout& layout) {
  layout.for_each([&](size_t place) {
    if (std::isnan(load_at(block, place)))
      store_at(block, place, std::numeric_limits<float>::quiet_NaN());
  });
}

}  // namespace fuzz
