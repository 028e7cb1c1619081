// Sums of words, in the table that the test's environment names.

#include "rows/word_rows.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "rows/row_table.h"
#include "tests/kit/guarded_buffer.h"

namespace {

uint32_t plain_sum(const uint8_t* bytes, size_t count) {
  uint32_t sum = 0;
  for (size_t i = 0; i < count; ++i) {
    uint32_t word;
    memcpy(&word, bytes + 4 * i, 4);
    sum += word;
  }
  return sum;
}

TEST(WordRows, TheSumOfAnyNumberOfWordsIsThePlainOneBesideAnInaccessiblePage) {
  std::mt19937 random(1);
  for (const auto side : {kit::guard_side::before, kit::guard_side::behind}) {
    for (size_t count = 0; count <= 300; ++count) {
      std::vector<uint8_t> bytes(4 * count);
      for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
      kit::guarded_buffer guarded(bytes.size(), side);
      if (!bytes.empty()) memcpy(guarded.data(), bytes.data(), bytes.size());
      EXPECT_EQ(plain_sum(bytes.data(), count), qo::rows().words.sum(guarded.data(), count))
          << count;
    }
  }
}

/// Also what stands before the first whole vector and after the last one, beside words that do not
/// count.
TEST(WordRows, TheSumOfAnyNumberOfWordsIsTheSameAtEveryAlignment) {
  std::mt19937 random(2);
  std::vector<uint8_t> bytes(4 * 600 + 64);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
  for (size_t offset = 0; offset < 64; ++offset)
    for (size_t count = 0; count <= 600; ++count)
      ASSERT_EQ(plain_sum(bytes.data() + offset, count),
                qo::rows().words.sum(bytes.data() + offset, count))
          << offset << ", " << count;
}

TEST(WordRows, TheSumWrapsAt32Bits) {
  std::vector<uint8_t> bytes(4 * 1000, 0xff);
  EXPECT_EQ(static_cast<uint32_t>(-1000), qo::rows().words.sum(bytes.data(), 1000));
}

}  // namespace
