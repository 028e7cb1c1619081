// Documents that nobody wrote by accident: each is refused with a path, or packed as it says.
#include <gtest/gtest.h>

#include "tests/tools/document/document_leaves.h"
#include "tests/tools/document/parsed_document.h"
#include "writer/records.h"

namespace {

using document::json;

/// The message of what pack() throws; empty when it packs.
std::string refusal_of(const json& slots) {
  try {
    (void)document::pack(slots, writer::checksum_rule::rule_a);
  } catch (const document::error& failure) {
    return failure.what();
  }
  return "";
}

/// A document with every slot filled.
json full_document() {
  writer::container container;
  for (const writer::named_record& record : writer::every_good_record())
    if (record.name.ends_with("_v100") || record.name.ends_with("_v102"))
      container.add(record.content);
  container.add(writer::record_722());
  return kit::document_of(container.image());
}

struct hostile {
  const char* pointer;
  json value;
  const char* message;
};

TEST(DocumentHostile, IsRefusedWithThePath) {
  const json slots = full_document();
  ASSERT_EQ("", refusal_of(slots));
  const hostile rows[] = {
      {"/record_19/record/value_8", -1,
       "record_19.record.value_8: must be a whole number from 0 to 65535"},
      {"/record_19/record/value_8", 65536,
       "record_19.record.value_8: must be a whole number from 0 to 65535"},
      {"/record_19/record/value_8", 7.0,
       "record_19.record.value_8: must be a whole number from 0 to 65535"},
      {"/record_19/entries/1/values_8/2", 4294967296,
       "record_19.entries[1].values_8[2]: must be a whole number from 0 to 4294967295"},
      {"/record_19/entries/1", json::array(), "record_19.entries[1]: must be an object"},
      {"/record_19/entries", json::object(), "record_19.entries: must be an array"},
      {"/record_19/record/version", 256,
       "record_19.record.version: must be a whole number from 0 to 255"},
      {"/record_19/record", nullptr, "record_19.record: must be an object"},
      {"/record_19", 5, "record_19: must be an object"},
      {"/record_19/record/bytes_10", "a", "record_19.record.bytes_10: must be pairs of"},
      {"/record_19/record/bytes_10", "AB01", "record_19.record.bytes_10: must be pairs of"},
      {"/record_19/record/bytes_10", "ab", "record_19.record.bytes_10: must be 2 bytes"},
      {"/record_19/record/bytes_10", 12, "record_19.record.bytes_10: must be bytes as text"},
      {"/record_19/record/value_12", 65535, "record_19.entries: has 2 elements"},
      {"/record_22/width", -32769, "record_22.width: must be a whole number from -32768 to 32767"},
      {"/record_22/item_count", 2147483647, "record_22.items: has "},
      {"/record_22/item_count", -2147483648LL, "record_22.items: has "},
      {"/record_22/list_count", 2147483647, "record_22.list: has "},
      {"/record_22/grid_count", 65535, "record_22.grid: has "},
      {"/record_22/list/0/count", 4294967295u, "record_22.list[0].values: has "},
      {"/record_24/head/size", 4294967295u, "record_24.head.size: is too large"},
      {"/record_24/head/size", 8, "record_24.head.size: is too small"},
      {"/record_29/width", 65535, "record_29.planes[0][0]: has "},
      {"/record_29/planes/0/0/0", "nan:0x7f800000", "record_29.planes[0][0][0]: must be a number"},
      {"/record_29/planes/0/0/0", "nan:0x7FC00001", "record_29.planes[0][0][0]: must be a number"},
      {"/record_29/planes/0/0/0", 1e39, "record_29.planes[0][0][0]: must be a number"},
      {"/record_29/planes/0/0/0", true, "record_29.planes[0][0][0]: must be a number"},
      {"/record_30/trailing_rows", 65535, "record_30.trailing: has "},
      {"/record_31/place_16", 18446744073709551615u, "record_31.place_16: must be 24"},
      {"/record_31/count", 4294967295u, "record_31.entries: has "},
      {"/record_34/place_16", 18446744073709551615u, "record_34.place_16: stands at byte"},
      {"/record_34/block_count", 4294967295u, "record_34.blocks: has "},
      {"/record_34/derived", 1, "record_34.derived: must be true or false"},
      {"/lens_shading/size", 4294967295u, "lens_shading.size: is too large"},
      {"/lens_shading/width", 65535, "lens_shading.lights[0].tables"},
      {"/lens_shading/channel_map/3/3", 127, "lens_shading.lights[0].tables"},
      {"/lens_shading/channel_map/3/3", 128,
       "lens_shading.channel_map[3][3]: must be a whole number from -128 to 127"},
      {"/lens_shading/lights", nullptr, "lens_shading.lights: must be an array"},
      {"/lens_shading/built_from", "28", "lens_shading.built_from: must be a whole number"},
      {"/lsc_grid/record/height", 65535, "lsc_grid.blocks[0].tables[0]: has "},
      {"/lsc_grid/blocks_in_lens_shading", true, "lens_shading.built_from: is 28"},
      {"/general/name", json{{"bytes", "4100"}}, "general.name: must not hold a NUL"},
      {"/general/name", json{{"bytes", 5}}, "general.name.bytes: must be bytes as text"},
      {"/general/name", json{{"byte", "41"}}, "general.name.byte: is no field"},
      {"/general/name", std::string("a\0b", 3), "general.name: must not hold a NUL"},
      {"/general/name", 5, "general.name: must be text"},
      {"/general/pair_count", 65535, "general.pairs: has "},
      {"/others/others_count", 4294967295u, "others.others_count: must be 8 at most"},
      {"/others/others_entries", json::array({1}), "others.others_entries: has 1 element,"},
      {"/unused_6", 0, "unused_6: must be null"},
  };
  for (const hostile& row : rows) {
    json edited = slots;
    edited[json::json_pointer(row.pointer)] = row.value;
    const std::string message = refusal_of(edited);
    EXPECT_TRUE(message.starts_with(row.message))
        << row.pointer << " = " << row.value << "\n  wanted: " << row.message
        << "\n  got:    " << message;
  }
}

TEST(DocumentHostile, MustHaveEveryKeyAndNoOther) {
  const json slots = full_document();
  size_t objects = 0;
  const std::function<void(const json&, const json::json_pointer&)> visit =
      [&](const json& value, const json::json_pointer& at) {
        // Nothing is asked of a table that is not packed.
        if (value.is_object() && at.to_string().find("/record_34") != 0) {
          ++objects;
          json more = slots;
          more[at]["other"] = 1;
          const std::string message = refusal_of(more);
          EXPECT_NE(std::string::npos, message.find("other: is no field")) << at << ": " << message;
          for (const auto& [key, inner] : value.items()) {
            json less = slots;
            less[at].erase(key);
            const std::string missing = refusal_of(less);
            EXPECT_NE(std::string::npos, missing.find(key + ": is missing"))
                << at << " " << key << ": " << missing;
          }
        }
        if (value.is_object())
          for (const auto& [key, inner] : value.items()) visit(inner, at / key);
        if (value.is_array() && !value.empty()) visit(value[0], at / size_t{0});
      };
  visit(slots, json::json_pointer());
  EXPECT_GT(objects, 50u);
}

TEST(DocumentHostile, IsNoDocumentAtAll) {
  for (const json& value : {json(), json(1), json("slots"), json::array(), json::object()})
    EXPECT_NE("", refusal_of(value)) << value;
}

// Every leaf with values of every type: an answer, never a crash.
TEST(DocumentHostile, HasAnyValueInAnyPlace) {
  const json slots = full_document();
  const json values[] = {nullptr,
                         true,
                         -1,
                         4294967295u,
                         18446744073709551615u,
                         -1e300,
                         0.5,
                         "",
                         "00",
                         "inf",
                         "text",
                         json::array(),
                         json::object(),
                         json::array({json::array({1, 2}), json::array({3})}),
                         json{{"bytes", "ff"}}};
  uint32_t state = 1;
  for (const kit::leaf& at : kit::leaves_of(slots)) {
    state = state * 1664525u + 1013904223u;
    json edited = slots;
    // Two values of each leaf, others for its neighbours.
    for (const size_t i : {(state >> 8) % std::size(values), (state >> 16) % std::size(values)}) {
      edited[at.pointer] = values[i];
      const std::string message = refusal_of(edited);
      if (message.empty()) continue;
      EXPECT_NE(std::string::npos, message.find(": ")) << message;
    }
  }
  // Whole parts of the document, too.
  for (const auto& [slot, value] : slots.items())
    for (const json& other : values) {
      json edited = slots;
      edited[slot] = other;
      (void)refusal_of(edited);
      for (const auto& [key, inner] : value.items()) {
        if (!value.is_object()) continue;
        edited = slots;
        edited[slot][key] = other;
        (void)refusal_of(edited);
      }
    }
}

}  // namespace
