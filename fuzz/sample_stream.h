/// Samples without end from a few bytes, so that small inputs fill large planes.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

#include "fuzz/exact_array.h"

namespace fuzz {

/// The bytes in their order first, then samples from places in them that are drawn, the same ones
/// each time. Without bytes it is noise.
class sample_stream {
 public:
  explicit sample_stream(std::span<const uint8_t> bytes) : bytes_(bytes) {}

  template <typename Sample>
  [[nodiscard]] Sample next() {
    uint8_t raw[sizeof(Sample)];
    if (bytes_.size() - position_ >= sizeof raw) {
      memcpy(raw, bytes_.data() + position_, sizeof raw);
      position_ += sizeof raw;
    } else if (bytes_.size() >= sizeof raw) {
      memcpy(raw, bytes_.data() + draw() % (bytes_.size() - sizeof raw + 1), sizeof raw);
    } else {
      const uint32_t drawn = draw();
      memcpy(raw, &drawn, sizeof raw);
      for (size_t i = 0; i < bytes_.size(); ++i) raw[i] ^= bytes_[i];
    }
    return std::bit_cast<Sample>(raw);
  }

  /// A number whose sums and products stay exact or nearly so: an i16 / 256.
  [[nodiscard]] float next_tame_float() { return static_cast<float>(next<int16_t>()) / 256.0f; }

  /// Floats are tame ones, or else any bits: infinities, NaNs, numbers of all sizes.
  template <typename Sample>
  void fill(exact_array<Sample>& array, bool tame = false) {
    for (Sample& sample : array) {
      if constexpr (std::is_floating_point_v<Sample>)
        sample = tame ? next_tame_float() : next<Sample>();
      else
        sample = next<Sample>();
    }
  }
  template <typename Sample>
  [[nodiscard]] exact_array<Sample> array(size_t count, bool tame = false) {
    exact_array<Sample> result(count);
    fill(result, tame);
    return result;
  }

 private:
  [[nodiscard]] uint32_t draw() {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    return static_cast<uint32_t>(state_ >> 32);
  }

  std::span<const uint8_t> bytes_;
  size_t position_ = 0;
  uint64_t state_ = 1;
};

}  // namespace fuzz
