// Kind 22 without memory, and in the place of a former record.

#include "tests/cmc_parser/record_22_parts.h"

namespace {

using kit::copy_fate;

TEST(Record22Memory, EachAllocationThatFailsEmptiesItsPartAndWhatFollows) {
  const writer::record_22_fields fields = {.list_counts = {2, 0, 1}};
  const writer::bytes record = writer::record_22(fields);
  const auto scenario = [&](kit::decoder_fixture& decoder, size_t n) {
    const kit::fake_platform platform;
    const kit::decoded result = decoder.decode(record);
    EXPECT_EQ(0u, result.code);
    EXPECT_TRUE(platform.messages().empty());
    // The structure, the grid entries, their buffer.
    if (n < 3) return kit::expect_dropped(decoder, result);
    const auto* const content = reinterpret_cast<const uint8_t*>(decoder.cmc().record_22);
    ASSERT_TRUE(content);
    const record_22_places at(fields);
    if (n == 3) {
      // Contract: without memory for the items the copy is leaked, and their count stays.
      EXPECT_EQ(copy_fate::leaked, result.fate);
      EXPECT_EQ(record.u32_at(at.counts), kit::field_at<uint32_t>(content, 16));
      EXPECT_EQ(1, kit::field_at<int32_t>(content, 20));
      EXPECT_EQ(writer::bytes().zeros(1040), kit::bytes_at(content + 24, 1040));
      EXPECT_EQ(writer::bytes().zeros(32), kit::bytes_at(content + 1072, 32));
      EXPECT_EQ(3u, decoder.owned_blocks());
      return;
    }
    EXPECT_EQ(copy_fate::released, result.fate);
    if (n == 4) {
      // No list: what stands in front of it is kept.
      EXPECT_EQ(record.u32_at(at.list), kit::field_at<uint32_t>(content, 1080));
      EXPECT_EQ(3, kit::field_at<int32_t>(content, 1084));
      EXPECT_EQ(writer::bytes().zeros(16), kit::bytes_at(content + 1088, 16));
      EXPECT_EQ(4u, decoder.owned_blocks());
      return;
    }
    // The three entries' arrays and the trailing table.
    expect_parts(decoder, record, fields,
                 {.counts = true, .items = true, .block = true, .list = n >= 9, .list_count = 3});
    EXPECT_EQ(n < 9 ? 4u : 9u, decoder.owned_blocks());
  };
  EXPECT_EQ(9u, kit::fail_each_allocation(scenario));
}

TEST(Record22Memory, AnEmptyListWithoutMemoryForItsTableIsNoList) {
  const writer::record_22_fields fields = {.grid_entries = 0, .items = 0, .list_counts = {}};
  const writer::bytes record = writer::record_22(fields);
  const uint32_t value = record.u32_at(record_22_places(fields).list);
  const auto scenario = [&](kit::decoder_fixture& decoder, size_t n) {
    const kit::decoded result = decoder.decode(record);
    if (n == 0) return kit::expect_dropped(decoder, result);
    const auto* const content = reinterpret_cast<const uint8_t*>(decoder.cmc().record_22);
    ASSERT_TRUE(content);
    EXPECT_EQ(copy_fate::released, result.fate);
    EXPECT_EQ(n == 2 ? 0 : value, kit::field_at<uint32_t>(content, 1080));
    EXPECT_EQ(n == 3, kit::address_at(content, 1088) != nullptr);
    EXPECT_EQ(n == 3, kit::address_at(content, 1096) != nullptr);
    EXPECT_EQ(n == 3 ? 3u : 1u, decoder.owned_blocks());
  };
  EXPECT_EQ(3u, kit::fail_each_allocation(scenario));
}

TEST(Record22Memory, AStructureWithALostListIsReleasedByItsSuccessorToo) {
  kit::decoder_fixture decoder;
  writer::bytes misfit = writer::record_22();
  misfit.patch_i32(record_22_places({}).list + 4, INT32_MAX);
  for (int i = 0; i < 2; ++i) {
    (void)decoder.decode(misfit);
    ASSERT_TRUE(decoder.cmc().record_22);
    EXPECT_EQ(4u, decoder.owned_blocks());
  }
}

}  // namespace
