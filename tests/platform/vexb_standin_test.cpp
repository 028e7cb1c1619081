#include <gtest/gtest.h>

#include <cstring>

#include "qo_vexb_parser.h"
#include "tests/kit/guarded_buffer.h"
#include "tests/kit/row_name.h"
#include "writer/records.h"

namespace {

using writer::bytes;

/// A record in a block of exactly its size, between inaccessible pages.
class placed_record {
 public:
  explicit placed_record(const bytes& content, kit::guard_side side = kit::guard_side::behind)
      : before_(content), block_(content.size(), side) {
    memcpy(block_.data(), content.data(), content.size());
  }
  uint32_t decode() { return qo_vexb_parse_record(block_.data()); }
  bool unchanged() const { return now() == before_; }
  bytes now() const { return bytes({block_.data(), block_.data() + block_.size()}); }
  /// Whether the u64 at `offset` is the address of the byte at `target`.
  bool leads_to(size_t offset, size_t target) const {
    return now().u64_at(offset) == reinterpret_cast<uintptr_t>(block_.data()) + target;
  }
  uint64_t first_address() const { return reinterpret_cast<uintptr_t>(block_.data()); }

 private:
  bytes before_;
  kit::guarded_buffer block_;
};

TEST(RecordDecoder, LeavesKinds9And32AsTheyAre) {
  for (const bytes& content :
       {writer::record_9(), writer::record_32(), writer::record_9({.size = 8})}) {
    placed_record record(content);
    EXPECT_EQ(0u, record.decode());
    EXPECT_TRUE(record.unchanged());
  }
}

TEST(RecordDecoder, RefusesEveryOtherKind) {
  bytes content = writer::plain_record(0, {.size = 40});
  for (uint32_t id = 0; id <= 65535; ++id) {
    if (id == 9 || id == 31 || id == 32 || id == 34) continue;
    content.patch_u16(6, static_cast<uint16_t>(id));
    std::vector<uint8_t> record = content.vector();
    ASSERT_NE(0u, qo_vexb_parse_record(record.data())) << id;
    ASSERT_EQ(content.vector(), record) << id;
  }
}

TEST(RecordDecoder, RefusesNothingAndARecordSmallerThanItsHeader) {
  EXPECT_NE(0u, qo_vexb_parse_record(nullptr));
  for (uint32_t size = 0; size < 8; ++size)
    EXPECT_NE(0u, placed_record(writer::record_9().patch_u32(0, size)).decode()) << size;
}

TEST(FloatEntries, GetTheAddressOfTheirArray) {
  placed_record record(writer::record_31());
  ASSERT_EQ(0u, record.decode());
  EXPECT_TRUE(record.leads_to(16, 24));
  EXPECT_EQ(writer::record_31(), record.now().patch_u64(16, 24));
}

TEST(FloatEntries, AreDecodedAtAnyAlignment) {
  // The block ends at a page's end: an odd size is an odd address.
  placed_record record(writer::resized(writer::record_31(), 169));
  ASSERT_EQ(1u, record.first_address() % 2);
  ASSERT_EQ(0u, record.decode());
  EXPECT_TRUE(record.leads_to(16, 24));
}

TEST(FloatEntries, MayBeNone) {
  placed_record record(writer::record_31({.count = 0}).patch_u64(16, 0));
  EXPECT_EQ(0u, record.decode());
  EXPECT_TRUE(record.unchanged());
  placed_record at_the_end(writer::record_31({.count = 0}));
  EXPECT_EQ(0u, at_the_end.decode());
  EXPECT_TRUE(at_the_end.leads_to(16, 24));
}

struct refused_case {
  const char* name;
  bytes content;
};

const refused_case refused[] = {
    {"entries_one_too_many", writer::record_31().patch_u32(8, 3)},
    {"entries_most", writer::record_31().patch_u32(8, 0xffffffff)},
    {"entries_whose_bytes_wrap_at_32_bits", writer::record_31().patch_u32(8, 0x20000000)},
    {"blocks_whose_bytes_wrap_at_32_bits", writer::record_34().patch_u32(8, 0x20000000)},
    {"long_entries_whose_bytes_wrap_at_32_bits", writer::record_34().patch_u32(40, 0x08000000)},
    {"pairs_whose_bytes_wrap_at_32_bits", writer::record_34().patch_u32(44, 0x20000000)},
    {"entries_one_byte_late", writer::record_31().patch_u64(16, 25)},
    {"entries_behind_the_end", writer::record_31({.count = 0}).patch_u64(16, 25)},
    {"entries_in_the_header", writer::record_31().patch_u64(16, 23)},
    {"entries_nowhere", writer::record_31().patch_u64(16, 0)},
    {"entries_wrapping", writer::record_31().patch_u64(16, uint64_t{0} - 120)},
    {"entries_in_the_upper_half", writer::record_31().patch_u64(16, (uint64_t{1} << 32) + 24)},
    {"blocks_one_too_many",
     writer::record_34({.blocks = {{.long_entries = 0, .pairs = 0}}}).patch_u32(8, 2)},
    {"blocks_most", writer::record_34().patch_u32(8, 0xffffffff)},
    {"blocks_in_the_header", writer::record_34().patch_u64(16, 16)},
    {"blocks_nowhere", writer::record_34().patch_u64(16, 0)},
    {"blocks_wrapping", writer::record_34().patch_u64(16, uint64_t{0} - 8)},
    {"long_entries_too_many", writer::record_34().patch_u32(40, 4)},
    {"long_entries_most", writer::record_34().patch_u32(40, 0xffffffff)},
    {"long_entries_nowhere", writer::record_34().patch_u64(48, 0)},
    {"long_entries_in_the_header", writer::record_34().patch_u64(48, 8)},
    {"long_entries_late", writer::record_34().patch_u64(48, 153)},
    {"long_entries_wrapping", writer::record_34().patch_u64(48, uint64_t{0} - 32)},
    {"pairs_too_many", writer::record_34().patch_u32(44, 6)},
    {"pairs_most", writer::record_34().patch_u32(44, 0xffffffff)},
    {"pairs_nowhere", writer::record_34().patch_u64(56, 0)},
    {"pairs_late", writer::record_34().patch_u64(56, 169)},
    {"tail_late", writer::record_34().patch_u64(104, 177)},
    {"tail_in_the_header", writer::record_34().patch_u64(104, 23)},
    {"tail_wrapping", writer::record_34().patch_u64(104, uint64_t{0} - 1)},
};

class RefusedRecord : public testing::TestWithParam<refused_case> {};

TEST_P(RefusedRecord, StaysAsItWas) {
  placed_record record(GetParam().content);
  EXPECT_NE(0u, record.decode());
  EXPECT_TRUE(record.unchanged());
}

INSTANTIATE_TEST_SUITE_P(Places, RefusedRecord, testing::ValuesIn(refused), kit::row_name);

TEST(Blocks, GetTheAddressesOfTheirArrays) {
  placed_record record(writer::record_34());
  ASSERT_EQ(0u, record.decode());
  EXPECT_TRUE(record.leads_to(16, 32));
  EXPECT_TRUE(record.leads_to(48, 112));
  EXPECT_TRUE(record.leads_to(56, 144));
  EXPECT_EQ(0u, record.now().u64_at(64));
  EXPECT_EQ(0u, record.now().u64_at(88));
  EXPECT_TRUE(record.leads_to(96, 160));
  EXPECT_TRUE(record.leads_to(104, 176));
  bytes back = record.now();
  back.patch_u64(16, 32).patch_u64(48, 112).patch_u64(56, 144).patch_u64(96, 160);
  EXPECT_EQ(writer::record_34(), back.patch_u64(104, 176));
}

TEST(Blocks, MayBeNoneOrMany) {
  placed_record none(writer::record_34({.blocks = {}}).patch_u64(16, 0));
  EXPECT_EQ(0u, none.decode());
  EXPECT_TRUE(none.unchanged());
  placed_record many(writer::record_34({.blocks = std::vector<writer::record_34_block>(9)}));
  EXPECT_EQ(0u, many.decode());
  EXPECT_EQ(9u, many.now().u32_at(8));
  EXPECT_TRUE(many.leads_to(32 + 8 * 40 + 16, 32 + 9 * 40 + 8 * 48));
}

TEST(EveryCut, OfARecordThatEndsWithItsArraysIsRefused) {
  for (const bytes& whole : {writer::record_31(), writer::record_34()}) {
    for (size_t size = 8; size < whole.size(); ++size) {
      placed_record record(writer::resized(whole, size));
      ASSERT_NE(0u, record.decode()) << size;
      ASSERT_TRUE(record.unchanged()) << size;
    }
  }
}

// Any byte at any place: refused and unchanged, or every address inside the record.
TEST(EveryByte, MayBeAnything) {
  size_t accepted = 0;
  for (const bytes& whole : {writer::record_31(), writer::record_34()}) {
    for (size_t at = 8; at < whole.size(); ++at) {
      for (const int value : {0, 1, 7, 8, 0x20, 0x7f, 0x80, 0xfe, 0xff}) {
        placed_record record(bytes(whole).patch_u8(at, static_cast<uint8_t>(value)));
        if (record.decode() != 0) {
          ASSERT_TRUE(record.unchanged()) << "byte " << at << " " << value;
          continue;
        }
        ++accepted;
        const uint64_t array = record.now().u64_at(16) - record.first_address();
        if (record.now().u64_at(16) != 0) {
          ASSERT_GE(array, 24u);
          ASSERT_LE(array, whole.size());
        }
      }
    }
  }
  EXPECT_GT(accepted, 100u);  // contents of the arrays may be anything
}

}  // namespace
