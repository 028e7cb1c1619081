/// Reading a plane where a mapping points past its end.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>

namespace qo {

/// Columns and rows of a plane, both at least 1.
struct plane_size {
  uint64_t width;
  uint64_t height;
};

/// The samples of a plane in reading order, from one linear index on.
///
/// Rounding, and mappings that are kept as they are, put some samples past the plane; those are the
/// plane's last sample.
/// Contract: an index inside the plane is never altered. One past the end of its row reads the
/// next.
template <typename Sample>
class clamped_samples {
 public:
  clamped_samples(const Sample* plane, const plane_size& size, uint64_t start) {
    assert(size.width >= 1 && size.height >= 1);
    const uint64_t plane_last = size.width * size.height - 1;
    const uint64_t clamped_start = std::min(start, plane_last);
    first_ = plane + clamped_start;
    last_ = plane_last - clamped_start;
  }

  [[nodiscard]] Sample operator[](uint64_t index) const { return first_[std::min(index, last_)]; }

 private:
  const Sample* first_;
  uint64_t last_;
};

/// The samples from (row, column) on, where a row past the last is the last.
template <typename Sample>
[[nodiscard]] clamped_samples<Sample> samples_from(const Sample* plane, const plane_size& size,
                                                   uint64_t row, uint64_t column) {
  return {plane, size, std::min(row, size.height - 1) * size.width + column};
}

}  // namespace qo
