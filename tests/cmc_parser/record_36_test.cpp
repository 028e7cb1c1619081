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

}  // namespace
