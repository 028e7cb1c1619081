// Which records of a container reach the decoders, and in which order.

#include "cmc_parser/records/kinds.h"
#include "tests/kit/container_cycle.h"
#include "writer/records.h"

namespace {

using writer::bytes;
using writer::container;
using kinds = std::initializer_list<uint16_t>;

/// A record 5, 7, 8, 21 or 23 that carries `mark` in its first body byte.
bytes marked(uint16_t kind, uint8_t mark, uint32_t size = 24) {
  bytes record = writer::plain_record(kind, {.size = size});
  return record.patch_u8(8, mark);
}

uint8_t mark_of(const record_header* record) {
  return record != nullptr ? reinterpret_cast<const uint8_t*>(record)[8] : 0;
}

TEST(RecordWalk, RecordsAreCopiedByteForByte) {
  const bytes record = writer::record_8({.size = 40});
  const kit::cmc_ptr cmc = kit::parse(container().add(record).image());
  ASSERT_NE(nullptr, cmc->record_8);
  EXPECT_EQ(0, memcmp(record.data(), cmc->record_8, record.size()));
}

TEST(RecordWalk, EachCopyHasExactlyTheSizeOfItsRecord) {
  for (const uint32_t size : {8u, 9u, 24u, 4099u}) {
    kit::allocation_ledger ledger;
    const kit::cmc_ptr cmc = kit::parse(container().add(writer::record_8({.size = size})).image());
    ASSERT_NE(nullptr, cmc->record_8);
    EXPECT_EQ(2u, ledger.live_blocks());
    EXPECT_EQ(sizeof(parsed_cmc) + size, ledger.live_bytes());
  }
}

TEST(RecordWalk, RecordsAreDecodedInContainerOrder) {
  // Of kind 8 the last record counts, of kind 3 the first.
  const kit::cmc_ptr cmc =
      kit::parse(container()
                     .add(marked(8, 1))
                     .add(writer::record_3({.entries = {{1, 2, {3, 4, 5, 6}}}}))
                     .add(marked(8, 2))
                     .add(writer::record_3({.entries = {}}))
                     .image());
  EXPECT_EQ(2, mark_of(cmc->record_8));
  ASSERT_NE(nullptr, cmc->record_31);
  EXPECT_EQ(1u, reinterpret_cast<const record_31_table*>(cmc->record_31)->count);
}

TEST(RecordWalk, RecordsMayFollowEachOtherAtAnyOffset) {
  const kit::cmc_ptr cmc = kit::parse(container()
                                          .add(marked(8, 3, 9))
                                          .add(marked(5, 4, 17))
                                          .add(marked(7, 5, 19))
                                          .add(marked(23, 6, 24))
                                          .image());
  EXPECT_EQ(3, mark_of(cmc->record_8));
  EXPECT_EQ(4, mark_of(cmc->record_5));
  EXPECT_EQ(5, mark_of(cmc->record_7));
  EXPECT_EQ(6, mark_of(cmc->record_23));
}

TEST(RecordWalk, TheWalkRunsUpToASizeThatIsNoMultipleOfFour) {
  // The last record's last 1 to 3 bytes are in no checksum, but are the record's all the same.
  for (uint32_t size = 24; size < 28; ++size) {
    bytes last = marked(23, 9, size);
    last.patch_u8(size - 1, 0xee);
    const kit::cmc_ptr cmc = kit::parse(container().add(marked(5, 8)).add(last).image());
    ASSERT_NE(nullptr, cmc->record_23) << size;
    EXPECT_EQ(size, cmc->record_23->size);
    EXPECT_EQ(0xee, reinterpret_cast<const uint8_t*>(cmc->record_23)[size - 1]);
  }
}

TEST(RecordWalk, KindsAboveSixtyThreeAreSteppedOverWithoutACopy) {
  for (const uint16_t kind : kinds{64, 65, 100, 722, 0x0105, 0x7fff, 0xffff}) {
    kit::allocation_ledger ledger;
    const kit::cmc_ptr cmc = kit::parse(
        container().add(marked(5, 1)).add(writer::plain_record(kind)).add(marked(7, 2)).image());
    EXPECT_EQ(1, mark_of(cmc->record_5)) << kind;
    EXPECT_EQ(2, mark_of(cmc->record_7)) << kind;
    EXPECT_EQ(3u, ledger.allocations()) << kind;
  }
}

TEST(RecordWalk, RefusedKindsUpToSixtyThreeAreCopiedAndReleased) {
  for (uint16_t kind = 0; kind <= 63; ++kind) {
    if (qo::is_record_kind(kind)) continue;
    kit::allocation_ledger ledger;
    const kit::cmc_ptr cmc = kit::parse(container().add(writer::plain_record(kind)).image());
    EXPECT_EQ(2u, ledger.allocations()) << kind;
    EXPECT_EQ(1u, ledger.live_blocks()) << kind;
    EXPECT_EQ(0u, ledger.bad_releases()) << kind;
    EXPECT_TRUE(kit::is_empty(*cmc)) << kind;
  }
}

TEST(RecordWalk, AMalformedRecordDoesNotStopTheWalk) {
  kit::allocation_ledger ledger;
  const kit::cmc_ptr cmc = kit::parse(container()
                                          .add(writer::plain_record(24, {.size = 8}))
                                          .add(writer::resized(writer::record_26(), 12))
                                          .add(marked(7, 2))
                                          .image());
  EXPECT_EQ(nullptr, cmc->record_24);
  EXPECT_EQ(2, mark_of(cmc->record_7));
  EXPECT_EQ(2u, ledger.live_blocks());
}

TEST(RecordWalk, ARecordSmallerThanItsHeaderEndsTheWalk) {
  for (const uint16_t kind : kinds{5, 64}) {
    for (uint32_t size = 0; size < 8; ++size) {
      const kit::cmc_ptr cmc =
          kit::parse(container()
                         .add(marked(8, 1))
                         .add(writer::record(kind, 100, bytes().zeros(8), {.size = size}))
                         .add(marked(7, 2))
                         .image());
      ASSERT_NE(nullptr, cmc);
      EXPECT_EQ(1, mark_of(cmc->record_8)) << size;
      EXPECT_EQ(nullptr, cmc->record_5) << size;
      EXPECT_EQ(nullptr, cmc->record_7) << size;
    }
  }
}

TEST(RecordWalk, ARecordOfEightBytesIsARecord) {
  const kit::cmc_ptr cmc =
      kit::parse(container().add(writer::record_8({.size = 8})).add(marked(7, 2)).image());
  EXPECT_NE(nullptr, cmc->record_8);
  EXPECT_EQ(2, mark_of(cmc->record_7));
}

TEST(RecordWalk, ARecordThatRunsPastTheTotalEndsTheWalk) {
  // The last two wrap around in 32 bits: to the record itself and to the one in front of it.
  for (const uint32_t size : {25u, 28u, 0x7fffffffu, 0x80000000u, 0xffffffffu, 0u - 24u}) {
    for (const uint16_t kind : kinds{5, 64}) {
      const kit::cmc_ptr cmc =
          kit::parse(container()
                         .add(marked(8, 1))
                         .add(writer::record(kind, 100, bytes().zeros(16), {.size = size}))
                         .image());
      ASSERT_NE(nullptr, cmc);
      EXPECT_EQ(1, mark_of(cmc->record_8)) << size;
      EXPECT_EQ(nullptr, cmc->record_5) << size;
    }
  }
}

TEST(RecordWalk, ARecordThatEndsWithTheTotalIsDecoded) {
  const kit::cmc_ptr cmc = kit::parse(
      container().add(marked(8, 1)).add(writer::record(5, 100, bytes().zeros(16))).image());
  EXPECT_NE(nullptr, cmc->record_5);
}

TEST(RecordWalk, BytesTooFewForAHeaderEndTheWalk) {
  for (size_t rest = 1; rest < 8; ++rest) {
    std::vector<uint8_t> image = container().add(marked(8, 1)).image();
    // The size of the trailing record would be good if its header were there.
    const std::vector<uint8_t> header = writer::record_8({.size = 8}).vector();
    image.insert(image.end(), header.begin(), header.begin() + static_cast<ptrdiff_t>(rest));
    writer::seal(image);
    const kit::cmc_ptr cmc = kit::parse(image);
    ASSERT_NE(nullptr, cmc) << rest;
    EXPECT_EQ(1, mark_of(cmc->record_8)) << rest;
  }
}

TEST(RecordWalk, ACopyThatCannotBeAllocatedSkipsItsRecordAlone) {
  const std::vector<uint8_t> image =
      container().add(marked(5, 1)).add(marked(7, 2)).add(marked(21, 3)).image();
  for (size_t refused = 0; refused < 3; ++refused) {
    kit::allocation_ledger ledger;
    ledger.fail_after(1 + refused);
    const kit::cmc_ptr cmc = kit::parse(image);
    ASSERT_NE(nullptr, cmc);
    EXPECT_EQ(refused == 0 ? 0 : 1, mark_of(cmc->record_5));
    EXPECT_EQ(refused == 1 ? 0 : 2, mark_of(cmc->record_7));
    EXPECT_EQ(refused == 2 ? 0 : 3, mark_of(cmc->record_21));
    EXPECT_EQ(3u, ledger.live_blocks());
  }
}

TEST(RecordWalk, TheContainerStaysAsItIsAndIsNotReferencedAfterwards) {
  writer::container all;
  for (const writer::named_record& record : writer::every_good_record()) all.add(record.content);
  const std::vector<uint8_t> image = all.image();
  const qo_blob direct = writer::blob_of(image);
  const kit::cmc_ptr unprotected(qo_cmc_parser_init(&direct));
  // parse() maps the image without write access and unmaps it before it returns.
  const kit::cmc_ptr cmc = kit::parse(image);
  ASSERT_NE(nullptr, cmc);
  EXPECT_EQ(kit::tour_of(*unprotected).digest, kit::tour_of(*cmc).digest);
}

}  // namespace
