/// A matrix in guarded memory, laid out in any of the ways that two strides can express.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <random>
#include <vector>

#include "tests/kit/guarded_buffer.h"

namespace kit {

enum class layout {
  packed,
  padded,         ///< gaps after every row and every element
  transposed,     ///< column by column
  rows_reversed,  ///< the base is the start of the last row in memory
  elements_reversed,
  both_reversed,
  odd_distances,  ///< strides that are no multiple of an element's size
};

inline constexpr layout all_layouts[] = {layout::packed,
                                         layout::padded,
                                         layout::transposed,
                                         layout::rows_reversed,
                                         layout::elements_reversed,
                                         layout::both_reversed,
                                         layout::odd_distances};

class strided_buffer {
 public:
  /// With a `shift` the elements stand so many bytes off the guarded end, at any alignment.
  strided_buffer(int32_t rows, int32_t columns, layout kind, guard_side side = guard_side::behind,
                 size_t shift = 0)
      : rows_(rows),
        columns_(columns),
        strides_(strides_of(rows, columns, kind)),
        lowest_(std::min<int64_t>(0, int64_t{rows - 1} * strides_.rows) +
                std::min<int64_t>(0, int64_t{columns - 1} * strides_.elements)),
        first_(side == guard_side::before ? shift : 0),
        bytes_(size_of() + shift, side) {
    std::memset(bytes_.data(), background, bytes_.size());
  }

  float* base() { return reinterpret_cast<float*>(bytes_.data() + first_ - lowest_); }
  int32_t stride1() const { return strides_.rows; }
  int32_t stride2() const { return strides_.elements; }
  int32_t rows() const { return rows_; }
  int32_t columns() const { return columns_; }

  float at(int32_t row, int32_t column) const {
    float value;
    std::memcpy(&value, address(row, column), sizeof value);
    return value;
  }
  void set(int32_t row, int32_t column, float value) {
    std::memcpy(const_cast<uint8_t*>(address(row, column)), &value, sizeof value);
  }

  /// Values of either sign whose sums depend on the order of their terms.
  void fill(std::mt19937& random) {
    std::uniform_real_distribution<float> mantissa(-1.0f, 1.0f);
    std::uniform_int_distribution<int> exponent(0, 12);
    for (int32_t i = 0; i < rows_; ++i)
      for (int32_t j = 0; j < columns_; ++j)
        set(i, j, mantissa(random) * static_cast<float>(1 << exponent(random)));
  }

  /// The same with one value in eight that is a zero of either sign, an infinity, a NaN, a
  /// denormal or close to the largest.
  void fill_with_extremes(std::mt19937& random) {
    constexpr float extremes[] = {0.0f,
                                  -0.0f,
                                  std::numeric_limits<float>::infinity(),
                                  -std::numeric_limits<float>::infinity(),
                                  std::numeric_limits<float>::quiet_NaN(),
                                  std::numeric_limits<float>::denorm_min(),
                                  -1e-41f,
                                  3e38f};
    fill(random);
    for (int32_t i = 0; i < rows_; ++i)
      for (int32_t j = 0; j < columns_; ++j)
        if (random() % 8 == 0) set(i, j, extremes[random() % std::size(extremes)]);
  }

  std::vector<float> packed() const {
    std::vector<float> values;
    for (int32_t i = 0; i < rows_; ++i)
      for (int32_t j = 0; j < columns_; ++j) values.push_back(at(i, j));
    return values;
  }

  /// Whether all bytes are as they were made.
  bool is_untouched() const {
    return std::all_of(bytes_.data(), bytes_.data() + bytes_.size(),
                       [](uint8_t byte) { return byte == background; });
  }
  /// The same of the gaps between elements.
  bool has_untouched_gaps() const {
    std::vector<bool> is_element(bytes_.size());
    for (int32_t i = 0; i < rows_; ++i)
      for (int32_t j = 0; j < columns_; ++j)
        for (int b = 0; b < 4; ++b)
          is_element[static_cast<size_t>(address(i, j) + b - bytes_.data())] = true;
    for (size_t byte = 0; byte < bytes_.size(); ++byte)
      if (!is_element[byte] && bytes_.data()[byte] != background) return false;
    return true;
  }

 private:
  static constexpr uint8_t background = 0xa5;

  struct distances {
    int32_t rows;
    int32_t elements;
  };
  static distances strides_of(int32_t rows, int32_t columns, layout kind) {
    switch (kind) {
      case layout::packed:
        return {4 * columns, 4};
      case layout::padded:
        return {12 * columns + 20, 12};
      case layout::transposed:
        return {4, 4 * rows};
      case layout::rows_reversed:
        return {-4 * columns, 4};
      case layout::elements_reversed:
        return {4 * columns, -4};
      case layout::both_reversed:
        return {-4 * columns, -4};
      case layout::odd_distances:
        return {7 * columns + 3, 7};
    }
    return {};
  }
  size_t size_of() const {
    const int64_t highest = std::max<int64_t>(0, int64_t{rows_ - 1} * strides_.rows) +
                            std::max<int64_t>(0, int64_t{columns_ - 1} * strides_.elements);
    return static_cast<size_t>(highest - lowest_ + 4);
  }
  const uint8_t* address(int32_t row, int32_t column) const {
    return bytes_.data() + first_ - lowest_ + int64_t{row} * strides_.rows +
           int64_t{column} * strides_.elements;
  }

  int32_t rows_;
  int32_t columns_;
  distances strides_;
  int64_t lowest_;
  size_t first_;
  guarded_buffer bytes_;
};

}  // namespace kit
