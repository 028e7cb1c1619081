// Well-formed records and containers cut at every byte, with sizes and checksums made right again.

#include "tests/kit/foretold_cycle.h"
#include "writer/records.h"

namespace {

using writer::container;

/// What is left is what replaying its records by cmc_parse() leaves.
void expect_only_forgotten_copies(const std::vector<uint8_t>& image) {
  kit::allocation_ledger ledger;
  const kit::allowed_leaks allowed = kit::replay_records(ledger, image);
  const kit::cycle cycle = kit::run_foretold_cycle(ledger, image);
  EXPECT_EQ(allowed.blocks, cycle.left_blocks);
  EXPECT_EQ(allowed.bytes, cycle.left_bytes);
}

// A malformed second record empties what the first has filled, and releases it; or it is passed
// over. Either way every block is accounted for, which run_cycle() and replay_records() expect.
TEST(CutRecords, EveryRecordCutAtEveryLengthLeavesOnlyForgottenCopies) {
  for (const writer::named_record& record : writer::every_good_record()) {
    SCOPED_TRACE(record.name);
    for (size_t size = 8; size < record.content.size(); ++size) {
      const writer::bytes cut = writer::resized(record.content, size);
      const std::vector<uint8_t> image = container().add(cut).image();
      SCOPED_TRACE(size);
      expect_only_forgotten_copies(image);
      if (testing::Test::HasFailure()) return;
    }
  }
}

TEST(CutRecords, ACutRecordBehindAGoodOneReleasesOrKeepsIt) {
  for (const writer::named_record& record : writer::every_good_record()) {
    SCOPED_TRACE(record.name);
    const size_t step = record.content.size() > 512 ? 61 : 5;
    for (size_t size = 8; size < record.content.size(); size += step) {
      const std::vector<uint8_t> image = container()
                                             .add(record.content)
                                             .add(writer::resized(record.content, size))
                                             .add(writer::record_8())
                                             .image();
      SCOPED_TRACE(size);
      expect_only_forgotten_copies(image);
      if (testing::Test::HasFailure()) return;
    }
  }
}

// The record's own size stays, so that the walk ends in front of it.
TEST(CutRecords, AContainerCutAtEveryByteOfItsRecordHasNothingOfIt) {
  for (const writer::named_record& record : writer::every_good_record()) {
    SCOPED_TRACE(record.name);
    const std::vector<uint8_t> whole = container().add(record.content).image();
    for (size_t size = container::header_size; size < whole.size(); ++size) {
      std::vector<uint8_t> cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size));
      writer::seal(cut,
                   size % 2 == 0 ? writer::checksum_rule::rule_a : writer::checksum_rule::rule_b);
      kit::allocation_ledger ledger;
      EXPECT_EQ(0u, kit::run_foretold_cycle(ledger, cut).tour.owned.size()) << size;
      EXPECT_EQ(1u, ledger.allocations()) << size;
      if (testing::Test::HasFailure()) return;
    }
  }
}

TEST(CutRecords, AnImageCutAtEveryLengthAndSealedAgainKeepsTheWholeRecords) {
  const std::vector<uint8_t> image = container()
                                         .add(writer::record_8({.size = 16}))
                                         .add(writer::record_5({.size = 17}))
                                         .add(writer::record_7({.size = 18}))
                                         .image();
  ASSERT_EQ(24u + 16 + 17 + 18, image.size());
  for (size_t size = 24; size <= image.size(); ++size) {
    std::vector<uint8_t> cut(image.begin(), image.begin() + static_cast<ptrdiff_t>(size));
    writer::seal(cut);
    const kit::cmc_ptr cmc = kit::parse(cut);
    ASSERT_NE(nullptr, cmc) << size;
    EXPECT_EQ(size >= 40, cmc->record_8 != nullptr) << size;
    EXPECT_EQ(size >= 57, cmc->record_5 != nullptr) << size;
    EXPECT_EQ(size >= 75, cmc->record_7 != nullptr) << size;
  }
}

}  // namespace
