// Kinds 9, 31, 32 and 34: the container library decodes them in place.
#include <gtest/gtest.h>

#include "tests/kit/decoder_fixture.h"
#include "tests/kit/fake_platform.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;
using writer::bytes;

struct platform_kind {
  const char* name;
  uint16_t id;
  size_t slot;
  bool replaced_is_released;
};

const platform_kind kinds[] = {
    {"record_9", 9, 13, true},
    {"record_31", 31, 55, true},
    {"record_32", 32, 56, true},
    {"record_34", 34, 58, false},
};

// The u32 at byte 8 is 2.
bytes sample(uint16_t id, uint32_t size = 24) {
  const bytes whole = writer::plain_record(id, {.size = 24}).patch_u32(8, 2);
  return writer::resized(whole, size);
}

class PlatformRecord : public testing::TestWithParam<platform_kind> {
 protected:
  const platform_kind& kind() const { return GetParam(); }
  kit::fake_platform platform_;
};

TEST_P(PlatformRecord, IsKeptAsTheContainerLibraryLeftIt) {
  platform_.decode_records_with([](void* record) {
    static_cast<uint8_t*>(record)[12] = 0xd1;
    static_cast<uint8_t*>(record)[23] = 0xd2;
    return uint32_t{0};
  });
  kit::decoder_fixture decoder;
  const kit::decoded result = decoder.decode(sample(kind().id));
  EXPECT_EQ(0u, result.code);
  EXPECT_EQ(copy_fate::kept, result.fate);
  EXPECT_EQ(1u, platform_.decoded_records());
  EXPECT_TRUE(decoder.holds_only({{kind().slot, result.copy}}));
  EXPECT_EQ(sample(kind().id).patch_u8(12, 0xd1).patch_u8(23, 0xd2),
            kit::bytes_at(result.copy, 24));
  EXPECT_EQ(0u, decoder.ledger().allocations());
}

TEST_P(PlatformRecord, OfAnyVersionAndLengthGoesToTheContainerLibrary) {
  platform_.answer_records_with(0);
  size_t calls = 0;
  for (const uint8_t version : std::vector<uint8_t>{0, 99, 100, 101, 102, 103, 104, 255}) {
    for (uint32_t size = 8; size <= 24; ++size) {
      SCOPED_TRACE(testing::Message() << "version " << int{version} << ", size " << size);
      kit::decoder_fixture decoder;
      const bytes record = sample(kind().id, size).patch_u8(4, version);
      const kit::decoded result = decoder.decode(record);
      EXPECT_EQ(0u, result.code);
      EXPECT_EQ(copy_fate::kept, result.fate);
      EXPECT_EQ(++calls, platform_.decoded_records());
      EXPECT_TRUE(decoder.holds_only({{kind().slot, result.copy}}));
      EXPECT_EQ(record, kit::bytes_at(result.copy, size));
    }
  }
}

TEST_P(PlatformRecord, ARefusalIsPassedOnAndLeavesTheCopyToTheCaller) {
  for (const uint32_t code : {1u, 4u, 8u, 0x100u, 0x80000000u, 0xffffffffu}) {
    SCOPED_TRACE(code);
    platform_.answer_records_with(code);
    kit::decoder_fixture decoder;
    const kit::decoded result = decoder.decode(sample(kind().id));
    EXPECT_EQ(code, result.code);
    EXPECT_EQ(copy_fate::left_to_caller, result.fate);
    EXPECT_TRUE(decoder.empty());
  }
}

TEST_P(PlatformRecord, ARefusedSecondRecordLeavesTheFirstInItsSlot) {
  platform_.answer_records_with(0);
  kit::decoder_fixture decoder;
  const kit::decoded first = decoder.decode(sample(kind().id));
  platform_.answer_records_with(3);
  const kit::decoded second = decoder.decode(sample(kind().id));
  EXPECT_EQ(3u, second.code);
  EXPECT_EQ(copy_fate::left_to_caller, second.fate);
  EXPECT_TRUE(decoder.holds_only({{kind().slot, first.copy}}));
  EXPECT_TRUE(decoder.ledger().holds(first.copy));
}

TEST_P(PlatformRecord, TheSlotIsTouchedOnlyAfterTheContainerLibraryWasAsked) {
  platform_.answer_records_with(0);
  kit::decoder_fixture decoder;
  const kit::decoded first = decoder.decode(sample(kind().id));
  bool untouched = false;
  platform_.decode_records_with([&](void* record) {
    untouched = decoder.holds_only({{kind().slot, first.copy}}) &&
                decoder.ledger().holds(first.copy) && record != first.copy;
    return uint32_t{0};
  });
  const kit::decoded second = decoder.decode(sample(kind().id));
  EXPECT_TRUE(untouched);
  EXPECT_EQ(copy_fate::kept, second.fate);
  if (!kind().replaced_is_released) decoder.expect_leak(first.copy);
}

TEST_P(PlatformRecord, AnySizeThatTheContainerLibraryWritesIsSafe) {
  for (const uint32_t stored : {8u, 9u, 10u, 11u, 12u, 24u}) {
    for (const uint32_t rewritten : {0u, 4u, 8u, 11u, 12u, 24u, 25u, 0xffffffffu}) {
      SCOPED_TRACE(testing::Message() << "size " << stored << ", rewritten to " << rewritten);
      platform_.decode_records_with([rewritten](void* record) {
        memcpy(record, &rewritten, sizeof rewritten);
        return uint32_t{0};
      });
      kit::decoder_fixture decoder;
      const bytes record = sample(kind().id, stored);
      const kit::decoded result = decoder.decode(record);
      EXPECT_EQ(copy_fate::kept, result.fate);
      EXPECT_EQ(bytes(record).patch_u32(0, rewritten), kit::bytes_at(result.copy, stored));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, PlatformRecord, testing::ValuesIn(kinds), kit::row_name);

TEST(Record34, ItsBlockCountIsClampedTo4) {
  const std::pair<uint32_t, uint32_t> counts[] = {
      {0, 0}, {1, 1}, {3, 3}, {4, 4}, {5, 4}, {9, 4}, {256, 4}, {0x80000000, 4}, {0xffffffff, 4}};
  kit::fake_platform platform;
  platform.answer_records_with(0);
  for (const auto& [stored, kept] : counts) {
    for (const uint32_t size : {12u, 24u}) {
      SCOPED_TRACE(testing::Message() << "count " << stored << ", size " << size);
      kit::decoder_fixture decoder;
      const bytes record = sample(34, size).patch_u32(8, stored);
      const kit::decoded result = decoder.decode(record);
      EXPECT_EQ(copy_fate::kept, result.fate);
      EXPECT_EQ(bytes(record).patch_u32(8, kept), kit::bytes_at(result.copy, size));
    }
  }
}

TEST(Record34, TheClampComesAfterTheContainerLibraryDecoded) {
  uint32_t seen = 0;
  kit::fake_platform platform;
  platform.decode_records_with([&](void* record) {
    memcpy(&seen, static_cast<uint8_t*>(record) + 8, sizeof seen);
    const uint32_t decoded = 7;
    memcpy(static_cast<uint8_t*>(record) + 8, &decoded, sizeof decoded);
    return uint32_t{0};
  });
  kit::decoder_fixture decoder;
  const kit::decoded result = decoder.decode(sample(34).patch_u32(8, 9));
  EXPECT_EQ(9u, seen);
  EXPECT_EQ(bytes().u32(4), kit::bytes_at(result.copy + 8, 4));
}

TEST(Record34, ARefusedRecordIsNotClamped) {
  std::vector<uint8_t> block = sample(34).patch_u32(8, 9).vector();
  kit::fake_platform platform;
  platform.answer_records_with(1);
  parsed_cmc cmc{};
  EXPECT_EQ(1u, cmc_parse(block.data(), &cmc, nullptr));
  EXPECT_EQ(9u, bytes(block).u32_at(8));
}

TEST(Record34, WhatTheContainerLibraryCutBelow12BytesIsNotClamped) {
  kit::fake_platform platform;
  platform.decode_records_with([](void* record) {
    const uint32_t size = 11;
    memcpy(record, &size, sizeof size);
    return uint32_t{0};
  });
  kit::decoder_fixture decoder;
  const kit::decoded result = decoder.decode(sample(34).patch_u32(8, 9));
  EXPECT_EQ(copy_fate::kept, result.fate);
  EXPECT_EQ(bytes().u32(9), kit::bytes_at(result.copy + 8, 4));
}

TEST(Record34, OtherKindsAreNotClamped) {
  kit::fake_platform platform;
  platform.answer_records_with(0);
  for (const uint16_t id : std::vector<uint16_t>{9, 31, 32}) {
    SCOPED_TRACE(id);
    kit::decoder_fixture decoder;
    const kit::decoded result = decoder.decode(sample(id).patch_u32(8, 9));
    EXPECT_EQ(bytes().u32(9), kit::bytes_at(result.copy + 8, 4));
  }
}

}  // namespace
