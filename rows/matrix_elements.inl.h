/// Elements of a matrix at any address, and the width of what works on them.
#pragma once

#include "rows/lanes.h"
#include "rows/matrix_rows.h"

namespace qo::QO_ROWS_NS {
namespace {

[[nodiscard]] inline __attribute__((always_inline)) float element(const uint8_t* address) {
  return load_vector<float>(address);
}

[[nodiscard]] constexpr ptrdiff_t float_bytes(size_t count) {
  return static_cast<ptrdiff_t>(count * sizeof(float));
}

inline constexpr size_t widest = lanes_of<float>;

}  // namespace
}  // namespace qo::QO_ROWS_NS
