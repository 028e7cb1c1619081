// Every field of every kind is changed by itself: packed and parsed again, either the change comes
// back, and nothing else, or the document was refused with a path.
#include <gtest/gtest.h>
#include <regex.h>

#include <set>

#include "tests/tools/document/document_leaves.h"
#include "tests/tools/document/parsed_document.h"
#include "writer/records.h"

namespace {

using document::json;
using kit::leaf;

/// Fields that are refused when they are changed by themselves: which, of which records, and why.
struct refusal {
  const char* fields;
  const char* records;
  const char* why;
};
constexpr refusal refusals[] = {
    {R"(\.(size|id|built_from)$)", "", "follow from the other fields, or from the slot"},
    {R"(\.version$)", "", "decides which fields there are"},
    {R"(^(lens_shading|lens_shading_ext|lsc_grid\.record)\.(light_count|width|height)$)", "",
     "shape of the tables"},
    {R"(^general\.pair_count$|^record_6\.record\.value_1[2-5]$|^record_13\.record\.value_70$)", "",
     "counts"},
    {R"(^record_15\.(counts\.[ab]|sub_table\.count)$|^record_16\.record\.value_12$)", "", "counts"},
    {R"(^record_18\.record\.value_8$|^record_19\.record\.value_1[24]$)", "", "counts"},
    {R"(^record_20\.payload\.value_16$|^record_24\.(entries\.)?count$)", "", "counts"},
    {R"(^record_22\.(width|height|grid_count|item_count|list\.count|list_count)$)", "", "counts"},
    {R"(^record_25\.record\.value_(8|10)$|^record_27\.record\.value_(24|26|28|30)$)", "", "counts"},
    {R"(^record_(29|30)\.(grid_|trailing_)?(width|height|rows|columns)$|^record_30\.item_count$)",
     "", "counts"},
    {R"(^record_31\.count$|^record_34\.(block_count|blocks\.(long|short)_count)$)", "", "counts"},
    {R"(^record_35\.first\.count$|^record_36\.count$|^others\.others_count$)", "", "counts"},
    {R"(^record_14\.record\.(first|last|step)$)", "", "give the number of items"},
    {R"(^record_31\.place_16$|^record_34\.(place_16|blocks\.\w+_place|gaps\.place)$)", "",
     "places of arrays that stand where they stand"},
    {R"(^lsc_grid\.(blocks|light_gains)_in_lens_shading$)", "", "says where the tables are"},
    {R"(^lens_shading\.(reserved|channel_map)$|^lens_shading\.lights\.fraction_bits$)",
     "^record_10_", "record 10 stores none of these"},
    {R"(^lens_shading_ext\.(channel_map$|lights_ext\.fraction_bits$))", "^record_11_",
     "record 11 stores none of these"},
    {R"(^lens_shading(_ext)?\.lights(_ext)?\.gains$)", "^record_1[01]_v(99|100)",
     "below version 101 the records have no gains"},
    {R"(^lens_shading(_ext)?\.channel_map$)", "^record_(28|33)_", "says which sites have tables"},
    {R"(^lens_shading(_ext)?\.lights(_ext)?\.tables$)", "_sixteen_sites$",
     "other sites have the same plane"},
    {R"(^record_20\.record\.value_13$)", "^record_20_v(99|100)", "always 8 below version 101"},
    {R"(^record_22\.value_list$)", "", "without a list it is not stored"},
    {R"(^record_30\.grid$)", "^record_30_v10[2-4]", "these versions store no grid"},
    {R"(^record_31\.(header\.reserved|padding_12|entries)$)", "^record_3_", "record 3 has none"},
    {R"(^others\.others_entries$)", "", "those past the count are 0"},
};

/// Whether the pattern, an extended regular expression, is found.
[[nodiscard]] bool has_match(const std::string& text, const char* pattern) {
  regex_t compiled;
  EXPECT_EQ(0, regcomp(&compiled, pattern, REG_EXTENDED | REG_NOSUB)) << pattern;
  const bool found = regexec(&compiled, text.c_str(), 0, nullptr, 0) == 0;
  regfree(&compiled);
  return found;
}

[[nodiscard]] const refusal* find_refusal(const std::string& field, const std::string& record) {
  for (const refusal& one : refusals)
    if (has_match(field, one.fields) && has_match(record, one.records)) return &one;
  return nullptr;
}

/// Each kind by itself, and what only stands beside another.
[[nodiscard]] std::vector<std::pair<std::string, std::vector<uint8_t>>> containers() {
  std::vector<std::pair<std::string, std::vector<uint8_t>>> all;
  for (const writer::named_record& record : writer::every_good_record())
    all.emplace_back(record.name, writer::container().add(record.content).image());
  all.emplace_back(
      "record_10_beside_28",
      writer::container().add(writer::record_10({.filler = 77})).add(writer::record_28()).image());
  all.emplace_back("record_722", writer::container().add(writer::record_722()).image());
  all.emplace_back("records_19_20_and_34", writer::container()
                                               .add(writer::record_19())
                                               .add(writer::record_20())
                                               .add(writer::record_34())
                                               .image());
  return all;
}

/// Something else of the same type.
json changed(const leaf& at, const json& value) {
  if (value.is_null()) return 1;
  if (value.is_boolean()) return !value.get<bool>();
  if (value.is_number_float()) return value.get<double>() + 0.5;
  if (value.is_number_unsigned()) {
    const uint64_t number = value.get<uint64_t>();
    return (number + 1) % 256 == 0 ? number - 1 : number + 1;
  }
  if (value.is_number_integer()) return value.get<int64_t>() + 1;
  std::string text = value.get<std::string>();
  if (kit::is_text(at.field)) return text + "x";
  if (text.empty()) return "00";
  text[0] = text[0] == '1' ? '2' : '1';
  return text;
}

/// Without a table that follows from other slots.
[[nodiscard]] json without_derived(json slots) {
  if (!slots["record_34"].is_null() && slots["record_34"]["derived"] == true)
    slots["record_34"] = nullptr;
  return slots;
}

TEST(DocumentEdits, ChangeThatFieldAndNothingElse) {
  std::set<const refusal*> met;
  std::set<std::string> reported;
  size_t taken = 0;
  for (const auto& [name, image] : containers()) {
    SCOPED_TRACE(name);
    const json slots = without_derived(kit::document_of(image));
    for (const leaf& at : kit::leaves_of(slots)) {
      // Asks for another table, below.
      if (at.field == "record_34.derived") continue;
      json edited = slots;
      edited[at.pointer] = changed(at, slots.at(at.pointer));
      // A text changes the size of its record with it.
      if (kit::is_text(at.field)) edited["general"]["record"]["size"] = nullptr;
      std::vector<uint8_t> packed;
      try {
        packed = document::pack(edited, writer::checksum_rule::rule_a);
      } catch (const document::error& failure) {
        const std::string message = failure.what();
        const std::string slot = at.field.substr(0, at.field.find('.'));
        EXPECT_TRUE(message.starts_with(slot) || message.starts_with("lens_shading") ||
                    message.starts_with("lsc_grid"))
            << message;
        // What is not stored cannot be changed.
        const json& old = slots.at(at.pointer);
        if (old.is_null() || old == "") continue;
        const refusal* const known = find_refusal(at.field, name);
        met.insert(known);
        if (known == nullptr && reported.insert(at.field).second)
          ADD_FAILURE() << at.pointer << ": " << old << " -> " << edited[at.pointer]
                        << " is refused: " << message;
        continue;
      }
      ++taken;
      const json again = without_derived(kit::document_of(packed));
      for (const std::string& path : kit::differing_leaves(slots, again))
        EXPECT_TRUE(path == at.pointer.to_string() ||
                    (kit::is_text(at.field) && path == "/general/record/size"))
            << path << " changed with " << at.pointer;
      EXPECT_EQ(edited[at.pointer], again.at(at.pointer)) << at.pointer << " did not change";
    }
  }
  EXPECT_GT(taken, 4000u);
  for (const refusal& one : refusals)
    EXPECT_EQ(1u, met.count(&one)) << one.fields << " is never refused: " << one.why;
}

TEST(DocumentEdits, OfRecord19ChangeTheDerivedTable) {
  const std::vector<uint8_t> image = writer::container().add(writer::record_19()).image();
  json slots = kit::document_of(image);
  ASSERT_EQ(true, slots["record_34"]["derived"]);
  slots["record_19"]["entries"][0]["value_0"] = 0x00024000;
  const json again = kit::document_of(document::pack(slots, writer::checksum_rule::rule_a));
  EXPECT_EQ(2.25, again["record_34"]["blocks"][0]["long_entries"][0]["value_0"]);
}

TEST(DocumentEdits, OfADerivedTableAreLeftAlone) {
  const std::vector<uint8_t> image = writer::container().add(writer::record_19()).image();
  const json slots = kit::document_of(image);
  json edited = slots;
  edited["record_34"]["blocks"][0]["value_4"] = 1234;
  EXPECT_EQ(slots, kit::document_of(document::pack(edited, writer::checksum_rule::rule_a)));
}

TEST(DocumentEdits, MayAskForADerivedTableInPlaceOfTheRecord) {
  const auto image = [](bool with_34) {
    writer::container container;
    container.add(writer::record_19());
    if (with_34) container.add(writer::record_34());
    return container.image();
  };
  json slots = kit::document_of(image(true));
  slots["record_34"]["derived"] = true;
  EXPECT_EQ(kit::document_of(image(false)),
            kit::document_of(document::pack(slots, writer::checksum_rule::rule_a)));
}

// An array grows with its count and its record's size, which null asks for.
TEST(DocumentEdits, MayLengthenArrays) {
  json slots = kit::document_of(writer::record_24());
  json& record = slots["record_24"];
  record["head"]["size"] = nullptr;
  record["entries"][1]["values"] = {7, 8, 9};
  record["entries"][1]["count"] = 3;
  const json again = kit::document_of(document::pack(slots, writer::checksum_rule::rule_a));
  EXPECT_EQ(record["entries"], again["record_24"]["entries"]);
  EXPECT_EQ(104, again["record_24"]["head"]["size"]);
}

TEST(DocumentEdits, MayTakeASlotOut) {
  json slots = kit::document_of(
      writer::container().add(writer::record_10()).add(writer::record_24()).image());
  slots["record_24"] = nullptr;
  EXPECT_EQ(slots, kit::document_of(document::pack(slots, writer::checksum_rule::rule_b)));
  slots["lsc_grid"] = nullptr;
  slots["lens_shading"]["built_from"] = 28;
  EXPECT_EQ(slots, kit::document_of(document::pack(slots, writer::checksum_rule::rule_b)));
}

}  // namespace
