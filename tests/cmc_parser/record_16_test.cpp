// Kind 16: like the other kept kinds, but its payload outlives a failed size check.
#include <gtest/gtest.h>

#include "tests/kit/decoder_fixture.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;
using writer::bytes;

struct count_case {
  uint16_t count;
  size_t least;  ///< 14 + 4 n, padded
};
const count_case cases[] = {{0, 16}, {1, 24}, {2, 24}, {3, 32}};

bytes sample(uint16_t count) { return writer::resized(writer::record_16({.count = count}), 48); }

TEST(Record16, AtEveryLengthStoresItsPayloadWhetherOrNotItIsKept) {
  for (const count_case& c : cases) {
    for (const uint8_t version : std::vector<uint8_t>{99, 100, 101, 104}) {
      for (size_t size = 8; size <= c.least + 9; ++size) {
        SCOPED_TRACE(testing::Message()
                     << c.count << " items, version " << int{version} << ", size " << size);
        const bytes record = writer::resized(sample(c.count), size).patch_u8(4, version);
        kit::decoder_fixture decoder;
        const kit::decoded result = decoder.decode(record);
        EXPECT_EQ(0u, result.code);
        EXPECT_EQ(0u, decoder.ledger().allocations());
        if (size >= c.least) {
          EXPECT_EQ(copy_fate::kept, result.fate);
          EXPECT_TRUE(decoder.holds_only({{30, result.copy}, {31, result.copy + 14}}));
        } else if (size >= 14) {
          // Contract: the payload is an address in the leaked copy, which stays alive.
          EXPECT_EQ(copy_fate::leaked, result.fate);
          EXPECT_TRUE(decoder.holds_only({{31, result.copy + 14}}));
        } else {
          EXPECT_EQ(copy_fate::leaked, result.fate);
          EXPECT_TRUE(decoder.empty());
        }
        EXPECT_EQ(record, kit::bytes_at(result.copy, size));
      }
    }
  }
}

TEST(Record16, AGoodOneAfterAMalformedOneReplacesThePayload) {
  kit::decoder_fixture decoder;
  decoder.decode(writer::resized(sample(3), 31));
  const kit::decoded second = decoder.decode(sample(3));
  EXPECT_EQ(copy_fate::kept, second.fate);
  EXPECT_TRUE(decoder.holds_only({{30, second.copy}, {31, second.copy + 14}}));
}

}  // namespace
