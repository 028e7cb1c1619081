// Whole cycles, from container to teardown, over every well-formed record.

#include <map>

#include "cmc_parser/records/kinds.h"
#include "tests/kit/fake_platform.h"
#include "tests/kit/foretold_cycle.h"
#include "writer/nvm_writer.h"
#include "writer/records.h"

namespace {

using writer::container;

const std::vector<writer::named_record>& good_records() {
  static const std::vector<writer::named_record> records = writer::every_good_record();
  return records;
}

uint16_t kind_of(const writer::bytes& record) { return record.u16_at(6); }

/// The largest of the good records of each kind, all in one container.
std::vector<uint8_t> one_of_each_kind() {
  std::map<uint16_t, writer::bytes> largest;
  for (const writer::named_record& record : good_records()) {
    writer::bytes& candidate = largest[kind_of(record.content)];
    if (candidate.size() < record.content.size()) candidate = record.content;
  }
  container all;
  for (const auto& [kind, record] : largest) all.add(record);
  EXPECT_EQ(std::size(qo::record_kinds), largest.size());
  return all.image();
}

kit::cycle cycle_of(const std::vector<uint8_t>& image) {
  kit::allocation_ledger ledger;
  return kit::run_cycle(ledger, image);
}

TEST(WholeContainer, EveryGoodRecordFillsItsSlotAndLeavesNothing) {
  for (const writer::named_record& record : good_records()) {
    SCOPED_TRACE(record.name);
    const kit::cycle cycle = cycle_of(container().add(record.content).image());
    ASSERT_TRUE(cycle.accepted);
    // A step of 0 says that there is nothing to keep.
    EXPECT_EQ(record.name.ends_with("without_step"), cycle.tour.owned.empty());
    for (const uint16_t kind : cycle.tour.incomplete) EXPECT_EQ(30, kind);
    EXPECT_EQ(0u, cycle.left_blocks);
  }
}

TEST(WholeContainer, EveryRecordTwiceGivesWhatItGivesOnceAndOnlyKind34LeavesTheFirst) {
  for (const writer::named_record& record : good_records()) {
    SCOPED_TRACE(record.name);
    const kit::cycle once = cycle_of(container().add(record.content).image());
    const kit::cycle twice = cycle_of(container().add(record.content).add(record.content).image());
    EXPECT_EQ(once.tour.digest, twice.tour.digest);
    EXPECT_EQ(once.tour.owned.size(), twice.tour.owned.size());
    const bool stays = kind_of(record.content) == 34;
    EXPECT_EQ(stays ? 1u : 0u, twice.left_blocks);
    EXPECT_EQ(stays ? record.content.size() : 0u, twice.left_bytes);
  }
}

TEST(WholeContainer, AllRecordsTogetherLeaveEveryRecord34ButTheLast) {
  for (const bool reversed : {false, true}) {
    std::vector<writer::named_record> records = good_records();
    if (reversed) std::reverse(records.begin(), records.end());
    container all;
    size_t of_kind_34 = 0;
    for (const writer::named_record& record : records) {
      all.add(record.content);
      if (kind_of(record.content) == 34) ++of_kind_34;
    }
    for (const writer::named_record& record : writer::every_slotless_record())
      all.add(record.content);
    ASSERT_LT(1u, of_kind_34);
    EXPECT_EQ(of_kind_34 - 1, cycle_of(all.image()).left_blocks);
  }
}

TEST(WholeContainer, RecordsWithoutASlotLeaveNoTrace) {
  container all;
  for (const writer::named_record& record : writer::every_slotless_record()) {
    SCOPED_TRACE(record.name);
    const kit::cmc_ptr cmc = kit::parse(container().add(record.content).image());
    EXPECT_TRUE(kit::is_empty(*cmc));
    all.add(record.content);
  }
  const kit::cycle cycle = cycle_of(all.image());
  EXPECT_TRUE(cycle.tour.owned.empty());
  EXPECT_EQ(0u, cycle.left_blocks);
}

// A malformed second record empties what the first has filled, and releases it; or it is passed
// over. Either way every block is accounted for, which run_cycle() and replay_records() expect.
TEST(WholeContainer, EveryRecordCutAtEveryLengthLeavesOnlyForgottenCopies) {
  for (const writer::named_record& record : good_records()) {
    SCOPED_TRACE(record.name);
    for (size_t size = 8; size < record.content.size(); ++size) {
      const writer::bytes cut = writer::resized(record.content, size);
      const std::vector<uint8_t> image = container().add(cut).image();
      kit::allocation_ledger ledger;
      const kit::allowed_leaks allowed = kit::replay_records(ledger, image);
      const kit::cycle cycle = kit::run_foretold_cycle(ledger, image);
      EXPECT_EQ(allowed.blocks, cycle.left_blocks) << size;
      EXPECT_EQ(allowed.bytes, cycle.left_bytes) << size;
      if (testing::Test::HasFailure()) return;
    }
  }
}

TEST(WholeContainer, ACutRecordBehindAGoodOneReleasesOrKeepsIt) {
  for (const writer::named_record& record : good_records()) {
    SCOPED_TRACE(record.name);
    const size_t step = record.content.size() > 512 ? 61 : 5;
    for (size_t size = 8; size < record.content.size(); size += step) {
      const std::vector<uint8_t> image = container()
                                             .add(record.content)
                                             .add(writer::resized(record.content, size))
                                             .add(writer::record_8())
                                             .image();
      kit::allocation_ledger ledger;
      const kit::allowed_leaks allowed = kit::replay_records(ledger, image);
      const kit::cycle cycle = kit::run_cycle(ledger, image);
      EXPECT_EQ(allowed.blocks, cycle.left_blocks) << size;
      EXPECT_EQ(allowed.bytes, cycle.left_bytes) << size;
      if (testing::Test::HasFailure()) return;
    }
  }
}

// The record's own size stays, so that the walk ends in front of it.
TEST(WholeContainer, AContainerCutAtEveryByteOfItsRecordHasNothingOfIt) {
  for (const writer::named_record& record : good_records()) {
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

TEST(WholeContainer, AnImageCutAtEveryLengthAndSealedAgainKeepsTheWholeRecords) {
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

/// Structures that stay in their slot without an array that there was no memory for.
bool may_lack_arrays(uint16_t kind) {
  return kind == 1 || kind == 13 || kind == 25 || kit::counts_missing_arrays(kind);
}

struct failures {
  size_t refused = 0;  ///< allocations, each in a run of its own
  size_t leaks = 0;    ///< runs that left a copy
};

/// Runs cycles with the n-th allocation refused, for every n.
failures fail_each_allocation(const std::vector<uint8_t>& image, const qo_blob* nvm = nullptr) {
  const kit::fake_platform quiet;  // several kinds log what there is no memory for
  const writer::bytes view(image);
  failures result;
  for (;; ++result.refused) {
    SCOPED_TRACE(testing::Message() << "allocation " << result.refused << " refused");
    kit::allocation_ledger ledger;
    ledger.fail_after(result.refused);
    const kit::cycle cycle = kit::run_cycle(ledger, image, nvm);
    if (ledger.failures() == 0) return result;
    EXPECT_EQ(result.refused != 0, cycle.accepted);
    for (const uint16_t kind : cycle.tour.incomplete) EXPECT_TRUE(may_lack_arrays(kind)) << kind;
    if (cycle.left_blocks == 0) continue;
    // Only record 22 forgets its copy, when its items are what there is no memory for.
    ++result.leaks;
    EXPECT_EQ(1u, cycle.left_blocks);
    size_t offset = 24;
    while (view.u16_at(offset + 6) != 22) offset += view.u32_at(offset);
    EXPECT_EQ(view.u32_at(offset), cycle.left_bytes);
  }
}

/// Whether it is a record 22 with items.
bool has_items(const writer::named_record& record) {
  return kind_of(record.content) == 22 && record.content.u8_at(4) >= 101 &&
         record.name.find("without_entries") == std::string::npos;
}

TEST(WholeContainer, EachAllocationOfEveryRecordMayFail) {
  for (const writer::named_record& record : good_records()) {
    SCOPED_TRACE(record.name);
    const failures result = fail_each_allocation(container().add(record.content).image());
    // The parsed CMC and the copy at least.
    EXPECT_LE(2u, result.refused);
    EXPECT_EQ(has_items(record) ? 1u : 0u, result.leaks);
    if (testing::Test::HasFailure()) return;
  }
}

TEST(WholeContainer, EachAllocationOfARecordThatReplacesAnotherMayFail) {
  for (const writer::named_record& record : good_records()) {
    if (kind_of(record.content) == 34) continue;
    SCOPED_TRACE(record.name);
    const failures result =
        fail_each_allocation(container().add(record.content).add(record.content).image());
    EXPECT_LE(3u, result.refused);
    EXPECT_EQ(has_items(record) ? 2u : 0u, result.leaks);
    if (testing::Test::HasFailure()) return;
  }
}

TEST(WholeContainer, EachAllocationOfAFullContainerMayFail) {
  const std::vector<uint8_t> image = one_of_each_kind();
  const writer::bytes nvm = writer::nvm_image({.grid = writer::nvm_grid{}});
  const qo_blob blob = {nvm.data(), static_cast<uint32_t>(nvm.size())};
  for (const qo_blob* const module : {static_cast<const qo_blob*>(nullptr), &blob}) {
    const failures result = fail_each_allocation(image, module);
    EXPECT_LT(100u, result.refused);
    EXPECT_EQ(1u, result.leaks);
  }
}

TEST(WholeContainer, AParsedCmcDependsOnNothingButTheContainer) {
  const std::vector<uint8_t> image = one_of_each_kind();
  const uint64_t digest = cycle_of(image).tour.digest;
  std::vector<uint8_t> under_the_other_rule = image;
  writer::seal(under_the_other_rule, writer::checksum_rule::rule_b);
  EXPECT_NE(image, under_the_other_rule);
  EXPECT_EQ(digest, cycle_of(image).tour.digest);
  EXPECT_EQ(digest, cycle_of(under_the_other_rule).tour.digest);
}

}  // namespace
