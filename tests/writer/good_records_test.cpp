// The kit's well-formed records are well-formed to the library: each one fills its slot.
#include <gtest/gtest.h>

#include <cstring>

#include "qo_cmc/parser.h"
#include "tests/kit/allocation_ledger.h"
#include "writer/records.h"

namespace {

bool is_empty(const parsed_cmc& cmc) {
  const parsed_cmc empty = {};
  return memcmp(&cmc, &empty, sizeof cmc) == 0;
}

// A record that fails its kind's check would stay behind, or leave its slots empty.
TEST(EveryGoodRecord, FillsASlotAndLeavesNothingBehind) {
  const kit::allocation_ledger ledger;
  for (const writer::named_record& each : writer::every_good_record()) {
    const std::vector<uint8_t> image = writer::container().add(each.content).image();
    const qo_blob blob = writer::blob_of(image);
    parsed_cmc* const cmc = qo_cmc_parser_init(&blob);
    ASSERT_NE(nullptr, cmc) << each.name;
    // A record 14 without a step is well-formed and has no payload.
    const bool fills = each.name.find("without_step") == each.name.npos;
    EXPECT_EQ(fills, !is_empty(*cmc)) << each.name;
    qo_cmc_parser_deinit(cmc);
    ASSERT_EQ(0u, ledger.live_blocks()) << each.name;
  }
  EXPECT_EQ(0u, ledger.bad_releases());
}

TEST(EverySlotlessRecord, LeavesTheSlotsEmpty) {
  for (const writer::named_record& each : writer::every_slotless_record()) {
    const std::vector<uint8_t> image = writer::container().add(each.content).image();
    const qo_blob blob = writer::blob_of(image);
    parsed_cmc* const cmc = qo_cmc_parser_init(&blob);
    ASSERT_NE(nullptr, cmc) << each.name;
    EXPECT_TRUE(is_empty(*cmc)) << each.name;
    qo_cmc_parser_deinit(cmc);
  }
}

}  // namespace
