// How much heap a container can make the parser hold.

#include <string>

#include "cmc_parser/records/kinds.h"
#include "tests/kit/container_cycle.h"
#include "tests/kit/fake_platform.h"
#include "tests/kit/module_calibration.h"
#include "writer/records.h"

namespace {

using writer::bytes;
using writer::container;

// What qo_cmc_parser_init() documents.
constexpr size_t bytes_per_byte = 24;
constexpr size_t fixed_bytes = 4096;
constexpr size_t derived_bytes = 8 * 65535;

size_t peak_of(const std::vector<uint8_t>& image) {
  kit::allocation_ledger ledger;
  kit::run_cycle(ledger, image);
  return ledger.peak_bytes();
}

void expect_bounded(const std::vector<uint8_t>& image, size_t extra = 0) {
  EXPECT_GE(bytes_per_byte * image.size() + fixed_bytes + extra, peak_of(image));
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

TEST(HeapBound, AModuleAddsItsGainPlanesAndWorkingStorageForTheLengthOfTheMerge) {
  constexpr uint16_t width = 40, height = 30;
  constexpr uint8_t sets = 20, grid_width = 9, grid_height = 7;
  kit::module_calibration module(
      sets, grid_width, grid_height, 10, [](size_t set, size_t channel, size_t r, size_t k) {
        return static_cast<uint32_t>(set + channel + r * r + k * k + 100);
      });
  kit::fake_platform platform;
  platform.answer_images_with(&module.object());
  writer::mapped_grid_fields grid;
  grid.width = width;
  grid.height = height;
  const std::vector<uint8_t> image = container()
                                         .add(writer::record_2())
                                         .add(writer::record_17())
                                         .add(writer::record_28(grid))
                                         .add(writer::record_33(grid))
                                         .image();
  const uint8_t some_image[] = {1};
  const qo_blob nvm = {some_image, 1};
  kit::allocation_ledger ledger;
  kit::run_cycle(ledger, image, &nvm);
  const size_t planes = size_t{16} * width * height * sets;
  EXPECT_LE(planes, ledger.peak_bytes());
  EXPECT_GE(
      bytes_per_byte * image.size() + fixed_bytes + planes + size_t{136} * grid_width * grid_height,
      ledger.peak_bytes());
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
