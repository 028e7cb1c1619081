// Documents for people, and what differs between two.
#include <gtest/gtest.h>

#include <clocale>

#include "tests/tools/document/parsed_document.h"
#include "writer/records.h"

namespace {

using document::json;

std::string line_with(const std::string& text, const std::string& part) {
  const size_t at = text.find(part);
  if (at == std::string::npos) return "none: " + text.substr(0, 2000);
  const size_t start = text.rfind('\n', at) + 1;
  return text.substr(start, text.find('\n', at) - start);
}

std::string text_of(const writer::bytes& record, bool full = false) {
  return document::text_of(kit::document_of(record), full);
}

TEST(DocumentText, NamesFieldsUnitsAndWhatIsEmpty) {
  const std::string text = text_of(writer::record_28({.width = 20, .height = 10}));
  EXPECT_EQ("  light_count  2", line_with(text, "light_count"));
  EXPECT_EQ("      fraction_bits  12 (1.0 is 4096)", line_with(text, "fraction_bits"));
  EXPECT_EQ("      coords         0.03125 0.015625 (coordinates, 0 to 1)",
            line_with(text, "coords"));
  EXPECT_EQ("  id           28 (mapped_grid)", line_with(text, "  id"));
  EXPECT_EQ("record_19          empty", line_with(text, "record_19"));
  EXPECT_TRUE(line_with(text, "[0][1]").starts_with("        [0][1]  10 x 20, "));
  EXPECT_TRUE(line_with(text, "[0][1]").ends_with("... 192 more"));
  EXPECT_EQ(std::string::npos, text.find("[0][2]")) << "a site without a table";
}

TEST(DocumentText, DoesNotRoundAGainBelowOneUpToOne) {
  json slots = kit::document_of(writer::record_28({.width = 5, .height = 4}));
  json& table = slots["lens_shading"]["lights"][0]["tables"][0][0];
  ASSERT_EQ(12, slots["lens_shading"]["lights"][0]["fraction_bits"]);
  for (json& row : table) row = {4096, 4096, 4096, 4096, 4097};
  table[2][3] = 4095;
  const std::string line = line_with(document::text_of(slots, false), "[0][0]");
  EXPECT_NE(std::string::npos, line.find("4095 to 4097 (0.9998 to 1.000)")) << line;
}

TEST(DocumentText, SaysFixedPointAsANumber) {
  EXPECT_EQ("      value_0    98304 (1.5 with 16 fraction bits)",
            line_with(text_of(writer::record_19()), "98304"));
}

TEST(DocumentText, SaysWhatStandsForWhatIsNotStored) {
  EXPECT_EQ("  value_34    not stored, reads as value_12",
            line_with(text_of(writer::record_2({.version = 102})), "value_34"));
}

TEST(DocumentText, ShowsWholeArraysWhenAsked) {
  const std::string text = text_of(writer::record_28({.width = 20, .height = 10}), true);
  EXPECT_EQ(std::string::npos, text.find("..."));
  const std::string head = text_of(writer::record_13({.count = 12}));
  EXPECT_TRUE(line_with(head, "values").ends_with("... 4 more")) << line_with(head, "values");
}

TEST(DocumentText, EscapesWhatComesFromTheFile) {
  const std::string text =
      text_of(writer::record_1({.name = "a\x1b[31m\\", .pairs = {{"k\n", "v\xff"}}}));
  EXPECT_EQ("  name        \"a\\x1b[31m\\\\\"", line_with(text, "name"));
  EXPECT_EQ(std::string::npos, text.find('\x1b'));
  EXPECT_EQ(std::string::npos, text.find('\xff'));
  EXPECT_EQ("      value  bytes 76ff", line_with(text, "value "));
}

TEST(DocumentText, IsTheSameUnderAnyLocale) {
  const json slots = kit::document_of(writer::record_28());
  const std::string text = document::text_of(slots, true), dump = slots.dump();
  const std::string before = setlocale(LC_ALL, nullptr);
  for (const char* const locale : {"de_DE.UTF-8", "C.UTF-8", "C"}) {
    if (setlocale(LC_ALL, locale) == nullptr) continue;
    EXPECT_EQ(text, document::text_of(slots, true)) << locale;
    EXPECT_EQ(dump, kit::document_of(writer::record_28()).dump()) << locale;
    EXPECT_EQ(slots,
              kit::document_of(document::pack(json::parse(dump), writer::checksum_rule::rule_a)))
        << locale;
  }
  setlocale(LC_ALL, before.c_str());
}

using lines = std::vector<std::string>;
lines differing(const json& a, const json& b) {
  lines result;
  for (const document::difference& one : document::differences(a, b))
    result.push_back(one.path + ": " + one.before + " -> " + one.after);
  return result;
}
lines differing(const writer::bytes& a, const writer::bytes& b) {
  return differing(kit::document_of(a), kit::document_of(b));
}

TEST(DocumentDifferences, AreNoneBetweenEqualDocuments) {
  for (const writer::named_record& record : writer::every_good_record())
    EXPECT_EQ(lines(), differing(record.content, record.content)) << record.name;
}

TEST(DocumentDifferences, AreNoneBetweenASignedAndAnUnsignedNumberOfTheSameValue) {
  const auto with = [](const json& number) {
    return json{{"record_5", {{"one", number}, {"many", {1, 2, 3, 4, number}}}}};
  };
  for (const int32_t number : {0, 1, 0x7fffffff})
    EXPECT_EQ(lines(), differing(with(number), with(uint32_t(number)))) << number;
  EXPECT_EQ((lines{"record_5.one: -1 -> 18446744073709551615",
                   "record_5.many: 5 values -> 1 of them differ, largest difference "
                   "1.84467441e+19, mean of these 1.84467e+19"}),
            differing(with(-1), with(uint64_t(-1))));
}

TEST(DocumentDifferences, NameFieldOldAndNew) {
  writer::bytes other = writer::record_19();
  other.patch_u16(8, 9).patch_u32(48, 0x8000).patch_u16(70, 1);
  json a = kit::document_of(writer::record_19()), b = kit::document_of(other);
  a["record_34"] = b["record_34"] = nullptr;
  EXPECT_EQ(
      (lines{"record_19.record.value_8: 7 -> 9", "record_19.entries[1].value_4: 65536 -> 32768",
             "record_19.entries[1].values_20[3]: 71 -> 1"}),
      differing(a, b));
}

TEST(DocumentDifferences, TakeASlotOfOnlyOneInOneLine) {
  EXPECT_EQ((lines{"record_5: absent -> present", "record_7: present -> absent"}),
            differing(writer::record_7(), writer::record_5()));
}

TEST(DocumentDifferences, TakeAGridInOneLine) {
  writer::bytes other = writer::record_28();
  const uint16_t first = other.u16_at(54), second = other.u16_at(56);
  other.patch_u16(54, static_cast<uint16_t>(first + 10));
  other.patch_u16(56, static_cast<uint16_t>(second - 4));
  EXPECT_EQ((lines{"lens_shading.lights[0].tables[0][0]: 2 x 3 values -> 2 of them differ, largest "
                   "difference 10, mean of these 7"}),
            differing(writer::record_28(), other));
}

TEST(DocumentDifferences, CountWhatIsNotFinite) {
  writer::bytes a = writer::record_29(), b = writer::record_29();
  b.patch_u32(20, 0x7fc00001).patch_f32(24, a.f32_at(24) + 1);
  EXPECT_EQ((lines{"record_29.planes: 4 x 2 x 3 values -> 2 of them differ, largest difference 1, "
                   "mean of these 1, 1 not finite"}),
            differing(a, b));
}

TEST(DocumentDifferences, SeeBitsThatCompareAsEqual) {
  writer::bytes a = writer::record_28(), b = writer::record_28();
  a.patch_f32(36, 0.0f);
  b.patch_f32(36, -0.0f);
  EXPECT_EQ((lines{"lens_shading.lights[0].gains[0]: 0.0 -> -0.0"}), differing(a, b));
}

TEST(DocumentDifferences, QuoteAndEscapeText) {
  EXPECT_EQ((lines{"general.record.size: 53 -> 48", "general.name: \"module\" -> \"\\x1b\""}),
            differing(writer::record_1(), writer::record_1({.name = "\x1b"})));
}

TEST(DocumentDifferences, SayWhereLongBytesDiffer) {
  writer::bytes other = writer::record_22();
  const size_t block = 22 + 2 * 50 + 8 + 1040;
  other.patch_u8(block + 700, 0x01).patch_u8(block + 701, 0x02);
  const lines found = differing(writer::record_22(), other);
  ASSERT_EQ(1u, found.size());
  EXPECT_TRUE(found[0].starts_with("record_22.block: byte 700: ")) << found[0];
  EXPECT_TRUE(found[0].ends_with("-> byte 700: 01 (2 of 1024 bytes differ)")) << found[0];
}

TEST(DocumentDifferences, CompareGridsOfOtherShapesByTheirShapes) {
  const lines found = differing(writer::record_28(), writer::record_28({.width = 5}));
  EXPECT_EQ("lens_shading.width: 3 -> 5", found.at(1));
  EXPECT_EQ("lens_shading.lights[0].tables[0][0]: 2 x 3 values -> 2 x 5 values", found.at(2));
}

}  // namespace
