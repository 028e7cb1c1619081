/// Bytes for the parts of a test input that nothing determines.
#pragma once

#include <cstddef>
#include <cstdint>

#include "writer/container_writer.h"

namespace writer {

/// Stands in header byte 5 of built records, which nothing interprets.
inline constexpr uint8_t reserved_byte = 0x5a;

/// A run of bytes that are never 0 and repeat after 251: neighbours differ, and so do neighbouring
/// samples of any width.
class filler_bytes {
 public:
  explicit filler_bytes(uint32_t start) : next_(start) {}
  uint8_t u8() { return static_cast<uint8_t>(next_++ * 167 % 251 + 1); }
  uint16_t u16() {
    const uint16_t low = u8();
    return static_cast<uint16_t>(low | u8() << 8);
  }
  uint32_t u32() {
    const uint32_t low = u16();
    return low | uint32_t{u16()} << 16;
  }
  /// A finite value with an exact form: a multiple of 1/8 below 64.
  float f32() { return static_cast<float>(u16() % 512) / 8.0f; }
  bytes run(size_t count) {
    bytes result;
    for (size_t i = 0; i < count; ++i) result.u8(u8());
    return result;
  }

 private:
  uint32_t next_;
};

}  // namespace writer
