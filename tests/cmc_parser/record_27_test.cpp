#include "tests/kit/structure_bytes.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;

constexpr size_t slot = 51;

/// A record of this many entries, planes, columns and rows whose other bytes are all zero.
writer::bytes sized_record(uint16_t entries, uint16_t planes, uint16_t width, uint16_t height,
                           uint8_t version, size_t size) {
  writer::bytes body;
  body.zeros(16).u16(entries).u16(planes).u16(width).u16(height);
  return writer::resized(writer::record(27, version, body, {.padded = false}), size);
}

TEST(Record27, EachEntryHasItsHeadAndRoomForThreePlanes) {
  for (const uint8_t version : kit::every_version) {
    for (uint16_t planes = 0; planes <= 3; ++planes) {
      SCOPED_TRACE(testing::Message() << "version " << int{version} << ", planes " << planes);
      const writer::bytes record = writer::record_27(
          {.entries = 2, .planes = planes, .width = 3, .height = 2, .version = version});
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(record);
      EXPECT_EQ(0u, result.code);
      ASSERT_EQ(copy_fate::kept, result.fate);
      EXPECT_TRUE(decoder.holds_only({{slot, decoder.cmc().record_27}}));
      EXPECT_EQ(record, kit::bytes_at(result.copy, record.size()));
      const void* const content = decoder.cmc().record_27;
      EXPECT_EQ(result.copy, kit::address_at(content, 0));
      const uint8_t* const entries = kit::address_at(content, 8);
      size_t offset = 32;
      for (size_t i = 0; i < 2; ++i) {
        const uint8_t* const entry = entries + 16 * i;
        EXPECT_EQ(kit::part_of(record, offset, 20), kit::bytes_at(kit::address_at(entry, 0), 20));
        writer::bytes samples = kit::part_of(record, offset + 20, 12u * planes);
        samples.zeros_to_size(6 * 3 * 2);  // what the record does not fill is zero
        EXPECT_EQ(samples, kit::bytes_at(kit::address_at(entry, 8), 36));
        offset += 20 + 12u * planes;
      }
      EXPECT_EQ(version >= 101 ? result.copy + offset : nullptr, kit::address_at(content, 16));
      EXPECT_EQ(1u + 1 + 1 + 2 * 2, decoder.owned_blocks());
    }
  }
}

TEST(Record27, WithoutEntriesOrSamplesIsKept) {
  for (const uint8_t version : kit::u8_list{100, 101}) {
    for (const auto& [entries, planes, width, height] :
         {std::tuple{0, 3, 65535, 65535}, {0, 0, 65535, 65535}, {2, 3, 0, 65535}, {2, 0, 0, 0}}) {
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(sized_record(
          static_cast<uint16_t>(entries), static_cast<uint16_t>(planes),
          static_cast<uint16_t>(width), static_cast<uint16_t>(height), version, 32 + 2 * 36));
      EXPECT_EQ(copy_fate::kept, result.fate);
      EXPECT_EQ(3u + 2 * static_cast<size_t>(entries), decoder.owned_blocks());
    }
  }
}

struct bound_case {
  const char* what;
  uint16_t entries, planes, width, height;
  uint8_t version;
  size_t least_size;
};

TEST(Record27, NeedsItsEntriesExactlyAndItsTailPadded) {
  const bound_case cases[] = {
      {"no entries", 0, 3, 9, 9, 100, 32},
      {"no entries and an empty tail", 0, 3, 9, 9, 101, 32},
      {"odd end without a tail", 1, 1, 1, 1, 100, 32 + 22},
      {"the tail's end is 70, padded 72", 1, 1, 1, 1, 101, 72},
      {"the tail's end is 68, padded 72", 1, 3, 0, 5, 101, 72},
      {"the tail's end is a multiple of 8", 1, 2, 1, 1, 101, 72},
      {"three planes", 2, 3, 3, 1, 100, 32 + 2 * (20 + 18)},
      {"no planes: the samples of one must fit, and do", 2, 0, 3, 3, 100, 32 + 2 * 20},
      {"no planes: 2 n w h decides", 2, 0, 5, 4, 100, 80},
      {"no planes: 2 n w h decides beside a tail", 2, 0, 7, 7, 101, 196},
  };
  for (const bound_case& c : cases) {
    SCOPED_TRACE(c.what);
    for (const bool fits : {false, true}) {
      kit::decoder_fixture decoder;
      const kit::decoded result =
          decoder.decode(sized_record(c.entries, c.planes, c.width, c.height, c.version,
                                      fits ? c.least_size : c.least_size - 1));
      EXPECT_EQ(fits ? copy_fate::kept : copy_fate::released, result.fate);
      EXPECT_EQ(!fits, static_cast<bool>(decoder.empty()));
    }
  }
}

TEST(Record27, MoreThanThreePlanesAreMalformed) {
  for (const uint16_t planes : kit::u16_list{4, 5, 255, 65535})
    for (const uint16_t entries : kit::u16_list{0, 1})
      for (const uint16_t width : kit::u16_list{0, 1}) {
        kit::decoder_fixture decoder;
        kit::expect_dropped(decoder, decoder.decode(sized_record(entries, planes, width, 1, 100,
                                                                 32 + 20 + 2u * 65535)));
        EXPECT_EQ(0u, decoder.ledger().allocations());
      }
}

TEST(Record27, CountsBeyondTheRecordAreDroppedBeforeTheyAreAllocated) {
  for (const uint16_t planes : kit::u16_list{0, 1, 3})
    for (const auto& [entries, width, height] :
         {std::tuple{65535, 65535, 65535}, {1, 65535, 65535}, {65535, 1, 1}, {65535, 0, 0}}) {
      kit::decoder_fixture decoder;
      kit::expect_dropped(decoder,
                          decoder.decode(sized_record(static_cast<uint16_t>(entries), planes,
                                                      static_cast<uint16_t>(width),
                                                      static_cast<uint16_t>(height), 101, 4096)));
      EXPECT_EQ(0u, decoder.ledger().allocations());
    }
}

}  // namespace
