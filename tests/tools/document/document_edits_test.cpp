// Every field of every kind is changed by itself: packed and parsed again, either the change comes
// back, and nothing else, or the document was refused with a path.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "tests/tools/document/document_leaves.h"
#include "tests/tools/document/parsed_document.h"
#include "writer/records.h"

namespace {

using document::json;
using kit::leaf;

/// Why a changed field is refused, though its type is right.
const std::map<std::string, std::string> refused_fields = {
    {"PLACEHOLDER", ""},
};

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

TEST(DocumentEdits, ChangeThatFieldAndNothingElse) {
  std::set<std::string> refused, unused;
  size_t taken = 0;
  for (const auto& [field, why] : refused_fields) unused.insert(field);
  for (const writer::named_record& record : writer::every_good_record()) {
    SCOPED_TRACE(record.name);
    const json slots = kit::document_of(record.content);
    for (const leaf& at : kit::leaves_of(slots)) {
      const json& old = slots.at(at.pointer);
      json edited = slots;
      edited[at.pointer] = changed(at, old);
      // A text has the size of its record with it.
      if (kit::is_text(at.field)) edited["general"]["record"]["size"] = nullptr;
      std::vector<uint8_t> packed;
      try {
        packed = document::pack(edited, writer::checksum_rule::rule_a);
      } catch (const document::error& failure) {
        EXPECT_NE(std::string::npos, std::string(failure.what()).find(": ")) << failure.what();
        if (refused_fields.count(at.field) == 0 && refused.insert(at.field).second)
          ADD_FAILURE() << at.field << " " << old << " -> " << edited[at.pointer]
                        << " refused: " << failure.what();
        unused.erase(at.field);
        continue;
      }
      ++taken;
      const json again = kit::document_of(packed);
      const std::vector<std::string> differing = kit::differing_leaves(slots, again);
      const std::string size = "/general/record/size";
      for (const std::string& path : differing)
        EXPECT_TRUE(path == at.pointer.to_string() || (kit::is_text(at.field) && path == size))
            << path << " changed with " << at.pointer;
      EXPECT_FALSE(differing.empty()) << at.pointer << " did not change";
      EXPECT_EQ(edited[at.pointer], again.at(at.pointer)) << at.pointer;
    }
  }
  EXPECT_GT(taken, 5000u);
  for (const std::string& field : unused) ADD_FAILURE() << field << " is never refused";
}

}  // namespace
