#include "tests/kit/structure_bytes.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;

constexpr size_t slot = 45;

/// What the one kind that is refused when it is malformed leaves behind.
void expect_refused(kit::decoder_fixture& decoder, const kit::decoded& result) {
  EXPECT_EQ(8u, result.code);
  EXPECT_EQ(copy_fate::left_to_caller, result.fate);
  EXPECT_TRUE(decoder.empty());
  EXPECT_EQ(0u, decoder.owned_blocks());
}

TEST(Record24, HoldsItsEntriesWithAnArrayEachInEveryVersion) {
  const writer::bytes body = writer::bytes()
                                 .u32(0x11223344)
                                 .u16(0x5566)
                                 .u16(2)  // entries
                                 .u16(0x0a0b)
                                 .u16(3)  // values of the first
                                 .raw("abcdefghijkl", 12)
                                 .u32(1)
                                 .u32(0xffffffff)
                                 .u32(0x80000000)
                                 .u16(0x0c0d)
                                 .u16(0)  // values of the second
                                 .raw("mnopqrstuvwx", 12);
  for (const uint8_t version : kit::every_version) {
    SCOPED_TRACE(testing::Message() << "version " << int{version});
    const writer::bytes record =
        writer::record(24, version, body, {.padded = false, .reserved = 7});
    ASSERT_EQ(16u + 16 + 12 + 16, record.size());
    kit::decoder_fixture decoder;
    const kit::decoded result = decoder.decode(record);
    EXPECT_EQ(0u, result.code);
    EXPECT_EQ(copy_fate::released, result.fate);
    EXPECT_TRUE(decoder.holds_only({{slot, decoder.cmc().record_24}}));
    const void* const content = decoder.cmc().record_24;
    ASSERT_TRUE(content);
    EXPECT_EQ(kit::part_of(record, 0, 16), kit::bytes_at(content, 16));
    const uint8_t* const entries = kit::address_at(content, 16);
    EXPECT_EQ(kit::part_of(record, 16, 16), kit::bytes_at(entries, 16));
    EXPECT_EQ(kit::part_of(record, 32, 12), kit::bytes_at(kit::address_at(entries, 16), 12));
    EXPECT_EQ(kit::part_of(record, 44, 16), kit::bytes_at(entries + 24, 16));
    EXPECT_TRUE(kit::address_at(entries + 24, 16)) << "no values are an empty array, not none";
    EXPECT_EQ(4u, decoder.owned_blocks());
  }
}

TEST(Record24, WithoutEntriesIsItsFirst16BytesAlone) {
  const writer::bytes record = writer::record_24({.counts = {}});
  ASSERT_EQ(16u, record.size());
  for (const size_t size : kit::size_list{16, 17, 64}) {
    kit::decoder_fixture decoder;
    EXPECT_EQ(0u, decoder.decode(writer::resized(record, size)).code);
    const void* const content = decoder.cmc().record_24;
    ASSERT_TRUE(content);
    EXPECT_EQ(kit::part_of(writer::resized(record, size), 0, 16), kit::bytes_at(content, 16));
    EXPECT_EQ(nullptr, kit::address_at(content, 16));
    EXPECT_EQ(1u, decoder.owned_blocks());
  }
}

TEST(Record24, AsManyEntriesAsTheCountHoldsAreTaken) {
  const writer::bytes record = writer::record_24({.counts = std::vector<uint16_t>(65535, 0)});
  ASSERT_EQ(16u * 65536, record.size());
  kit::decoder_fixture decoder;
  EXPECT_EQ(0u, decoder.decode(record).code);
  ASSERT_TRUE(decoder.cmc().record_24);
  const uint8_t* const entries = kit::address_at(decoder.cmc().record_24, 16);
  EXPECT_EQ(kit::part_of(record, 16u * 65535, 16), kit::bytes_at(entries + 24u * 65534, 16));
}

TEST(Record24, CountsBeyondTheRecordAreRefusedBeforeTheyAreAllocated) {
  writer::bytes many_entries = writer::record_24({.counts = {0}});
  many_entries.patch_u16(14, 65535);
  writer::bytes many_values = writer::record_24({.counts = {1}});
  many_values.patch_u16(16 + 2, 65535);
  writer::bytes second_entry_lost = writer::record_24({.counts = {4, 0}});
  second_entry_lost.patch_u16(16 + 2, 8);  // takes the second entry's 16 bytes
  for (const writer::bytes& record : {many_entries, many_values, second_entry_lost}) {
    kit::decoder_fixture decoder;
    const size_t before = decoder.ledger().live_bytes();
    expect_refused(decoder, decoder.decode(record));
    EXPECT_GE(before + record.size() + 128, decoder.ledger().peak_bytes());
  }
}

}  // namespace
