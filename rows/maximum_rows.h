/// Row kernels that take maxima of blocks of signed samples. Maxima are the same in any order.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qo {

/// Spans of a row, one for each output: the largest value of span i is
/// max(widest[first[i]], widest[last[i]]), where widest[k] is the largest of the `width` values
/// from k on. Neither first nor last ever decreases, unless `width` is 1.
struct row_spans {
  const uint16_t* first;
  const uint16_t* last;
  size_t count;
  size_t width;  ///< a power of two
};

struct maximum_rows {
  /// dst[i] = the largest of 0 and src[r stride + i], r < rows; i < count, rows >= 1. No overlap.
  void (*over_rows)(const int32_t* src, size_t stride, size_t rows, int32_t* dst, size_t count);

  /// dst[i] = the largest value of span i. Overwrites the `count` values, where all spans lie.
  void (*over_spans)(int32_t* values, size_t count, const row_spans& spans, uint32_t* dst);

  /// The largest of 0 and `count` values.
  int32_t (*of_row)(const int32_t* values, size_t count);
};

}  // namespace qo
