/// Values from bytes of any alignment.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qo {

/// The little-endian value that starts `offset` bytes after `bytes`.
template <typename T>
[[nodiscard]] T load(const void* bytes, size_t offset = 0) {
  T value;
  memcpy(&value, static_cast<const uint8_t*>(bytes) + offset, sizeof value);
  return value;
}

}  // namespace qo
