#include "base/c_heap.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

namespace {

TEST(CHeap, ArraysStartZeroed) {
  const qo::heap_array<uint32_t> array(qo::c_new_array<uint32_t>(100));
  ASSERT_NE(nullptr, array);
  for (size_t i = 0; i < 100; ++i) EXPECT_EQ(0u, array[i]);
}

TEST(CHeap, BlocksOfAnySizeStartZeroedWhereOthersWereReleased) {
  for (const size_t size : {1u, 24u, 1000u, 1023u, 1024u, 1025u, 5000u}) {
    qo::heap_array<uint8_t> former[8];
    for (auto& block : former) {
      block.reset(qo::c_new_array_to_fill<uint8_t>(size));
      ASSERT_NE(nullptr, block);
      memset(block.get(), 0xff, size);
    }
    for (auto& block : former) block.reset();
    for (auto& block : former) {
      block.reset(qo::c_new_array<uint8_t>(size));
      ASSERT_NE(nullptr, block);
      for (size_t i = 0; i < size; ++i) ASSERT_EQ(0u, block[i]) << size << ", " << i;
    }
  }
}

TEST(CHeap, TheBlockOfNoElementsIsZeroedWhereAnotherWasReleased) {
  for (const auto make : {&qo::c_new_array<uint32_t>, &qo::c_new_array_to_fill<uint32_t>}) {
    qo::heap_array<uint32_t> former[8];
    for (auto& block : former) {
      block.reset(qo::c_new_array_to_fill<uint32_t>(1));
      ASSERT_NE(nullptr, block);
      block[0] = 0xffffffff;
    }
    for (auto& block : former) block.reset();
    for (auto& block : former) {
      block.reset(make(0));
      ASSERT_NE(nullptr, block);
      EXPECT_EQ(0u, block[0]);
    }
  }
}

TEST(CHeap, NoElementsStillMakeABlock) {
  const qo::heap_array<uint32_t> zeroed(qo::c_new_array<uint32_t>(0));
  const qo::heap_array<uint32_t> copied(qo::c_copy_array<uint32_t>(nullptr, 0));
  const qo::heap_array<uint32_t> to_fill(qo::c_new_array_to_fill<uint32_t>(0));
  EXPECT_NE(nullptr, zeroed);
  EXPECT_NE(nullptr, to_fill);
  ASSERT_NE(nullptr, copied);
  EXPECT_EQ(0u, copied[0]);
}

TEST(CHeap, CopiesTakeSourcesOfAnyAlignment) {
  const uint8_t bytes[] = {9, 1, 0, 0, 0, 2, 0, 0, 0};
  const qo::heap_array<uint32_t> copy(qo::c_copy_array<uint32_t>(bytes + 1, 2));
  ASSERT_NE(nullptr, copy);
  EXPECT_EQ(1u, copy[0]);
  EXPECT_EQ(2u, copy[1]);
}

TEST(CHeap, SizesThatOverflowAreRefused) {
  const uint32_t source = 1;
  // The second, times four, would wrap to the four bytes that there are.
  for (const size_t wrapping : {SIZE_MAX / 2, SIZE_MAX / 4 + 2}) {
    volatile size_t huge = wrapping;  // known only at run time, or the compiler refuses it
    const size_t count = huge;
    EXPECT_EQ(nullptr, qo::c_new_array<uint32_t>(count));
    EXPECT_EQ(nullptr, qo::c_new_array_to_fill<uint32_t>(count));
    EXPECT_EQ(nullptr, qo::c_copy_array<uint32_t>(&source, count));
  }
}

TEST(CHeap, ReleasingEmptiesTheMember) {
  uint32_t* member = qo::c_new<uint32_t>();
  qo::c_release(member);
  EXPECT_EQ(nullptr, member);
  qo::c_release(member);
}

}  // namespace
