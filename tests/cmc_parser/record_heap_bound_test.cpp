// What a record can make the library hold, whatever its counts say: at most 24 times its own size
// and 2 KiB, its private copy included. The densest kind is 10: a light without samples takes
// 8 bytes in the record, and an entry of 152 bytes and four tables of one sample in the set, which
// with the kept copy is 21 times the record.

#include <random>

#include "cmc_parser/records/kinds.h"
#include "tests/cmc_parser/module_grid.h"
#include "tests/kit/heap_peaks.h"
#include "tests/kit/structure_bytes.h"
#include "writer/records.h"

namespace {

constexpr size_t multiple = 24;
constexpr size_t constant = 2048;
constexpr size_t served_multiple = 36;

/// The most that was held at once for this record, its copy included.
size_t peak_of(const writer::bytes& record, const calibration* module = nullptr) {
  const kit::fake_platform platform;
  kit::decoder_fixture decoder;
  const size_t before = decoder.ledger().live_bytes();
  (void)decoder.decode(record, module);
  return decoder.ledger().peak_bytes() - before;
}

void expect_bounded(const writer::bytes& record) {
  const kit::fake_platform platform;
  kit::decoder_fixture decoder;
  const size_t before = decoder.ledger().live_bytes();
  (void)decoder.decode(record);
  EXPECT_GE(multiple * record.size() + constant, decoder.ledger().peak_bytes() - before);
  // The copy is not the library's own allocation.
  EXPECT_GE(served_multiple * record.size() + constant,
            kit::peaks_of(decoder.ledger().calls()).served + kit::served_bytes(record.size()));
}

struct dense_record {
  const char* what;
  writer::bytes record;
  /// By hand: heap bytes that the densest part takes for so many bytes in the record, and what the
  /// copy adds to that.
  double times_size;
};

writer::bytes record_27_without_planes() {
  // One plane an entry must be within the record's size; the entries' blocks have room for three.
  writer::bytes body;
  body.zeros(16).u16(1000).u16(0).u16(10).u16(1).zeros(20 * 1000);
  return writer::record(27, 100, body);
}

std::vector<dense_record> dense_records() {
  const std::vector<int8_t> no_plane(16, -1);
  const std::vector<int8_t> one_plane(16, 0);
  const std::vector<std::pair<std::string, std::string>> pairs(1000);
  return {
      {"pairs of empty strings", writer::record_1({.pairs = pairs}), 1 + 16.0 / 2},
      {"entries of kind 3",
       writer::record_3({.entries = std::vector<writer::record_3_entry>(1000)}), 1 + 72.0 / 16},
      {"kind 10 without samples", writer::record_10({.lights = 1000, .width = 0, .version = 100}),
       1 + (152 + 4 * 2) / 8.0},
      {"kind 10 without samples, with gains", writer::record_10({.lights = 1000, .width = 0}),
       1 + (152 + 4 * 2) / 12.0},
      {"kind 10 of one sample", writer::record_10({.lights = 1000, .width = 1, .height = 1}),
       1 + (152 + 4 * 2) / 20.0},
      {"kind 11 without samples", writer::record_11({.lights = 1000, .height = 0, .version = 100}),
       1 + (160 + 4 * 2) / 10.0},
      {"kind 28 without planes", writer::record_28({.lights = 1000, .channel_map = no_plane}),
       1 + 152 / 22.0},
      {"kind 28, one empty plane for all sites",
       writer::record_28({.lights = 1000, .width = 0, .channel_map = one_plane}),
       1 + (152 + 16 * 2) / 22.0},
      {"kind 28, one large plane for all sites",
       writer::record_28({.lights = 1, .width = 300, .height = 300, .channel_map = one_plane}),
       1 + 16},
      {"kind 33, one large plane for all sites",
       writer::record_33({.lights = 1, .width = 300, .height = 300, .channel_map = one_plane}),
       1 + 16},
      {"kind 33, one empty plane for all sites",
       writer::record_33({.lights = 1000, .width = 0, .channel_map = one_plane}),
       1 + (160 + 16 * 2) / 22.0},
      {"kind 15, sub-table entries without elements",
       writer::record_15({.a = 0, .b = 0, .entry_counts = std::vector<uint16_t>(1000, 0)}),
       1 + (32 + 2 * 2) / 12.0},
      {"tags of kind 22", writer::record_22({.width = 0, .grid_entries = 10000, .version = 100}),
       1 + 24 / 2.0},
      {"list entries of kind 22",
       writer::record_22(
           {.grid_entries = 0, .items = 0, .list_counts = std::vector<uint32_t>(1000)}),
       1 + (24 + 4 + 24) / 40.0},
      {"kind 24, entries without values",
       writer::record_24({.counts = std::vector<uint16_t>(1000)}), 1 + (24 + 4) / 16.0},
      {"kind 25, entries without items", writer::record_25({.entries = 1000, .items = 0}),
       1 + 56 / 56.0},
      {"kind 27 without planes", record_27_without_planes(), 1 + (16 + 20 + 60) / 20.0},
      {"kind 27 of one large plane",
       writer::record_27({.entries = 1, .planes = 1, .width = 300, .height = 300, .version = 100}),
       1 + 3},
      {"kind 29", writer::record_29({.width = 100, .height = 100}), 2},
      {"kind 30, whose grid and trailing values share their bytes in version 102",
       writer::record_30({.width = 100,
                          .height = 100,
                          .trailing_rows = 100,
                          .trailing_columns = 100,
                          .version = 102}),
       1 + 2},
      {"kind 35", writer::record_35({.count = 255}), 1 + (2 * 6 + 6) / 12.0},
      {"kind 36", writer::record_36({.count = 255}), 2},
  };
}

TEST(RecordHeapBound, TheDensestRecordsTakeWhatTheirLayoutsSayAndNoMore) {
  for (const dense_record& c : dense_records()) {
    SCOPED_TRACE(c.what);
    const auto expected = static_cast<size_t>(c.times_size * static_cast<double>(c.record.size()));
    const size_t peak = peak_of(c.record);
    EXPECT_GE(expected + constant, peak);
    // From below, so that no case is empty because its record was refused.
    EXPECT_LE(expected * 9 / 10, peak);
    expect_bounded(c.record);
  }
}

TEST(RecordHeapBound, AModulesGridAddsItsOwnSizeOnce) {
  module_grid without_values(255, 255);
  module_grid with_values(255, 255, 0, std::vector<uint32_t>(255 * 255, 7));
  for (const writer::named_record& record : writer::every_good_record())
    for (const calibration* const module : {&without_values.module(), &with_values.module()})
      EXPECT_GE(multiple * record.content.size() + constant + 4 * 255 * 255,
                peak_of(record.content, module));
}

TEST(RecordHeapBound, EveryRecordWithAnyCountAltered) {
  constexpr uint16_t counts[] = {0, 1, 2, 255, 256, 0x7fff, 0x8000, 0xff80, 0xffff};
  for (const writer::named_record& record : writer::every_good_record()) {
    SCOPED_TRACE(record.name);
    for (size_t offset = 8; offset + 2 <= std::min<size_t>(record.content.size(), 80); ++offset)
      for (const uint16_t count : counts) {
        writer::bytes altered = record.content;
        expect_bounded(altered.patch_u16(offset, count));
      }
    if (HasFailure()) return;
  }
}

TEST(RecordHeapBound, EveryRecordWithAllItsCountsAltered) {
  std::mt19937 random(24);
  constexpr uint16_t counts[] = {0, 1, 2, 3, 4, 16, 255, 4096, 0x7fff, 0x8000, 0xff80, 0xffff};
  for (const writer::named_record& record : writer::every_good_record()) {
    SCOPED_TRACE(record.name);
    for (int round = 0; round < 60; ++round) {
      writer::bytes altered = record.content;
      for (size_t offset = 8; offset + 2 <= std::min<size_t>(altered.size(), 40); offset += 2)
        if (random() % 2 != 0) altered.patch_u16(offset, counts[random() % std::size(counts)]);
      expect_bounded(altered);
    }
    if (HasFailure()) return;
  }
}

TEST(RecordHeapBound, EveryKindOfAnyBytes) {
  std::mt19937 random(36);
  for (const uint16_t id : qo::record_kinds)
    for (const uint8_t version : kit::every_version)
      for (int round = 0; round < 40; ++round) {
        writer::bytes body;
        const size_t size = random() % (round < 20 ? 64 : 3000);
        // Bytes are often 0, so that some counts are small enough to fit.
        for (size_t i = 0; i < size; ++i)
          body.u8(random() % 3 != 0 ? 0 : static_cast<uint8_t>(random()));
        expect_bounded(writer::record(id, version, body, {.padded = false}));
      }
}

}  // namespace
