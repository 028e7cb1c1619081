/// Row kernels of area averaging: a row of means, each over the samples that it covers.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qo {

/// What the columns of a strip cover of a row of samples: so many samples from a start on. The
/// first and the last of them have their own weights, those between weigh 1; a sample that is both
/// has the weight of the first.
struct area_columns {
  static constexpr uint32_t capacity = 2048;
  /// Kernels take columns in groups of so many, or of a divisor of it. What is left of the last
  /// group repeats the last column.
  static constexpr uint32_t group = 16;

  uint32_t count;  ///< columns, at least 1
  uint32_t taps;   ///< the most samples that a column covers; no other covers three less
  alignas(64) uint16_t starts[capacity];  ///< ascending
  alignas(64) uint16_t counts[capacity];  ///< at least 1
  alignas(64) float first_weights[capacity];
  alignas(64) float last_weights[capacity];
};

/// The rows of samples that a row of means covers, and what of the plane lies after their start.
template <typename Sample>
struct area_band {
  const Sample* first;  ///< where position 0 of the columns is in the first row
  size_t row_step;      ///< samples from row to row
  uint32_t count;       ///< rows, at least 1
  uint32_t last_row;    ///< the last row inside the plane; what lies beyond repeats it
  size_t readable;      ///< samples from `first` on to the plane's end; the last is repeated
  float first_weight;   ///< of the first row, also when it is the last one
  float last_weight;    ///< of the last row; those between weigh 1
};

/// From a weighted sum to a sample: low 16 bits of trunc(sum * factor + offset), saturating at 32
/// bits, a NaN giving 0.
struct area_format {
  float factor;
  float offset;
};

/// Rows of means, one for each of some bands from the plane's top down. What bands share is read
/// once, and what they have in common is prepared once.
struct area_means {
  uint16_t* first;  ///< the first band's mean of column 0
  size_t row_step;  ///< means from row to row
  size_t count;     ///< rows, and so bands, at least 1
};

struct area_rows {
  /// The mean of every column in every band: its samples, times (column weight times row weight),
  /// added one by one in single precision, row by row and ascending within a row; then as the
  /// format says. Of a band nothing outside [first, first + readable) is read. The means overlap
  /// nothing else.
  void (*average_u16)(const area_columns& columns, const area_band<uint16_t>* bands,
                      const area_format& format, const area_means& means);
  void (*average_float)(const area_columns& columns, const area_band<float>* bands,
                        const area_format& format, const area_means& means);

  /// The same where means are of two by two whole samples: dst[c] for `count` columns, from samples
  /// 2 c and 2 c + 1 of both rows, `bottom` standing after `top` in a plane.
  void (*halve_u16)(const uint16_t* top, const uint16_t* bottom, size_t count,
                    const area_format& format, uint16_t* dst);
  void (*halve_float)(const float* top, const float* bottom, size_t count,
                      const area_format& format, uint16_t* dst);
};

}  // namespace qo
