// Record 34 where the container has none.

#include "tests/kit/container_cycle.h"
#include "writer/records.h"

namespace {

using writer::container;

class DerivedRecord : public testing::Test {
 protected:
  const writer::bytes& derive(const std::vector<writer::bytes>& records) {
    cmc_ = kit::parse(container().add(records).image());
    block_ = {};
    if (cmc_ != nullptr && cmc_->record_34 != nullptr)
      block_.raw(cmc_->record_34, cmc_->record_34->size);
    return block_;
  }
  /// Where a u64 in the block points to, from the block's start; 0 for null.
  uint64_t place_at(size_t offset) const {
    const uint64_t address = block_.u64_at(offset);
    return address == 0 ? 0 : address - reinterpret_cast<uintptr_t>(cmc_->record_34);
  }
  /// Header words, and that everything lies inside the block, whose size the ledger knows.
  void expect_header(uint32_t size, uint32_t blocks) const {
    ASSERT_NE(nullptr, cmc_->record_34);
    EXPECT_EQ(size, block_.u32_at(0));
    EXPECT_EQ(100, block_.u8_at(4));
    EXPECT_EQ(0, block_.u8_at(5));
    EXPECT_EQ(34, block_.u16_at(6));
    EXPECT_EQ(blocks, block_.u32_at(8));
    EXPECT_EQ(0u, block_.u32_at(12));
    EXPECT_EQ(32u, place_at(16));
    EXPECT_EQ(0u, block_.u64_at(24));
  }
  struct block_row {
    uint32_t kind, parameter, long_count, short_count;
    uint64_t long_place, short_place, tail_place;
  };
  void expect_block(size_t index, const block_row& row) const {
    const size_t start = 32 + 40 * index;
    EXPECT_EQ(row.kind, block_.u32_at(start));
    EXPECT_EQ(row.parameter, block_.u32_at(start + 4));
    EXPECT_EQ(row.long_count, block_.u32_at(start + 8));
    EXPECT_EQ(row.short_count, block_.u32_at(start + 12));
    EXPECT_EQ(row.long_place, place_at(start + 16));
    EXPECT_EQ(row.short_place, place_at(start + 24));
    EXPECT_EQ(row.tail_place, place_at(start + 32));
  }
  /// The bytes from `from` to the block's end are all 0.
  void expect_zeros_from(size_t from) const {
    for (size_t i = from; i < block_.size(); ++i) EXPECT_EQ(0, block_.u8_at(i)) << i;
  }

  kit::allocation_ledger ledger_;
  kit::cmc_ptr cmc_;
  writer::bytes block_;
};

const writer::record_19_entry entry_1 = {
    0x00018000, 0xffffffff, {0x11121314, 0x15161718, 0x191a1b1c}, {0x2122, 0x2324, 0x2526, 0x2728}};
const writer::record_19_entry entry_2 = {
    1, 0x00010000, {0x31323334, 0x35363738, 0x393a3b3c}, {0x4142, 0x4344, 0x4546, 0x4748}};

TEST_F(DerivedRecord, WithoutEitherSourceThereIsNone) {
  derive({writer::record_18(), writer::record_21()});
  ASSERT_NE(nullptr, cmc_);
  EXPECT_EQ(nullptr, cmc_->record_34);
}

TEST_F(DerivedRecord, OfRecord19AloneThereIsOneBlock) {
  derive({writer::record_19({.parameter = 0xbeef,
                             .entries = {entry_1, entry_2},
                             .pairs = {{98304, 0x51525354}, {0, 0x55565758}, {65536, 3}}})});
  expect_header(72 + 32 * 2 + 8 * 3, 1);
  expect_block(0, {0, 0xbeef, 2, 3, 72, 72 + 64, 0});
  EXPECT_EQ(1.5f, block_.f32_at(72));
  EXPECT_EQ(65536.0f, block_.f32_at(76));
  EXPECT_EQ(0x11121314u, block_.u32_at(80));
  EXPECT_EQ(0x15161718u, block_.u32_at(84));
  EXPECT_EQ(0x191a1b1cu, block_.u32_at(88));
  EXPECT_EQ(0x2122, block_.u16_at(92));
  EXPECT_EQ(0x2324, block_.u16_at(94));
  EXPECT_EQ(0x2526, block_.u16_at(96));
  EXPECT_EQ(0x2728, block_.u16_at(98));
  EXPECT_EQ(0u, block_.u32_at(100));
  EXPECT_EQ(0x1p-16f, block_.f32_at(104));
  EXPECT_EQ(1.0f, block_.f32_at(108));
  EXPECT_EQ(0x31323334u, block_.u32_at(112));
  EXPECT_EQ(0x4748, block_.u16_at(130));
  EXPECT_EQ(0u, block_.u32_at(132));
  EXPECT_EQ(1.5f, block_.f32_at(136));
  EXPECT_EQ(0x51525354u, block_.u32_at(140));
  EXPECT_EQ(0.0f, block_.f32_at(144));
  EXPECT_EQ(0x55565758u, block_.u32_at(148));
  EXPECT_EQ(1.0f, block_.f32_at(152));
  EXPECT_EQ(3u, block_.u32_at(156));
}

TEST_F(DerivedRecord, OfAnEmptyRecord19ThereIsABlockWithoutAddresses) {
  derive({writer::record_19({.parameter = 7, .entries = {}, .pairs = {}})});
  expect_header(72, 1);
  expect_block(0, {0, 7, 0, 0, 0, 0, 0});
}

TEST_F(DerivedRecord, OneArrayOfRecord19LeavesTheOtherAddressNull) {
  derive({writer::record_19({.parameter = 7, .entries = {entry_2}, .pairs = {}})});
  expect_header(72 + 32, 1);
  expect_block(0, {0, 7, 1, 0, 72, 0, 0});
  derive({writer::record_19({.parameter = 7, .entries = {}, .pairs = {{0x8000, 1}}})});
  expect_header(72 + 8, 1);
  expect_block(0, {0, 7, 0, 1, 0, 72, 0});
  EXPECT_EQ(0.5f, block_.f32_at(72));
}

TEST_F(DerivedRecord, OfRecord20WithAListThereIsOneBlockWithEntriesAndRoomForATail) {
  derive({writer::record_20({.form = 1, .pairs = {{0x00014000, 0x61626364}, {0xffffffff, 5}}})});
  expect_header(80 + 8 * 2, 1);
  expect_block(0, {1, 2, 0, 2, 0, 72, 0});
  EXPECT_EQ(1.25f, block_.f32_at(72));
  EXPECT_EQ(0x61626364u, block_.u32_at(76));
  EXPECT_EQ(65536.0f, block_.f32_at(80));
  EXPECT_EQ(5u, block_.u32_at(84));
  expect_zeros_from(88);
}

TEST_F(DerivedRecord, AnEmptyListIsAListWithoutAddressesOrTail) {
  derive({writer::record_20({.form = 1, .pairs = {}})});
  expect_header(80, 1);
  expect_block(0, {1, 2, 0, 0, 0, 0, 0});
  expect_zeros_from(72);
}

TEST_F(DerivedRecord, WithoutAListThereIsATail) {
  derive({writer::record_20({.value_8 = 0x0809,
                             .value_10 = 0x0a0b,
                             .value_12 = 0xfc,
                             .value_13 = 0xfd,
                             .version = 101})});
  expect_header(80, 1);
  expect_block(0, {1, 3, 0, 0, 0, 0, 72});
  EXPECT_EQ(0x0809, block_.u16_at(72));
  EXPECT_EQ(0x0a0b, block_.u16_at(74));
  EXPECT_EQ(0xfc, block_.u16_at(76));
  EXPECT_EQ(0xfd, block_.u16_at(78));
}

TEST_F(DerivedRecord, TheTailOfAnOldRecord20EndsWithItsDefault) {
  for (const uint8_t version : {uint8_t{99}, uint8_t{100}}) {
    derive({writer::record_20({.value_12 = 1, .value_13 = 0xfd, .version = version})});
    expect_header(80, 1);
    EXPECT_EQ(1, block_.u16_at(76));
    EXPECT_EQ(8, block_.u16_at(78));
  }
}

TEST_F(DerivedRecord, AListOfAnotherFormCountsInTheSizeButATailIsWritten) {
  const std::vector<writer::fixed_pair> five(5, {0x10000, 9});
  for (const uint16_t form : {uint16_t{0}, uint16_t{2}, uint16_t{257}}) {
    derive({writer::record_20({.value_8 = 3, .form = form, .pairs = five})});
    expect_header(80 + 40, 1);
    expect_block(0, {1, 3, 0, 0, 0, 0, 72});
    EXPECT_EQ(3, block_.u16_at(72));
    expect_zeros_from(80);
  }
}

TEST_F(DerivedRecord, OfBothRecordsThereAreTwoBlocks) {
  derive({writer::record_20({.form = 1, .pairs = {{0x10000, 6}}}),
          writer::record_19({.parameter = 5, .entries = {entry_2}, .pairs = {{0x20000, 7}}})});
  expect_header(120 + 32 + 8 + 8, 2);
  expect_block(0, {0, 5, 1, 1, 112, 144, 0});
  expect_block(1, {1, 2, 0, 1, 0, 152, 0});
  EXPECT_EQ(1.0f, block_.f32_at(116));
  EXPECT_EQ(2.0f, block_.f32_at(144));
  EXPECT_EQ(7u, block_.u32_at(148));
  EXPECT_EQ(1.0f, block_.f32_at(152));
  EXPECT_EQ(6u, block_.u32_at(156));
  expect_zeros_from(160);
}

TEST_F(DerivedRecord, OfBothRecordsTheTailStandsBehindTheArrays) {
  derive({writer::record_19({.parameter = 5, .entries = {entry_2}, .pairs = {{0x20000, 7}}}),
          writer::record_20({.value_8 = 0x77, .form = 3, .pairs = {{1, 1}, {2, 2}}})});
  expect_header(120 + 32 + 8 + 16, 2);
  expect_block(0, {0, 5, 1, 1, 112, 144, 0});
  expect_block(1, {1, 3, 0, 0, 0, 0, 152});
  EXPECT_EQ(0x77, block_.u16_at(152));
  expect_zeros_from(160);
}

TEST_F(DerivedRecord, OfBothRecordsWithoutEntriesTheTailStandsBehindTheBlocks) {
  derive({writer::record_19({.entries = {}, .pairs = {}}), writer::record_20({.version = 101})});
  expect_header(120, 2);
  expect_block(0, {0, 7, 0, 0, 0, 0, 0});
  expect_block(1, {1, 3, 0, 0, 0, 0, 112});
}

TEST_F(DerivedRecord, AListThatItsRecordIsTooShortForMakesTheRecordAbsent) {
  const writer::bytes whole = writer::record_20({.form = 1, .pairs = {{1, 1}, {2, 2}}});
  // 8 n + 24 bytes keep the list's address, one less does not.
  ASSERT_GE(whole.size(), 40u);
  const writer::bytes cut = writer::resized(whole, 39);
  derive({cut});
  ASSERT_NE(nullptr, cmc_->record_20.record);
  ASSERT_EQ(nullptr, cmc_->record_20.tail);
  EXPECT_EQ(nullptr, cmc_->record_34);
  derive({writer::record_19({.parameter = 4, .entries = {}, .pairs = {}}), cut});
  expect_header(72, 1);
  expect_block(0, {0, 4, 0, 0, 0, 0, 0});
  derive({writer::resized(whole, 40)});
  expect_header(80 + 16, 1);
}

TEST_F(DerivedRecord, AMissingListThatNobodyReadsDoesNotMakeTheRecordAbsent) {
  writer::bytes empty = writer::resized(writer::record_20({.form = 1, .pairs = {}}), 23);
  derive({empty});
  ASSERT_EQ(nullptr, cmc_->record_20.tail);
  expect_header(80, 1);
  expect_block(0, {1, 2, 0, 0, 0, 0, 0});
  writer::bytes other =
      writer::resized(writer::record_20({.value_8 = 6, .form = 2, .pairs = {}}), 20);
  other.patch_u16(16, 5);
  derive({other});
  ASSERT_EQ(nullptr, cmc_->record_20.tail);
  expect_header(80 + 40, 1);
  expect_block(0, {1, 3, 0, 0, 0, 0, 72});
  EXPECT_EQ(6, block_.u16_at(72));
}

TEST_F(DerivedRecord, ALaterVersionTooShortForAListHasATail) {
  derive({writer::resized(writer::record_20({.value_8 = 6, .version = 102}), 19)});
  ASSERT_EQ(nullptr, cmc_->record_20.payload);
  expect_header(80, 1);
  expect_block(0, {1, 3, 0, 0, 0, 0, 72});
}

TEST_F(DerivedRecord, LargestCountsDoNotWrapTheSize) {
  const std::vector<writer::record_19_entry> entries(65535, entry_1);
  const std::vector<writer::fixed_pair> pairs(65535, {0x30000, 11});
  derive({writer::record_19({.parameter = 1, .entries = entries, .pairs = pairs}),
          writer::record_20({.form = 1, .pairs = pairs})});
  const uint32_t longs = 65535 * 32;
  const uint32_t shorts = 65535 * 8;
  expect_header(120 + longs + 2 * shorts, 2);
  expect_block(0, {0, 1, 65535, 65535, 112, 112 + longs, 0});
  expect_block(1, {1, 2, 0, 65535, 0, 112 + longs + shorts, 0});
  EXPECT_EQ(1.5f, block_.f32_at(112 + longs - 32));
  EXPECT_EQ(3.0f, block_.f32_at(112 + longs + 2 * shorts - 8));
  EXPECT_EQ(11u, block_.u32_at(112 + longs + 2 * shorts - 4));
}

TEST_F(DerivedRecord, FixedPointIsUnsignedAndRoundsOnce) {
  const struct {
    uint32_t fixed;
    float value;
  } cases[] = {
      {0, 0.0f},
      {1, 0x1p-16f},
      {98304, 1.5f},
      {0x7fffffff, 32768.0f},
      {0x80000000, 32768.0f},
      {0xffffff00, 0xffffffp-8f},
      {0xffffff7f, 0xffffffp-8f},  // below the middle: down
      {0xffffff80, 65536.0f},      // the middle: to the even neighbour
      {0xffffffff, 65536.0f},
      {0x01000001, 256.0f},  // the middle again: to the even neighbour below
      {0x01000003, 0x1000004p-16f},
  };
  std::vector<writer::fixed_pair> pairs;
  std::vector<writer::record_19_entry> entries;
  for (const auto& c : cases) {
    pairs.push_back({c.fixed, 0});
    entries.push_back({c.fixed, c.fixed, {}, {}});
  }
  derive({writer::record_19({.entries = entries, .pairs = pairs})});
  for (size_t i = 0; i < std::size(cases); ++i) {
    EXPECT_EQ(cases[i].value, block_.f32_at(72 + 32 * i)) << std::hex << cases[i].fixed;
    EXPECT_EQ(cases[i].value, block_.f32_at(76 + 32 * i)) << std::hex << cases[i].fixed;
    EXPECT_EQ(cases[i].value, block_.f32_at(72 + 32 * std::size(cases) + 8 * i));
  }
}

TEST_F(DerivedRecord, TheContainersOwnRecordWinsWhereverItStands) {
  const writer::bytes own = writer::record_34({.version = 101});
  for (const bool in_front : {true, false}) {
    std::vector<writer::bytes> records = {writer::record_19(), writer::record_20()};
    records.insert(in_front ? records.begin() : records.end(), own);
    derive(records);
    ASSERT_NE(nullptr, cmc_->record_34);
    EXPECT_EQ(101, block_.u8_at(4));
    EXPECT_EQ(own.size(), block_.size());
    EXPECT_EQ(4u, ledger_.live_blocks());
  }
}

TEST_F(DerivedRecord, ARefusedOwnRecordIsReplacedByADerivedOne) {
  derive(
      {writer::record_19({.entries = {}, .pairs = {}}), writer::resized(writer::record_34(), 20)});
  expect_header(72, 1);
}

TEST_F(DerivedRecord, ItIsOneBlockThatTeardownReleases) {
  derive({writer::record_19(), writer::record_20()});
  // The parsed CMC, two copies, the derived block.
  EXPECT_EQ(4u, ledger_.live_blocks());
  EXPECT_TRUE(ledger_.holds(cmc_->record_34));
  EXPECT_EQ(4u, ledger_.allocations());
  cmc_.reset();
  EXPECT_EQ(0u, ledger_.live_blocks());
}

TEST_F(DerivedRecord, TheLedgerHoldsAsManyBytesAsTheHeaderSays) {
  const writer::bytes source = writer::record_19();
  derive({source});
  EXPECT_EQ(sizeof(parsed_cmc) + source.size() + block_.u32_at(0), ledger_.live_bytes());
}

TEST_F(DerivedRecord, WithoutMemoryTheSlotStaysEmpty) {
  ledger_.fail_after(3);
  derive({writer::record_19(), writer::record_20()});
  ASSERT_NE(nullptr, cmc_);
  EXPECT_EQ(1u, ledger_.failures());
  EXPECT_EQ(nullptr, cmc_->record_34);
  EXPECT_NE(nullptr, cmc_->record_19.record);
  EXPECT_NE(nullptr, cmc_->record_20.record);
}

TEST_F(DerivedRecord, ItIsDerivedFromTheLastRecordsOfTheirKinds) {
  derive({writer::record_19({.parameter = 1, .entries = {entry_1}}),
          writer::record_19({.parameter = 2, .entries = {}, .pairs = {}})});
  expect_header(72, 1);
  expect_block(0, {0, 2, 0, 0, 0, 0, 0});
}

}  // namespace
