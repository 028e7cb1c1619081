// Well-formed containers with a few fields overwritten, sealed again: every run must account for
// every block and stay inside its memory. The seed is fixed, so that a failure repeats.

#include <random>

#include "tests/kit/fake_platform.h"
#include "tests/kit/foretold_cycle.h"
#include "writer/nvm_writer.h"
#include "writer/records.h"

namespace {

constexpr uint64_t extremes[] = {0,    1,    2,    3,          4,          7,          8,
                                 0x7f, 0x80, 0xff, 0x100,      0x7fff,     0x8000,     0xffff,
                                 100,  101,  102,  0x7fffffff, 0x80000000, 0xfffffff8, 0xffffffff};

class mutator {
 public:
  explicit mutator(uint32_t seed) : random_(seed) {}

  size_t below(size_t bound) { return static_cast<size_t>(random_() % bound); }

  /// Overwrites one field of 1, 2, 4 or 8 bytes of the record, mostly near its start, where counts
  /// and sizes stand.
  void mutate(writer::bytes& record) {
    const size_t width = size_t{1} << below(4);
    if (record.size() < width) return;
    const size_t last = record.size() - width;
    // The size field has its turn too: a size too large ends the walk, one too small cuts.
    const size_t start = below(16) == 0 ? 0 : 4;
    const size_t reach = below(4) == 0 ? last : std::min<size_t>(last, 40);
    const size_t offset = std::min(last, start + below(reach + 1));
    uint64_t value = random_();
    if (below(3) != 0) value = extremes[below(std::size(extremes))];
    std::vector<uint8_t> content = record.vector();
    for (size_t i = 0; i < width; ++i) content[offset + i] = static_cast<uint8_t>(value >> (8 * i));
    // Without its kind, most of what follows would not be looked at.
    if (below(8) != 0) {
      content[6] = record.u8_at(6);
      content[7] = record.u8_at(7);
    }
    record = writer::bytes(content);
  }

 private:
  std::mt19937_64 random_;
};

class Mutation : public testing::TestWithParam<uint32_t> {};

TEST_P(Mutation, KeepsEveryBlockAccountedFor) {
  const kit::fake_platform quiet;  // messages are not of interest, and there are many
  const std::vector<writer::named_record> good = writer::every_good_record();
  const writer::bytes nvm = writer::nvm_image({.grid = writer::nvm_grid{}});
  const qo_blob module_image = {nvm.data(), static_cast<uint32_t>(nvm.size())};
  calibration* module = nullptr;
  ASSERT_EQ(0u, qo_nvm_parse(&module_image, &module));

  mutator change(GetParam());
  size_t accepted = 0;
  constexpr size_t rounds = 1500;
  for (size_t round = 0; round < rounds; ++round) {
    SCOPED_TRACE(testing::Message() << "round " << round);
    writer::container container;
    const size_t records = 1 + change.below(3);
    const size_t first = change.below(good.size());
    for (size_t i = 0; i < records; ++i) {
      // Neighbours in the list are mostly of one kind: they replace each other.
      writer::bytes record = good[(first + i) % good.size()].content;
      for (size_t fields = change.below(4); fields > 0; --fields) change.mutate(record);
      container.add(record);
    }
    const bool calibrated = change.below(2) == 0;
    std::vector<uint8_t> image = container.image();
    if (change.below(8) == 0) image.resize(image.size() - change.below(image.size() - 23));
    writer::seal(image, change.below(2) == 0 ? writer::checksum_rule::rule_a
                                             : writer::checksum_rule::rule_b);

    kit::allocation_ledger ledger;
    const kit::allowed_leaks allowed =
        kit::replay_records(ledger, image, calibrated ? module : nullptr);
    const kit::cycle cycle =
        kit::run_foretold_cycle(ledger, image, calibrated ? &module_image : nullptr);
    if (cycle.accepted) ++accepted;
    EXPECT_EQ(allowed.blocks, cycle.left_blocks);
    EXPECT_EQ(allowed.bytes, cycle.left_bytes);
    if (HasFailure()) break;
  }
  EXPECT_EQ(rounds, accepted);
  qo_nvm_deinit(module);
}

TEST_P(Mutation, ReleasesNothingTwiceWhenAnAllocationFails) {
  const kit::fake_platform quiet;
  const std::vector<writer::named_record> good = writer::every_good_record();
  mutator change(GetParam() + 1000);
  for (size_t round = 0; round < 600 && !HasFailure(); ++round) {
    SCOPED_TRACE(testing::Message() << "round " << round);
    writer::container container;
    const size_t first = change.below(good.size());
    for (size_t i = 0; i < 2; ++i) {
      writer::bytes record = good[(first + i) % good.size()].content;
      for (size_t fields = change.below(3); fields > 0; --fields) change.mutate(record);
      container.add(record);
    }
    const std::vector<uint8_t> image = container.image();
    kit::allocation_ledger ledger;
    ledger.fail_after(change.below(12));
    kit::run_cycle(ledger, image);
  }
}

TEST_P(Mutation, OthersExtractionStaysInsideItsContainer) {
  mutator change(GetParam() + 2000);
  for (size_t round = 0; round < 2000; ++round) {
    writer::bytes others = writer::record_722();
    for (size_t fields = change.below(4); fields > 0; --fields) change.mutate(others);
    writer::bytes image(
        writer::container().add(writer::record_5()).add(others).add(writer::record_722()).image());
    if (change.below(4) == 0) image.patch_u32(4, static_cast<uint32_t>(change.below(200)));
    if (change.below(4) == 0) change.mutate(image);
    std::vector<uint8_t> content = image.vector();
    if (change.below(4) == 0) content.resize(change.below(content.size() + 1));
    kit::allocation_ledger ledger;
    const kit::read_only_image held(content);
    const qo_blob blob = held.blob();
    parsed_cmc cmc = {};
    qo_vexb_others_parser_init(&blob, &cmc);
    ASSERT_EQ(cmc.others != nullptr ? 1u : 0u, ledger.live_blocks());
    if (cmc.others != nullptr) {
      ASSERT_GE(8u, cmc.others->others_count);
      ledger.release(cmc.others);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, Mutation, testing::Values(1u, 2u, 3u, 4u));

}  // namespace
