#include "tests/kit/structure_bytes.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;

constexpr size_t slot = 61;

TEST(Record36, HoldsItsFirst14BytesAndTwoArrays) {
  for (const uint8_t version : kit::every_version) {
    for (const uint8_t count : kit::u8_list{0, 1, 3, 127, 128, 255}) {
      SCOPED_TRACE(testing::Message() << "version " << int{version} << ", count " << int{count});
      const writer::bytes record = writer::record_36({.count = count, .version = version});
      ASSERT_EQ(14u + 6u * count, record.size());
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(record);
      EXPECT_EQ(0u, result.code);
      EXPECT_EQ(copy_fate::released, result.fate);
      const void* const content = decoder.cmc().record_36;
      ASSERT_TRUE(content);
      EXPECT_TRUE(decoder.holds_only({{slot, content}}));
      EXPECT_EQ(kit::part_of(record, 0, 14).zeros(2), kit::bytes_at(content, 16));
      EXPECT_EQ(kit::part_of(record, 14, 2u * count),
                kit::bytes_at(kit::address_at(content, 16), 2u * count));
      EXPECT_EQ(kit::part_of(record, 14 + 2u * count, 4u * count),
                kit::bytes_at(kit::address_at(content, 24), 4u * count));
      EXPECT_TRUE(decoder.ledger().holds(kit::address_at(content, 16)));
      EXPECT_TRUE(decoder.ledger().holds(kit::address_at(content, 24)));
      EXPECT_EQ(3u, decoder.owned_blocks());
    }
  }
}

TEST(Record36, CutAnywhereIsDropped) {
  for (const uint8_t count : kit::u8_list{0, 1, 4, 255})
    kit::cut_at_every_size(writer::record_36({.count = count}),
                           [](kit::decoder_fixture& decoder, const kit::decoded& result, size_t) {
                             kit::expect_dropped(decoder, result);
                             EXPECT_EQ(0u, decoder.ledger().allocations());
                           });
}

TEST(Record36, BytesBehindTheArraysAreIgnored) {
  const writer::bytes record = writer::record_36();
  kit::decoder_fixture decoder;
  (void)decoder.decode(writer::resized(record, record.size() + 3));
  EXPECT_EQ(3u, decoder.owned_blocks());
}

TEST(Record36, TheLastRecordWins) {
  const writer::bytes second = writer::record_36({.count = 9, .filler = 71});
  kit::decoder_fixture decoder;
  (void)decoder.decode(writer::record_36());
  (void)decoder.decode(second);
  EXPECT_EQ(3u, decoder.owned_blocks());
  EXPECT_EQ(kit::part_of(second, 0, 14), kit::bytes_at(decoder.cmc().record_36, 14));
}

TEST(Record36, AMalformedRecordAfterAGoodOneLeavesNothingOfIt) {
  for (const size_t size : kit::size_list{8, 13, 14, 31}) {
    kit::decoder_fixture decoder;
    (void)decoder.decode(writer::record_36());
    kit::expect_dropped(decoder, decoder.decode(writer::resized(writer::record_36(), size)));
  }
}

TEST(Record36, WithoutMemoryTheSlotIsEmptyAndNothingIsLogged) {
  const auto scenario = [](kit::decoder_fixture& decoder, size_t n) {
    const kit::fake_platform platform;
    decoder.ledger().fail_never();
    (void)decoder.decode(writer::record_36({.count = 1}));
    decoder.ledger().fail_after(n);
    const kit::decoded result = decoder.decode(writer::record_36());
    EXPECT_EQ(0u, result.code);
    EXPECT_EQ(copy_fate::released, result.fate);
    EXPECT_EQ(n < 3, static_cast<bool>(decoder.empty()));
    EXPECT_EQ(n < 3 ? 0u : 3u, decoder.owned_blocks());
    EXPECT_TRUE(platform.messages().empty());
  };
  // The structure and its two arrays; the former record is gone in every case.
  EXPECT_EQ(3u, kit::fail_each_allocation(scenario));
}

}  // namespace
