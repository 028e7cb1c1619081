// Kind 20: kept, with a default written into old versions and a list in new ones.
#include <gtest/gtest.h>

#include "tests/kit/decoder_fixture.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;
using writer::bytes;

// 56 bytes; 0x0d at byte 13, the list's count at byte 16.
bytes sample(uint16_t count, uint8_t version) {
  return writer::plain_record(20, {.size = 56, .version = version})
      .patch_u8(13, 0x0d)
      .patch_u16(16, count);
}

TEST(Record20, EveryRecordBelow16BytesIsLeakedAndNotWrittenTo) {
  for (const uint8_t version : std::vector<uint8_t>{0, 99, 100, 101, 102, 104, 255}) {
    for (size_t size = 8; size < 16; ++size) {
      SCOPED_TRACE(testing::Message() << "version " << int{version} << ", size " << size);
      const bytes record = writer::resized(sample(1, version), size);
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(record);
      EXPECT_EQ(0u, result.code);
      EXPECT_EQ(copy_fate::leaked, result.fate);
      EXPECT_TRUE(decoder.empty());
      EXPECT_EQ(record, kit::bytes_at(result.copy, size));
    }
  }
}

TEST(Record20, UpToVersion100Byte13Becomes8AndThereIsNoList) {
  for (const uint8_t version : std::vector<uint8_t>{0, 99, 100}) {
    for (size_t size = 16; size <= 56; ++size) {
      SCOPED_TRACE(testing::Message() << "version " << int{version} << ", size " << size);
      const bytes record = writer::resized(sample(1, version), size);
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(record);
      EXPECT_EQ(0u, result.code);
      ASSERT_EQ(copy_fate::kept, result.fate);
      EXPECT_TRUE(decoder.holds_only({{40, result.copy}}));
      EXPECT_EQ(bytes(record).patch_u8(13, 8), kit::bytes_at(result.copy, size));
    }
  }
}

TEST(Record20, Version101KeepsByte13AndHasNoList) {
  for (size_t size = 16; size <= 56; ++size) {
    SCOPED_TRACE(size);
    const bytes record = writer::resized(sample(1, 101), size);
    kit::decoder_fixture decoder;
    const kit::decoded result = decoder.decode(record);
    ASSERT_EQ(copy_fate::kept, result.fate);
    EXPECT_TRUE(decoder.holds_only({{40, result.copy}}));
    EXPECT_EQ(record, kit::bytes_at(result.copy, size));
  }
}

TEST(Record20, FromVersion102TheListIsFoundWhenItFits) {
  const struct {
    uint16_t count;
    size_t least_tail;  ///< 8 n + 24
  } cases[] = {{0, 24}, {1, 32}, {2, 40}, {4, 56}};
  for (const auto& c : cases) {
    for (const uint8_t version : std::vector<uint8_t>{102, 103, 104, 255}) {
      for (size_t size = 16; size <= 56; ++size) {
        SCOPED_TRACE(testing::Message()
                     << c.count << " entries, version " << int{version} << ", size " << size);
        const bytes record = writer::resized(sample(c.count, version), size);
        kit::decoder_fixture decoder;
        const kit::decoded result = decoder.decode(record);
        EXPECT_EQ(0u, result.code);
        ASSERT_EQ(copy_fate::kept, result.fate);
        std::vector<kit::slot_value> expected = {{40, result.copy}};
        if (size >= 20) expected.emplace_back(41, result.copy + 14);
        if (size >= c.least_tail) expected.emplace_back(42, result.copy + 20);
        EXPECT_TRUE(decoder.holds_only(expected));
        EXPECT_EQ(record, kit::bytes_at(result.copy, size));
        EXPECT_EQ(0u, decoder.ledger().allocations());
      }
    }
  }
}

TEST(Record20, TheLargestListIsNotCutTo16Bits) {
  // 8 * 65535 + 24
  const bytes whole =
      writer::plain_record(20, {.size = 524304, .version = 102}).patch_u16(16, 65535);
  for (const size_t size : std::vector<size_t>{524303, 524304}) {
    SCOPED_TRACE(size);
    kit::decoder_fixture decoder;
    const kit::decoded result = decoder.decode(writer::resized(whole, size));
    ASSERT_EQ(copy_fate::kept, result.fate);
    EXPECT_EQ(size == 524304 ? result.copy + 20 : nullptr, decoder.cmc().record_20.tail);
  }
}

}  // namespace
