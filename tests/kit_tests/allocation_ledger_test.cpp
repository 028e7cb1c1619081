#include "tests/kit/allocation_ledger.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iterator>
#include <memory>
#include <vector>

#include "platform_caller.h"

namespace {

using kit::allocation_ledger;
constexpr const char* watched = "libplatform_caller.so";

TEST(AllocationLedger, CountsBlocksAndBytesOfOneLibrary) {
  allocation_ledger ledger(watched);
  void* const first = call_malloc(10);
  void* const second = call_calloc(3, 5);
  EXPECT_EQ(2u, ledger.live_blocks());
  EXPECT_EQ(25u, ledger.live_bytes());
  EXPECT_TRUE(ledger.holds(first));
  call_free(first);
  EXPECT_FALSE(ledger.holds(first));
  EXPECT_EQ(1u, ledger.live_blocks());
  EXPECT_EQ(15u, ledger.live_bytes());
  call_free(second);
  call_free(nullptr);
  EXPECT_EQ(0u, ledger.live_blocks());
  EXPECT_EQ(0u, ledger.live_bytes());
  EXPECT_EQ(25u, ledger.peak_bytes());
  EXPECT_EQ(2u, ledger.allocations());
  EXPECT_EQ(0u, ledger.bad_releases());
}

TEST(AllocationLedger, FollowsABlockThatMoves) {
  allocation_ledger ledger(watched);
  void* const block = call_realloc(call_malloc(10), 100);
  EXPECT_TRUE(ledger.holds(block));
  EXPECT_EQ(1u, ledger.live_blocks());
  EXPECT_EQ(100u, ledger.live_bytes());
  ledger.fail_after(0);
  EXPECT_EQ(nullptr, call_realloc(block, 200));
  EXPECT_TRUE(ledger.holds(block));
  call_free(block);
  EXPECT_EQ(0u, ledger.live_blocks());
}

TEST(AllocationLedger, RemembersTheCallsInTheirOrder) {
  allocation_ledger ledger(watched);
  void* const first = call_malloc(10);
  void* const second = call_calloc(3, 5);
  call_free(first);
  ledger.fail_after(0);
  EXPECT_EQ(nullptr, call_malloc(20));
  void* const third = call_malloc(30);
  call_free(third);
  call_free(nullptr);
  call_free(second);
  struct {
    size_t block, size;
    bool is_release;
  } const expected[] = {{0, 10, false}, {1, 15, false}, {0, 10, true},
                        {2, 30, false}, {2, 30, true},  {1, 15, true}};
  const std::vector<kit::heap_call> calls = ledger.calls();
  ASSERT_EQ(std::size(expected), calls.size());
  for (size_t i = 0; i < calls.size(); ++i) {
    EXPECT_EQ(expected[i].block, calls[i].block) << i;
    EXPECT_EQ(expected[i].size, calls[i].size) << i;
    EXPECT_EQ(expected[i].is_release, calls[i].is_release) << i;
  }
}

TEST(AllocationLedger, IgnoresTheTestsOwnHeap) {
  allocation_ledger ledger(watched);
  const std::unique_ptr<void, decltype(&std::free)> own(std::malloc(10), &std::free);
  EXPECT_FALSE(ledger.holds(own.get()));
  EXPECT_EQ(0u, ledger.live_blocks());
  EXPECT_EQ(0u, ledger.allocations());
}

TEST(AllocationLedger, FailsOneAllocationAndNoOther) {
  allocation_ledger ledger(watched);
  ledger.fail_after(1);
  void* const first = call_malloc(1);
  EXPECT_NE(nullptr, first);
  EXPECT_EQ(nullptr, call_calloc(1, 1));
  void* const third = call_malloc(1);
  EXPECT_NE(nullptr, third);
  EXPECT_EQ(1u, ledger.failures());
  EXPECT_EQ(2u, ledger.allocations());
  ledger.fail_after(0);
  ledger.fail_never();
  void* const fourth = call_malloc(1);
  EXPECT_NE(nullptr, fourth);
  EXPECT_EQ(1u, ledger.failures());
  for (void* const block : {first, third, fourth}) call_free(block);
}

TEST(AllocationLedger, FailsOneAllocationAndEveryLaterOne) {
  allocation_ledger ledger(watched);
  ledger.fail_from(1);
  void* const first = call_malloc(1);
  EXPECT_NE(nullptr, first);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(nullptr, call_calloc(1, 1));
  EXPECT_EQ(3u, ledger.failures());
  ledger.fail_never();
  void* const second = call_malloc(1);
  EXPECT_NE(nullptr, second);
  // The one form takes the place of the other.
  ledger.fail_from(0);
  ledger.fail_after(0);
  EXPECT_EQ(nullptr, call_malloc(1));
  void* const third = call_malloc(1);
  EXPECT_NE(nullptr, third);
  EXPECT_EQ(4u, ledger.failures());
  for (void* const block : {first, second, third}) call_free(block);
}

TEST(AllocationLedger, NotesADoubleReleaseAndAWildOneWithoutPassingThemOn) {
  allocation_ledger ledger(watched);
  void* const block = call_malloc(8);
  call_free(block);
  call_free(block);
  EXPECT_EQ(1u, ledger.bad_releases());
  int wild = 0;
  call_free(&wild);
  EXPECT_EQ(2u, ledger.bad_releases());
  EXPECT_EQ(0u, ledger.live_blocks());
}

TEST(AllocationLedger, AdoptsAndReleasesForAClient) {
  allocation_ledger ledger(watched);
  void* const handed_over = std::malloc(12);
  ledger.adopt(handed_over, 12);
  EXPECT_EQ(12u, ledger.live_bytes());
  EXPECT_EQ(0u, ledger.allocations());
  call_free(handed_over);
  EXPECT_EQ(0u, ledger.live_blocks());
  void* const taken_over = call_malloc(5);
  ledger.release(taken_over);
  EXPECT_EQ(0u, ledger.live_blocks());
  EXPECT_EQ(0u, ledger.bad_releases());
}

TEST(AllocationLedger, StopsCountingWhenItIsClosed) {
  { const allocation_ledger ledger(watched); }
  void* const outside = call_malloc(1);
  ASSERT_NE(nullptr, outside);
  call_free(outside);
  const allocation_ledger ledger(watched);
  EXPECT_EQ(0u, ledger.allocations());
  EXPECT_EQ(0u, ledger.bad_releases());
}

TEST(AllocationLedgerDeathTest, WantsALoadedLibraryAndToBeTheOnlyOne) {
  EXPECT_DEATH({ const allocation_ledger ledger("libabsent.so"); }, "not loaded");
  const allocation_ledger ledger(watched);
  EXPECT_DEATH({ const allocation_ledger second(watched); }, "already open");
}

}  // namespace
