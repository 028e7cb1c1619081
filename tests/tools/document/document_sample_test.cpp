// The sample module as a document.
#include <gtest/gtest.h>

#include "tests/tools/document/parsed_document.h"
#include "tools/sample/sample_module.h"

namespace {

using document::json;

TEST(DocumentOfTheSample, ComesBackWithAndWithoutCalibration) {
  const writer::bytes nvm(sample_nvm());
  for (const record_34_choice choice : {record_34_choice::stored, record_34_choice::synthesised}) {
    const std::vector<uint8_t> image = sample_container(choice);
    for (const json& slots : {kit::document_of(image), kit::document_of(image, &nvm)}) {
      EXPECT_EQ(choice == record_34_choice::synthesised, slots["record_34"]["derived"]);
      const std::vector<uint8_t> packed = document::pack(slots, writer::checksum_rule::rule_b);
      EXPECT_TRUE(slots == kit::document_of(packed));
      EXPECT_TRUE(document::differences(slots, kit::document_of(packed)).empty());
    }
  }
}

TEST(DocumentOfTheSample, DiffersByItsTablesWhenTheyAreCalibrated) {
  const writer::bytes nvm(sample_nvm());
  const std::vector<document::difference> found = document::differences(
      kit::document_of(sample_container()), kit::document_of(sample_container(), &nvm));
  ASSERT_EQ(13u, found.size());
  EXPECT_EQ("record_30.grid", found[0].path);
  EXPECT_EQ("lens_shading.lights[2].tables[1][1]", found[12].path);
  EXPECT_EQ("49 x 65 values", found[12].before);
  EXPECT_TRUE(found[12].after.ends_with("mean of these 169.067")) << found[12].after;
}

TEST(DocumentOfTheSample, IsShortenedUnlessAllIsAskedFor) {
  const json slots = kit::document_of(sample_container());
  const std::string text = document::text_of(slots, false);
  const std::string full = document::text_of(slots, true);
  EXPECT_NE(std::string::npos, text.find("... 3177 more"));
  EXPECT_EQ(std::string::npos, full.find("... "));
  EXPECT_LT(text.size(), 30000u);
  EXPECT_GT(full.size(), 300000u);
}

}  // namespace
