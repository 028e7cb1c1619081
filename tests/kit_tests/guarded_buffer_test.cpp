#include "tests/kit/guarded_buffer.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using kit::guard_side;
using kit::guarded_buffer;

uint8_t read_at(const uint8_t* at) { return *const_cast<const volatile uint8_t*>(at); }
void write_at(uint8_t* at) { *const_cast<volatile uint8_t*>(at) = 1; }

TEST(GuardedBuffer, IsReadableAndWritableToItsLastByte) {
  for (const size_t size : {1u, 7u, 4095u, 4096u, 4097u, 100000u}) {
    for (const guard_side side : {guard_side::before, guard_side::behind}) {
      guarded_buffer buffer(size, side);
      EXPECT_EQ(size, buffer.size());
      EXPECT_EQ(0, read_at(buffer.data()));
      write_at(buffer.data());
      write_at(buffer.data() + size - 1);
      EXPECT_EQ(1, read_at(buffer.data() + size - 1));
    }
  }
}

TEST(GuardedBuffer, KeepsItsMemoryWhenMoved) {
  guarded_buffer first(10);
  write_at(first.data() + 9);
  const guarded_buffer second(std::move(first));
  EXPECT_EQ(1, read_at(second.data() + 9));
  EXPECT_EQ(10u, second.size());
}

TEST(GuardedArray, CountsElements) {
  kit::guarded_array<uint32_t> values(3);
  EXPECT_EQ(3u, values.size());
  values[2] = 7;
  EXPECT_EQ(7u, *(values.end() - 1));
}

TEST(GuardedBufferDeathTest, StopsTheTestOneByteBehindItsEnd) {
  for (const size_t size : {0u, 7u, 4096u}) {
    guarded_buffer buffer(size);
    EXPECT_DEATH(read_at(buffer.data() + size), "") << size;
  }
  guarded_buffer written(4097);
  EXPECT_DEATH(write_at(written.data() + 4097), "");
}

TEST(GuardedBufferDeathTest, StopsTheTestOneByteBeforeItsStart) {
  for (const size_t size : {0u, 7u, 4096u}) {
    guarded_buffer buffer(size, guard_side::before);
    EXPECT_DEATH(read_at(buffer.data() - 1), "") << size;
  }
  guarded_buffer written(4097, guard_side::before);
  EXPECT_DEATH(write_at(written.data() - 1), "");
}

TEST(GuardedBufferDeathTest, GuardsBothEndsOfWholePages) {
  guarded_buffer buffer(8192);
  EXPECT_DEATH(read_at(buffer.data() - 1), "");
  EXPECT_DEATH(read_at(buffer.data() + 8192), "");
}

}  // namespace
