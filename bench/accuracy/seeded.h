/// Numbers that look random and are the same in every run.
#pragma once

#include <cstdint>

namespace accuracy {

class seeded {
 public:
  explicit seeded(uint64_t seed) : state_(seed) {}

  [[nodiscard]] uint32_t word() {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    // The high bits of such a sequence are the good ones, and are mixed once more.
    const uint64_t high = state_ >> 32;
    return static_cast<uint32_t>(high ^ (high >> 15) ^ (state_ >> 51));
  }
  /// 0 to `limit` - 1
  [[nodiscard]] uint32_t below(uint32_t limit) {
    return static_cast<uint32_t>((uint64_t{word()} * limit) >> 32);
  }
  /// 0 to 1, a multiple of 2^-24: the same number as a float
  [[nodiscard]] double unit() { return static_cast<double>(word() >> 8) / 16777216.0; }

 private:
  uint64_t state_;
};

}  // namespace accuracy
