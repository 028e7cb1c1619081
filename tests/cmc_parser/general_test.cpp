// Kind 1: the module's name and its key and value strings.
#include <gtest/gtest.h>

#include <string>

#include "tests/kit/decoder_fixture.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;
using writer::bytes;

// Header, 16 bytes that nobody reads, then `body` from byte 24.
bytes general(uint8_t version, const bytes& body) {
  return writer::record(1, version, writer::filler_bytes(1).run(16).raw(body), {.padded = false});
}

// Name at 24, count at 27, key "k1" at 29, value "v" at 32, key "" at 34, value "xyz" at 35; 39.
const bytes two_pairs_body =
    bytes().c_string("ab").u16(2).c_string("k1").c_string("v").c_string("").c_string("xyz");
bytes two_pairs(uint8_t version = 101) { return general(version, two_pairs_body); }

void expect_leaked(kit::decoder_fixture& decoder, const bytes& record) {
  const kit::decoded result = decoder.decode(record);
  EXPECT_EQ(0u, result.code);
  EXPECT_EQ(copy_fate::leaked, result.fate);
  EXPECT_TRUE(decoder.empty());
  EXPECT_EQ(0u, decoder.owned_blocks());
}

TEST(General, UpToVersion100TheNameAloneIsTaken) {
  for (const uint8_t version : std::vector<uint8_t>{0, 99, 100}) {
    SCOPED_TRACE(int{version});
    kit::decoder_fixture decoder;
    const bytes record = two_pairs(version);
    const kit::decoded result = decoder.decode(record);
    EXPECT_EQ(0u, result.code);
    EXPECT_EQ(copy_fate::kept, result.fate);
    EXPECT_TRUE(decoder.holds_only({{1, result.copy}, {2, result.copy + 24}}));
    EXPECT_EQ(record, kit::bytes_at(result.copy, record.size()));
    EXPECT_EQ(0u, decoder.ledger().allocations());
  }
}

TEST(General, FromVersion101PairsAreIndexedInTheCopy) {
  for (const uint8_t version : std::vector<uint8_t>{101, 102, 103, 104, 255}) {
    SCOPED_TRACE(int{version});
    kit::decoder_fixture decoder;
    const bytes record = two_pairs(version);
    ASSERT_EQ(39u, record.size());
    const kit::decoded result = decoder.decode(record);
    EXPECT_EQ(0u, result.code);
    ASSERT_EQ(copy_fate::kept, result.fate);
    string_pair* const pairs = decoder.cmc().general.pairs;
    EXPECT_TRUE(decoder.holds_only({{1, result.copy}, {2, result.copy + 24}, {3, 2}, {4, pairs}}));
    EXPECT_EQ(record, kit::bytes_at(result.copy, record.size()));
    ASSERT_TRUE(decoder.ledger().holds(pairs));
    const char* const copy = reinterpret_cast<const char*>(result.copy);
    EXPECT_EQ(copy + 29, pairs[0].key);
    EXPECT_EQ(copy + 32, pairs[0].value);
    EXPECT_EQ(copy + 34, pairs[1].key);
    EXPECT_EQ(copy + 35, pairs[1].value);
    EXPECT_EQ(2u, decoder.owned_blocks());
    EXPECT_EQ(1u, decoder.ledger().allocations());
  }
}

TEST(General, ANamelessRecordWithoutPairsHoldsAnArrayForNone) {
  kit::decoder_fixture decoder;
  const bytes record = general(101, bytes().c_string("").u16(0));
  ASSERT_EQ(27u, record.size());
  const kit::decoded result = decoder.decode(record);
  ASSERT_EQ(copy_fate::kept, result.fate);
  string_pair* const pairs = decoder.cmc().general.pairs;
  EXPECT_TRUE(decoder.ledger().holds(pairs));
  EXPECT_TRUE(decoder.holds_only({{1, result.copy}, {2, result.copy + 24}, {4, pairs}}));
}

TEST(General, BytesBehindTheLastPairAreLeftAlone) {
  kit::decoder_fixture decoder;
  const bytes record = general(101, bytes(two_pairs_body).text("more"));
  const kit::decoded result = decoder.decode(record);
  EXPECT_EQ(copy_fate::kept, result.fate);
  EXPECT_EQ(2u, decoder.cmc().general.pair_count);
  EXPECT_EQ(record, kit::bytes_at(result.copy, record.size()));
}

TEST(General, AStringWithoutATerminatorInsideTheRecordIsMalformed) {
  const struct {
    const char* name;
    bytes record;
  } cases[] = {
      {"name_version_100", general(100, bytes().text("endless"))},
      {"name_version_101", general(101, bytes().text("endless"))},
      {"key", general(101, bytes().c_string("n").u16(1).text("key"))},
      {"value_that_starts_at_the_end", general(101, bytes().c_string("n").u16(1).c_string("key"))},
      {"value", general(101, bytes().c_string("n").u16(1).c_string("key").text("value"))},
      {"key_of_the_second_pair",
       general(101, bytes().c_string("n").u16(2).c_string("k").c_string("v").text("key"))},
      {"value_of_the_second_pair",
       general(101,
               bytes().c_string("n").u16(2).c_string("k").c_string("v").c_string("k").text("v"))},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    kit::decoder_fixture decoder;
    expect_leaked(decoder, c.record);
  }
}

TEST(General, MorePairsThanTheRecordHoldsAreMalformed) {
  for (const uint16_t count : std::vector<uint16_t>{3, 4, 256, 65535}) {
    SCOPED_TRACE(count);
    kit::decoder_fixture decoder;
    expect_leaked(decoder, bytes(two_pairs()).patch_u16(27, count));
  }
}

TEST(General, NoRoomIsReservedForPairsThatTheRecordCannotHold) {
  // Ten bytes follow the count, and a pair takes two at least.
  for (const uint16_t count : std::vector<uint16_t>{6, 10, 65535}) {
    SCOPED_TRACE(count);
    kit::decoder_fixture decoder;
    expect_leaked(decoder, bytes(two_pairs()).patch_u16(27, count));
    EXPECT_EQ(0u, decoder.ledger().allocations());
  }
}

TEST(General, TheLargestPairCountIsTaken) {
  // 65535 pairs of empty strings from byte 27 on.
  kit::decoder_fixture decoder;
  const kit::decoded result =
      decoder.decode(general(101, bytes().c_string("").u16(65535).zeros(2 * 65535)));
  ASSERT_EQ(copy_fate::kept, result.fate);
  EXPECT_EQ(65535u, decoder.cmc().general.pair_count);
  const string_pair& last = decoder.cmc().general.pairs[65534];
  EXPECT_EQ(reinterpret_cast<const char*>(result.copy + 27 + 2 * 65534), last.key);
  EXPECT_EQ(last.key + 1, last.value);
}

TEST(General, WithoutMemoryForThePairsTheirCountIsKept) {
  const size_t runs = kit::fail_each_allocation([](kit::decoder_fixture& decoder, size_t n) {
    const kit::decoded result = decoder.decode(two_pairs());
    EXPECT_EQ(0u, result.code);
    EXPECT_EQ(copy_fate::kept, result.fate);
    if (n != 0) return;
    EXPECT_TRUE(decoder.holds_only({{1, result.copy}, {2, result.copy + 24}, {3, 2}}));
  });
  EXPECT_EQ(1u, runs);
}

}  // namespace
