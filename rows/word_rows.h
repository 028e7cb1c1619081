/// Row kernels over 32-bit words.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qo {

struct word_rows {
  /// Sum, modulo 2^32, of `count` little-endian words at `bytes`, of any alignment.
  uint32_t (*sum)(const uint8_t* bytes, size_t count);
};

}  // namespace qo
