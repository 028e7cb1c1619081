// Moves of whole records leave a container that is still walked to its end.
#include "fuzz/record_moves.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "writer/container_writer.h"
#include "writer/records.h"

namespace {

using image = std::vector<uint8_t>;

struct walked {
  std::vector<uint16_t> kinds;
  size_t left = 0;  ///< bytes after the last whole record
};

walked walk(const image& container) {
  walked result;
  const writer::bytes view(container);
  size_t at = 24;
  while (container.size() - at >= 8 && view.u32_at(at) >= 8 &&
         view.u32_at(at) <= container.size() - at) {
    result.kinds.push_back(view.u16_at(at + 6));
    at += view.u32_at(at);
  }
  result.left = container.size() - at;
  return result;
}

image three_records() {
  return writer::container()
      .add(writer::record_5())
      .add(writer::record_7())
      .add(writer::record_13())
      .image();
}

TEST(RecordMoves, RepeatExchangeDropAndRenameRecords) {
  const std::vector<uint16_t> kinds = walk(three_records()).kinds;
  std::set<size_t> counts;
  bool exchanged = false, renamed = false;
  fuzz::random_bits random(1);
  for (int round = 0; round < 200; ++round) {
    image container = three_records();
    fuzz::move_records(container, 4096, random);
    const walked after = walk(container);
    EXPECT_EQ(0u, after.left);
    counts.insert(after.kinds.size());
    const bool same_kinds =
        std::is_permutation(after.kinds.begin(), after.kinds.end(), kinds.begin(), kinds.end());
    exchanged = exchanged || (same_kinds && after.kinds != kinds);
    renamed = renamed || (after.kinds.size() == kinds.size() && !same_kinds);
  }
  EXPECT_EQ((std::set<size_t>{2, 3, 4}), counts);
  EXPECT_TRUE(exchanged);
  EXPECT_TRUE(renamed);
}

TEST(RecordMoves, LetNoContainerGrowBeyondItsRoom) {
  fuzz::random_bits random(2);
  for (int round = 0; round < 100; ++round) {
    image container = three_records();
    fuzz::move_records(container, three_records().size(), random);
    EXPECT_GE(three_records().size(), container.size());
    container = three_records();
    fuzz::splice_record(container, three_records(), three_records().size(), random);
    EXPECT_EQ(three_records(), container);
  }
}

TEST(RecordMoves, LeaveAloneWhatHasNoRecord) {
  fuzz::random_bits random(3);
  for (const size_t size : {0u, 7u, 24u, 30u}) {
    image container(size);
    fuzz::move_records(container, 4096, random);
    EXPECT_EQ(image(size), container);
  }
}

TEST(RecordMoves, TakeARecordOfAnotherContainer) {
  fuzz::random_bits random(4);
  const image donor = writer::container().add(writer::record_36()).image();
  for (int round = 0; round < 20; ++round) {
    image container = three_records();
    fuzz::splice_record(container, donor, 4096, random);
    const walked after = walk(container);
    EXPECT_EQ(4u, after.kinds.size());
    EXPECT_EQ(1, std::count(after.kinds.begin(), after.kinds.end(), 36));
    EXPECT_EQ(0u, after.left);
  }
}

TEST(RecordMoves, CloseRecordsOfEverySize) {
  for (const uint32_t size : {0u, 7u, 8u, 25u, 100u, 0x7fffffffu, 0xffffffffu}) {
    writer::bytes broken(three_records());
    broken.patch_u32(24, size);
    image container = broken.vector();
    fuzz::close_records(container);
    EXPECT_EQ(three_records().size(), container.size()) << size;
    const size_t too_few = walk(container).left;
    EXPECT_GT(writer::record_header_size, too_few) << size;
  }
}

}  // namespace
