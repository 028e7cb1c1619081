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

TEST(WordRows, TheSumOfAnyNumberOfWordsIsThePlainOneUpToAnInaccessiblePage) {
  std::mt19937 random(1);
  for (size_t count = 0; count <= 300; ++count) {
    std::vector<uint8_t> bytes(4 * count);
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
    kit::guarded_buffer guarded(bytes.size());
    if (!bytes.empty()) memcpy(guarded.data(), bytes.data(), bytes.size());
    EXPECT_EQ(plain_sum(bytes.data(), count), qo::rows().words.sum(guarded.data(), count)) << count;
  }
}

TEST(WordRows, TheSumIsTheSameAtEveryAlignment) {
  std::vector<uint8_t> bytes(4 * 600 + 64, 0xff);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(0xff - i % 7);
  for (size_t offset = 0; offset < 64; ++offset)
    EXPECT_EQ(plain_sum(bytes.data() + offset, 600),
              qo::rows().words.sum(bytes.data() + offset, 600))
        << offset;
}

TEST(WordRows, TheSumWrapsAt32Bits) {
  std::vector<uint8_t> bytes(4 * 1000, 0xff);
  EXPECT_EQ(static_cast<uint32_t>(-1000), qo::rows().words.sum(bytes.data(), 1000));
}

}  // namespace
