/// Reads an input field by field.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace fuzz {

/// Fields are little-endian; those past the end are 0.
class input_reader {
 public:
  input_reader(const uint8_t* data, size_t size) : rest_(data, size) {}

  [[nodiscard]] bool is_at_end() const { return rest_.empty(); }
  [[nodiscard]] uint8_t u8() {
    if (rest_.empty()) return 0;
    const uint8_t value = rest_.front();
    rest_ = rest_.subspan(1);
    return value;
  }
  [[nodiscard]] uint16_t u16() {
    const uint32_t low = u8();
    return static_cast<uint16_t>(low | uint32_t{u8()} << 8);
  }
  [[nodiscard]] int16_t i16() { return static_cast<int16_t>(u16()); }
  [[nodiscard]] uint32_t u32() {
    const uint32_t low = u16();
    return low | uint32_t{u16()} << 16;
  }
  [[nodiscard]] int32_t i32() { return static_cast<int32_t>(u32()); }

  /// A number from 0 to `most`.
  [[nodiscard]] uint8_t up_to(uint8_t most) { return static_cast<uint8_t>(u8() % (most + 1)); }
  [[nodiscard]] bool flag() { return (u8() & 1) != 0; }
  /// Characters up to a NUL, at most `most`.
  [[nodiscard]] std::string text(size_t most) {
    std::string read;
    while (!is_at_end() && read.size() < most) {
      const uint8_t next = u8();
      if (next == 0) break;
      read.push_back(static_cast<char>(next));
    }
    return read;
  }

  /// What has not been read yet.
  [[nodiscard]] std::span<const uint8_t> rest() const { return rest_; }

 private:
  std::span<const uint8_t> rest_;
};

}  // namespace fuzz
