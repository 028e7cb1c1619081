// The border cells and the extrapolated buffer, through the exported functions.

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "qo_cmc/image_utils.h"
#include "tests/image_utils/bicubic_planes.h"
#include "tests/image_utils/bicubic_reference.h"
#include "tests/kit/row_name.h"

namespace {

using kit::guard_side;
using kit::guarded_array;

struct border_case {
  const char* name;
  uint32_t mode;
  /// Cells up, down, left and right, at one and at two steps; a NaN must not be read.
  float up[2], down[2], left[2], right[2];
  float expected;
};

constexpr float unread = std::numeric_limits<float>::quiet_NaN();

const border_case border_cases[] = {
    {"top_continues_the_column_below",
     0,
     {unread, unread},
     {10, 4},
     {unread, unread},
     {unread, unread},
     16},
    {"bottom_continues_the_column_above",
     1,
     {10, 4},
     {unread, unread},
     {unread, unread},
     {unread, unread},
     16},
    {"left_continues_the_row_to_the_right",
     2,
     {unread, unread},
     {unread, unread},
     {unread, unread},
     {3, 8},
     -2},
    {"right_continues_the_row_to_the_left",
     3,
     {unread, unread},
     {unread, unread},
     {3, 8},
     {unread, unread},
     -2},
    {"top_left_is_the_mean_of_both", 4, {unread, unread}, {10, 4}, {unread, unread}, {3, 8}, 7},
    {"top_right_is_the_mean_of_both", 5, {unread, unread}, {10, 4}, {3, 8}, {unread, unread}, 7},
    {"bottom_left_is_the_mean_of_both", 6, {10, 4}, {unread, unread}, {unread, unread}, {3, 8}, 7},
    {"bottom_right_is_the_mean_of_both", 7, {10, 4}, {unread, unread}, {3, 8}, {unread, unread}, 7},
    // 2^24 + 1 rounds to 2^24 in single precision, twice here; 2^24 + (1 + 1) would be exact.
    {"a_corner_adds_term_after_term",
     4,
     {unread, unread},
     {8388608, 0},
     {unread, unread},
     {0.5f, -1},
     8388608},
    {"unknown_mode_8_writes_zero",
     8,
     {unread, unread},
     {unread, unread},
     {unread, unread},
     {unread, unread},
     0},
    {"the_largest_mode_writes_zero",
     UINT32_MAX,
     {unread, unread},
     {unread, unread},
     {unread, unread},
     {unread, unread},
     0},
};

class BorderCell : public ::testing::TestWithParam<border_case> {};

TEST_P(BorderCell, IsWrittenFromTheNamedNeighboursOnly) {
  const border_case& c = GetParam();
  for (const uint16_t stride : {uint16_t{5}, uint16_t{9}, uint16_t{65535}}) {
    std::vector<float> buffer(size_t{5} * stride, unread);
    float* const cell = buffer.data() + 2 * size_t{stride} + 2;
    for (int k = 0; k < 2; ++k) {
      cell[-(k + 1) * ptrdiff_t{stride}] = c.up[k];
      cell[(k + 1) * ptrdiff_t{stride}] = c.down[k];
      cell[-(k + 1)] = c.left[k];
      cell[k + 1] = c.right[k];
    }
    const std::vector<float> before = buffer;
    interpolate_gain_value(cell, stride, c.mode);
    EXPECT_EQ(c.expected, *cell) << "stride " << stride;
    *cell = unread;
    EXPECT_EQ(0, memcmp(before.data(), buffer.data(), buffer.size() * sizeof(float)));
  }
}

INSTANTIATE_TEST_SUITE_P(Mode, BorderCell, ::testing::ValuesIn(border_cases), kit::row_name);

TEST(BorderCellEdge, NullCellIsIgnored) { interpolate_gain_value(nullptr, 5, 0); }

TEST(BorderCellEdge, EachModeReadsNothingOutsideItsBuffer) {
  // The smallest buffers that a mode can have: the cell and what it names, between guard pages.
  for (const guard_side side : {guard_side::before, guard_side::behind}) {
    for (uint32_t mode = 0; mode < 9; ++mode) {
      guarded_array<float> square(9, side);
      for (size_t i = 0; i < 9; ++i) square[i] = 1.0f;
      const bool low = mode == 1 || mode >= 6, far = mode == 3 || mode == 5 || mode == 7;
      const size_t at = mode == 8 ? 4 : (low ? 6u : 0u) + (far ? 2u : 0u);
      square[at] = 7.0f;
      interpolate_gain_value(square.data() + at, 3, mode);
      EXPECT_EQ(mode == 8 ? 0.0f : 1.0f, square[at]) << "mode " << mode;
    }
  }
}

std::vector<float> build(const uint16_t* src, uint16_t w, uint16_t h) {
  std::vector<float> buffer(size_t{w + 3u} * (h + 3u), 12345.0f);
  create_extrapolated_buffer_for_bicubic_u16(src, buffer.data(), w, h);
  return buffer;
}

TEST(ExtrapolatedBuffer, TwoByTwoByHand) {
  const uint16_t src[] = {10, 20, 40, 80};
  // Outer cells and corners continue cells that were filled before them.
  const std::vector<float> expected = {0, -20, -40, -60, -80,  //
                                       0, 10,  20,  30,  40,   //
                                       0, 40,  80,  120, 160,  //
                                       0, 70,  140, 210, 280,  //
                                       0, 100, 200, 300, 400};
  EXPECT_TRUE(planes::same_bits(expected, build(src, 2, 2), 5));
}

TEST(ExtrapolatedBuffer, CornersDependOnTheOrderOfFilling) {
  const uint16_t src[] = {0, 0, 0, 100};
  const std::vector<float> b = build(src, 2, 2);
  const auto at = [&](size_t row, size_t column) { return b[row * 5 + column]; };
  EXPECT_EQ(100, at(2, 2));
  EXPECT_EQ(200, at(2, 3));
  EXPECT_EQ(300, at(2, 4));
  EXPECT_EQ(200, at(3, 2));
  EXPECT_EQ(300, at(4, 2));
  EXPECT_EQ(400, at(3, 3));
  EXPECT_EQ(600, at(3, 4));  // mean of 2 * 300 - 0 and 2 * 400 - 200
  EXPECT_EQ(600, at(4, 3));  // mean of 2 * 400 - 200 and 2 * 300 - 0
  EXPECT_EQ(900, at(4, 4));  // mean of 2 * 600 - 300 and 2 * 600 - 300
}

TEST(ExtrapolatedBuffer, EverySizeUpToFortyHasTheReferenceBits) {
  for (const guard_side side : {guard_side::before, guard_side::behind}) {
    for (const planes::content what : {planes::content::noise, planes::content::extremes}) {
      for (uint16_t h = 1; h <= 40; ++h) {
        for (uint16_t w = 1; w <= 40; ++w) {
          const auto src = planes::make<uint16_t>(w, h, what, w * 64u + h, side);
          guarded_array<float> buffer((w + 3u) * (h + 3u), side);
          // A sentinel, so that a border cell that reads an unwritten one is found out.
          for (float& cell : buffer) cell = 1e9f;
          create_extrapolated_buffer_for_bicubic_u16(src.data(), buffer.data(), w, h);
          ASSERT_TRUE(
              planes::same_bits(reference::extrapolated(src.data(), w, h).cells, buffer, w + 3u))
              << w << " x " << h;
        }
      }
    }
  }
}

TEST(ExtrapolatedBuffer, LargeAndLongPlanesHaveTheReferenceBits) {
  const std::pair<uint16_t, uint16_t> sizes[] = {{640, 480}, {1, 1000},  {1000, 1}, {65532, 2},
                                                 {2, 65532}, {65532, 1}, {1, 65532}};
  for (const auto& [w, h] : sizes) {
    const auto src = planes::make<uint16_t>(w, h, planes::content::noise, w);
    ASSERT_TRUE(planes::same_bits(reference::extrapolated(src.data(), w, h).cells,
                                  build(src.data(), w, h), w + 3u))
        << w << " x " << h;
  }
}

TEST(ExtrapolatedBuffer, ASideOfOneCountsUnwrittenCellsAsZero) {
  const uint16_t src[] = {7};
  // Left: 2 * 7 - 0, for the cell behind the sample is not written yet; and so on.
  const std::vector<float> b = build(src, 1, 1);
  EXPECT_EQ(7, b[1 * 4 + 1]);
  EXPECT_EQ(14, b[1 * 4 + 0]);
  EXPECT_EQ(0, b[1 * 4 + 2]);   // 2 * 7 - 14
  EXPECT_EQ(-7, b[1 * 4 + 3]);  // 2 * 0 - 7
  EXPECT_EQ(14, b[0 * 4 + 1]);  // 2 * 7 - 0
  EXPECT_EQ(0, b[2 * 4 + 1]);   // 2 * 7 - 14
  EXPECT_EQ(-7, b[3 * 4 + 1]);  // 2 * 0 - 7
  EXPECT_TRUE(planes::same_bits(reference::extrapolated(src, 1, 1).cells, b, 4));
}

TEST(ExtrapolatedBuffer, RampsContinueOnEverySide) {
  std::vector<uint16_t> src;
  for (uint16_t r = 0; r < 9; ++r)
    for (uint16_t c = 0; c < 13; ++c) src.push_back(static_cast<uint16_t>(1000 + 7 * r + 31 * c));
  const std::vector<float> b = build(src.data(), 13, 9);
  for (int r = 0; r < 12; ++r)
    for (int c = 0; c < 16; ++c)
      EXPECT_EQ(static_cast<float>(1000 + 7 * (r - 1) + 31 * (c - 1)),
                b[static_cast<size_t>(r * 16 + c)]);
}

TEST(ExtrapolatedBuffer, RefusedSizesAndNullPointersLeaveTheBufferAlone) {
  const uint16_t src[16] = {};
  struct refused {
    const uint16_t* src;
    bool has_buffer;
    uint16_t w, h;
  };
  const refused cases[] = {{src, true, 0, 4},     {src, true, 4, 0},     {src, true, 0, 0},
                           {src, true, 65533, 1}, {src, true, 1, 65533}, {src, true, 65534, 1},
                           {src, true, 65535, 1}, {src, true, 1, 65535}, {src, true, 0, 65535},
                           {nullptr, true, 2, 2}, {src, false, 2, 2}};
  for (const refused& c : cases) {
    guarded_array<float> buffer(25);
    for (float& cell : buffer) cell = 3.0f;
    create_extrapolated_buffer_for_bicubic_u16(c.src, c.has_buffer ? buffer.data() : nullptr, c.w,
                                               c.h);
    for (const float cell : buffer) EXPECT_EQ(3.0f, cell) << c.w << " x " << c.h;
  }
}

}  // namespace
