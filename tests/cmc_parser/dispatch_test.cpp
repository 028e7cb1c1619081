#include <gtest/gtest.h>

#include <vector>

#include "cmc_parser/records/kinds.h"
#include "tests/kit/decoder_fixture.h"
#include "tests/kit/fake_platform.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;

TEST(Dispatch, KindsWithoutADecoderAreRefusedAndLeftToTheCaller) {
  std::vector<uint16_t> ids = {64, 100, 255, 256, 257, 512 + 5, 722, 32768 + 8, 65535};
  for (uint16_t id = 0; id <= 63; ++id)
    if (!qo::is_record_kind(id)) ids.push_back(id);
  for (const uint16_t id : ids) {
    SCOPED_TRACE(testing::Message() << "id " << id);
    kit::fake_platform platform;
    kit::decoder_fixture decoder;
    const kit::decoded result = decoder.decode(writer::plain_record(id));
    EXPECT_EQ(8u, result.code);
    EXPECT_EQ(copy_fate::left_to_caller, result.fate);
    EXPECT_TRUE(decoder.empty());
    EXPECT_EQ(0u, decoder.ledger().allocations());
    EXPECT_EQ(0u, platform.decoded_records());
    EXPECT_TRUE(platform.messages().empty());
  }
}

TEST(Dispatch, EveryKindIsHandled) {
  for (const writer::named_record& sample : writer::every_good_record()) {
    SCOPED_TRACE(sample.name);
    kit::fake_platform platform;
    kit::decoder_fixture decoder;
    EXPECT_EQ(0u, decoder.decode(sample.content).code);
    EXPECT_TRUE(platform.messages().empty());
  }
}

TEST(Dispatch, OnlyKinds9And31And32And34GoToTheContainerLibraryAndOnce) {
  for (const writer::named_record& sample : writer::every_good_record()) {
    SCOPED_TRACE(sample.name);
    const uint16_t id = sample.content.u16_at(6);
    kit::fake_platform platform;
    platform.answer_records_with(0);
    kit::decoder_fixture decoder;
    EXPECT_EQ(0u, decoder.decode(sample.content).code);
    EXPECT_EQ(id == 9 || id == 31 || id == 32 || id == 34 ? 1u : 0u, platform.decoded_records());
  }
}

TEST(Dispatch, AKindIsTakenFromBothOfItsBytes) {
  // 0x0108 has the low byte of kind 8, which accepts anything.
  kit::decoder_fixture decoder;
  EXPECT_EQ(8u, decoder.decode(writer::plain_record(0x0108)).code);
  EXPECT_TRUE(decoder.empty());
}

TEST(Dispatch, ANullRecordIsRefused) {
  kit::decoder_fixture decoder;
  EXPECT_EQ(8u, cmc_parse(nullptr, &decoder.cmc(), nullptr));
  EXPECT_TRUE(decoder.empty());
}

TEST(Dispatch, ANullParsedCmcLeavesTheRecordToTheCaller) {
  for (const writer::named_record& sample : writer::every_good_record()) {
    SCOPED_TRACE(sample.name);
    kit::fake_platform platform;
    kit::allocation_ledger ledger;
    std::vector<uint8_t> block = sample.content.vector();
    EXPECT_EQ(8u, cmc_parse(block.data(), nullptr, nullptr));
    EXPECT_EQ(sample.content.vector(), block);
    EXPECT_EQ(0u, platform.decoded_records());
    EXPECT_EQ(0u, ledger.allocations());
    EXPECT_EQ(0u, ledger.bad_releases()) << "the copy was released";
  }
  EXPECT_EQ(8u, cmc_parse(nullptr, nullptr, nullptr));
}

TEST(Dispatch, ASizeBelowTheHeaderIsRefusedAndLeftToTheCaller) {
  // The block ends where its size says, but for the size field itself: there is no more to read.
  for (uint32_t size = 0; size < 8; ++size) {
    for (const uint16_t id : std::vector<uint16_t>{5, 8, 24, 31}) {
      SCOPED_TRACE(testing::Message() << "size " << size << ", id " << id);
      writer::bytes header;
      header.u32(size).u8(100).u8(0).u16(id);
      kit::fake_platform platform;
      kit::decoder_fixture decoder;
      const size_t block_size = size < 4 ? 4 : size;
      const kit::decoded result = decoder.decode(writer::bytes().raw(header.data(), block_size));
      EXPECT_EQ(8u, result.code);
      EXPECT_EQ(copy_fate::left_to_caller, result.fate);
      EXPECT_TRUE(decoder.empty());
      EXPECT_EQ(0u, platform.decoded_records());
    }
  }
}

TEST(Dispatch, AHeaderAloneIsEnoughForAKindThatAsksForNoMore) {
  kit::decoder_fixture decoder;
  const kit::decoded result = decoder.decode(writer::record_8({.size = 8}));
  EXPECT_EQ(0u, result.code);
  EXPECT_EQ(copy_fate::kept, result.fate);
}

TEST(Dispatch, NoKindReadsBehindAHeaderThatStandsAlone) {
  for (uint16_t id = 0; id <= 63; ++id) {
    for (const uint8_t version : std::vector<uint8_t>{0, 100, 101, 255}) {
      SCOPED_TRACE(testing::Message() << "id " << id << ", version " << int{version});
      kit::fake_platform platform;
      platform.answer_records_with(0);
      kit::decoder_fixture decoder;
      const uint32_t code =
          decoder.decode(writer::plain_record(id, {.size = 8, .version = version})).code;
      EXPECT_EQ(qo::is_record_kind(id) && id != 24 ? 0u : 8u, code);
    }
  }
}

}  // namespace
