// Extraction of record 722.

#include "tests/kit/container_cycle.h"
#include "writer/records.h"

namespace {

using writer::bytes;
using writer::container;

/// A zeroed parsed CMC whose others block, if any, is the test's.
class OthersRecord : public testing::Test {
 protected:
  void extract(const std::vector<uint8_t>& image) {
    const kit::read_only_image held(image);
    const qo_blob blob = held.blob();
    qo_vexb_others_parser_init(&blob, &cmc_);
  }
  void TearDown() override {
    // Nothing but the slot is ever written.
    others_block* const block = cmc_.others;
    cmc_.others = nullptr;
    EXPECT_TRUE(kit::is_empty(cmc_));
    if (block != nullptr && block != &earlier_) ledger_.release(block);
    EXPECT_EQ(0u, ledger_.live_blocks());
    EXPECT_EQ(0u, ledger_.bad_releases());
  }

  kit::allocation_ledger ledger_;
  parsed_cmc cmc_ = {};
  others_block earlier_ = {};
};

/// Record 722 with chosen counts, and `size` in its header.
bytes announcing(uint32_t count, size_t stored, std::optional<uint32_t> size = {}) {
  bytes body;
  body.u32(0xabcd0123).u32(count);
  for (size_t i = 0; i < stored; ++i) body.u64(0x0101010101010101 * (i + 1));
  return writer::record(722, 100, body, {.padded = false, .size = size});
}

TEST_F(OthersRecord, TheValuesAreCopiedIntoABlockOfTheirOwn) {
  extract(container().add(writer::record_5()).add(announcing(3, 3)).image());
  ASSERT_NE(nullptr, cmc_.others);
  EXPECT_TRUE(ledger_.holds(cmc_.others));
  EXPECT_EQ(72u, ledger_.live_bytes());
  const others_block expected = {
      0xabcd0123, 3, {0x0101010101010101, 0x0202020202020202, 0x0303030303030303, 0, 0, 0, 0, 0}};
  EXPECT_EQ(0, memcmp(&expected, cmc_.others, sizeof expected));
}

TEST_F(OthersRecord, ManyValuesAreReducedToEight) {
  for (const uint32_t count : {8u, 9u, 20u, 0xffffffffu}) {
    extract(container().add(announcing(count, 20)).image());
    ASSERT_NE(nullptr, cmc_.others) << count;
    EXPECT_EQ(8u, cmc_.others->others_count) << count;
    EXPECT_EQ(0xabcd0123u, cmc_.others->others_value);
    for (size_t i = 0; i < 8; ++i)
      EXPECT_EQ(0x0101010101010101 * (i + 1), cmc_.others->others_entries[i]);
    ledger_.release(cmc_.others);
    cmc_.others = nullptr;
  }
}

TEST_F(OthersRecord, NoValuesGiveABlockWithoutEntries) {
  extract(container().add(announcing(0, 2)).image());
  ASSERT_NE(nullptr, cmc_.others);
  const others_block expected = {0xabcd0123, 0, {}};
  EXPECT_EQ(0, memcmp(&expected, cmc_.others, sizeof expected));
}

TEST_F(OthersRecord, OnlyTheFirstRecordCounts) {
  extract(container().add(announcing(1, 1)).add(writer::record_722()).image());
  ASSERT_NE(nullptr, cmc_.others);
  EXPECT_EQ(0xabcd0123u, cmc_.others->others_value);
  EXPECT_EQ(1u, cmc_.others->others_count);
  EXPECT_EQ(1u, ledger_.allocations());
}

TEST_F(OthersRecord, AMalformedFirstRecordIsNotPassedOverForASecond) {
  cmc_.others = &earlier_;
  extract(container().add(announcing(3, 2)).add(writer::record_722()).image());
  EXPECT_EQ(&earlier_, cmc_.others);
  EXPECT_EQ(0u, ledger_.allocations());
}

TEST_F(OthersRecord, WithoutTheRecordTheSlotKeepsWhatItHeld) {
  const std::vector<uint8_t> image = container()
                                         .add(writer::record_5())
                                         .add(writer::plain_record(721))
                                         .add(writer::plain_record(723))
                                         .add(writer::plain_record(722 - 512))
                                         .image();
  extract(image);
  EXPECT_EQ(nullptr, cmc_.others);
  cmc_.others = &earlier_;
  extract(image);
  EXPECT_EQ(&earlier_, cmc_.others);
}

TEST_F(OthersRecord, AContainerWithoutRecordsHasNoEffect) {
  cmc_.others = &earlier_;
  extract(container().image());
  EXPECT_EQ(&earlier_, cmc_.others);
}

TEST_F(OthersRecord, ASecondCallReplacesTheBlockWithoutReleasingIt) {
  const std::vector<uint8_t> image = container().add(writer::record_722()).image();
  extract(image);
  others_block* const first = cmc_.others;
  extract(image);
  EXPECT_NE(first, cmc_.others);
  EXPECT_TRUE(ledger_.holds(first));
  EXPECT_EQ(2u, ledger_.live_blocks());
  ledger_.release(first);
}

TEST_F(OthersRecord, AFailedAllocationLeavesTheSlotNull) {
  cmc_.others = &earlier_;
  ledger_.fail_after(0);
  extract(container().add(writer::record_722()).image());
  EXPECT_EQ(1u, ledger_.failures());
  EXPECT_EQ(nullptr, cmc_.others);
}

TEST_F(OthersRecord, NullArgumentsHaveNoEffect) {
  const std::vector<uint8_t> image = container().add(writer::record_722()).image();
  const qo_blob blob = writer::blob_of(image);
  const qo_blob without_data = {nullptr, blob.size};
  qo_vexb_others_parser_init(nullptr, &cmc_);
  qo_vexb_others_parser_init(&without_data, &cmc_);
  qo_vexb_others_parser_init(&blob, nullptr);
  qo_vexb_others_parser_init(nullptr, nullptr);
  EXPECT_EQ(nullptr, cmc_.others);
  EXPECT_EQ(0u, ledger_.allocations());
}

TEST_F(OthersRecord, TheChecksumIsNotLookedAt) {
  extract(container().checksum(0x11111111).add(writer::record_722()).image());
  EXPECT_NE(nullptr, cmc_.others);
}

TEST_F(OthersRecord, TheSmallerOfTotalAndDescriptorBoundsTheWalk) {
  // Record 5 ends at 48; record 722 with one value at 72.
  const container good = container().add(writer::record_5()).add(announcing(1, 1));
  const struct {
    const char* name;
    uint32_t total;
    size_t bytes;
    bool found;
  } cases[] = {
      {"both right", 72, 72, true},
      {"larger total", 73, 72, true},
      {"largest total", 0xffffffff, 72, true},
      {"larger descriptor", 72, 90, true},
      {"total cuts the record", 71, 72, false},
      {"total ends before the record", 48, 72, false},
      {"total ends after the record's header", 56, 72, false},
      {"descriptor cuts the record", 72, 71, false},
      {"descriptor ends before the record", 72, 48, false},
      {"descriptor ends inside the record's header", 72, 55, false},
      {"total of only the header", 24, 72, false},
      {"total below the header", 23, 72, false},
      {"total of 0", 0, 72, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<uint8_t> image = container(good).total(c.total).image();
    ASSERT_EQ(72u, image.size());
    image.resize(c.bytes, 0xee);
    extract(image);
    EXPECT_EQ(c.found, cmc_.others != nullptr);
    if (cmc_.others != nullptr) ledger_.release(cmc_.others);
    cmc_.others = nullptr;
  }
}

TEST_F(OthersRecord, DescriptorsUpToTheHeaderAloneHaveNoEffect) {
  const std::vector<uint8_t> whole = container().add(writer::record_722()).image();
  for (size_t size = 0; size <= 24; ++size) {
    extract({whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size)});
    EXPECT_EQ(nullptr, cmc_.others) << size;
  }
}

TEST_F(OthersRecord, ARecordSmallerThanItsHeaderEndsTheWalk) {
  for (uint32_t size = 0; size < 8; ++size) {
    for (const uint16_t kind : std::initializer_list<uint16_t>{5, 722}) {
      extract(container()
                  .add(writer::record(kind, 100, bytes().u32(1).u32(0).u64(0), {.size = size}))
                  .add(writer::record_722())
                  .image());
      EXPECT_EQ(nullptr, cmc_.others) << size;
    }
  }
}

TEST_F(OthersRecord, ARecordThatRunsPastTheEndEndsTheWalk) {
  for (const uint32_t size : {33u, 0x80000000u, 0xffffffffu, 0u - 24u}) {
    for (const uint16_t kind : std::initializer_list<uint16_t>{5, 722}) {
      extract(
          container()
              .add(writer::record(kind, 100, bytes().u32(1).u32(2).u64(3).u64(4), {.size = size}))
              .image());
      EXPECT_EQ(nullptr, cmc_.others) << size;
    }
  }
}

TEST_F(OthersRecord, CopiedValuesMustLieInsideTheRecord) {
  const struct {
    const char* name;
    uint32_t count;
    uint32_t size;
    bool found;
  } cases[] = {
      {"only a header", 0, 8, false},
      {"value cut", 0, 11, false},
      {"only a value", 0, 12, false},
      {"count cut", 0, 15, false},
      {"no values", 0, 16, true},
      {"one value, cut", 1, 23, false},
      {"one value", 1, 24, true},
      {"eight values, cut", 8, 79, false},
      {"eight values", 8, 80, true},
      {"nine values, eighth cut", 9, 79, false},
      {"nine values, eight", 9, 80, true},
      {"count that wraps in 32 bits", 0x20000000, 79, false},
      {"largest count", 0xffffffff, 80, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    // More values than the record says follow it, so that only its own end can cut them.
    extract(container().add(announcing(c.count, 12, c.size)).image());
    EXPECT_EQ(c.found, cmc_.others != nullptr);
    if (cmc_.others != nullptr) ledger_.release(cmc_.others);
    cmc_.others = nullptr;
  }
}

TEST_F(OthersRecord, TheEntryItselfNeverFillsTheSlot) {
  const kit::cmc_ptr cmc = kit::parse(container().add(writer::record_722()).image());
  EXPECT_EQ(nullptr, cmc->others);
}

TEST_F(OthersRecord, TeardownLeavesTheBlockToTheClient) {
  const std::vector<uint8_t> image = container().add(writer::record_722()).image();
  kit::cmc_ptr cmc = kit::parse(image);
  const qo_blob blob = writer::blob_of(image);
  qo_vexb_others_parser_init(&blob, cmc.get());
  others_block* const block = cmc->others;
  ASSERT_NE(nullptr, block);
  cmc.reset();
  EXPECT_TRUE(ledger_.holds(block));
  EXPECT_EQ(1u, ledger_.live_blocks());
  EXPECT_EQ(3u, block->others_count);
  ledger_.release(block);
}

}  // namespace
