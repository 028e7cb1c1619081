#include "tests/kit/structure_bytes.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;

constexpr size_t slot = 53;

writer::bytes sized_record(uint16_t width, uint16_t height, size_t size) {
  writer::bytes body;
  body.u32(0x0c0b0a09).u16(width).u16(height).u32(0x13121110);
  for (uint32_t word = 1; body.size() + 8 < size; ++word) body.u32(word * 0x01010101);
  return writer::resized(writer::record(29, 100, body), size);
}

TEST(Record29, HoldsItsFirst20BytesAndFourPlanesOfOneArray) {
  for (const uint8_t version : kit::every_version) {
    SCOPED_TRACE(testing::Message() << "version " << int{version});
    const writer::bytes record = writer::record_29({.width = 3, .height = 5, .version = version});
    kit::decoder_fixture decoder;
    const kit::decoded result = decoder.decode(record);
    EXPECT_EQ(0u, result.code);
    EXPECT_EQ(copy_fate::released, result.fate);
    const void* const content = decoder.cmc().record_29;
    ASSERT_TRUE(content);
    EXPECT_TRUE(decoder.holds_only({{slot, content}}));
    EXPECT_EQ(kit::part_of(record, 0, 20), kit::bytes_at(content, 20));
    EXPECT_EQ(0u, kit::field_at<uint32_t>(content, 20));
    const uint8_t* const planes = kit::address_at(content, 24);
    EXPECT_EQ(kit::part_of(record, 20, 16 * 15), kit::bytes_at(planes, 16 * 15));
    for (size_t k = 1; k < 4; ++k)
      EXPECT_EQ(planes + 4 * 15 * k, kit::address_at(content, 24 + 8 * k));
    EXPECT_EQ(2u, decoder.owned_blocks());
  }
}

TEST(Record29, BitPatternsThatAreNoNumbersAreCopiedUnchanged) {
  writer::bytes record = sized_record(1, 1, 56);
  record.patch_u32(20, 0x7f800001).patch_u32(24, 0xffc00123).patch_u32(28, 0x80000000);
  kit::decoder_fixture decoder;
  (void)decoder.decode(record);
  ASSERT_TRUE(decoder.cmc().record_29);
  EXPECT_EQ(kit::part_of(record, 20, 16),
            kit::bytes_at(kit::address_at(decoder.cmc().record_29, 24), 16));
}

struct bound_case {
  const char* what;
  uint16_t width, height;
  size_t least_size;
};

TEST(Record29, Needs56BytesAnd4BytesMoreThanItsPlanesTake) {
  const bound_case cases[] = {
      {"one value a plane takes 40, below 56", 1, 1, 56},
      {"two values a plane take 56", 2, 1, 56},
      {"three values a plane take 72", 1, 3, 72},
      {"many values a plane", 255, 257, 24 + 16 * 65535},
  };
  for (const bound_case& c : cases) {
    SCOPED_TRACE(c.what);
    for (const size_t size : {c.least_size - 1, c.least_size, c.least_size + 1}) {
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(sized_record(c.width, c.height, size));
      EXPECT_EQ(0u, result.code);
      EXPECT_EQ(copy_fate::released, result.fate);
      EXPECT_EQ(size >= c.least_size, decoder.cmc().record_29 != nullptr);
    }
  }
}

TEST(Record29, SidesOfZeroOrBeyondTheRecordAreDroppedBeforeTheyAreAllocated) {
  for (const auto& [width, height] : {std::pair<uint16_t, uint16_t>{0, 0},
                                      {0, 3},
                                      {3, 0},
                                      {0, 65535},
                                      {65535, 65535},
                                      {65535, 1},
                                      {1, 65535},
                                      {32768, 32768},
                                      {0x4000, 0x4000}}) {
    SCOPED_TRACE(testing::Message() << width << " x " << height);
    kit::decoder_fixture decoder;
    kit::expect_dropped(decoder, decoder.decode(sized_record(width, height, 4096)));
    EXPECT_EQ(0u, decoder.ledger().allocations());
  }
}

}  // namespace
