/// Planes between inaccessible pages for the resamplers, and their comparison bit for bit.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

#include "tests/kit/guarded_buffer.h"
#include "tests/kit/same_bits.h"

namespace sample_planes {

/// Noise over the whole range of an integer type (few samples repeat), or over -64 ... 64 in steps
/// of 2^-16 for floats.
template <typename Sample>
void fill_with_noise(Sample* first, size_t count, uint32_t seed) {
  std::minstd_rand random(seed + 1);
  for (size_t i = 0; i < count; ++i) {
    const auto bits = static_cast<uint32_t>((uint64_t{random()} << 31 | random()) >> 13);
    if constexpr (std::is_floating_point_v<Sample>)
      first[i] = static_cast<float>(static_cast<int32_t>(bits) >> 9) * 0x1p-16f;
    else
      first[i] = static_cast<Sample>(bits);
  }
}

/// Smallest and largest samples at random.
template <typename Sample>
void fill_with_extremes(Sample* first, size_t count, uint32_t seed) {
  std::minstd_rand random(seed + 1);
  for (size_t i = 0; i < count; ++i)
    first[i] = random() >> 9 & 1 ? std::numeric_limits<Sample>::max()
                                 : std::numeric_limits<Sample>::lowest();
}

/// Room for planes of up to `capacity` samples that touch the inaccessible page at either end.
template <typename Sample>
class edge_room {
 public:
  explicit edge_room(size_t capacity)
      : before_(capacity, kit::guard_side::before), behind_(capacity, kit::guard_side::behind) {}

  /// `count` samples with the inaccessible page right before or right behind them.
  Sample* plane(size_t count, kit::guard_side side) {
    return side == kit::guard_side::before ? before_.data() : behind_.end() - count;
  }

 private:
  kit::guarded_array<Sample> before_;
  kit::guarded_array<Sample> behind_;
};

/// A source room with the same noise at both ends, so that short planes need no filling.
template <typename Sample>
edge_room<Sample> noisy_room(size_t capacity, uint32_t seed) {
  edge_room<Sample> room(capacity);
  fill_with_noise(room.plane(capacity, kit::guard_side::before), capacity, seed);
  fill_with_noise(room.plane(capacity, kit::guard_side::behind), capacity, seed + 1);
  return room;
}

inline kit::guard_side other_side(kit::guard_side side) {
  return side == kit::guard_side::before ? kit::guard_side::behind : kit::guard_side::before;
}

/// Whether all samples have the same bits; the first that differs is named.
template <typename Sample>
::testing::AssertionResult same_bits(const std::vector<Sample>& expected, const Sample* actual,
                                     size_t width) {
  const size_t i = kit::first_difference(expected.data(), actual, expected.size());
  if (i == expected.size()) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "row " << i / width << " column " << i % width
                                       << ": expected " << +expected[i] << ", got " << +actual[i];
}

}  // namespace sample_planes
