/// Row kernels that copy whole samples.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qo {

/// The samples of a plane in reading order, from `start` on: sample i is
/// plane[min(start + i, samples - 1)], where samples >= 1 and start < samples. The row that will be
/// asked for next starts at `next`, which is not before `start`.
template <typename Sample>
struct plane_row {
  const Sample* plane;
  size_t samples;
  size_t start;
  size_t next;
};

/// dst[i] = sample columns[i] of src, for i < count. Reads within the plane only; dst overlaps
/// neither the plane nor the columns.
template <typename Sample>
using copy_columns = void(const plane_row<Sample>& src, const Sample* columns, Sample* dst,
                          size_t count);

/// Which of its kernels an instruction set has for some columns, to be used with just these. They
/// never decrease; count may be 0.
template <typename Sample>
using choose_copy = copy_columns<Sample>*(const Sample* columns, size_t count);

struct nearest_rows {
  choose_copy<uint16_t>* choose_u16;
  choose_copy<uint32_t>* choose_u32;

  /// Copies the `bytes` at `row` to row + stride, row + 2 stride ..., `times` times; at its best
  /// where all lie in a cache. No overlap: stride >= bytes.
  void (*repeat)(void* row, size_t stride, size_t times, size_t bytes);
};

}  // namespace qo
