// Calibrations whose grids have every size and every shift, in memory that ends where they end: the
// grid that record 30 is blended with, and those that tables are rebuilt from.

#include <cmath>
#include <vector>

#include "tests/kit/container_cycle.h"
#include "tests/kit/fake_platform.h"
#include "tests/kit/merging_module.h"
#include "tests/kit/module_calibration.h"
#include "tests/kit/structure_bytes.h"
#include "writer/records.h"

namespace {

using writer::bytes;
using writer::container;

constexpr uint8_t some_image[] = {1};
constexpr qo_blob some_nvm = {some_image, sizeof some_image};

// ------------------------------------------------------------------- grids for record 30

/// Values of 1024 that end, or start, at an inaccessible page.
class constant_grid {
 public:
  constant_grid(size_t width, size_t height, uint8_t shift, kit::guard_side side)
      : values_(width * height, side) {
    for (uint32_t& value : values_) value = 1024;
    grid_.width = static_cast<uint8_t>(width);
    grid_.height = static_cast<uint8_t>(height);
    grid_.shift = shift;
    grid_.values = values_.data();
    module_.grid_present = 1;
    module_.grid = &grid_;
  }
  constant_grid(const constant_grid&) = delete;
  constant_grid& operator=(const constant_grid&) = delete;
  const calibration& module() const { return module_; }

 private:
  kit::guarded_array<uint32_t> values_;
  calibration_grid grid_{};
  calibration module_{};
};

/// By hand: 1024 x 0.6 / 2^shift, which a grid of 6 columns or 4 rows or less has no mean for, and
/// 500 x 0.4, rounded. Without a count of values for the mean nothing is written.
uint32_t blended(size_t width, size_t height, unsigned shift) {
  if (width == 6 || height == 4) return 0;
  const double module_share = width > 6 && height > 4 ? 614.4 / std::exp2(shift % 32) : 0;
  return static_cast<uint32_t>(module_share + 200.499);
}

void expect_blended(size_t width, size_t height, uint8_t shift, kit::guard_side side) {
  SCOPED_TRACE(testing::Message() << width << " x " << height << ", shift " << int{shift});
  const constant_grid grid(width, height, shift, side);
  static const bytes record = writer::record_30(
      {.items = 1, .width = 3, .height = 2, .grid = std::vector<uint32_t>(6, 500)});
  kit::decoder_fixture decoder;
  (void)decoder.decode(record, &grid.module());
  const record_30_content* const content = decoder.cmc().record_30;
  ASSERT_NE(nullptr, content);
  ASSERT_EQ(width, content->grid_width);
  ASSERT_EQ(height, content->grid_height);
  const uint32_t expected = blended(width, height, shift);
  for (size_t i = 0; i < width * height; ++i) ASSERT_EQ(expected, content->grid[i]) << i;
  if (width * height < 4096) kit::tour_of(decoder.cmc());
}

TEST(CalibrationGrid, OfEverySizeInBothDirectionsIsBlendedWithinItsEnds) {
  for (const size_t other : kit::size_list{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 64, 254, 255}) {
    for (size_t side = 0; side <= 255; ++side) {
      expect_blended(side, other, 0, kit::guard_side::behind);
      expect_blended(other, side, 0, kit::guard_side::before);
      if (HasFatalFailure()) return;
    }
  }
}

TEST(CalibrationGrid, OfEveryShiftIsBlended) {
  for (unsigned shift = 0; shift <= 255; ++shift) {
    for (const size_t side : {size_t{3}, size_t{7}, size_t{20}})
      expect_blended(side + 2, side, static_cast<uint8_t>(shift), kit::guard_side::behind);
    if (HasFatalFailure()) return;
  }
}

TEST(CalibrationGrid, OfEverySizeReplacesOneThatIsNotBlended) {
  for (const uint8_t version : {uint8_t{99}, uint8_t{100}, uint8_t{102}}) {
    for (size_t side = 0; side <= 255; ++side) {
      SCOPED_TRACE(testing::Message() << "version " << int{version} << ", side " << side);
      const constant_grid grid(side, 255 - side, 0, kit::guard_side::behind);
      kit::decoder_fixture decoder;
      (void)decoder.decode(writer::record_30({.version = version}), &grid.module());
      const record_30_content* const content = decoder.cmc().record_30;
      ASSERT_NE(nullptr, content);
      ASSERT_EQ(side, content->grid_width);
      ASSERT_EQ(255 - side, content->grid_height);
      for (size_t i = 0; i < side * (255 - side); ++i) ASSERT_EQ(0u, content->grid[i]);
    }
  }
}

// --------------------------------------------------------- grids that tables are rebuilt from

uint32_t sloping(size_t set, size_t channel, size_t r, size_t k) {
  return static_cast<uint32_t>(100 + 7 * set + 16 * channel + 3 * r + 5 * k);
}

void expect_sound_merge(uint8_t width, uint8_t height, uint8_t fraction_bits) {
  SCOPED_TRACE(testing::Message() << int{width} << " x " << int{height} << ", "
                                  << int{fraction_bits} << " fraction bits");
  static const std::vector<uint8_t> image = container().add(kit::merged_records()).image();
  kit::module_calibration module(2, width, height, fraction_bits, sloping);
  kit::fake_platform platform;
  platform.answer_images_with(&module.object());
  kit::allocation_ledger ledger;
  EXPECT_EQ(0u, kit::run_cycle(ledger, image, &some_nvm).left_blocks);
  EXPECT_EQ(1u, platform.released_handles().size());
}

TEST(CalibrationSets, OfGridsOfEverySizeLeaveEveryBlockInItsPlace) {
  for (const uint8_t other : kit::u8_list{0, 1, 2, 5, 9}) {
    for (unsigned side = 0; side <= 255; ++side) {
      expect_sound_merge(static_cast<uint8_t>(side), other, 10);
      expect_sound_merge(other, static_cast<uint8_t>(side), 8);
      if (testing::Test::HasFailure()) return;
    }
  }
  expect_sound_merge(255, 255, 9);
}

TEST(CalibrationSets, OfEveryNumberOfFractionBitsLeaveEveryBlockInItsPlace) {
  for (unsigned bits = 0; bits <= 255; ++bits) {
    expect_sound_merge(7, 6, static_cast<uint8_t>(bits));
    if (testing::Test::HasFailure()) return;
  }
}

}  // namespace
