// Bicubic enlargement of planes to float: statuses and memory.

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "qo_cmc/image_utils.h"
#include "qo_cmc/parser.h"
#include "tests/kit/allocation_ledger.h"

namespace {

uint32_t upscale_planes(const uint8_t* const* src, float* const* dst, uint16_t in_w, uint16_t in_h,
                        uint16_t out_w, uint16_t out_h, uint16_t n) {
  return image_bicubic_upscale_uint8_to_float(src, dst, in_w, in_h, out_w, out_h, n);
}
uint32_t upscale_planes(const uint16_t* const* src, float* const* dst, uint16_t in_w, uint16_t in_h,
                        uint16_t out_w, uint16_t out_h, uint16_t n) {
  return image_bicubic_upscale_uint16_to_float(src, dst, in_w, in_h, out_w, out_h, n);
}

using sample_kinds = ::testing::Types<uint8_t, uint16_t>;

template <typename Sample>
class BicubicUpscaleStatus : public ::testing::Test {
 protected:
  BicubicUpscaleStatus() : first(16), second(16), out_first(64), out_second(64) {
    for (float& sample : out_first) sample = 5.0f;
    for (float& sample : out_second) sample = 5.0f;
  }
  [[nodiscard]] bool untouched() const {
    const auto is_five = [](float sample) { return sample == 5.0f; };
    return std::all_of(out_first.begin(), out_first.end(), is_five) &&
           std::all_of(out_second.begin(), out_second.end(), is_five);
  }
  std::vector<Sample> first, second;
  std::vector<float> out_first, out_second;
};
TYPED_TEST_SUITE(BicubicUpscaleStatus, sample_kinds);

TYPED_TEST(BicubicUpscaleStatus, RefusedSizesGive32AndWriteNothing) {
  const TypeParam* const src[] = {this->first.data()};
  float* const dst[] = {this->out_first.data()};
  const uint16_t refused[][4] = {
      {4, 4, 3, 8},         {4, 4, 8, 3},         {4, 4, 0, 8},         {4, 4, 8, 0},
      {0, 4, 8, 8},         {4, 0, 8, 8},         {1, 4, 8, 8},         {4, 1, 8, 8},
      {1, 1, 1, 1},         {0, 0, 0, 0},         {65533, 2, 65535, 2}, {2, 65533, 2, 65535},
      {65534, 2, 65535, 2}, {65535, 2, 65535, 2}, {2, 65535, 2, 65535}, {2, 1, 2, 1},
  };
  const TypeParam* const* const no_sources = nullptr;
  kit::allocation_ledger ledger;
  for (const auto& [in_w, in_h, out_w, out_h] : refused) {
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, upscale_planes(src, dst, in_w, in_h, out_w, out_h, 1))
        << in_w << " x " << in_h << " to " << out_w << " x " << out_h;
    EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE},
              upscale_planes(no_sources, nullptr, in_w, in_h, out_w, out_h, 0));
  }
  EXPECT_EQ(0u, ledger.allocations());
  EXPECT_TRUE(this->untouched());
}

TYPED_TEST(BicubicUpscaleStatus, NoPlanesGive0BeforePointersAreLookedAt) {
  const TypeParam* const* const no_sources = nullptr;
  EXPECT_EQ(uint32_t{QO_CMC_OK}, upscale_planes(no_sources, nullptr, 4, 4, 8, 8, 0));
}

TYPED_TEST(BicubicUpscaleStatus, NullPointersGive32AndWriteNothing) {
  const TypeParam* const src[] = {this->first.data(), this->second.data()};
  const TypeParam* const src_hole[] = {this->first.data(), nullptr};
  float* const dst[] = {this->out_first.data(), this->out_second.data()};
  float* const dst_hole[] = {this->out_first.data(), nullptr};
  const TypeParam* const* const no_sources = nullptr;
  kit::allocation_ledger ledger;
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, upscale_planes(no_sources, dst, 4, 4, 8, 8, 2));
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, upscale_planes(src, nullptr, 4, 4, 8, 8, 2));
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, upscale_planes(src_hole, dst, 4, 4, 8, 8, 2));
  EXPECT_EQ(uint32_t{QO_CMC_INVALID_SIZE}, upscale_planes(src, dst_hole, 4, 4, 8, 8, 2));
  EXPECT_EQ(0u, ledger.allocations());
  EXPECT_TRUE(this->untouched());
}

TYPED_TEST(BicubicUpscaleStatus, EachFailedAllocationGives4WritesNothingAndLeaksNothing) {
  const TypeParam* const src[] = {this->first.data(), this->second.data()};
  float* const dst[] = {this->out_first.data(), this->out_second.data()};
  kit::allocation_ledger ledger;
  size_t successes = 0;
  for (;; ++successes) {
    ASSERT_LT(successes, 10u);
    ledger.fail_after(successes);
    const uint32_t status = upscale_planes(src, dst, 4, 4, 8, 8, 2);
    EXPECT_EQ(0u, ledger.live_blocks());
    if (status == QO_CMC_OK) break;
    EXPECT_EQ(uint32_t{QO_CMC_NO_MEMORY}, status);
    EXPECT_TRUE(this->untouched());
  }
  // The working memory is shared by all planes.
  EXPECT_EQ(2u, successes);
  EXPECT_EQ(2u, ledger.failures());
  EXPECT_EQ(0u, ledger.bad_releases());
  EXPECT_FALSE(this->untouched());
}

}  // namespace
