#include "tests/kit/structure_bytes.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;

TEST(Record25, EachEntryHasTwoAddressesAnd36BytesBetweenThem) {
  for (const uint8_t version : kit::every_version) {
    for (const uint16_t items : kit::u16_list{0, 1, 3}) {
      SCOPED_TRACE(testing::Message() << "version " << int{version} << ", items " << items);
      const writer::bytes record =
          writer::record_25({.entries = 3, .items = items, .version = version});
      const size_t skipped = version > 100 ? 24 : 20;
      ASSERT_EQ(12u + 4 * items + 3 * (skipped + 36 + 36u * items), record.size());
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(record);
      EXPECT_EQ(0u, result.code);
      ASSERT_EQ(copy_fate::kept, result.fate);
      EXPECT_EQ(record, kit::bytes_at(result.copy, record.size()));
      const auto* const entries = reinterpret_cast<const uint8_t*>(decoder.cmc().record_25.entries);
      ASSERT_TRUE(entries);
      EXPECT_TRUE(decoder.holds_only({{47, result.copy}, {48, result.copy + 12}, {49, entries}}));
      size_t offset = 12u + 4 * items;
      for (size_t i = 0; i < 3; ++i) {
        const uint8_t* const entry = entries + 56 * i;
        EXPECT_EQ(result.copy + offset, kit::address_at(entry, 0));
        EXPECT_EQ(kit::part_of(record, offset + skipped, 36), kit::bytes_at(entry + 8, 36));
        EXPECT_EQ(0u, kit::field_at<uint32_t>(entry, 44));
        EXPECT_EQ(result.copy + offset + skipped + 36, kit::address_at(entry, 48));
        offset += skipped + 36 + 36u * items;
      }
      EXPECT_EQ(2u, decoder.owned_blocks());
    }
  }
}

TEST(Record25, WithoutEntriesIsKeptAsItStands) {
  for (const uint16_t items : kit::u16_list{0, 5}) {
    const writer::bytes record = writer::record_25({.entries = 0, .items = items});
    ASSERT_EQ(12u + 4 * items, record.size());
    kit::decoder_fixture decoder;
    const kit::decoded result = decoder.decode(record);
    EXPECT_EQ(copy_fate::kept, result.fate);
    EXPECT_EQ(result.copy + 12, decoder.cmc().record_25.payload);
    EXPECT_TRUE(decoder.cmc().record_25.entries);
  }
}

TEST(Record25, EntriesGrowBy4BytesAboveVersion100) {
  const writer::bytes record = writer::record_25({.entries = 2, .items = 1, .version = 100});
  for (const uint8_t version : kit::u8_list{99, 100, 101, 102}) {
    writer::bytes relabelled = record;
    relabelled.patch_u8(4, version);
    kit::decoder_fixture decoder;
    EXPECT_EQ(version <= 100 ? copy_fate::kept : copy_fate::released,
              decoder.decode(relabelled).fate);
    EXPECT_EQ(version > 100, static_cast<bool>(decoder.empty()));
  }
}

TEST(Record25, CountsBeyondTheRecordAreDroppedBeforeTheyAreAllocated) {
  for (const auto& [entries, items] :
       {std::pair{65535, 65535}, {65535, 0}, {0, 65535}, {1, 65535}, {65535, 1}}) {
    SCOPED_TRACE(testing::Message() << entries << " entries, " << items << " items");
    writer::bytes record = writer::record_25();
    record.patch_u16(8, static_cast<uint16_t>(entries));
    record.patch_u16(10, static_cast<uint16_t>(items));
    kit::decoder_fixture decoder;
    kit::expect_dropped(decoder, decoder.decode(record));
    EXPECT_EQ(0u, decoder.ledger().allocations());
  }
}

TEST(Record25, WithoutMemoryForTheEntriesTheCopyIsKeptAllTheSame) {
  const auto scenario = [](kit::decoder_fixture& decoder, size_t n) {
    const kit::fake_platform platform;
    const kit::decoded result = decoder.decode(writer::record_25());
    EXPECT_EQ(0u, result.code);
    EXPECT_EQ(copy_fate::kept, result.fate);
    EXPECT_EQ(result.copy + 12, decoder.cmc().record_25.payload);
    EXPECT_EQ(n == 0, decoder.cmc().record_25.entries == nullptr);
    EXPECT_TRUE(platform.messages().empty());
  };
  EXPECT_EQ(1u, kit::fail_each_allocation(scenario));
}

}  // namespace
