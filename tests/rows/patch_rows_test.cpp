// Bicubic patches, in the table that the test's environment names.

#include "rows/patch_rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

#include "rows/row_table.h"
#include "tests/image_utils/sample_planes.h"
#include "tests/kit/guarded_buffer.h"

namespace {

constexpr float not_a_number = std::numeric_limits<float>::quiet_NaN();

/// The sixteen coefficients as plain sums over r, then c, then the clamped value.
float plain_value(const std::vector<float> (&rows)[4], float position, float ty) {
  constexpr float basis[4][4] = {
      {0, 1, 0, 0}, {-0.5f, 0, 0.5f, 0}, {1, -2.5f, 2, -0.5f}, {-0.5f, 1.5f, -1.5f, 0.5f}};
  const auto cell = static_cast<size_t>(position);
  const float tx = position - static_cast<float>(cell);
  float combined[4];
  for (size_t m = 0; m < 4; ++m) {
    float a[4] = {};
    for (size_t n = 0; n < 4; ++n)
      for (size_t r = 0; r < 4; ++r)
        for (size_t c = 0; c < 4; ++c) a[n] += basis[m][r] * basis[n][c] * rows[r][cell + c];
    const float square = tx * tx;
    combined[m] = ((a[0] + a[1] * tx) + a[2] * square) + a[3] * (square * tx);
  }
  const float square = ty * ty;
  const float value =
      ((combined[0] + combined[1] * ty) + combined[2] * square) + combined[3] * (square * ty);
  if (!(value > -255.0f)) return -255.0f;
  return value >= 65535.0f ? 65535.0f : value;
}

std::vector<float> positions_from(size_t first, float step, size_t count) {
  std::vector<float> positions;
  for (size_t x = 0; x < count; ++x)
    positions.push_back(static_cast<float>(first) + static_cast<float>(x) * step);
  return positions;
}

/// The four rows, their positions and heights between inaccessible pages; the rows of results stand
/// `gap` floats apart, which must not be written.
void expect_plain_values(const std::vector<float> (&rows)[4], const std::vector<float>& positions,
                         const std::vector<float>& heights, size_t gap) {
  constexpr float untouched = 12345.5f;
  std::vector<kit::guarded_array<float>> guarded;
  const float* pointers[4];
  for (size_t r = 0; r < 4; ++r) {
    guarded.emplace_back(rows[r].size());
    std::copy(rows[r].begin(), rows[r].end(), guarded[r].data());
    pointers[r] = guarded[r].data();
  }
  const size_t count = positions.size();
  kit::guarded_array<float> at(count);
  std::copy(positions.begin(), positions.end(), at.data());
  kit::guarded_array<float> ty(heights.size());
  std::copy(heights.begin(), heights.end(), ty.data());
  const size_t stride = count + gap;
  kit::guarded_array<float> dst(stride * heights.size() - gap);
  std::fill(dst.begin(), dst.end(), untouched);
  qo::rows().patches.enlarge(pointers, at.data(), count, ty.data(), heights.size(), dst.data(),
                             stride);
  std::vector<float> expected(stride * heights.size() - gap, untouched);
  for (size_t y = 0; y < heights.size(); ++y)
    for (size_t x = 0; x < count; ++x)
      expected[y * stride + x] = plain_value(rows, positions[x], heights[y]);
  ASSERT_TRUE(sample_planes::same_bits(expected, dst.data(), stride))
      << count << " columns from " << positions[0] << " to " << positions.back() << ", "
      << heights.size() << " rows";
}

template <typename Sample>
void fill_rows(std::vector<float> (&rows)[4], const std::vector<float>& positions, Sample sample) {
  const size_t length = static_cast<size_t>(positions.back()) + 4;
  for (auto& row : rows) {
    row.clear();
    for (size_t c = 0; c < length; ++c) row.push_back(static_cast<float>(sample()));
  }
}

TEST(PatchRows, TheValuesAreThoseOfThePlainSumsAtEveryWidthAndStep) {
  std::mt19937 random(3);
  std::vector<float> rows[4];
  for (size_t count = 1; count <= qo::patch_strip; count += count < 70 ? 1 : 31)
    for (const float step : {0.0f, 1e-4f, 0.03f, 0.25f, 0.49f, 0.5f, 0.77f, 0.94f, 0.999f, 1.0f})
      for (const size_t first : {size_t{0}, size_t{1}, size_t{20}}) {
        const std::vector<float> positions = positions_from(first, step, count);
        fill_rows(rows, positions, [&] { return random() % 65536; });
        expect_plain_values(rows, positions, {0.0f, 0.37f}, count % 3);
      }
  const std::vector<float> whole = positions_from(0, 1.0f, qo::patch_strip);
  fill_rows(rows, whole, [&] { return random() % 65536; });
  expect_plain_values(rows, whole, {0.99f}, 0);
}

TEST(PatchRows, EveryNumberOfResultRowsIsWrittenAndNothingBetween) {
  std::mt19937 random(4);
  std::vector<float> rows[4];
  std::vector<float> heights;
  for (size_t y = 0; y < qo::patch_results; ++y) {
    heights.push_back(static_cast<float>(random() % 1000) / 1000);
    for (size_t count = 1; count <= 70; count += 3) {
      const std::vector<float> positions = positions_from(2, 0.31f, count);
      fill_rows(rows, positions, [&] { return random() % 256; });
      expect_plain_values(rows, positions, heights, count % 5);
    }
  }
}

TEST(PatchRows, PositionsMayStandStillAndRiseUnevenly) {
  std::mt19937 random(5);
  std::vector<float> rows[4];
  for (int round = 0; round < 400; ++round) {
    std::vector<float> positions = {static_cast<float>(random() % 4)};
    const size_t count = 1 + random() % 200;
    const auto often = 1 + random() % 9;
    while (positions.size() < count) {
      const float rise = random() % often == 0 ? static_cast<float>(random() % 1001) / 1000 : 0.0f;
      positions.push_back(positions.back() + rise);
    }
    fill_rows(rows, positions, [&] { return random() % 65536; });
    expect_plain_values(rows, positions, {0.0f, 0.5f, 0.8f}, 1);
  }
}

TEST(PatchRows, RoundingMaySkipACell) {
  std::mt19937 random(6);
  std::vector<float> rows[4];
  for (size_t skipped = 1; skipped < 60; ++skipped) {
    std::vector<float> positions;
    for (size_t x = 0; x < 60; ++x)
      positions.push_back(static_cast<float>(x) + (x < skipped ? 0.99999f : 1.0f));
    fill_rows(rows, positions, [&] { return random() % 65536; });
    expect_plain_values(rows, positions, {0.0f, 0.25f}, 0);
  }
}

TEST(PatchRows, SamplesAtTheEndsOfTheirRangeStayExact) {
  // The largest magnitudes that a plane of 16-bit samples and its continuation hold.
  constexpr float far = 13.0f * 65535.0f;
  const float small[4] = {-65535.0f, 0.0f, 65535.0f, 131070.0f};
  std::mt19937 random(9);
  int inside = 0;
  for (int round = 0; round < 4000; ++round) {
    std::vector<float> rows[4];
    for (size_t r = 0; r < 4; ++r) {
      for (size_t c = 0; c < 4; ++c) rows[r].push_back(small[random() % 4]);
      if (r == 3) rows[r][3] = random() % 2 != 0 ? far : -12.0f * 65535.0f;
    }
    const float position = static_cast<float>(random() % 1000) / 1000.0f;
    const float height = static_cast<float>(random() % 1000) / 1000.0f;
    const float value = plain_value(rows, position, height);
    if (value > -255.0f && value < 65535.0f) ++inside;
    expect_plain_values(rows, {position}, {height}, 0);
  }
  EXPECT_GT(inside, 1000);
}

TEST(PatchRows, ANanBecomesTheLowerBoundInEveryLane) {
  constexpr size_t count = 40;
  const std::vector<float> positions = positions_from(0, 1.0f, count);
  for (size_t column = 0; column < count + 3; ++column) {
    std::vector<float> rows[4];
    for (auto& row : rows) row.assign(count + 3, 7.0f);
    rows[1][column] = not_a_number;
    expect_plain_values(rows, positions, {0.5f}, 0);
    EXPECT_EQ(-255.0f, plain_value(rows, positions[std::min(column, count - 1)], 0.5f));
  }
}

}  // namespace
