#include "writer/container_writer.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using writer::bytes;
using writer::checksum_rule;
using writer::container;
using byte_vector = std::vector<uint8_t>;

TEST(Bytes, AreLittleEndianInTheOrderOfTheCalls) {
  const bytes written = bytes()
                            .u8(1)
                            .i8(-1)
                            .u16(0x0302)
                            .i16(-2)
                            .u32(0x07060504)
                            .i32(-3)
                            .u64(0x0f0e0d0c0b0a0908)
                            .f32(1.5f)
                            .zeros(1)
                            .text("ab")
                            .c_string("c");
  EXPECT_EQ((byte_vector{1,  255, 2,  3,  254, 255, 4, 5, 6,    7,    253, 255, 255, 255, 8, 9,
                         10, 11,  12, 13, 14,  15,  0, 0, 0xc0, 0x3f, 0,   'a', 'b', 'c', 0}),
            written.vector());
}

TEST(Bytes, ArePatchedInPlaceAndReadBack) {
  bytes written = bytes().zeros(15);
  written.patch_u8(0, 9).patch_u16(1, 0x1234).patch_u32(3, 0x89abcdef).patch_u64(7, 0x0102030405);
  EXPECT_EQ((byte_vector{9, 0x34, 0x12, 0xef, 0xcd, 0xab, 0x89, 5, 4, 3, 2, 1, 0, 0, 0}),
            written.vector());
  EXPECT_EQ(9, written.u8_at(0));
  EXPECT_EQ(0x1234, written.u16_at(1));
  EXPECT_EQ(0x89abcdefu, written.u32_at(3));
  EXPECT_EQ(0x0102030405u, written.u64_at(7));
  EXPECT_EQ(-2.25f, written.patch_f32(1, -2.25f).f32_at(1));
}

TEST(Bytes, RefuseToBePatchedOutsideTheirEnd) {
  bytes written = bytes().zeros(4);
  EXPECT_THROW(written.patch_u32(1, 0), std::out_of_range);
  EXPECT_THROW(written.patch_u8(4, 0), std::out_of_range);
  EXPECT_THROW(written.patch_u16(size_t{0} - 1, 0), std::out_of_range);
  EXPECT_THROW(static_cast<void>(written.u16_at(3)), std::out_of_range);
  EXPECT_EQ(4u, written.size());
}

TEST(Bytes, ArePaddedToAMultipleOrASize) {
  EXPECT_EQ(8u, bytes().zeros(1).zeros_to_multiple_of(8).size());
  EXPECT_EQ(8u, bytes().zeros(8).zeros_to_multiple_of(8).size());
  EXPECT_EQ(5u, bytes().zeros(3).zeros_to_size(5).size());
  EXPECT_EQ(3u, bytes().zeros(3).zeros_to_size(2).size());
}

TEST(Record, StartsWithItsHeaderAndIsPaddedToEight) {
  EXPECT_EQ((byte_vector{16, 0, 0, 0, 101, 0, 0xd2, 2, 7, 0, 0, 0, 0, 0, 0, 0}),
            writer::record(722, 101, bytes().u8(7)).vector());
}

TEST(Record, TakesAnUnpaddedSizeAForeignSizeAndAReservedByte) {
  EXPECT_EQ((byte_vector{9, 0, 0, 0, 100, 0, 5, 0, 7}),
            writer::record(5, 100, bytes().u8(7), {.padded = false}).vector());
  EXPECT_EQ((byte_vector{0xff, 0xff, 0, 0, 100, 3, 5, 0}),
            writer::record(5, 100, {}, {.size = 0xffff, .reserved = 3}).vector());
}

TEST(Record, IsResizedTogetherWithItsSizeField) {
  const bytes whole = writer::record(5, 100, bytes().u32(0x04030201), {.padded = false});
  EXPECT_EQ((byte_vector{10, 0, 0, 0, 100, 0, 5, 0, 1, 2}), writer::resized(whole, 10).vector());
  EXPECT_EQ((byte_vector{13, 0, 0, 0, 100, 0, 5, 0, 1, 2, 3, 4, 0}),
            writer::resized(whole, 13).vector());
  EXPECT_EQ((byte_vector{12, 0}), writer::resized(whole, 2).vector());
}

// One record of 11 bytes: the words from byte 24 on are 11 and 0x00020065, and three bytes are left
// over. The total is 35.
container small() {
  container result;
  for (const size_t index : {0u, 2u, 3u, 4u}) result.header_word(index, 0x10000000);
  result.add(writer::record(2, 101, bytes().u8(0xaa).u8(0xbb).u8(0xcc), {.padded = false}));
  return result;
}

TEST(Container, RuleASumsEveryWholeWordButTheChecksum) {
  // 4 x 0x10000000 + 35 + 11 + 0x00020065
  EXPECT_EQ(
      (byte_vector{0, 0,    0,    0x10, 35, 0,    0,  0, 0, 0, 0,    0x10, 0, 0, 0,    0x10, 0,   0,
                   0, 0x10, 0x93, 0,    2,  0x40, 11, 0, 0, 0, 0x65, 0,    2, 0, 0xaa, 0xbb, 0xcc}),
      small().image());
}

TEST(Container, RuleBSumsTheRecordsAlone) {
  const bytes image(small().rule(checksum_rule::rule_b).image());
  EXPECT_EQ(0x00020070u, image.u32_at(20));  // 11 + 0x00020065
  EXPECT_EQ(35u, image.u32_at(4));
}

TEST(Container, BothSumsWrap) {
  container full;
  full.add(bytes().u32(0xffffffff).u32(3)).header_word(0, 0xffffffff);
  full.header_word(2, 0).header_word(3, 0).header_word(4, 0);
  EXPECT_EQ(2u, bytes(full.rule(checksum_rule::rule_b).image()).u32_at(20));
  // 0xffffffff + 32 + 0xffffffff + 3
  EXPECT_EQ(33u, bytes(full.rule(checksum_rule::rule_a).image()).u32_at(20));
}

TEST(Container, ItsTwoChecksumsDifferAlsoWithoutRecords) {
  EXPECT_EQ(24u, container().image().size());
  EXPECT_EQ(0u, bytes(container().rule(checksum_rule::rule_b).image()).u32_at(20));
  EXPECT_NE(0u, bytes(container().image()).u32_at(20));
}

TEST(Container, DeclaresAForeignTotalUnderAChecksumThatHolds) {
  const bytes image(small().total(39).image());
  EXPECT_EQ(39u, image.u32_at(4));
  EXPECT_EQ(0x40020097u, image.u32_at(20));
}

TEST(Container, WritesAForeignChecksum) {
  EXPECT_EQ(0x12345678u, bytes(small().checksum(0x12345678).image()).u32_at(20));
}

TEST(Container, KnowsWhereItsRecordsStand) {
  const container two = small().add(writer::record(5, 100, bytes().u32(1)));
  EXPECT_EQ(2u, two.record_count());
  EXPECT_EQ(24u, two.offset_of(0));
  EXPECT_EQ(35u, two.offset_of(1));
  EXPECT_EQ(5, bytes(two.image()).u16_at(41));
}

TEST(Container, IsSealedAgainAfterAChange) {
  byte_vector image = small().image();
  image.resize(image.size() + 1);  // completes the last word: 0x00ccbbaa
  writer::seal(image);
  EXPECT_EQ(36u, bytes(image).u32_at(4));
  EXPECT_EQ(0x40020094u + 0x00ccbbaau, bytes(image).u32_at(20));
  writer::seal(image, checksum_rule::rule_b);
  EXPECT_EQ(0x00020070u + 0x00ccbbaau, bytes(image).u32_at(20));
}

TEST(Container, TheBlobOfAnImageIsItsBytes) {
  const byte_vector image = small().image();
  const qo_blob blob = writer::blob_of(image);
  EXPECT_EQ(image.data(), blob.data);
  EXPECT_EQ(35u, blob.size);
}

}  // namespace
