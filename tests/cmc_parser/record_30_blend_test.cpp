// Version 101 of kind 30 beside a calibration grid, against a plain loop over every window.

#include <bit>
#include <cmath>
#include <random>

#include "tests/cmc_parser/module_grid.h"
#include "tests/kit/structure_bytes.h"
#include "writer/records.h"

namespace {

constexpr size_t items_end = 30 + 6;

/// A record whose grid is zero but for its value at (height / 2, width / 2).
writer::bytes record_with_centre(uint32_t centre, uint16_t width, uint16_t height) {
  std::vector<uint32_t> grid(size_t{width} * height, 0);
  if (!grid.empty()) grid[size_t{height} / 2 * width + width / 2] = centre;
  return writer::record_30({.items = 1, .width = width, .height = height, .grid = grid});
}

/// What the library makes of it: the grid of the module's size.
std::vector<uint32_t> decoded_grid(module_grid& module, const writer::bytes& record) {
  kit::decoder_fixture decoder;
  (void)decoder.decode(record, &module.module());
  const record_30_content* const content = decoder.cmc().record_30;
  EXPECT_TRUE(content != nullptr && content->grid != nullptr);
  if (content == nullptr || content->grid == nullptr) return {};
  EXPECT_EQ(module.grid().width, content->grid_width);
  EXPECT_EQ(module.grid().height, content->grid_height);
  const size_t values = size_t{module.grid().width} * module.grid().height;
  return {content->grid, content->grid + values};
}

std::vector<uint32_t> decoded_grid(module_grid& module, uint32_t centre) {
  return decoded_grid(module, record_with_centre(centre, 3, 2));
}

std::vector<uint32_t> constant(size_t values, uint32_t value) {
  return std::vector<uint32_t>(values, value);
}

// ------------------------------------------------------------------- by hand

TEST(Record30Blend, AConstantGridIsMixedWithTheCentreSixToFour) {
  // 1000 * 0.6 + 500 * 0.4
  module_grid module(20, 20, 0, constant(400, 1000));
  EXPECT_EQ(constant(400, 800), decoded_grid(module, 500));
}

TEST(Record30Blend, TheShiftDividesTheModulesShareAlone) {
  // 4000 * 0.6 / 2^shift + 500 * 0.4
  for (const auto& [shift, expected] : {std::pair<uint8_t, uint32_t>{0, 2600},
                                        {1, 1400},
                                        {3, 500},
                                        {31, 200},
                                        {32, 2600},
                                        {33, 1400},
                                        {63, 200},
                                        {128, 2600},
                                        {227, 500}}) {
    SCOPED_TRACE(int{shift});
    module_grid module(20, 20, shift, constant(400, 4000));
    EXPECT_EQ(constant(400, expected), decoded_grid(module, 500));
  }
}

TEST(Record30Blend, TheResultIsRoundedByAHalf) {
  // 1024 * 0.6 / 1024 + 0.4 is 1; two more tenths of the centre are not yet 2.
  module_grid module(8, 6, 10, constant(48, 1024));
  EXPECT_EQ(constant(48, 1), decoded_grid(module, 1));
  EXPECT_EQ(constant(48, 1), decoded_grid(module, 2));
  EXPECT_EQ(constant(48, 2), decoded_grid(module, 3));
}

TEST(Record30Blend, ACentreOfZeroLeavesTheGridZero) {
  module_grid module(20, 20, 0, constant(400, 1000));
  EXPECT_EQ(constant(400, 0), decoded_grid(module, 0));
  EXPECT_EQ(constant(400, 0), decoded_grid(module, record_with_centre(7, 0, 0)));
  EXPECT_EQ(constant(400, 0), decoded_grid(module, record_with_centre(7, 0, 5)));
}

TEST(Record30Blend, TheCentreStandsAtHalfOfEachSideRoundedDown) {
  module_grid module(7, 5, 0, constant(35, 0));
  for (const auto& [width, height] :
       {std::pair<uint16_t, uint16_t>{1, 1}, {2, 1}, {1, 2}, {4, 3}, {3, 4}, {5, 5}, {6, 6}})
    EXPECT_EQ(constant(35, 400), decoded_grid(module, record_with_centre(1000, width, height)));
}

TEST(Record30Blend, TheCentreIsUnsigned) {
  // 2^31 times the share whose bits are 3ecccccc; a half more is lost in rounding.
  module_grid module(7, 5, 0, constant(35, 0));
  EXPECT_EQ(constant(35, 0x33333300), decoded_grid(module, 0x80000000));
}

TEST(Record30Blend, SumsBeyondASignedNumberAreHeldAtItsEnd) {
  // The one value of the interior is the mean, which nothing lies strictly below 1.5 times of.
  module_grid module(7, 5, 0, constant(35, 0x7fffffff));
  EXPECT_EQ(constant(35, 0x7fffffff), decoded_grid(module, 0xffffffff));
}

TEST(Record30Blend, SidesAtTheMarginsLeaveTheGridZero) {
  for (const auto& [width, height] :
       {std::pair<uint8_t, uint8_t>{6, 4}, {6, 20}, {20, 4}, {6, 0}, {0, 4}, {6, 255}, {255, 4}}) {
    const size_t values = size_t{width} * height;
    module_grid module(width, height, 0, constant(values, 1000));
    EXPECT_EQ(constant(values, 0), decoded_grid(module, 500));
  }
}

TEST(Record30Blend, SidesBelowTheMarginsHaveAMeanOfZero) {
  // Nothing lies strictly between 0 and 0, so that only the centre's share is left.
  for (const auto& [width, height] :
       {std::pair<uint8_t, uint8_t>{5, 3}, {1, 1}, {5, 20}, {20, 3}, {1, 255}, {255, 1}}) {
    const size_t values = size_t{width} * height;
    module_grid module(width, height, 0, constant(values, 1000));
    EXPECT_EQ(constant(values, 200), decoded_grid(module, 500));
  }
}

TEST(Record30Blend, AValueCountsStrictlyBetweenHalfAndOneAndAHalfTimesTheMean) {
  // The corner's window has 16 values, 15 of them 1000: without it 600, with it 581.3 and 618.7.
  for (const auto& [corner, expected] : {std::pair<uint32_t, uint32_t>{500, 800},
                                         {501, 781},
                                         {1499, 819},
                                         {1500, 800},
                                         {0, 800},
                                         {0xffffffff, 800},
                                         {0x80000000, 800}}) {
    std::vector<uint32_t> values = constant(400, 1000);
    values[0] = corner;
    module_grid module(20, 20, 0, values);
    const std::vector<uint32_t> grid = decoded_grid(module, 500);
    ASSERT_EQ(400u, grid.size());
    EXPECT_EQ(expected, grid[0]);
    EXPECT_EQ(800u, grid[4]) << "the window reaches three columns far";
    EXPECT_EQ(800u, grid[4 * 20]) << "the window reaches three rows far";
  }
}

TEST(Record30Blend, TheMeanIsThatOfTheInterior) {
  // Two rows and three columns at each side are outside.
  for (const auto& [row, column, inside] : {std::tuple<size_t, size_t, bool>{1, 3, false},
                                            {2, 2, false},
                                            {2, 3, true},
                                            {17, 16, true},
                                            {18, 16, false},
                                            {17, 17, false}}) {
    SCOPED_TRACE(testing::Message() << "row " << row << ", column " << column);
    // The interior is 16 rows of 14. In it, the one value lifts the mean from 1000 to 1700, and
    // with it the range, so that the corner's 2016 counts.
    std::vector<uint32_t> values = constant(400, 1000);
    values[row * 20 + column] = 1000 + 224 * 700;
    values[0] = 2016;
    module_grid module(20, 20, 0, values);
    const std::vector<uint32_t> grid = decoded_grid(module, 500);
    ASSERT_EQ(400u, grid.size());
    // (15 * 1000 + 2016) / 16 * 0.6 + 200 is 838.1; with the lifting value in the window, which
    // never counts, (14 * 1000 + 2016) / 15 * 0.6 + 200 is 840.6, rounded 841.
    const bool in_window = row <= 3 && column <= 3;
    const uint32_t lifted = in_window ? 841 : 838;
    EXPECT_EQ(inside ? lifted : 800u, grid[0]);
  }
}

TEST(Record30Blend, AWindowWithoutACountedValueTakesTheMean) {
  // The interior is half 0 and half 2000, the margin 0: nothing is between 500 and 1500.
  std::vector<uint32_t> values = constant(400, 0);
  for (size_t y = 2; y < 18; ++y)
    for (size_t x = 3; x < 17; ++x) values[y * 20 + x] = x % 2 != 0 ? 2000 : 0;
  module_grid module(20, 20, 0, values);
  EXPECT_EQ(constant(400, 800), decoded_grid(module, 500));
}

TEST(Record30Blend, ANegativeMeanSwapsItsBounds) {
  // -1000 * 0.6 + 200 + 0.5 is -399.5, cut to -399.
  module_grid module(20, 20, 0, constant(400, static_cast<uint32_t>(-1000)));
  EXPECT_EQ(constant(400, static_cast<uint32_t>(-399)), decoded_grid(module, 500));
}

TEST(Record30Blend, TrailingValuesStandBehindTheRecordsOwnGrid) {
  module_grid module(9, 7, 0, constant(63, 1000));
  const writer::bytes record = writer::record_30({.items = 1, .width = 4, .height = 3});
  kit::decoder_fixture decoder;
  (void)decoder.decode(record, &module.module());
  ASSERT_TRUE(decoder.cmc().record_30 != nullptr && decoder.cmc().record_30->trailing != nullptr);
  EXPECT_EQ(kit::part_of(record, items_end + 4 * 12, 16),
            kit::bytes_at(decoder.cmc().record_30->trailing, 16));
}

// --------------------------------------------------- against the plain loops

int32_t truncated(float value) {
  if (std::isnan(value)) return 0;
  if (value >= 2147483648.0f) return INT32_MAX;
  if (value <= -2147483648.0f) return INT32_MIN;
  return static_cast<int32_t>(value);
}

/// The rule as it is told: one window at a time, every sum anew.
std::vector<uint32_t> plain_blend(const calibration_grid& grid, uint32_t centre) {
  const int width = grid.width;
  const int height = grid.height;
  const float module_share = std::bit_cast<float>(0x3f19999au);
  const float record_share = std::bit_cast<float>(0x3eccccccu);
  const auto at = [&](int y, int x) { return grid.values[y * width + x]; };
  std::vector<uint32_t> out(static_cast<size_t>(width * height), 0);
  const int count = (width - 6) * (height - 4);
  if (centre == 0 || count == 0) return out;

  uint32_t total = 0;
  for (int y = 2; y <= height - 3; ++y)
    for (int x = 3; x <= width - 4; ++x) total += at(y, x);
  const float mean = static_cast<float>(static_cast<int32_t>(total)) / static_cast<float>(count);
  int32_t low = truncated(0.5f * mean);
  int32_t high = truncated(1.5f * mean);
  if (mean < 0) std::swap(low, high);
  const float scale = std::ldexp(1.0f, -(grid.shift % 32));

  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      uint32_t sum = 0;
      uint32_t counted = 0;
      for (int row = y - 3; row <= y + 3; ++row) {
        for (int column = x - 3; column <= x + 3; ++column) {
          if (row < 0 || row >= height || column < 0 || column >= width) continue;
          const auto value = static_cast<int32_t>(at(row, column));
          if (value <= low || value >= high) continue;
          sum += at(row, column);
          ++counted;
        }
      }
      float local;
      if (counted != 0) {
        local = static_cast<float>(static_cast<int32_t>(sum)) * module_share;
        local *= scale;
        local /= static_cast<float>(counted);
      } else {
        local = mean * module_share;
        local *= scale;
      }
      const float share = static_cast<float>(centre) * record_share;
      const float blended = local + share;
      out[static_cast<size_t>(y * width + x)] = static_cast<uint32_t>(truncated(blended + 0.5f));
    }
  }
  return out;
}

struct pattern {
  const char* what;
  uint32_t (*value)(uint32_t random);
};

constexpr pattern patterns[] = {
    {"about 1024", [](uint32_t random) { return 512 + random % 1100; }},
    {"about -1024", [](uint32_t random) { return 0u - 512 - random % 1100; }},
    {"small, both signs", [](uint32_t random) { return random % 41 - 20; }},
    {"any bits", [](uint32_t random) { return random; }},
    {"large, sums wrap", [](uint32_t random) { return 0x30000000 + random % 0x20000000; }},
    {"0 or the largest", [](uint32_t random) { return random % 2 != 0 ? 0x7fffffff : 0u; }},
};
constexpr uint32_t centres[] = {1, 2, 1000, 0x00ffffff, 0x01000001, 0x80000000, 0xffffffff, 0};

/// Decodes one random grid and compares all its values.
void expect_plain_blend(uint8_t width, uint8_t height, const pattern& values,
                        std::mt19937& random) {
  std::vector<uint32_t> grid;
  for (int i = 0; i < width * height; ++i)
    grid.push_back(values.value(static_cast<uint32_t>(random())));
  module_grid module(width, height, static_cast<uint8_t>(random() % 64), grid);
  const uint32_t centre = centres[random() % std::size(centres)];
  SCOPED_TRACE(testing::Message() << int{width} << " x " << int{height} << ", " << values.what
                                  << ", shift " << int{module.grid().shift} << ", centre "
                                  << centre);
  ASSERT_EQ(plain_blend(module.grid(), centre), decoded_grid(module, centre));
}

TEST(Record30Blend, EverySizeTo20By20IsBitForBitThePlainLoops) {
  std::mt19937 random(30);
  for (uint8_t width = 0; width <= 20; ++width)
    for (uint8_t height = 0; height <= 20; ++height)
      for (const pattern& values : patterns)
        for (int i = 0; i < 3; ++i) {
          expect_plain_blend(width, height, values, random);
          if (HasFatalFailure()) return;
        }
}

TEST(Record30Blend, TheLargestSizesAreBitForBitThePlainLoops) {
  std::mt19937 random(255);
  for (const auto& [width, height] :
       {std::pair<uint8_t, uint8_t>{255, 255}, {255, 7}, {7, 255}, {255, 1}, {2, 255}, {65, 49}})
    for (const pattern& values : patterns) {
      expect_plain_blend(width, height, values, random);
      if (HasFatalFailure()) return;
    }
}

TEST(Record30Blend, EveryShiftIsBitForBitThePlainLoops) {
  std::mt19937 random(31);
  std::vector<uint32_t> grid;
  for (int i = 0; i < 13 * 11; ++i)
    grid.push_back(0x00800000 + static_cast<uint32_t>(random()) % 0x00800000);
  for (int shift = 0; shift < 256; ++shift) {
    SCOPED_TRACE(shift);
    module_grid module(13, 11, static_cast<uint8_t>(shift), grid);
    for (const uint32_t centre : centres)
      ASSERT_EQ(plain_blend(module.grid(), centre), decoded_grid(module, centre));
  }
}

}  // namespace
