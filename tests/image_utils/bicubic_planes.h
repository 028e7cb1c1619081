/// Planes to feed the bicubic functions with, and their comparison bit for bit.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "tests/image_utils/sample_planes.h"
#include "tests/kit/guarded_buffer.h"

namespace planes {

/// What a plane is filled with: noise over the whole range, or black and white only, which drives
/// the spline as far out as it goes.
enum class content { noise, extremes };

template <typename Sample>
kit::guarded_array<Sample> make(size_t width, size_t height, content what, uint32_t seed,
                                kit::guard_side side = kit::guard_side::behind) {
  kit::guarded_array<Sample> plane(width * height, side);
  std::minstd_rand random(seed + 1);
  const auto top = static_cast<uint32_t>(std::numeric_limits<Sample>::max());
  for (Sample& sample : plane) {
    const uint32_t bits = static_cast<uint32_t>(random() >> 8);
    sample = static_cast<Sample>(what == content::noise ? bits & top : bits & 1 ? top : 0);
  }
  return plane;
}

/// Whether all samples have the same bits; the first that differs is named.
template <typename Expected, typename Actual>
::testing::AssertionResult same_bits(const Expected& expected, const Actual& actual, size_t width) {
  if (expected.size() != actual.size())
    return ::testing::AssertionFailure() << expected.size() << " and " << actual.size();
  return sample_planes::same_bits(std::vector(expected.data(), expected.data() + expected.size()),
                                  actual.data(), width);
}

}  // namespace planes
