// Parses with each allocation refused, alone and with all later ones: what is left after teardown
// is what the contract leaves, block by block, whatever the container and the module hold.

#include "tests/cmc_parser/allocation_faults.h"

#include <map>

#include "tests/cmc_parser/module_grid.h"
#include "tests/kit/container_cycle.h"
#include "tests/kit/fake_platform.h"
#include "tests/kit/merging_module.h"
#include "tests/kit/module_calibration.h"
#include "tests/kit/row_name.h"
#include "writer/records.h"

namespace {

using writer::bytes;
using writer::container;

/// Several kinds log what there is no memory for, and the module may be the test's.
class AllocationFaults : public testing::Test {
 protected:
  kit::fake_platform platform_;
};

constexpr uint8_t some_image[] = {1};
constexpr qo_blob some_nvm = {some_image, sizeof some_image};

/// A module with sets and a grid, as an image of the stand-in.
std::vector<uint8_t> full_module() {
  return writer::nvm_image({.columns = 7, .rows = 6, .grid = writer::nvm_grid{}}).vector();
}

std::vector<writer::named_record> every_record() {
  std::vector<writer::named_record> all = writer::every_good_record();
  for (writer::named_record& record : writer::every_slotless_record())
    all.push_back(std::move(record));
  return all;
}

TEST_F(AllocationFaults, OfEveryRecordAloneAndBesideAModule) {
  const std::vector<uint8_t> module = full_module();
  const qo_blob nvm = writer::blob_of(module);
  for (const writer::named_record& record : every_record()) {
    SCOPED_TRACE(record.name);
    const std::vector<uint8_t> image = container().add(record.content).image();
    // The parsed CMC, and the copy of a record that is not stepped over.
    EXPECT_LE(record.content.u16_at(6) > 63 ? 1u : 2u, expect_exact_leaks(image));
    expect_exact_leaks(image, &nvm);
    if (HasFailure()) return;
  }
}

TEST_F(AllocationFaults, OfEveryRecordBehindAnotherOfItsKind) {
  std::map<uint16_t, bytes> first;
  for (const writer::named_record& record : every_record()) {
    SCOPED_TRACE(record.name);
    const bytes& former = first.try_emplace(record.content.u16_at(6), record.content).first->second;
    expect_exact_leaks(container().add(former).add(record.content).add(former).image());
    if (HasFailure()) return;
  }
}

// Some of these are forgotten, and some are refused; a good one stands between them.
TEST_F(AllocationFaults, OfEveryRecordBetweenTwoThatAreCut) {
  for (const writer::named_record& record : every_record()) {
    SCOPED_TRACE(record.name);
    const size_t size = record.content.size();
    for (const size_t cut : {size_t{8}, size_t{15}, size / 2, size - 1}) {
      if (cut < 8 || cut > size) continue;
      const bytes shorter = writer::resized(record.content, cut);
      expect_exact_leaks(container().add(shorter).add(record.content).add(shorter).image());
      if (HasFailure()) return;
    }
  }
}

TEST_F(AllocationFaults, OfAllRecordsInOneContainer) {
  const std::vector<uint8_t> module = full_module();
  const qo_blob nvm = writer::blob_of(module);
  std::map<uint16_t, bytes> largest;
  for (const writer::named_record& record : every_record()) {
    bytes& candidate = largest[record.content.u16_at(6)];
    if (candidate.size() < record.content.size()) candidate = record.content;
  }
  container ascending, descending;
  for (auto record = largest.begin(); record != largest.end(); ++record)
    ascending.add(record->second);
  for (auto record = largest.rbegin(); record != largest.rend(); ++record)
    descending.add(record->second).add(writer::resized(record->second, 15));
  EXPECT_LT(100u, expect_exact_leaks(ascending.image(), &nvm));
  EXPECT_LT(100u, expect_exact_leaks(descending.image(), &nvm));
}

TEST_F(AllocationFaults, OfAllVersionsInOneContainer) {
  for (const uint8_t version : {uint8_t{100}, uint8_t{102}, uint8_t{104}}) {
    SCOPED_TRACE(int{version});
    container all;
    for (const writer::named_record& record : writer::every_good_record())
      if (record.content.u8_at(4) == version) all.add(record.content);
    EXPECT_LT(100u, expect_exact_leaks(all.image()));
  }
}

// ------------------------------------------------------------------------- the merge

struct merge_case {
  std::string name;
  std::vector<bytes> records;
  uint8_t sets = 3;
  uint8_t columns = 7;
  uint8_t rows = 6;
  bool allocates = true;
};

writer::mapped_grid_fields mapped(uint16_t lights = 2, std::vector<int8_t> map = {}) {
  writer::mapped_grid_fields fields = {.lights = lights, .width = 9, .height = 7};
  if (!map.empty()) fields.channel_map = std::move(map);
  return fields;
}
writer::fixed_grid_fields fixed(uint16_t lights = 2) {
  return {.lights = lights, .width = 9, .height = 7};
}

std::vector<bytes> with_properties(std::vector<bytes> sets, uint16_t cfa_layout = 2,
                                   uint16_t plane_order = 2, uint16_t orientation = 0) {
  sets.push_back(writer::record_2({.cfa_layout = cfa_layout}));
  sets.push_back(writer::record_17({.plane_order = plane_order, .orientation = orientation}));
  return sets;
}

std::vector<merge_case> merge_cases() {
  const std::vector<int8_t> no_plane(16, -1);
  std::vector<int8_t> sixteen(16);
  for (size_t site = 0; site < 16; ++site) sixteen[site] = static_cast<int8_t>(site);
  const bytes target = writer::record_28(mapped());
  const bytes source = writer::record_33(mapped());
  std::vector<merge_case> cases = {
      {"mapped_sets", with_properties({target, source})},
      {"fixed_sets", with_properties({writer::record_10(fixed()), writer::record_11(fixed())})},
      {"mapped_by_fixed", with_properties({target, writer::record_11(fixed())})},
      {"fixed_by_mapped", with_properties({writer::record_10(fixed()), source})},
      {"a_large_cell",
       with_properties(
           {writer::record_28(mapped(2, sixteen)), writer::record_33(mapped(2, sixteen))}, 256, 3)},
      {"a_target_without_tables",
       with_properties({writer::record_28(mapped(6, no_plane)), writer::record_33(mapped(6))})},
      {"a_layout_that_is_none", with_properties({target, source}, 4)},
      {"an_order_that_is_none", with_properties({target, source}, 2, 9)},
      {"an_orientation_that_is_none", with_properties({target, source}, 2, 2, 7)},
      {"a_source_with_fewer_lights", with_properties({target, writer::record_33(mapped(1))})},
      {"a_module_with_one_set", with_properties({target, source}), 1},
      {"a_module_without_a_set", with_properties({target, source}), 0},
      {"a_module_whose_grid_is_one_point", with_properties({target, source}), 3, 1, 1},
      {"a_module_whose_grid_is_empty", with_properties({target, source}), 3, 0, 6, false},
      {"no_record_17", {target, source, writer::record_2()}, 3, 7, 6, false},
  };
  for (const uint16_t orientation : {uint16_t{1}, uint16_t{2}, uint16_t{3}})
    cases.push_back({"orientation_" + std::to_string(orientation),
                     with_properties({target, source}, 3, 1, orientation)});
  return cases;
}

class MergeFaults : public testing::TestWithParam<merge_case> {};

TEST_P(MergeFaults, LeaveWhatTheContractLeavesAndReleaseTheHandleEachTime) {
  const merge_case& c = GetParam();
  kit::fake_platform platform;
  kit::module_calibration module(
      c.sets, c.columns, c.rows, 10, [](size_t set, size_t channel, size_t r, size_t k) {
        return static_cast<uint32_t>(40 * set + 16 * channel + 30 * r * r + 20 * k * k + 100);
      });
  platform.answer_images_with(&module.object());
  const std::vector<uint8_t> image = container().add(c.records).image();
  const size_t without_module = expect_exact_leaks(image);
  EXPECT_EQ(c.allocates, expect_exact_leaks(image, &some_nvm) > without_module);
  EXPECT_EQ(platform.parsed_images(), platform.released_handles().size());
}

INSTANTIATE_TEST_SUITE_P(Table, MergeFaults, testing::ValuesIn(merge_cases()), kit::row_name);

// ----------------------------------------------------------- grids, and the derived record

TEST_F(AllocationFaults, OfRecord30BesideAGridOfTheModule) {
  module_grid values(12, 9, 3, std::vector<uint32_t>(12 * 9, 700));
  module_grid small(3, 2, 0, std::vector<uint32_t>(3 * 2, 1));
  module_grid without_values(12, 9);
  module_grid empty(0, 0, 0, {});
  for (module_grid* const grid : {&values, &small, &without_values, &empty}) {
    platform_.answer_images_with(&grid->module());
    for (const uint8_t version : {uint8_t{99}, uint8_t{100}, uint8_t{101}, uint8_t{102}}) {
      SCOPED_TRACE(int{version});
      const bytes record = writer::record_30({.version = version});
      // The parsed CMC, the copy, the structure, items, grid and trailing values.
      EXPECT_EQ(6u, expect_exact_leaks(container().add(record).image(), &some_nvm));
      EXPECT_EQ(11u, expect_exact_leaks(container().add(record).add(record).image(), &some_nvm));
    }
  }
}

TEST_F(AllocationFaults, OfTheDerivedRecord) {
  const bytes second_forgotten = writer::resized(writer::record_20(), 15);
  const std::vector<std::vector<bytes>> sources = {
      {writer::record_19()},
      {writer::record_20()},
      {writer::record_19(), writer::record_20()},
      {writer::record_20(), writer::record_19()},
      {writer::record_20(), second_forgotten},
      {writer::record_19(), second_forgotten},
      {writer::record_19(), writer::resized(writer::record_34(), 23)},
  };
  for (const std::vector<bytes>& records : sources) {
    SCOPED_TRACE(&records - sources.data());
    expect_exact_leaks(container().add(records).image());
  }
}

TEST_F(AllocationFaults, WhileTheStackRefusesEverything) {
  platform_.answer_records_with(1);
  platform_.answer_images_with(nullptr, 1);
  const std::vector<bytes> records = {writer::record_3(),  writer::record_9(),  writer::record_31(),
                                      writer::record_34(), writer::record_34(), writer::record_22(),
                                      writer::record_19()};
  expect_exact_leaks(container().add(records).image(), &some_nvm);
}

TEST_F(AllocationFaults, WhileTheStackMakesEveryRecordEmpty) {
  platform_.decode_records_with([](void* record) {
    memset(record, 0, sizeof(uint32_t));
    return uint32_t{0};
  });
  const std::vector<bytes> records = {writer::record_9(), writer::record_34({.blocks = {}}),
                                      writer::record_34({.blocks = {}}), writer::record_32(),
                                      writer::record_34({.blocks = {}})};
  expect_exact_leaks(container().add(records).image());
}

TEST_F(AllocationFaults, OfTheOthersBlock) {
  const std::vector<uint8_t> image =
      container().add(writer::record_5()).add(writer::record_722()).image();
  const kit::read_only_image held(image);
  const qo_blob blob = held.blob();
  others_block earlier = {};
  for (const bool all_later : {false, true}) {
    for (size_t n = 0; n < 2; ++n) {
      kit::allocation_ledger ledger;
      all_later ? ledger.fail_from(n) : ledger.fail_after(n);
      parsed_cmc cmc = {};
      cmc.others = &earlier;
      qo_vexb_others_parser_init(&blob, &cmc);
      EXPECT_EQ(n == 0, cmc.others == nullptr);
      EXPECT_EQ(n, ledger.live_blocks());
      EXPECT_EQ(1 - n, ledger.failures());
      ledger.release_all();
      EXPECT_EQ(0u, ledger.bad_releases());
    }
  }
}

}  // namespace
