#include "cmc_parser/extent.h"

#include <gtest/gtest.h>

namespace {

using qo::extent;
using qo::size_of;

const extent largest_32(UINT32_MAX);
const extent half = extent(0x80000000u) * extent(0x80000000u) * 2;  // 2^63

TEST(Extent, AddsAndMultipliesPast32Bits) {
  EXPECT_EQ(uint64_t{0x1fffffffe}, (largest_32 + largest_32).value());
  EXPECT_EQ(uint64_t{0xfffffffe00000001}, (largest_32 * largest_32).value());
  EXPECT_EQ(uint64_t{12}, (size_of<uint32_t> * uint16_t{3}).value());
}

TEST(Extent, StaysAtTheLargestValueWhereASumOrAProductWouldWrap) {
  EXPECT_EQ(UINT64_MAX, (half + half).value());
  EXPECT_EQ(UINT64_MAX, (half + half + 1).value());
  EXPECT_EQ(UINT64_MAX, (half * 2).value());
  EXPECT_EQ(UINT64_MAX, (half * half).value());
  EXPECT_EQ(0u, (half * 2 * 0).value());
}

TEST(Extent, IsPaddedUpToAMultipleOfEightAndNeverToALowerOne) {
  EXPECT_EQ(0u, extent(0).padded().value());
  EXPECT_EQ(8u, extent(1).padded().value());
  EXPECT_EQ(8u, extent(8).padded().value());
  EXPECT_EQ(16u, extent(9).padded().value());
  EXPECT_LT(largest_32, (half + half).padded());
}

}  // namespace
