#include <algorithm>
#include <optional>

#include "tests/cmc_parser/module_grid.h"
#include "tests/kit/structure_bytes.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;

constexpr size_t slot = 52;

/// Where the parts of a record stand, and the least sizes that they ask for.
struct places {
  explicit places(const writer::bytes& record)
      : items_size(size_t{6} * record.u16_at(16)),
        values(size_t{record.u16_at(22)} * record.u16_at(24)),
        trailing_size(size_t{4} * record.u16_at(26) * record.u16_at(28)),
        grid(30 + items_size),
        trailing(grid + value_size(record.u8_at(4)) * values) {}
  static size_t value_size(uint8_t version) {
    if (version == 101) return 4;
    return version <= 100 ? 2 : 0;
  }
  static size_t padded(size_t end) { return (end + 7) / 8 * 8; }
  size_t size_for_items() const { return std::max<size_t>(padded(30 + items_size), 32); }
  size_t size_for_grid() const { return padded(grid + 4 * values); }
  size_t size_for_trailing() const { return padded(trailing + trailing_size); }

  size_t items_size;
  size_t values;
  size_t trailing_size;
  size_t grid;
  size_t trailing;
};

/// The grid that a record makes without a module.
writer::bytes grid_of(const writer::bytes& record) {
  const places at(record);
  writer::bytes grid;
  for (size_t i = 0; i < at.values; ++i) {
    if (record.u8_at(4) <= 100)
      grid.u32(record.u16_at(at.grid + 2 * i));
    else
      grid.u32(record.u8_at(4) == 101 ? record.u32_at(at.grid + 4 * i) : 0);
  }
  return grid;
}

void expect_array(const char* what, const void* array,
                  const std::optional<writer::bytes>& expected) {
  SCOPED_TRACE(what);
  ASSERT_EQ(expected.has_value(), array != nullptr);
  if (array != nullptr) {
    EXPECT_EQ(*expected, kit::bytes_at(array, expected->size()));
  }
}

/// Which arrays are there; `grid` replaces the record's own.
struct parts {
  bool items = true;
  bool has_grid = true;
  bool trailing = true;
  std::optional<writer::bytes> grid{};
  std::optional<std::pair<uint16_t, uint16_t>> grid_size{};
};

void expect_parts(kit::decoder_fixture& decoder, const writer::bytes& record,
                  const parts& expected) {
  const auto* const content = reinterpret_cast<const uint8_t*>(decoder.cmc().record_30);
  ASSERT_TRUE(content);
  EXPECT_TRUE(decoder.holds_only({{slot, content}}));
  writer::bytes head =
      kit::part_of(writer::resized(record, std::max<size_t>(record.size(), 30)), 0, 30);
  head.patch_u32(0, record.u32_at(0));
  if (expected.grid_size)
    head.patch_u16(22, expected.grid_size->first).patch_u16(24, expected.grid_size->second);
  EXPECT_EQ(head.zeros(2), kit::bytes_at(content, 32));

  std::optional<writer::bytes> items;
  std::optional<writer::bytes> grid;
  std::optional<writer::bytes> trailing;
  if (expected.items) items = kit::part_of(record, 30, places(record).items_size);
  if (expected.has_grid) grid = expected.grid ? *expected.grid : grid_of(record);
  if (expected.trailing)
    trailing = kit::part_of(record, places(record).trailing, places(record).trailing_size);
  expect_array("items", kit::address_at(content, 32), items);
  expect_array("grid", kit::address_at(content, 40), grid);
  expect_array("trailing values", kit::address_at(content, 48), trailing);
  EXPECT_EQ(1u + expected.items + expected.has_grid + expected.trailing, decoder.owned_blocks());
}

TEST(Record30, TakesItsGridInTheFormOfItsVersion) {
  for (const uint8_t version : kit::every_version) {
    SCOPED_TRACE(testing::Message() << "version " << int{version});
    const writer::bytes record = writer::record_30({.version = version});
    kit::decoder_fixture decoder;
    const kit::decoded result = decoder.decode(record);
    EXPECT_EQ(0u, result.code);
    EXPECT_EQ(copy_fate::released, result.fate);
    expect_parts(decoder, record, {});
  }
}

TEST(Record30, CutAnywhereKeepsThePartsInFrontOfTheCut) {
  for (const uint8_t version : kit::u8_list{99, 100, 101, 102, 103})
    for (const uint16_t trailing_rows : kit::u16_list{1, 9}) {
      SCOPED_TRACE(testing::Message() << "version " << int{version});
      const writer::bytes record =
          writer::record_30({.items = 3, .trailing_rows = trailing_rows, .version = version});
      const places at(record);
      kit::cut_at_every_size(
          record, [&](kit::decoder_fixture& decoder, const kit::decoded& result, size_t size) {
            EXPECT_EQ(0u, result.code);
            EXPECT_EQ(copy_fate::released, result.fate);
            const bool has_grid = size >= at.size_for_grid();
            expect_parts(decoder, writer::resized(record, size),
                         {.items = size >= at.size_for_items(),
                          .has_grid = has_grid,
                          .trailing = has_grid && size >= at.size_for_trailing()});
          });
    }
}

struct bound_case {
  const char* what;
  uint16_t items, width, height, rows, columns;
  uint8_t version;
  size_t for_items, for_grid, for_trailing;
};

TEST(Record30, EachPartNeedsItsPaddedEnd) {
  const bound_case cases[] = {
      {"one item ends at 36, padded 40", 1, 1, 1, 1, 1, 101, 40, 40, 48},
      {"three items end at 48; the grid is tested with 4 bytes a value", 3, 3, 2, 1, 1, 100, 48, 72,
       72},
      {"the same with a grid of 24 bytes", 3, 3, 2, 1, 1, 101, 48, 72, 80},
      {"the same without a grid in the record", 3, 3, 2, 1, 1, 102, 48, 72, 72},
      {"long trailing values after no grid", 3, 3, 2, 5, 3, 102, 48, 72, 112},
      {"no values at all", 1, 0, 65535, 65535, 0, 101, 40, 40, 40},
  };
  for (const bound_case& c : cases) {
    SCOPED_TRACE(c.what);
    const writer::bytes record = writer::record_30({.items = c.items,
                                                    .width = c.width,
                                                    .height = c.height,
                                                    .trailing_rows = c.rows,
                                                    .trailing_columns = c.columns,
                                                    .version = c.version});
    for (const size_t bound : {c.for_items, c.for_grid, c.for_trailing})
      for (const size_t size : {bound - 1, bound}) {
        SCOPED_TRACE(size);
        kit::decoder_fixture decoder;
        (void)decoder.decode(writer::resized(record, size));
        ASSERT_TRUE(decoder.cmc().record_30);
        EXPECT_EQ(size >= c.for_items, decoder.cmc().record_30->items != nullptr);
        EXPECT_EQ(size >= c.for_grid, decoder.cmc().record_30->grid != nullptr);
        EXPECT_EQ(size >= c.for_trailing, decoder.cmc().record_30->trailing != nullptr);
      }
  }
}

TEST(Record30, WithoutItemsThereIsNothingBehindTheHead) {
  writer::bytes record = writer::record_30();
  record.patch_u16(16, 0);
  kit::decoder_fixture decoder;
  (void)decoder.decode(record);
  expect_parts(decoder, record, {.items = false, .has_grid = false, .trailing = false});
}

TEST(Record30, CountsBeyondTheRecordAreNotAllocated) {
  for (const uint8_t version : kit::u8_list{100, 101, 102}) {
    writer::bytes many_items = writer::record_30({.version = version});
    many_items.patch_u16(16, 65535);
    writer::bytes wide_grid = writer::record_30({.version = version});
    wide_grid.patch_u16(22, 65535).patch_u16(24, 65535);
    writer::bytes many_trailing = writer::record_30({.version = version});
    many_trailing.patch_u16(26, 65535).patch_u16(28, 65535);
    for (const writer::bytes& record : {many_items, wide_grid, many_trailing}) {
      kit::decoder_fixture decoder;
      const size_t before = decoder.ledger().live_bytes();
      (void)decoder.decode(record);
      ASSERT_TRUE(decoder.cmc().record_30);
      EXPECT_EQ(nullptr, decoder.cmc().record_30->trailing);
      EXPECT_GE(before + record.size() + 56 + 12 + 24, decoder.ledger().peak_bytes());
    }
  }
}

/// What a failed allocation leaves of the record, in the order of the allocations.
struct failure_case {
  const char* what;
  bool structure, items, grid, trailing;
  std::vector<kit::log_message> messages;
};

TEST(Record30, EachAllocationThatFailsEmptiesItsPartAndWhatFollows) {
  // Contract: the copy into the missing trailing values is the only one that is tried, and logs.
  const failure_case cases[] = {
      {"no memory for the structure", false, false, false, false, {}},
      {"no memory for the items", true, false, false, false, {}},
      {"no memory for the grid", true, true, false, false, {}},
      {"no memory for the trailing values",
       true,
       true,
       true,
       false,
       {{0, "memcpy_s: nullptr received\n"}}},
      {"memory for everything", true, true, true, true, {}},
  };
  module_grid grid(8, 6, 0, std::vector<uint32_t>(48, 9));
  const calibration* const modules[] = {nullptr, &grid.module()};
  for (const calibration* const module : modules)
    for (const uint8_t version : kit::u8_list{100, 102}) {
      const writer::bytes record = writer::record_30({.version = version});
      const auto scenario = [&](kit::decoder_fixture& decoder, size_t n) {
        const failure_case& c = cases[std::min(n, std::size(cases) - 1)];
        SCOPED_TRACE(testing::Message() << c.what << ", version " << int{version});
        const kit::fake_platform platform;
        const kit::decoded result = decoder.decode(record, module);
        EXPECT_EQ(0u, result.code);
        EXPECT_EQ(c.messages, platform.messages());
        if (!c.structure) return kit::expect_dropped(decoder, result);
        EXPECT_EQ(copy_fate::released, result.fate);
        parts expected = {.items = c.items, .has_grid = c.grid, .trailing = c.trailing};
        if (module != nullptr && c.grid) {
          expected.grid = writer::bytes().zeros(4 * 48);
          expected.grid_size = {8, 6};
        }
        expect_parts(decoder, record, expected);
      };
      EXPECT_EQ(4u, kit::fail_each_allocation(scenario));
    }
}

// --------------------------------------------------- beside a calibration grid

TEST(Record30, AGridThatDoesNotCountIsIgnored) {
  module_grid absent(8, 6, 0, std::vector<uint32_t>(48, 9));
  absent.module().grid_present = 0;
  module_grid missing(8, 6, 0, std::vector<uint32_t>(48, 9));
  missing.module().grid = nullptr;
  for (const calibration* const module : {&absent.module(), &missing.module()})
    for (const uint8_t version : kit::every_version) {
      const writer::bytes record = writer::record_30({.version = version});
      kit::decoder_fixture decoder;
      (void)decoder.decode(record, module);
      expect_parts(decoder, record, {});
    }
}

TEST(Record30, OutsideVersion101AGridGivesItsSizeAndNoValues) {
  for (const uint8_t flag : kit::u8_list{1, 2, 255})
    for (const uint8_t version : kit::every_version) {
      if (version == 101) continue;
      SCOPED_TRACE(testing::Message() << "version " << int{version});
      module_grid module(8, 6, 0, std::vector<uint32_t>(48, 1000));
      module.module().grid_present = flag;
      const writer::bytes record = writer::record_30({.version = version});
      kit::decoder_fixture decoder;
      (void)decoder.decode(record, &module.module());
      // The trailing values stand where they stand without the grid.
      expect_parts(
          decoder, record,
          {.grid = writer::bytes().zeros(4 * 48), .grid_size = {{uint16_t{8}, uint16_t{6}}}});
    }
}

TEST(Record30, CutBesideAGridKeepsThePartsInFrontOfTheCut) {
  module_grid module(3, 1, 0, {1, 2, 3});
  for (const uint8_t version : kit::u8_list{100, 101, 102}) {
    writer::bytes record = writer::record_30({.version = version});
    const places at(record);
    // A centre value of 0 leaves the grid zero in version 101 too.
    if (version == 101) record.patch_u32(at.grid + 4 * 4, 0);
    kit::cut_at_every_size(
        record,
        [&](kit::decoder_fixture& decoder, const kit::decoded&, size_t size) {
          parts expected = {
              .items = size >= at.size_for_items(),
              .has_grid = size >= at.size_for_grid(),
              .trailing = size >= std::max(at.size_for_grid(), at.size_for_trailing())};
          if (expected.has_grid) {
            expected.grid = writer::bytes().zeros(12);
            expected.grid_size = {3, 1};
          }
          expect_parts(decoder, writer::resized(record, size), expected);
        },
        &module.module());
  }
}

TEST(Record30, AGridWithoutValuesLeavesTheRecordsOwn) {
  for (const auto& [width, height] :
       {std::pair<uint8_t, uint8_t>{0, 0}, {1, 1}, {3, 2}, {9, 7}, {255, 255}, {0, 255}}) {
    for (const uint8_t version : kit::every_version) {
      SCOPED_TRACE(testing::Message()
                   << int{width} << " x " << int{height} << ", version " << int{version});
      module_grid module(width, height);
      const writer::bytes record = writer::record_30({.version = version});
      kit::decoder_fixture decoder;
      const kit::fake_platform platform;
      const size_t before = decoder.ledger().live_bytes();
      (void)decoder.decode(record, &module.module());
      // The array holds the larger of the two grids; what the record does not fill is zero.
      const size_t values = std::max<size_t>(size_t{width} * height, 6);
      expect_parts(decoder, record, {.grid = grid_of(record).zeros_to_size(4 * values)});
      EXPECT_EQ(before + 56 + 12 + 4 * values + 16, decoder.ledger().live_bytes());
      EXPECT_TRUE(platform.messages().empty());
    }
  }
}

}  // namespace
