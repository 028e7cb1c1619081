// How much heap a container can make the parser hold.

#include <string>

#include "cmc_parser/records/kinds.h"
#include "tests/cmc_parser/module_grid.h"
#include "tests/kit/container_cycle.h"
#include "tests/kit/fake_platform.h"
#include "tests/kit/heap_peaks.h"
#include "tests/kit/module_calibration.h"
#include "tests/kit/row_name.h"
#include "writer/nvm_writer.h"
#include "writer/records.h"

namespace {

using writer::bytes;
using writer::container;

// What qo_cmc_parser_init() documents.
constexpr size_t bytes_per_byte = 24;
constexpr size_t fixed_bytes = 4096;
constexpr size_t served_per_byte = 36;
constexpr size_t most_blocks(size_t image_bytes) { return image_bytes * 3 / 4 + 64; }
constexpr size_t derived_bytes = 8 * 65535;
constexpr size_t merge_bytes = 5 * 1024;

constexpr uint8_t some_image[] = {1};
constexpr qo_blob some_nvm = {some_image, sizeof some_image};

size_t peak_of(const std::vector<uint8_t>& image, const qo_blob* nvm = nullptr) {
  kit::allocation_ledger ledger;
  kit::run_cycle(ledger, image, nvm);
  return ledger.peak_bytes();
}

void expect_bounded(const std::vector<uint8_t>& image, size_t extra = 0,
                    const qo_blob* nvm = nullptr) {
  kit::allocation_ledger ledger;
  kit::run_cycle(ledger, image, nvm);
  EXPECT_GE(bytes_per_byte * image.size() + fixed_bytes + extra, ledger.peak_bytes());
  const kit::heap_peaks peaks = kit::peaks_of(ledger.calls());
  EXPECT_GE(most_blocks(image.size()), peaks.blocks);
  EXPECT_GE(served_per_byte * image.size() + fixed_bytes + extra, peaks.served);
}

/// Records whose counts are as large as can be, and whose size is not.
TEST(HeapBound, CountsThatNoDataBacksReserveNothing) {
  const kit::fake_platform quiet;
  for (const uint16_t kind : qo::record_kinds) {
    for (const uint8_t version : std::initializer_list<uint8_t>{100, 101, 102, 103}) {
      for (const uint8_t fill : std::initializer_list<uint8_t>{0x01, 0x7f, 0xff}) {
        for (const uint32_t size : {8u, 16u, 24u, 32u, 64u, 128u, 1200u}) {
          SCOPED_TRACE(testing::Message() << "kind " << kind << " version " << int{version}
                                          << " fill " << int{fill} << " size " << size);
          bytes body;
          for (uint32_t i = 8; i < size; ++i) body.u8(fill);
          // Filled throughout, and with what a map, a grid or a list of nothing would look like.
          const bytes filled = writer::record(kind, version, body, {.padded = false});
          expect_bounded(container().add(filled).image(), kind == 20 ? derived_bytes : 0);
          for (const size_t zero : {8u, 12u, 14u, 20u, 24u, 28u}) {
            if (zero + 4 > size) continue;
            bytes holed = filled;
            holed.patch_u32(zero, 0);
            expect_bounded(container().add(holed).image(), kind == 20 ? derived_bytes : 0);
          }
        }
      }
    }
    if (HasFailure()) return;
  }
}

/// Each field of two bytes near a good record's start, where the counts stand, announces more than
/// the record holds.
TEST(HeapBound, NoOverstatedCountReservesRoomForItself) {
  const kit::fake_platform quiet;
  for (const writer::named_record& record : writer::every_good_record()) {
    SCOPED_TRACE(record.name);
    const size_t extra = record.content.u16_at(6) == 20 ? derived_bytes : 0;
    for (size_t offset = 8; offset + 2 <= std::min<size_t>(record.content.size(), 80); ++offset) {
      for (const uint16_t count : std::initializer_list<uint16_t>{3000, 0xffff}) {
        bytes overstated = record.content;
        overstated.patch_u16(offset, count);
        // Sides of a plane stand next to each other.
        expect_bounded(container().add(overstated).image(), extra);
        if (offset + 4 > overstated.size()) continue;
        overstated.patch_u16(offset + 2, count);
        expect_bounded(container().add(overstated).image(), extra);
      }
    }
    if (HasFailure()) return;
  }
}

struct dense_case {
  std::string name;
  bytes record;
};

/// Records whose few bytes an entry become the most heap an entry.
std::vector<dense_case> dense_cases() {
  std::vector<dense_case> cases;
  cases.push_back({"10_lights_without_samples",
                   writer::record_10({.lights = 65535, .width = 0, .version = 100})});
  cases.push_back({"11_lights_without_samples",
                   writer::record_11({.lights = 65535, .height = 0, .version = 100})});
  const std::vector<int8_t> one_plane(16, 0);
  for (const uint16_t side : std::initializer_list<uint16_t>{0, 1, 64}) {
    const writer::mapped_grid_fields fields = {
        .lights = static_cast<uint16_t>(side == 64 ? 9 : 9000),
        .width = side,
        .height = side,
        .channel_map = one_plane};
    cases.push_back(
        {"28_one_plane_at_every_site_" + std::to_string(side), writer::record_28(fields)});
    cases.push_back(
        {"33_one_plane_at_every_site_" + std::to_string(side), writer::record_33(fields)});
  }
  const std::vector<std::pair<std::string, std::string>> pairs(30000);
  cases.push_back({"1_empty_pairs", writer::record_1({.name = "", .pairs = pairs})});
  cases.push_back(
      {"3_entries", writer::record_3({.entries = std::vector<writer::record_3_entry>(4000)})});
  cases.push_back(
      {"15_entries_without_values",
       writer::record_15({.a = 0, .b = 0, .entry_counts = std::vector<uint16_t>(9000)})});
  cases.push_back({"22_tags_without_points",
                   writer::record_22({.width = 0, .grid_entries = 65535, .version = 100})});
  cases.push_back({"22_list_without_values",
                   writer::record_22({.items = 0, .list_counts = std::vector<uint32_t>(9000)})});
  cases.push_back(
      {"24_entries_without_values", writer::record_24({.counts = std::vector<uint16_t>(9000)})});
  cases.push_back({"25_entries_without_items", writer::record_25({.entries = 9000, .items = 0})});
  cases.push_back({"27_entries_of_one_plane",
                   writer::record_27({.entries = 200, .planes = 1, .width = 30, .height = 20})});
  cases.push_back(
      {"30_narrow_grid", writer::record_30({.width = 200, .height = 200, .version = 100})});
  cases.push_back(
      {"30_without_grid", writer::record_30({.width = 200, .height = 200, .version = 102})});
  cases.push_back({"35", writer::record_35({.count = 255})});
  cases.push_back({"36", writer::record_36({.count = 255})});
  // No plane is stored, and three are reserved for each entry.
  bytes planeless = writer::record_27({.entries = 20, .planes = 0, .width = 3, .height = 2});
  const uint32_t samples = static_cast<uint32_t>(planeless.size()) / (2 * 20);
  planeless.patch_u16(28, static_cast<uint16_t>(samples)).patch_u16(30, 1);
  cases.push_back({"27_entries_of_no_plane", planeless});
  return cases;
}

TEST(HeapBound, TheDensestRecordsStayBelowTheMultiple) {
  double largest = 0;
  for (const dense_case& c : dense_cases()) {
    SCOPED_TRACE(c.name);
    const std::vector<uint8_t> image = container().add(c.record).image();
    expect_bounded(image);
    expect_bounded(container().add(c.record).add(c.record).image());
    largest = std::max(largest, static_cast<double>(peak_of(image)) / double(image.size()));
  }
  // 65535 lights of 8 bytes become 152 bytes each and four tables of one sample; the copy stays.
  EXPECT_LT(20.9, largest);
  EXPECT_GT(21.1, largest);
}

TEST(HeapBound, WhatAnAllocatorAddsToABlockIsBoundedByTheNumberOfBlocks) {
  double most_served = 0;
  double most_blocks = 0;
  for (const dense_case& c : dense_cases()) {
    kit::allocation_ledger ledger;
    const std::vector<uint8_t> image = container().add(c.record).image();
    kit::run_cycle(ledger, image);
    const kit::heap_peaks peaks = kit::peaks_of(ledger.calls());
    const auto size = static_cast<double>(image.size());
    most_served = std::max(most_served, static_cast<double>(peaks.served) / size);
    most_blocks = std::max(most_blocks, static_cast<double>(peaks.blocks) / size);
  }
  // 65535 lights of 8 bytes become 152 bytes each and four blocks of 32; the copy stays.
  EXPECT_LT(35.9, most_served);
  EXPECT_GT(36.0, most_served);
  // 9000 lights of 22 bytes have 16 tables each.
  EXPECT_LT(16.0 / 22 - 0.01, most_blocks);
  EXPECT_GT(16.0 / 22 + 0.01, most_blocks);
}

TEST(HeapBound, AllTheDensestRecordsTogetherStayBelowTheMultiple) {
  container all;
  for (const dense_case& c : dense_cases()) all.add(c.record);
  expect_bounded(all.image());
}

TEST(HeapBound, EveryGoodRecordStaysBelowTheMultiple) {
  container all;
  for (const writer::named_record& record : writer::every_good_record()) {
    SCOPED_TRACE(record.name);
    expect_bounded(container().add(record.content).image());
    all.add(record.content);
  }
  expect_bounded(all.image());
}

TEST(HeapBound, TheDerivedRecordReservesItsCountOnce) {
  // A list of another form is never read, so its count may be any.
  bytes record = writer::resized(writer::record_20({.form = 2, .pairs = {}}), 20);
  record.patch_u16(16, 65535);
  kit::allocation_ledger ledger;
  {
    const kit::cmc_ptr cmc = kit::parse(container().add(record).add(record).add(record).image());
    ASSERT_NE(nullptr, cmc->record_34);
    EXPECT_EQ(sizeof(parsed_cmc) + 20 + 80 + derived_bytes, ledger.live_bytes());
  }
  EXPECT_EQ(0u, ledger.live_blocks());
  EXPECT_GE(sizeof(parsed_cmc) + 3 * 20 + 80 + derived_bytes, ledger.peak_bytes());
}

struct merge_heap_case {
  std::string name;
  uint16_t width, height, lights;
  uint8_t grid_width, grid_height;
  bool source_has_tables;
  bool every_site;    // one plane for all sixteen sites; otherwise the four of the default map
  size_t kept;        // sets that a light with tables names
  size_t most_times;  // of the container, that the merge holds
};

class MergeHeapBound : public testing::TestWithParam<merge_heap_case> {};

/// However many sets the module has, the container bounds how many blocks of gain planes there are.
TEST_P(MergeHeapBound, HoldsWithTheMostSetsThatAModuleCanHave) {
  const merge_heap_case& c = GetParam();
  constexpr uint8_t sets = 255;
  kit::module_calibration module(
      sets, c.grid_width, c.grid_height, 10, [](size_t set, size_t channel, size_t r, size_t k) {
        return static_cast<uint32_t>(set + channel + 2 * r + 3 * k + 100);
      });
  kit::fake_platform platform;
  platform.answer_images_with(&module.object());
  writer::mapped_grid_fields target = {.lights = c.lights, .width = c.width, .height = c.height};
  if (c.every_site) target.channel_map.assign(16, 0);
  writer::mapped_grid_fields source = target;
  if (!c.source_has_tables) source.channel_map.assign(16, -1);
  const std::vector<uint8_t> image = container()
                                         .add(writer::record_2())
                                         .add(writer::record_17())
                                         .add(writer::record_28(target))
                                         .add(writer::record_33(source))
                                         .image();
  kit::allocation_ledger ledger;
  kit::run_cycle(ledger, image, &some_nvm);
  const size_t block = size_t{16} * c.width * c.height;
  size_t blocks = 0;
  for (const kit::heap_call& call : ledger.calls())
    blocks += !call.is_release && call.size == block ? 1 : 0;
  EXPECT_EQ(c.kept + 1, blocks);
  EXPECT_LE(blocks * block, ledger.peak_bytes());
  const size_t working = size_t{136} * c.grid_width * c.grid_height;
  EXPECT_GE(bytes_per_byte * image.size() + fixed_bytes + merge_bytes + working,
            ledger.peak_bytes());
  EXPECT_GE(c.most_times * image.size() + fixed_bytes + merge_bytes + working, ledger.peak_bytes());
  const kit::heap_peaks peaks = kit::peaks_of(ledger.calls());
  EXPECT_GE(most_blocks(image.size()), peaks.blocks);
  EXPECT_GE(served_per_byte * image.size() + fixed_bytes + merge_bytes + working, peaks.served);
}

// By hand, in units of one large plane: a light takes one or four units of the container, its
// tables as many as the sites that they fill, and a block of gain planes 8. A kept block has a
// light of the target and one of the source, and the block for the sets that are not kept is there
// once: with one plane at all sites 16 + 8 for a target alone, and (2 x 16 + 2 x 8) / 2 for one
// light of each.
const merge_heap_case merge_heap_cases[] = {
    {"one_plane_at_every_site_and_a_source_without_tables", 180, 180, 1, 9, 7, false, true, 0, 24},
    {"one_plane_at_every_site_of_both", 180, 180, 1, 9, 7, true, true, 1, 24},
    {"many_lights", 40, 30, 40, 9, 7, true, true, 40, 21},
    {"four_planes", 90, 60, 2, 9, 7, true, false, 2, 3},
    {"a_grid_of_many_samples", 8, 8, 1, 255, 255, true, true, 1, 22},
    {"planes_of_four_samples", 2, 2, 200, 9, 7, true, true, 200, 11},
};
INSTANTIATE_TEST_SUITE_P(Table, MergeHeapBound, testing::ValuesIn(merge_heap_cases), kit::row_name);

TEST(HeapBound, ACalibrationGridAddsItsSizeOnceHoweverManyRecords30TakeIt) {
  for (const uint8_t side : std::initializer_list<uint8_t>{1, 16, 255}) {
    module_grid with_values(side, side, 3, std::vector<uint32_t>(size_t{side} * side, 900));
    module_grid without_values(side, side);
    for (module_grid* const grid : {&with_values, &without_values}) {
      kit::fake_platform platform;
      platform.answer_images_with(&grid->module());
      for (const uint8_t version : std::initializer_list<uint8_t>{100, 101, 102}) {
        SCOPED_TRACE(testing::Message() << "side " << int{side} << ", version " << int{version});
        const bytes record = writer::record_30({.items = 1,
                                                .width = 1,
                                                .height = 1,
                                                .trailing_rows = 0,
                                                .grid = {500},
                                                .version = version});
        container many;
        for (int i = 0; i < 20; ++i) many.add(record);
        const size_t grid_bytes = size_t{4} * side * side;
        expect_bounded(container().add(record).image(), grid_bytes, &some_nvm);
        expect_bounded(many.image(), grid_bytes, &some_nvm);
        // From below: the grid is there.
        EXPECT_LT(grid_bytes, peak_of(many.image(), &some_nvm));
      }
    }
  }
}

TEST(HeapBound, EveryGoodRecordBesideAModuleStaysBelowTheMultiple) {
  const bytes module = writer::nvm_image({.columns = 17, .rows = 13, .grid = writer::nvm_grid{}});
  const qo_blob nvm = {module.data(), static_cast<uint32_t>(module.size())};
  const size_t extra = 4 * 9 * 7 + merge_bytes + 136 * 17 * 13;
  container all;
  for (const writer::named_record& record : writer::every_good_record()) {
    SCOPED_TRACE(record.name);
    expect_bounded(container().add(record.content).image(), extra, &nvm);
    all.add(record.content);
  }
  expect_bounded(all.image(), extra, &nvm);
}

TEST(HeapBound, TheOthersBlockNeverGrows) {
  for (const uint32_t count : {0u, 1u, 8u, 0xffffffffu}) {
    bytes record = writer::record_722({.values = std::vector<uint64_t>(100, 7)});
    record.patch_u32(12, count);
    const std::vector<uint8_t> image = container().add(record).image();
    const qo_blob blob = writer::blob_of(image);
    kit::allocation_ledger ledger;
    parsed_cmc cmc = {};
    qo_vexb_others_parser_init(&blob, &cmc);
    EXPECT_EQ(72u, ledger.peak_bytes());
    ledger.release(cmc.others);
  }
}

TEST(HeapBound, RecordsThatReplaceEachOtherDoNotAddUp) {
  // Only one of many copies stays at a time.
  container many;
  for (int i = 0; i < 1000; ++i) many.add(writer::record_28());
  const size_t one = peak_of(container().add(writer::record_28()).image());
  EXPECT_GE(one + 2 * one, peak_of(many.image()));
}

}  // namespace
