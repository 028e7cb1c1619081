/// Row kernels that put finished samples where they go: with gaps between them, or past the caches.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qo {

/// `from` and `to` do not overlap.
struct store_rows {
  /// to[i * step] = from[i] for `count` samples, `step` at least 1. What lies between them is never
  /// written, not even with what it holds.
  void (*spread_u8)(const uint8_t* from, size_t count, uint8_t* to, size_t step);
  void (*spread_u16)(const uint16_t* from, size_t count, uint16_t* to, size_t step);

  /// Copies `bytes` bytes straight to memory: for more than the caches could keep until it is
  /// read. Only after settle() another thread may be told of them.
  void (*stream)(const void* from, void* to, size_t bytes);
  void (*settle)();
};

}  // namespace qo
