#include "tests/cmc_parser/record_22_parts.h"

namespace {

using kit::copy_fate;

TEST(Record22, HoldsWhatItsVersionStores) {
  for (const uint8_t version : kit::every_version) {
    for (const uint16_t items : kit::u16_list{0, 1, 3}) {
      SCOPED_TRACE(testing::Message() << "version " << int{version} << ", items " << items);
      const writer::record_22_fields fields = {.items = items, .version = version};
      const writer::bytes record = writer::record_22(fields);
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(record);
      EXPECT_EQ(0u, result.code);
      EXPECT_EQ(copy_fate::released, result.fate);
      EXPECT_TRUE(decoder.holds_only({{43, decoder.cmc().record_22}}));
      const bool later = version >= 101;
      expect_parts(decoder, record, fields,
                   {.counts = later,
                    .items = later,
                    .block = later,
                    .list = version >= 102,
                    .list_count = version >= 102 ? 3 : 0});
    }
  }
}

TEST(Record22, WithoutGridEntriesAndItemsIsItsHeaderValuesAlone) {
  const writer::bytes record = writer::record_22({.grid_entries = 0, .version = 100});
  ASSERT_EQ(22u, record.size());
  kit::decoder_fixture decoder;
  (void)decoder.decode(record);
  const void* const content = decoder.cmc().record_22;
  ASSERT_TRUE(content);
  EXPECT_EQ(kit::part_of(record, 8, 12), kit::bytes_at(content, 12));
  EXPECT_EQ(writer::bytes().zeros(1104 - 12),
            kit::bytes_at(static_cast<const uint8_t*>(content) + 12, 1104 - 12));
  EXPECT_EQ(1u, decoder.owned_blocks());
}

TEST(Record22, HalvesOfAllEntriesLieInOneBuffer) {
  const writer::record_22_fields fields = {
      .width = 5, .height = 3, .grid_entries = 4, .version = 100};
  kit::decoder_fixture decoder;
  (void)decoder.decode(writer::record_22(fields));
  const void* const content = decoder.cmc().record_22;
  ASSERT_TRUE(content);
  const uint8_t* const grid = kit::address_at(content, 1064);
  const uint8_t* const buffer = kit::address_at(grid, 8);
  EXPECT_TRUE(decoder.ledger().holds(buffer));
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(buffer + 8 * 15 * i, kit::address_at(grid + 24 * i, 8));
    EXPECT_EQ(buffer + 8 * 15 * i + 4 * 15, kit::address_at(grid + 24 * i, 16));
  }
  EXPECT_EQ(3u, decoder.owned_blocks());
}

TEST(Record22, TheBlocksTailRepeatsItsMiddleAndItsOwnLast16BytesAreNotRead) {
  const writer::record_22_fields fields = {.items = 0, .version = 101};
  writer::bytes record = writer::record_22(fields);
  const record_22_places at(fields);
  for (size_t i = 0; i < 1040; ++i)
    record.patch_u8(at.block + i, static_cast<uint8_t>(i < 1024 ? i / 16 : 0xee));
  kit::decoder_fixture decoder;
  (void)decoder.decode(record);
  const auto* const content = reinterpret_cast<const uint8_t*>(decoder.cmc().record_22);
  ASSERT_TRUE(content);
  EXPECT_EQ(kit::part_of(record, at.block, 1024), kit::bytes_at(content + 24, 1024));
  EXPECT_EQ(writer::bytes().raw(kit::part_of(record, at.block + 512, 16)),
            kit::bytes_at(content + 1048, 16));
  EXPECT_EQ(32, content[1048]);
}

TEST(Record22, SidesBelowZeroMakeAGridWhenBothAre) {
  writer::bytes record = writer::record_22({.width = 3, .height = 2, .version = 100});
  record.patch_u16(12, static_cast<uint16_t>(-3)).patch_u16(14, static_cast<uint16_t>(-2));
  kit::decoder_fixture decoder;
  (void)decoder.decode(record);
  ASSERT_TRUE(decoder.cmc().record_22);
  EXPECT_EQ(-3, kit::field_at<int16_t>(decoder.cmc().record_22, 4));
  EXPECT_EQ(-2, kit::field_at<int16_t>(decoder.cmc().record_22, 6));
  const uint8_t* const grid = kit::address_at(decoder.cmc().record_22, 1064);
  EXPECT_EQ(kit::part_of(record, 24, 48), kit::bytes_at(kit::address_at(grid, 8), 48));
}

struct hostile_grid {
  int width, height, entries;
};

TEST(Record22, AGridThatDoesNotFitIsDroppedBeforeItIsAllocated) {
  const hostile_grid cases[] = {
      {-1, 1, 1},
      {1, -1, 1},
      {-32768, 32767, 65535},
      {32767, -32768, 1},
      {32767, 32767, 1},
      {-32768, -32768, 1},
      {32767, 32767, 65535},
      {-32768, -32768, 65535},
      {0, 0, 65535},
      {1, 1, 65535},
      {-3, 2, 2},
      {16384, -16384, 2},
  };
  for (const hostile_grid& c : cases) {
    SCOPED_TRACE(testing::Message() << c.width << " x " << c.height << ", " << c.entries);
    writer::bytes record = writer::record_22();
    record.patch_u16(12, static_cast<uint16_t>(c.width));
    record.patch_u16(14, static_cast<uint16_t>(c.height));
    record.patch_u16(20, static_cast<uint16_t>(c.entries));
    kit::decoder_fixture decoder;
    const size_t before = decoder.ledger().live_bytes();
    kit::expect_dropped(decoder, decoder.decode(record));
    EXPECT_GE(before + record.size() + 1104, decoder.ledger().peak_bytes());
  }
}

TEST(Record22, SidesBelowZeroDoNotMatterWithoutGridEntries) {
  const writer::record_22_fields fields = {.grid_entries = 0};
  writer::bytes record = writer::record_22(fields);
  record.patch_u16(12, 0x8000);
  kit::decoder_fixture decoder;
  (void)decoder.decode(record);
  expect_parts(decoder, record, fields,
               {.counts = true, .items = true, .block = true, .list = true, .list_count = 3});
}

TEST(Record22, AGridWithoutPointsHasTagsAlone) {
  for (const auto& [width, height] : {std::pair<int16_t, int16_t>{0, 0}, {0, -5}, {7, 0}}) {
    const writer::record_22_fields fields = {.width = width, .height = height, .grid_entries = 3};
    const writer::bytes record = writer::record_22(fields);
    kit::decoder_fixture decoder;
    (void)decoder.decode(record);
    expect_parts(decoder, record, fields,
                 {.counts = true, .items = true, .block = true, .list = true, .list_count = 3});
  }
}

TEST(Record22, CutAnywhereKeepsThePartsInFrontOfTheCut) {
  for (const uint8_t version : kit::u8_list{100, 101, 102, 103}) {
    for (const uint16_t items : kit::u16_list{0, 1}) {
      SCOPED_TRACE(testing::Message() << "version " << int{version} << ", items " << items);
      const writer::record_22_fields fields = {
          .width = 2, .height = 1, .items = items, .list_counts = {1, 0}, .version = version};
      const writer::bytes record = writer::record_22(fields);
      const record_22_places at(fields);
      kit::cut_at_every_size(
          record, [&](kit::decoder_fixture& decoder, const kit::decoded& result, size_t size) {
            if (size < at.counts) return kit::expect_dropped(decoder, result);
            EXPECT_EQ(0u, result.code);
            EXPECT_EQ(copy_fate::released, result.fate);
            expect_parts(decoder, writer::resized(record, size), fields,
                         {.counts = version >= 101 && size >= at.counts + 8,
                          .items = version >= 101 && size >= at.block,
                          .block = version >= 101 && size >= at.block + 1024,
                          .list = false,
                          .list_count = version >= 102 && size >= at.list + 8 ? 2 : 0});
          });
    }
  }
}

TEST(Record22, BytesBehindTheLastPartAreIgnored) {
  const writer::record_22_fields fields;
  const writer::bytes record =
      writer::resized(writer::record_22(fields), writer::record_22(fields).size() + 9);
  kit::decoder_fixture decoder;
  (void)decoder.decode(record);
  expect_parts(decoder, record, fields,
               {.counts = true, .items = true, .block = true, .list = true, .list_count = 3});
}

TEST(Record22, ItemCountsBelowZeroAreStoredAndMeanNone) {
  for (const int32_t count : {-1, -2, INT32_MIN}) {
    const writer::record_22_fields fields = {.items = 0};
    writer::bytes record = writer::record_22(fields);
    record.patch_i32(record_22_places(fields).counts + 4, count);
    kit::decoder_fixture decoder;
    (void)decoder.decode(record);
    expect_parts(decoder, record, fields,
                 {.counts = true, .items = true, .block = true, .list = true, .list_count = 3});
  }
}

TEST(Record22, ItemsThatDoNotFitLeaveNoCountOfThem) {
  const writer::record_22_fields fields = {.items = 1};
  for (const int32_t count : {4, 5, 65536, 4129777, 8259553, INT32_MAX}) {
    SCOPED_TRACE(count);
    writer::bytes record = writer::record_22(fields);
    record.patch_i32(record_22_places(fields).counts + 4, count);
    kit::decoder_fixture decoder;
    const size_t before = decoder.ledger().live_bytes();
    (void)decoder.decode(record);
    expect_parts(decoder, record, fields, {.counts = true});
    EXPECT_GE(before + record.size() + 2048, decoder.ledger().peak_bytes());
  }
}

TEST(Record22, ListsThatDoNotFitLeaveTheirCountAlone) {
  const writer::record_22_fields fields;
  for (const int32_t count : {-1, INT32_MIN, 4, 65536, 178956971, INT32_MAX}) {
    SCOPED_TRACE(count);
    writer::bytes record = writer::record_22(fields);
    record.patch_i32(record_22_places(fields).list + 4, count);
    kit::decoder_fixture decoder;
    const size_t before = decoder.ledger().live_bytes();
    (void)decoder.decode(record);
    expect_parts(decoder, record, fields,
                 {.counts = true, .items = true, .block = true, .list_count = count});
    EXPECT_GE(before + 2 * record.size() + 2048, decoder.ledger().peak_bytes());
  }
}

TEST(Record22, ListEntriesWithMoreValuesThanTheRecordHoldsDoNotFit) {
  const writer::record_22_fields fields = {.list_counts = {1, 1}};
  writer::bytes listless = writer::record_22(fields);
  listless.patch_i32(record_22_places(fields).list + 4, -1);
  size_t without_list = 0;
  {
    kit::decoder_fixture decoder;
    (void)decoder.decode(listless);
    without_list = decoder.ledger().allocations();
  }
  for (const size_t entry : kit::size_list{0, 1})
    for (const uint32_t count : {3u, 13u, 0x10000u, 0x40000001u, 0xffffffffu}) {
      writer::bytes record = writer::record_22(fields);
      record.patch_u32(record_22_places(fields).list + 8 + 20 * entry + 12, count);
      kit::decoder_fixture decoder;
      (void)decoder.decode(record);
      expect_parts(decoder, record, fields,
                   {.counts = true, .items = true, .block = true, .list_count = 2});
      // Without memory for so many values a list that is tried would be missing as well.
      EXPECT_EQ(without_list, decoder.ledger().allocations()) << count;
    }
}

TEST(Record22, AnEmptyListHasNoEntriesButIsThere) {
  const writer::record_22_fields fields = {.list_counts = {}};
  const writer::bytes record = writer::record_22(fields);
  kit::decoder_fixture decoder;
  (void)decoder.decode(record);
  expect_parts(decoder, record, fields,
               {.counts = true, .items = true, .block = true, .list = true, .list_count = 0});
}

}  // namespace
