// Bicubic resize of a plane to 16-bit samples: statuses and memory.

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "qo_cmc/image_utils.h"
#include "qo_cmc/parser.h"
#include "tests/kit/allocation_ledger.h"

namespace {

struct sizes {
  uint16_t in_h, in_w, out_h, out_w;
};

class BicubicResizeStatus : public ::testing::Test {
 protected:
  [[nodiscard]] bool untouched() const {
    return std::all_of(dst.begin(), dst.end(), [](uint16_t sample) { return sample == 5; });
  }
  uint32_t run_float(const float* src, const sizes& s, uint16_t* to) {
    return bicubic_resize_32f_to_u16p10(src, s.in_h, s.in_w, to, s.out_h, s.out_w);
  }
  uint32_t run_u16(const uint16_t* src, const sizes& s, uint16_t* to) {
    return bicubic_resize_u16_to_u16(src, s.in_h, s.in_w, 10, to, s.out_h, s.out_w);
  }
  std::vector<float> floats = std::vector<float>(16, 1.0f);
  std::vector<uint16_t> words = std::vector<uint16_t>(16, 1);
  std::vector<uint16_t> dst = std::vector<uint16_t>(64, 5);
};

TEST_F(BicubicResizeStatus, RefusedSourceSidesGive32AndWriteNothing) {
  kit::allocation_ledger ledger;
  const sizes refused[] = {{0, 4, 8, 8},     {4, 0, 8, 8},     {0, 0, 8, 8},
                           {65533, 1, 8, 8}, {1, 65533, 8, 8}, {65534, 1, 8, 8},
                           {1, 65535, 8, 8}, {0, 4, 0, 8},     {65535, 65535, 8, 0}};
  for (const sizes& s : refused) {
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, run_float(floats.data(), s, dst.data()));
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, run_u16(words.data(), s, dst.data()));
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, run_float(nullptr, s, nullptr));
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, run_u16(nullptr, s, nullptr));
  }
  EXPECT_EQ(0u, ledger.allocations());
  EXPECT_TRUE(untouched());
}

TEST_F(BicubicResizeStatus, OnlyTheIntegerMemberRefusesAnOutputSideOfOne) {
  kit::allocation_ledger ledger;
  for (const sizes& s : {sizes{4, 4, 1, 8}, sizes{4, 4, 8, 1}, sizes{4, 4, 1, 1}, sizes{4, 4, 1, 0},
                         sizes{4, 4, 0, 1}}) {
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, run_u16(words.data(), s, dst.data()));
    EXPECT_EQ(0u, ledger.allocations());
    EXPECT_TRUE(untouched());
  }
  EXPECT_EQ(uint32_t{QO_CMC_OK}, run_float(floats.data(), {4, 4, 1, 8}, dst.data()));
  EXPECT_FALSE(untouched());
}

TEST_F(BicubicResizeStatus, AnEmptyOutputGives0BeforePointersAreLookedAt) {
  for (const sizes& s : {sizes{4, 4, 0, 8}, sizes{4, 4, 8, 0}, sizes{4, 4, 0, 0}}) {
    EXPECT_EQ(uint32_t{QO_CMC_OK}, run_float(nullptr, s, nullptr));
    EXPECT_EQ(uint32_t{QO_CMC_OK}, run_u16(nullptr, s, nullptr));
    EXPECT_EQ(uint32_t{QO_CMC_OK}, run_float(floats.data(), s, dst.data()));
    EXPECT_EQ(uint32_t{QO_CMC_OK}, run_u16(words.data(), s, dst.data()));
  }
  EXPECT_TRUE(untouched());
}

TEST_F(BicubicResizeStatus, NullPointersGive32AndWriteNothing) {
  kit::allocation_ledger ledger;
  const sizes s = {4, 4, 8, 8};
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, run_float(nullptr, s, dst.data()));
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, run_u16(nullptr, s, dst.data()));
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, run_float(floats.data(), s, nullptr));
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, run_u16(words.data(), s, nullptr));
  EXPECT_EQ(0u, ledger.allocations());
  EXPECT_TRUE(untouched());
}

TEST_F(BicubicResizeStatus, AFailedAllocationGives4WritesNothingAndLeaksNothing) {
  kit::allocation_ledger ledger;
  const sizes s = {4, 4, 8, 8};
  ledger.fail_after(0);
  EXPECT_EQ(uint32_t{QO_CMC_NO_MEMORY}, run_float(floats.data(), s, dst.data()));
  ledger.fail_after(0);
  EXPECT_EQ(uint32_t{QO_CMC_NO_MEMORY}, run_u16(words.data(), s, dst.data()));
  EXPECT_EQ(2u, ledger.failures());
  EXPECT_EQ(0u, ledger.live_blocks());
  EXPECT_TRUE(untouched());
  // One buffer is all that a call asks for.
  ledger.fail_after(1);
  EXPECT_EQ(uint32_t{QO_CMC_OK}, run_float(floats.data(), s, dst.data()));
  ledger.fail_after(1);
  EXPECT_EQ(uint32_t{QO_CMC_OK}, run_u16(words.data(), s, dst.data()));
  EXPECT_EQ(2u, ledger.failures());
  EXPECT_EQ(0u, ledger.live_blocks());
  EXPECT_EQ(0u, ledger.bad_releases());
}

}  // namespace
