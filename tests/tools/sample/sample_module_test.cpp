#include "tools/sample/sample_module.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>

#include "cmc_parser/records/kinds.h"
#include "qo_cmc/parser.h"
#include "tests/kit/allocation_ledger.h"
#include "writer/container_writer.h"

namespace {

using cmc_ptr = std::unique_ptr<parsed_cmc, decltype(&qo_cmc_parser_deinit)>;

cmc_ptr parse(const std::vector<uint8_t>& container, const std::vector<uint8_t>& nvm) {
  const qo_blob container_blob = writer::blob_of(container);
  const qo_blob nvm_blob = writer::blob_of(nvm);
  return {qo_cmc_parser_init_v1(&container_blob, &nvm_blob), &qo_cmc_parser_deinit};
}

std::set<uint16_t> kinds_in(const std::vector<uint8_t>& container) {
  const writer::bytes image(container);
  std::set<uint16_t> kinds;
  for (size_t offset = 24; offset < image.size(); offset += image.u32_at(offset))
    kinds.insert(image.u16_at(offset + 6));
  return kinds;
}

TEST(SampleModule, HasTheSameBytesEachTime) {
  EXPECT_EQ(sample_container(), sample_container());
  EXPECT_EQ(sample_nvm(), sample_nvm());
}

TEST(SampleModule, HoldsEachKindThatHasASlotAndForeignOnes) {
  std::set<uint16_t> wanted = {64, 300, 722, 1000};
  wanted.insert(std::begin(qo::record_kinds), std::end(qo::record_kinds));
  EXPECT_EQ(wanted, kinds_in(sample_container())) << "sample_module.cpp lacks a kind";
  wanted.erase(34);
  EXPECT_EQ(wanted, kinds_in(sample_container(record_34_choice::synthesised)));
}

TEST(SampleModule, FillsTheSlotsOfTheParsedCmc) {
  const cmc_ptr cmc = parse(sample_container(), {});
  ASSERT_TRUE(cmc);
  EXPECT_STREQ("sample module", cmc->general.name);
  ASSERT_TRUE(cmc->lens_shading != nullptr && cmc->lens_shading_ext != nullptr &&
              cmc->record_30 != nullptr && cmc->record_34 != nullptr);
  EXPECT_EQ(28, cmc->lens_shading->id);
  EXPECT_EQ(65, cmc->lens_shading->width);
  EXPECT_EQ(49, cmc->lens_shading->height);
  EXPECT_EQ(33, cmc->lens_shading_ext->id);
  EXPECT_EQ(1, cmc->lens_shading_ext->lights_ext[0].aux);
  EXPECT_EQ(3, cmc->lens_shading_ext->lights_ext[2].aux);
}

TEST(SampleModule, Without34LetsTheParserSynthesiseIt) {
  const cmc_ptr cmc = parse(sample_container(record_34_choice::synthesised), {});
  ASSERT_TRUE(cmc != nullptr && cmc->record_34 != nullptr);
  EXPECT_EQ(224u, cmc->record_34->size);  // 120 + 32 x 2 + 8 x 3 from record 19, 8 x 2 from 20
}

// The axis of the glued lens lies to the right of the middle: gains fall there and rise on the
// left.
TEST(SampleModule, ItsCalibrationMovesTheTables) {
  const cmc_ptr before = parse(sample_container(), {});
  const cmc_ptr after = parse(sample_container(), sample_nvm());
  ASSERT_TRUE(before != nullptr && after != nullptr);
  const size_t left = 24 * 65, right = 24 * 65 + 64;
  for (size_t light = 0; light < 3; ++light) {
    for (const auto& [row, column] : {std::pair(0, 0), {0, 1}, {1, 0}, {1, 1}}) {
      const uint16_t* const old_table = before->lens_shading->lights[light].tables[row][column];
      const uint16_t* const new_table = after->lens_shading->lights[light].tables[row][column];
      EXPECT_GT(new_table[left], old_table[left]);
      EXPECT_LT(new_table[right], old_table[right]);
      for (size_t i = 0; i < 65 * 49; ++i) {
        ASSERT_GT(new_table[i], old_table[i] * 0.9);
        ASSERT_LT(new_table[i], old_table[i] * 1.1);
      }
    }
  }
}

TEST(SampleModule, LeavesNothingBehind) {
  const std::vector<uint8_t> container = sample_container();
  const std::vector<uint8_t> nvm = sample_nvm();
  const kit::allocation_ledger ledger;
  EXPECT_TRUE(parse(container, nvm));
  EXPECT_EQ(0u, ledger.live_blocks());
  EXPECT_EQ(0u, ledger.bad_releases());
}

}  // namespace
