/// Places and lengths that are computed from what a record says.
#pragma once

#include <cstdint>

namespace qo {

/// A number of bytes or elements, or an offset. Sums and products cannot wrap: past 64 bits they
/// stay at the largest value, which lies in no record, so that a comparison with the record's size
/// refuses them.
///
/// Small numbers become extents by themselves, a 32-bit one only by name, and one of 64 bits not
/// at all: what is added or multiplied is an extent before the operation, not after it.
class extent {
 public:
  constexpr extent() = default;
  constexpr extent(uint8_t value) : value_(value) {}
  constexpr extent(uint16_t value) : value_(value) {}
  consteval extent(int literal) : value_(static_cast<uint32_t>(literal)) {}
  explicit constexpr extent(uint32_t value) : value_(value) {}

  [[nodiscard]] constexpr uint64_t value() const { return value_; }

  /// The next multiple of 8.
  [[nodiscard]] constexpr extent padded() const { return from_u64((*this + 7).value_ & ~7ull); }

  [[nodiscard]] friend constexpr extent operator+(extent a, extent b) {
    uint64_t sum = 0;
    return from_u64(__builtin_add_overflow(a.value_, b.value_, &sum) ? UINT64_MAX : sum);
  }
  [[nodiscard]] friend constexpr extent operator*(extent a, extent b) {
    uint64_t product = 0;
    return from_u64(__builtin_mul_overflow(a.value_, b.value_, &product) ? UINT64_MAX : product);
  }
  [[nodiscard]] friend constexpr bool operator==(extent a, extent b) {
    return a.value_ == b.value_;
  }
  [[nodiscard]] friend constexpr bool operator<(extent a, extent b) { return a.value_ < b.value_; }
  [[nodiscard]] friend constexpr bool operator<=(extent a, extent b) {
    return a.value_ <= b.value_;
  }

 private:
  [[nodiscard]] static constexpr extent from_u64(uint64_t value) {
    extent result;
    result.value_ = value;
    return result;
  }

  uint64_t value_ = 0;
};

/// Bytes of a `T`.
template <typename T>
inline constexpr extent size_of{static_cast<uint32_t>(sizeof(T))};

}  // namespace qo
