#include "tests/kit/structure_bytes.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;

constexpr size_t slot = 50;

/// The structure's 64 bytes when both groups are the default.
writer::bytes with_default_groups(const writer::bytes& record) {
  writer::bytes expected = kit::part_of(record, 0, 16);
  for (int group = 0; group < 2; ++group) {
    expected.raw(kit::part_of(record, 8, 8));
    // 1.0 four times
    for (int i = 0; i < 4; ++i) expected.u32(0x3f800000);
  }
  return expected;
}

TEST(Record26, GroupsCountFromVersion101OnAndFrom64BytesOn) {
  for (const uint8_t version : kit::every_version) {
    for (const size_t size : kit::size_list{16, 17, 40, 63, 64, 65, 200}) {
      SCOPED_TRACE(testing::Message() << "version " << int{version} << ", size " << size);
      writer::bytes long_record = writer::record_26({.version = 101});
      ASSERT_EQ(64u, long_record.size());
      long_record.patch_u8(4, version);
      const writer::bytes record = writer::resized(long_record, size);
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(record);
      EXPECT_EQ(0u, result.code);
      EXPECT_EQ(copy_fate::released, result.fate);
      EXPECT_TRUE(decoder.holds_only({{slot, decoder.cmc().record_26}}));
      ASSERT_TRUE(decoder.cmc().record_26);
      const bool has_groups = version >= 101 && size >= 64;
      EXPECT_EQ(has_groups ? kit::part_of(record, 0, 64) : with_default_groups(record),
                kit::bytes_at(decoder.cmc().record_26, 64));
      EXPECT_EQ(1u, decoder.owned_blocks());
    }
  }
}

TEST(Record26, CutBelow16BytesIsDroppedAndTakesTheDefaultsFromThereOn) {
  kit::cut_at_every_size(writer::record_26(), [](kit::decoder_fixture& decoder,
                                                 const kit::decoded& result, size_t size) {
    if (size < 16) return kit::expect_dropped(decoder, result);
    EXPECT_EQ(copy_fate::released, result.fate);
    ASSERT_TRUE(decoder.cmc().record_26);
    EXPECT_EQ(with_default_groups(writer::resized(writer::record_26(), size)),
              kit::bytes_at(decoder.cmc().record_26, 64));
  });
}

}  // namespace
