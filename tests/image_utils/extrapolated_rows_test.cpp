// The extrapolated buffer of scaled planes, and its rows made one window at a time.

#include "image_utils/extrapolated_rows.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/image_utils/bicubic_planes.h"
#include "tests/image_utils/bicubic_reference.h"

namespace {

TEST(ScaledBuffer, EveryShiftMultipliesByTheReciprocalPower) {
  const uint16_t w = 5, h = 4;
  const auto src = planes::make<uint16_t>(w, h, planes::content::noise, 9);
  for (int32_t shift = 0; shift < 70; ++shift) {
    kit::guarded_array<float> buffer((w + 3) * (h + 3));
    qo::fill_extrapolated_buffer(qo::scaled_plane(src.data(), w, h, shift), buffer.data());
    ASSERT_TRUE(planes::same_bits(reference::extrapolated_scaled(src.data(), w, h, shift).cells,
                                  buffer, w + 3))
        << "shift " << shift;
  }
}

float scaled_sample(uint16_t sample, int32_t shift) {
  const uint16_t src[] = {sample, sample, sample, sample};
  float buffer[25];
  qo::fill_extrapolated_buffer(qo::scaled_plane(src, 2, 2, shift), buffer);
  return buffer[6];
}

TEST(ScaledBuffer, TenFractionBitsMakeOneOf1024) { EXPECT_EQ(1.0f, scaled_sample(1024, 10)); }

TEST(ScaledBuffer, AShiftOf31IsNegativeAndTheCountWraps) {
  EXPECT_EQ(-0x1p-31f, scaled_sample(1, 31));
  EXPECT_EQ(0x1p-30f, scaled_sample(1, 30));
  EXPECT_EQ(1.0f, scaled_sample(1, 32));
  EXPECT_EQ(1.0f, scaled_sample(1024, 42));
  EXPECT_EQ(-0x1p-31f, scaled_sample(1, -1));
}

TEST(ScaledBuffer, EverySizeUpToTwentyHasTheReferenceBits) {
  for (const kit::guard_side side : {kit::guard_side::before, kit::guard_side::behind}) {
    for (uint16_t h = 1; h <= 20; ++h) {
      for (uint16_t w = 1; w <= 20; ++w) {
        const auto src = planes::make<uint16_t>(w, h, planes::content::extremes, w, side);
        kit::guarded_array<float> buffer((w + 3u) * (h + 3u), side);
        for (float& cell : buffer) cell = 1e9f;
        qo::fill_extrapolated_buffer(qo::scaled_plane(src.data(), w, h, 7), buffer.data());
        ASSERT_TRUE(planes::same_bits(reference::extrapolated_scaled(src.data(), w, h, 7).cells,
                                      buffer, w + 3u))
            << w << " x " << h;
      }
    }
  }
}

TEST(ScaledBuffer, UnscaledKindsConvertSamplesAsTheyAre) {
  const uint8_t bytes[] = {0, 1, 128, 255};
  const uint16_t words[] = {0, 1, 128, 65535};
  const float floats[] = {-0.5f, 1e30f, 0.0f, 3.25f};
  float buffer[25];
  qo::fill_extrapolated_buffer(qo::source_plane<uint8_t>{bytes, 2, 2}, buffer);
  EXPECT_TRUE(planes::same_bits(reference::extrapolated(bytes, 2, 2).cells,
                                std::vector<float>(buffer, buffer + 25), 5));
  qo::fill_extrapolated_buffer(qo::source_plane<uint16_t>{words, 2, 2}, buffer);
  EXPECT_TRUE(planes::same_bits(reference::extrapolated(words, 2, 2).cells,
                                std::vector<float>(buffer, buffer + 25), 5));
  qo::fill_extrapolated_buffer(qo::source_plane<float>{floats, 2, 2}, buffer);
  EXPECT_TRUE(planes::same_bits(reference::extrapolated(floats, 2, 2).cells,
                                std::vector<float>(buffer, buffer + 25), 5));
}

// ---- rows in windows ----

/// Every window of every column range of a plane, in the order of `firsts`, against the whole
/// buffer.
template <typename Sample>
void expect_windows_of_the_buffer(uint16_t w, uint16_t h, const std::vector<size_t>& firsts) {
  const auto src = planes::make<Sample>(w, h, planes::content::noise, w * 8u + h);
  const reference::buffer whole = reference::extrapolated(src.data(), w, h);
  kit::guarded_array<float> storage(qo::extrapolated_rows<Sample>::storage_size(w));
  for (float& cell : storage) cell = 1e9f;
  qo::extrapolated_rows<Sample> rows({src.data(), w, h}, storage.data());
  for (size_t begin = 0; begin + 4 <= w + 3u; ++begin) {
    for (size_t end = begin + 4; end <= w + 3u; ++end) {
      rows.use_columns({begin, end});
      for (const size_t first : firsts) {
        rows.move_to(first);
        for (size_t row = first; row < first + 4; ++row)
          for (size_t column = begin; column < end; ++column)
            ASSERT_EQ(whole.at(static_cast<int>(row), static_cast<int>(column)),
                      rows.row(row)[column])
                << w << " x " << h << " row " << row << " column " << column;
      }
    }
  }
}

TEST(ExtrapolatedRows, EveryWindowIsThatOfTheWholeBufferInAnyOrder) {
  for (uint16_t h = 1; h <= 9; ++h) {
    std::vector<size_t> rising, falling, jumping;
    for (size_t first = 0; first < h; ++first) {
      rising.insert(rising.end(), {first, first});
      jumping.push_back(first * 5 % h);
    }
    falling.assign(rising.rbegin(), rising.rend());
    for (uint16_t w = 1; w <= 9; ++w) {
      for (const auto& firsts : {rising, falling, jumping}) {
        expect_windows_of_the_buffer<uint8_t>(w, h, firsts);
        expect_windows_of_the_buffer<uint16_t>(w, h, firsts);
      }
    }
  }
}

TEST(ExtrapolatedRows, NeedNoMoreRoomThanTheWholeBuffer) {
  for (const uint16_t w : std::initializer_list<uint16_t>{1, 2, 17, 65532})
    EXPECT_EQ(qo::extrapolated_size(w, 1), qo::extrapolated_rows<float>::storage_size(w));
}

}  // namespace
