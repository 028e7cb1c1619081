// What teardown releases, and what it deliberately leaves.

#include "tests/kit/container_cycle.h"
#include "writer/records.h"

namespace {

/// A parsed CMC that the test fills by hand; every block is in the ledger.
class Teardown : public testing::Test {
 protected:
  Teardown() : cmc_(make<parsed_cmc>()) {}
  ~Teardown() override { EXPECT_EQ(0u, ledger_.bad_releases()); }

  template <typename T>
  T* make(size_t count = 1) {
    T* const block = static_cast<T*>(calloc(count, sizeof(T)));
    ledger_.adopt(block, count * sizeof(T));
    return block;
  }
  /// A record copy with `count` in the u16 at byte 24.
  record_header* make_copy(uint16_t count = 0) {
    uint8_t* const block = make<uint8_t>(64);
    memcpy(block + 24, &count, sizeof count);
    return reinterpret_cast<record_header*>(block);
  }

  kit::allocation_ledger ledger_;
  parsed_cmc* cmc_;
};

TEST_F(Teardown, NullIsAccepted) {
  qo_cmc_parser_deinit(nullptr);
  EXPECT_EQ(1u, ledger_.live_blocks());
  qo_cmc_parser_deinit(cmc_);
  EXPECT_EQ(0u, ledger_.live_blocks());
}

TEST_F(Teardown, OfAContainerWithoutRecordsReleasesTheBlockAlone) {
  qo_cmc_parser_deinit(cmc_);
  const std::vector<uint8_t> image = writer::container().image();
  kit::cmc_ptr cmc = kit::parse(image);
  EXPECT_EQ(1u, ledger_.live_blocks());
  cmc.reset();
  EXPECT_EQ(0u, ledger_.live_blocks());
}

TEST_F(Teardown, EntriesOfRecord25WithoutTheRecordStay) {
  cmc_->record_25.entries = make<record_25_entry>(2);
  record_25_entry* const entries = cmc_->record_25.entries;
  qo_cmc_parser_deinit(cmc_);
  EXPECT_TRUE(ledger_.holds(entries));
  EXPECT_EQ(1u, ledger_.live_blocks());
}

TEST_F(Teardown, Record25WithoutEntriesIsReleased) {
  cmc_->record_25.record = make_copy();
  qo_cmc_parser_deinit(cmc_);
  EXPECT_EQ(0u, ledger_.live_blocks());
}

TEST_F(Teardown, ARecord27StructureWithoutItsCopyStays) {
  cmc_->record_27 = make<record_27_content>();
  cmc_->record_27->entries = make<record_27_entry>(1);
  cmc_->record_27->entries[0].head = make<uint8_t>(20);
  const record_27_content* const content = cmc_->record_27;
  qo_cmc_parser_deinit(cmc_);
  EXPECT_TRUE(ledger_.holds(content));
  EXPECT_EQ(3u, ledger_.live_blocks());
}

TEST_F(Teardown, Record27CountsItsEntriesInTheCopy) {
  cmc_->record_27 = make<record_27_content>();
  cmc_->record_27->record = make_copy(2);
  cmc_->record_27->entries = make<record_27_entry>(3);
  for (size_t i = 0; i < 3; ++i) {
    cmc_->record_27->entries[i].head = make<uint8_t>(20);
    cmc_->record_27->entries[i].planes = make<uint16_t>(6);
  }
  const uint8_t* const uncounted_head = cmc_->record_27->entries[2].head;
  const uint16_t* const uncounted_planes = cmc_->record_27->entries[2].planes;
  qo_cmc_parser_deinit(cmc_);
  EXPECT_EQ(2u, ledger_.live_blocks());
  EXPECT_TRUE(ledger_.holds(uncounted_head));
  EXPECT_TRUE(ledger_.holds(uncounted_planes));
}

TEST_F(Teardown, Record27WithoutEntriesIsReleased) {
  cmc_->record_27 = make<record_27_content>();
  cmc_->record_27->record = make_copy(4);
  qo_cmc_parser_deinit(cmc_);
  EXPECT_EQ(0u, ledger_.live_blocks());
}

TEST_F(Teardown, ASetWithoutLightsReleasesTheSetAlone) {
  for (lens_shading_set** const slot : {&cmc_->lens_shading, &cmc_->lens_shading_ext}) {
    *slot = make<lens_shading_set>();
    (*slot)->light_count = 9;
  }
  qo_cmc_parser_deinit(cmc_);
  EXPECT_EQ(0u, ledger_.live_blocks());
}

TEST_F(Teardown, EachSetHasItsOwnFormOfLight) {
  cmc_->lens_shading = make<lens_shading_set>();
  cmc_->lens_shading->light_count = 3;
  cmc_->lens_shading->lights = make<lens_shading_light>(3);
  for (size_t light = 0; light < 3; ++light)
    for (auto& row : cmc_->lens_shading->lights[light].tables)
      for (uint16_t*& table : row) table = make<uint16_t>(4);
  cmc_->lens_shading_ext = make<lens_shading_set>();
  cmc_->lens_shading_ext->light_count = 3;
  cmc_->lens_shading_ext->lights_ext = make<lens_shading_light_ext>(3);
  for (size_t light = 0; light < 3; ++light) {
    cmc_->lens_shading_ext->lights_ext[light].aux = 0xffff;
    for (auto& row : cmc_->lens_shading_ext->lights_ext[light].tables)
      for (uint16_t*& table : row) table = make<uint16_t>(4);
  }
  EXPECT_EQ(1u + 2u * (1u + 1u + 48u), ledger_.live_blocks());
  qo_cmc_parser_deinit(cmc_);
  EXPECT_EQ(0u, ledger_.live_blocks());
}

TEST_F(Teardown, ASubTableWithoutEntriesIsReleased) {
  cmc_->record_15.sub_table = make<record_15_sub_table>();
  cmc_->record_15.sub_table->count = 5;
  qo_cmc_parser_deinit(cmc_);
  EXPECT_EQ(0u, ledger_.live_blocks());
}

TEST_F(Teardown, MissingPartsOfRecord22AreNoneToRelease) {
  cmc_->record_22 = make<record_22_content>();
  cmc_->record_22->grid_count = 4;
  cmc_->record_22->item_count = 5;
  cmc_->record_22->list_count = 6;
  qo_cmc_parser_deinit(cmc_);
  EXPECT_EQ(0u, ledger_.live_blocks());
}

TEST_F(Teardown, ANegativeListCountOfRecord22CountsNoEntries) {
  cmc_->record_22 = make<record_22_content>();
  cmc_->record_22->list_count = -1;
  cmc_->record_22->list = make<record_22_list_entry>(1);
  cmc_->record_22->list_tail = make<uint8_t>(1);
  qo_cmc_parser_deinit(cmc_);
  EXPECT_EQ(0u, ledger_.live_blocks());
}

TEST_F(Teardown, MissingPartsOfTheOtherStructuresAreNoneToRelease) {
  cmc_->record_24 = make<record_24_content>();
  cmc_->record_24->count = 3;
  cmc_->record_29 = make<record_29_content>();
  cmc_->record_30 = make<record_30_content>();
  cmc_->record_35.first = make<record_35_first>();
  cmc_->record_35.second = make<record_35_second>();
  cmc_->record_36 = make<record_36_content>();
  qo_cmc_parser_deinit(cmc_);
  EXPECT_EQ(0u, ledger_.live_blocks());
}

TEST_F(Teardown, TheOthersBlockAndTheUnusedSlotsAreLeftAlone) {
  cmc_->others = make<others_block>();
  cmc_->unused_6 = make<uint8_t>(8);
  cmc_->unused_7 = make<uint8_t>(8);
  const parsed_cmc before = *cmc_;
  qo_cmc_parser_deinit(cmc_);
  EXPECT_TRUE(ledger_.holds(before.others));
  EXPECT_TRUE(ledger_.holds(before.unused_6));
  EXPECT_TRUE(ledger_.holds(before.unused_7));
  EXPECT_EQ(3u, ledger_.live_blocks());
}

TEST_F(Teardown, BorrowedAddressesAreNotReleased) {
  // All of them point into one block, which is not the library's to release.
  uint8_t* const copy = make<uint8_t>(64);
  cmc_->general.name = reinterpret_cast<const char*>(copy);
  cmc_->record_6.payload = copy;
  cmc_->lsc_grid.blocks = cmc_->lsc_grid.first_table = cmc_->lsc_grid.light_gains = copy;
  cmc_->record_14.payload = copy;
  cmc_->record_15.body = cmc_->record_15.section_1 = copy;
  cmc_->record_15.section_2 = cmc_->record_15.section_3 = copy;
  cmc_->record_16.payload = cmc_->record_17.payload = copy;
  cmc_->record_18.entries = cmc_->record_18.tail = copy;
  cmc_->record_19.entries = cmc_->record_19.tail = copy;
  cmc_->record_20.payload = cmc_->record_20.tail = cmc_->record_25.payload = copy;
  qo_cmc_parser_deinit(cmc_);
  EXPECT_TRUE(ledger_.holds(copy));
  EXPECT_EQ(1u, ledger_.live_blocks());
}

}  // namespace
