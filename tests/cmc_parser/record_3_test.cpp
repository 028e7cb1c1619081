// Kind 3: the older form of kind 31, converted to it.
#include <gtest/gtest.h>

#include <array>
#include <bit>

#include "tests/kit/decoder_fixture.h"
#include "tests/kit/fake_platform.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;
using writer::bytes;

constexpr size_t slot = 55;

const record_31_table& table_of(kit::decoder_fixture& decoder) {
  return *reinterpret_cast<const record_31_table*>(decoder.cmc().record_31);
}

TEST(Record3, IsConvertedToARecord31) {
  for (const uint8_t version : std::vector<uint8_t>{0, 99, 100, 101, 104, 255}) {
    SCOPED_TRACE(int{version});
    kit::decoder_fixture decoder;
    const size_t before = decoder.ledger().live_bytes();
    const kit::decoded result = decoder.decode(writer::record_3({.version = version}));
    EXPECT_EQ(0u, result.code);
    EXPECT_EQ(copy_fate::released, result.fate);
    const auto* const block = reinterpret_cast<const uint8_t*>(decoder.cmc().record_31);
    ASSERT_TRUE(decoder.ledger().holds(block));
    EXPECT_TRUE(decoder.holds_only({{slot, block}}));
    EXPECT_EQ(1u, decoder.owned_blocks());
    EXPECT_EQ(before + 168, decoder.ledger().live_bytes());

    bytes expected;  // 72 * 2 + 24 bytes
    expected.u32(168).u8(100).u8(0).u16(31).u32(2).u32(0);
    expected.u64(reinterpret_cast<uintptr_t>(block) + 24);
    expected.u32(0x3f800001).f32(1.5f).f32(1.0f).f32(1.5f).f32(0).f32(0);
    expected.f32(0.00390625f).f32(255.99609375f).zeros(40);
    expected.u32(0x40490fdb).f32(65536.0f).f32(0).f32(0.5f).f32(0).f32(0);
    expected.f32(2.0f).f32(2.5f).zeros(40);
    EXPECT_EQ(expected, kit::bytes_at(block, 168));
  }
}

TEST(Record3, Its16Point16ValuesAreUnsignedAndRoundedOnce) {
  const std::pair<uint32_t, float> values[] = {{0, 0.0f},
                                               {1, 0x1p-16f},
                                               {0x7fffffff, 32768.0f},
                                               {0x80000000, 32768},
                                               {0xff000000, 65280.0f},
                                               {0x00010000, 1.0f},
                                               {0x01000001, 256.0f},
                                               {0x01000003, 0x1.000004p8f}};
  std::vector<writer::record_3_entry> entries;
  for (const auto& [stored, value] : values) entries.push_back({0, stored, {0, 0, 0, 0}});
  kit::decoder_fixture decoder;
  decoder.decode(writer::record_3({.entries = entries}));
  ASSERT_TRUE(decoder.cmc().record_31);
  for (size_t i = 0; i < std::size(values); ++i)
    EXPECT_EQ(values[i].second, table_of(decoder).entries[i][1]) << i;
}

TEST(Record3, AWordIsCopiedBitForBitAlsoWhenItIsASignallingNan) {
  kit::decoder_fixture decoder;
  decoder.decode(writer::record_3({.entries = {{0x7fa00001, 0, {0, 0, 0, 0}}}}));
  ASSERT_TRUE(decoder.cmc().record_31);
  EXPECT_EQ(bytes().u32(0x7fa00001), kit::bytes_at(table_of(decoder).entries, 4));
}

TEST(Record3, WithoutEntriesIsATableOfNone) {
  kit::decoder_fixture decoder;
  const bytes record = writer::record_3({.entries = {}});
  ASSERT_EQ(16u, record.size());
  EXPECT_EQ(copy_fate::released, decoder.decode(record).fate);
  ASSERT_TRUE(decoder.cmc().record_31);
  EXPECT_EQ(24u, decoder.cmc().record_31->size);
  EXPECT_EQ(0u, table_of(decoder).count);
}

TEST(Record3, ACountThatWrapsIn32BitsIsRefusedWithoutAnAllocation) {
  for (const uint32_t count :
       {3u, 0x0fffffffu, 0x10000000u, 0x10000001u, 0x1fffffffu, 0xffffffffu}) {
    SCOPED_TRACE(count);
    kit::decoder_fixture decoder;
    const kit::decoded result = decoder.decode(writer::record_3().patch_u32(8, count));
    EXPECT_EQ(0u, result.code);
    EXPECT_EQ(copy_fate::released, result.fate);
    EXPECT_TRUE(decoder.empty());
    EXPECT_EQ(0u, decoder.ledger().allocations());
  }
}

TEST(Record3, AfterARecord31IsReleasedWithoutEffect) {
  kit::fake_platform platform;
  platform.answer_records_with(0);
  kit::decoder_fixture decoder;
  const kit::decoded newer = decoder.decode(writer::record_31());
  const kit::decoded older = decoder.decode(writer::record_3());
  EXPECT_EQ(0u, older.code);
  EXPECT_EQ(copy_fate::released, older.fate);
  EXPECT_TRUE(decoder.holds_only({{slot, newer.copy}}));
  EXPECT_EQ(writer::record_31(), kit::bytes_at(newer.copy, writer::record_31().size()));
}

TEST(Record3, IsReplacedByARecord31) {
  kit::fake_platform platform;
  platform.answer_records_with(0);
  kit::decoder_fixture decoder;
  decoder.decode(writer::record_3());
  const kit::decoded newer = decoder.decode(writer::record_31());
  EXPECT_EQ(copy_fate::kept, newer.fate);
  EXPECT_TRUE(decoder.holds_only({{slot, newer.copy}}));
  EXPECT_EQ(1u, decoder.owned_blocks());
}

TEST(Record3, StaysWhenTheContainerLibraryRefusesARecord31) {
  kit::fake_platform platform;
  platform.answer_records_with(77);
  kit::decoder_fixture decoder;
  decoder.decode(writer::record_3());
  const record_header* const older = decoder.cmc().record_31;
  EXPECT_EQ(77u, decoder.decode(writer::record_31()).code);
  EXPECT_TRUE(decoder.holds_only({{slot, older}}));
}

}  // namespace
