// Whole cycles, from container to teardown, over every well-formed record.

#include <map>

#include "cmc_parser/records/kinds.h"
#include "tests/kit/container_cycle.h"
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
