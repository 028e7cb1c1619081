// Which containers the entry accepts.

#include "tests/kit/container_cycle.h"
#include "writer/records.h"

namespace {

using writer::checksum_rule;
using writer::container;

bool accepted(const std::vector<uint8_t>& image) { return kit::parse(image) != nullptr; }

/// A container of one record 5, then `tail`, of which its size and its checksum know nothing yet.
std::vector<uint8_t> image_with_tail(const std::vector<uint8_t>& tail) {
  std::vector<uint8_t> image = container().add(writer::record_5()).image();
  image.insert(image.end(), tail.begin(), tail.end());
  return image;
}

void put_u32(std::vector<uint8_t>& image, size_t offset, uint32_t value) {
  image = writer::bytes(image).patch_u32(offset, value).vector();
}

TEST(ContainerValidation, ANullContainerOrOneWithoutDataIsRefused) {
  const std::vector<uint8_t> image = container().image();
  const qo_blob without_data = {nullptr, static_cast<uint32_t>(image.size())};
  EXPECT_EQ(nullptr, qo_cmc_parser_init(nullptr));
  EXPECT_EQ(nullptr, qo_cmc_parser_init_v1(nullptr, nullptr));
  EXPECT_EQ(nullptr, qo_cmc_parser_init(&without_data));
  EXPECT_EQ(nullptr, qo_cmc_parser_init_v1(&without_data, nullptr));
}

TEST(ContainerValidation, AnEmptyContainerYieldsAnEmptyParsedCmc) {
  const std::vector<uint8_t> image = container().image();
  ASSERT_EQ(24u, image.size());
  const kit::cmc_ptr cmc = kit::parse(image);
  ASSERT_NE(nullptr, cmc);
  EXPECT_TRUE(kit::is_empty(*cmc));
}

TEST(ContainerValidation, BothEntriesAcceptEitherChecksum) {
  for (const checksum_rule rule : {checksum_rule::rule_a, checksum_rule::rule_b}) {
    const std::vector<uint8_t> image = container().rule(rule).add(writer::record_5()).image();
    const qo_blob blob = writer::blob_of(image);
    const kit::cmc_ptr first(qo_cmc_parser_init(&blob));
    const kit::cmc_ptr second(qo_cmc_parser_init_v1(&blob, nullptr));
    ASSERT_NE(nullptr, first);
    ASSERT_NE(nullptr, second);
    EXPECT_NE(nullptr, first->record_5);
    EXPECT_EQ(kit::tour_of(*first).digest, kit::tour_of(*second).digest);
  }
}

// Words 7, 40, 11, 12, 13, then the checksum, then one record of 16 bytes: 16, 0x00050064, 1, 2.
// All but the checksum sum up to 0x000500ca, only the record to 0x00050077.
TEST(ContainerValidation, TheTwoSumsCoverTheirOwnWords) {
  const auto image = [](uint32_t checksum) {
    writer::bytes words;
    words.u32(7).u32(40).u32(11).u32(12).u32(13).u32(checksum);
    words.u32(16).u8(100).u8(0).u16(5).u32(1).u32(2);
    return words.vector();
  };
  EXPECT_TRUE(accepted(image(0x000500ca)));
  EXPECT_TRUE(accepted(image(0x00050077)));
  for (const uint32_t wrong : {0x000500c9u, 0x000500cbu, 0x00050076u, 0x00050078u, 0u, ~0u})
    EXPECT_FALSE(accepted(image(wrong))) << wrong;
  // All but checksum and size words; the record sum with the checksum counted in.
  EXPECT_FALSE(accepted(image(0x000500ca - 40)));
}

TEST(ContainerValidation, SumsWrapAtThirtyTwoBits) {
  for (const checksum_rule rule : {checksum_rule::rule_a, checksum_rule::rule_b}) {
    const writer::bytes record = writer::record(
        8, 100, writer::bytes().u32(0xffffffff).u32(0xfffffffe).u32(0x80000000).u32(9));
    EXPECT_TRUE(accepted(container().rule(rule).header_word(0, 0xffffff00).add(record).image()));
  }
}

TEST(ContainerValidation, EveryHeaderWordCountsInTheFirstSumAndNoneInTheSecond) {
  for (const size_t word : {0u, 2u, 3u, 4u}) {
    std::vector<uint8_t> image = container().add(writer::record_5()).image();
    put_u32(image, 4 * word, writer::bytes(image).u32_at(4 * word) + 1);
    EXPECT_FALSE(accepted(image)) << "word " << word;
    image = container().rule(checksum_rule::rule_b).add(writer::record_5()).image();
    put_u32(image, 4 * word, writer::bytes(image).u32_at(4 * word) + 1);
    EXPECT_TRUE(accepted(image)) << "word " << word;
  }
}

TEST(ContainerValidation, EveryRecordWordCountsInBothSums) {
  for (const checksum_rule rule : {checksum_rule::rule_a, checksum_rule::rule_b}) {
    const std::vector<uint8_t> good = container().rule(rule).add(writer::record_5()).image();
    for (size_t offset = 24; offset < good.size(); ++offset) {
      std::vector<uint8_t> image = good;
      image[offset] = static_cast<uint8_t>(image[offset] + 1);
      EXPECT_FALSE(accepted(image)) << "byte " << offset;
    }
  }
}

TEST(ContainerValidation, ADeclaredSizeUnlikeTheDescriptorsIsRefusedThoughTheChecksumHolds) {
  const std::vector<uint8_t> good = container().add(writer::record_5()).image();
  const uint32_t size = static_cast<uint32_t>(good.size());
  ASSERT_TRUE(accepted(good));
  for (const uint32_t declared : {size + 4, size - 4, size + 1, size - 1, 24u, 0u, ~0u}) {
    for (const checksum_rule rule : {checksum_rule::rule_a, checksum_rule::rule_b})
      EXPECT_FALSE(accepted(container().rule(rule).add(writer::record_5()).total(declared).image()))
          << declared;
  }
}

TEST(ContainerValidation, ADescriptorOfAnotherSizeIsRefusedWithoutTouchingWhatLiesBehindIt) {
  const std::vector<uint8_t> good = container().add(writer::record_5()).image();
  for (size_t size = 0; size < good.size(); ++size) {
    const std::vector<uint8_t> image(good.begin(), good.begin() + static_cast<ptrdiff_t>(size));
    EXPECT_FALSE(accepted(image)) << size;
  }
}

TEST(ContainerValidation, SizesBelowTheHeaderAreRefusedWhateverTheyDeclare) {
  for (uint32_t size = 0; size < 24; ++size) {
    writer::bytes image;
    image.zeros_to_size(size);
    if (size >= 8) image.patch_u32(4, size);
    // Word 1 is the only one that is not 0, and there is no checksum word to agree or disagree.
    EXPECT_FALSE(accepted(image.vector())) << size;
    const kit::read_only_image held(image.vector(), kit::guard_side::before);
    const qo_blob blob = held.blob();
    EXPECT_EQ(nullptr, qo_cmc_parser_init(&blob)) << size;
  }
}

TEST(ContainerValidation, BytesThatFillNoWordTakePartInNeitherSum) {
  for (const checksum_rule rule : {checksum_rule::rule_a, checksum_rule::rule_b}) {
    for (size_t rest = 1; rest <= 3; ++rest) {
      SCOPED_TRACE(testing::Message() << "rest " << rest);
      std::vector<uint8_t> image = image_with_tail(std::vector<uint8_t>(rest, 0xa5));
      writer::seal(image, rule);
      EXPECT_TRUE(accepted(image));
      image.back() = 0x17;
      EXPECT_TRUE(accepted(image));
      image[image.size() - rest - 1] = static_cast<uint8_t>(image[image.size() - rest - 1] + 1);
      EXPECT_FALSE(accepted(image));
    }
  }
}

TEST(ContainerValidation, AContainerMayStartAtAnyAddress) {
  for (size_t shift = 0; shift < 8; ++shift) {
    for (const checksum_rule rule : {checksum_rule::rule_a, checksum_rule::rule_b}) {
      const std::vector<uint8_t> image = container()
                                             .rule(rule)
                                             .add(writer::record_1())
                                             .add(writer::record_10())
                                             .add(writer::record_22())
                                             .image();
      std::vector<uint8_t> shifted(shift + image.size());
      std::copy(image.begin(), image.end(), shifted.begin() + static_cast<ptrdiff_t>(shift));
      const qo_blob blob = {shifted.data() + shift, static_cast<uint32_t>(image.size())};
      const kit::cmc_ptr cmc(qo_cmc_parser_init(&blob));
      ASSERT_NE(nullptr, cmc) << "shift " << shift;
      EXPECT_EQ(kit::tour_of(*kit::parse(image)).digest, kit::tour_of(*cmc).digest);
    }
  }
}

TEST(ContainerValidation, RefusedContainersAllocateNothing) {
  kit::allocation_ledger ledger;
  EXPECT_FALSE(accepted(container().checksum(1).add(writer::record_5()).image()));
  EXPECT_FALSE(accepted(container().total(4).add(writer::record_5()).image()));
  EXPECT_EQ(0u, ledger.allocations());
}

TEST(ContainerValidation, AParsedCmcThatCannotBeAllocatedYieldsNull) {
  kit::allocation_ledger ledger;
  ledger.fail_after(0);
  EXPECT_FALSE(accepted(container().add(writer::record_5()).image()));
  EXPECT_EQ(1u, ledger.failures());
  EXPECT_EQ(0u, ledger.allocations());
}

}  // namespace
