// The fields of every kind against the bytes that the writer put into the record.
#include <gtest/gtest.h>

#include <set>

#include "tests/tools/document/parsed_document.h"
#include "writer/records.h"

namespace {

using document::json;
using writer::bytes;

enum class as {
  u8,
  i8,
  u16,
  u32,
  u64,
  f32,
  hex2,
  hex4,
  hex8,
  hex16,
  fixed_8_8,
  fixed_16_16,
  u16_0_16
};

json value_at(const bytes& record, size_t offset, as type) {
  const auto hex = [&](size_t size) { return document::hex_of(record.data() + offset, size); };
  switch (type) {
    case as::u8:
      return record.u8_at(offset);
    case as::i8:
      return static_cast<int8_t>(record.u8_at(offset));
    case as::u16:
      return record.u16_at(offset);
    case as::u32:
      return record.u32_at(offset);
    case as::u64:
      return record.u64_at(offset);
    case as::f32:
      return static_cast<double>(record.f32_at(offset));
    case as::hex2:
      return hex(2);
    case as::hex4:
      return hex(4);
    case as::hex8:
      return hex(8);
    case as::hex16:
      return hex(16);
    case as::fixed_8_8:
      return record.u16_at(offset) / 256.0;
    case as::fixed_16_16:
      return static_cast<double>(static_cast<float>(record.u32_at(offset)) / 65536);
    case as::u16_0_16:
      return record.u16_at(offset) / 65536.0;
  }
  return nullptr;
}

struct field_place {
  bytes record;
  const char* pointer;
  size_t offset;
  as type;
};

TEST(DocumentFields, HoldWhatTheRecordHolds) {
  const bytes general = writer::record_1();
  const bytes grid_10 = writer::record_10();  // blocks of 8 + 4 x 12 bytes from 16
  const bytes grid_11 = writer::record_11();  // blocks of 10 + 4 x 12 bytes from 14
  const bytes grid_28 = writer::record_28();  // blocks of 22 + 4 x 12 bytes from 32
  const bytes grid_33 = writer::record_33();
  const bytes record_22 = writer::record_22();  // grid of 2 x (2 + 2 x 24) bytes from 22
  constexpr size_t after_grid = 22 + 2 * 50, after_items = after_grid + 8 + 2 * 1040;
  const bytes record_30 = writer::record_30();  // 2 items from 30, 6 u32 from 42
  const bytes record_34 = writer::record_34();
  const field_place rows[] = {
      {general, "/general/record/bytes_8", 8, as::hex16},
      {general, "/general/pair_count", 31, as::u16},
      {writer::record_2(), "/module_properties/bytes_8", 8, as::hex4},
      {writer::record_2(), "/module_properties/value_12", 12, as::u16},
      {writer::record_2(), "/module_properties/cfa_layout", 14, as::u16},
      {writer::record_2(), "/module_properties/value_16", 16, as::u16},
      {writer::record_2(), "/module_properties/bytes_18", 18, as::hex16},
      {writer::record_2(), "/module_properties/value_34", 34, as::u16},
      {writer::record_3(), "/record_31/entries/1/0", 28, as::f32},
      {writer::record_3(), "/record_31/entries/1/1", 32, as::fixed_16_16},
      {writer::record_3(), "/record_31/entries/0/2", 20, as::fixed_8_8},
      {writer::record_3(), "/record_31/entries/0/3", 22, as::fixed_8_8},
      {writer::record_3(), "/record_31/entries/1/6", 40, as::fixed_8_8},
      {writer::record_3(), "/record_31/entries/0/7", 26, as::fixed_8_8},
      {writer::record_5(), "/record_5/bytes_8", 8, as::hex16},
      {writer::record_6(), "/record_6/record/value_15", 15, as::u8},
      {writer::record_6(), "/record_6/payload/9", 34, as::u16},
      {writer::record_7(), "/record_7/bytes_8", 8, as::hex16},
      {writer::record_8(), "/record_8/bytes_8", 8, as::hex16},
      {writer::record_9(), "/record_9/bytes_8", 8, as::hex16},
      {grid_10, "/lsc_grid/record/light_count", 10, as::u16},
      {grid_10, "/lsc_grid/record/width", 12, as::u16},
      {grid_10, "/lsc_grid/record/height", 14, as::u16},
      {grid_10, "/lsc_grid/bytes_2_of_blocks/1", 16 + 56 + 2, as::hex2},
      {grid_10, "/lens_shading/lights/1/light_id", 16 + 56, as::u16},
      {grid_10, "/lens_shading/lights/1/coords/0", 16 + 56 + 4, as::u16_0_16},
      {grid_10, "/lens_shading/lights/1/coords/1", 16 + 56 + 6, as::u16_0_16},
      {grid_10, "/lens_shading/lights/1/gains/1", 16 + 112 + 6, as::fixed_8_8},
      {grid_10, "/lens_shading/lights/1/tables/1/0/1/2", 16 + 56 + 8 + 24 + 10, as::u16},
      {grid_11, "/lens_shading_ext/lights_ext/1/aux", 14 + 58, as::u16},
      {grid_11, "/lens_shading_ext/lights_ext/1/light_id", 14 + 58 + 2, as::u16},
      {grid_11, "/lens_shading_ext/lights_ext/1/coords/0", 14 + 58 + 6, as::u16_0_16},
      {grid_11, "/lens_shading_ext/lights_ext/0/tables/1/1/0/0", 14 + 10 + 36, as::u16},
      {grid_11, "/lens_shading_ext/lights_ext/1/gains/0", 14 + 116 + 4, as::fixed_8_8},
      {writer::record_13(), "/record_13/record/value_70", 70, as::u16},
      {writer::record_13(), "/record_13/values/4", 80, as::u16},
      {writer::record_13(), "/record_13/params/0", 82, as::u16},
      {writer::record_13(), "/record_13/params/3", 88, as::u16},
      {writer::record_14(), "/record_14/record/first", 8, as::u16},
      {writer::record_14(), "/record_14/record/last", 10, as::u16},
      {writer::record_14(), "/record_14/record/step", 12, as::u16},
      {writer::record_14(), "/record_14/payload/2", 30, as::hex8},
      {writer::record_15(), "/record_15/counts/a", 8, as::u16},
      {writer::record_15(), "/record_15/counts/b", 10, as::u16},
      {writer::record_15(), "/record_15/body/1", 20, as::hex8},
      {writer::record_15(), "/record_15/section_1/0", 28, as::hex8},
      {writer::record_15(), "/record_15/section_2/0", 44, as::hex8},
      {writer::record_15(), "/record_15/section_3/2", 76, as::hex8},
      {writer::record_15(), "/record_15/sub_table/count", 84, as::u16},
      {writer::record_15(), "/record_15/sub_table/entries/0/value_0", 86, as::u64},
      {writer::record_15(), "/record_15/sub_table/entries/0/value_8", 94, as::u32},
      {writer::record_15(), "/record_15/sub_table/entries/0/array_second/1", 104, as::u16},
      {writer::record_16(), "/record_16/record/value_12", 12, as::u16},
      {writer::record_16(), "/record_16/payload/2", 22, as::hex4},
      {writer::record_17(), "/record_17/record/plane_order", 10, as::u16},
      {writer::record_17(), "/record_17/record/orientation", 12, as::u16},
      {writer::record_18(), "/record_18/record/value_8", 8, as::u16},
      {writer::record_19(), "/record_19/record/value_8", 8, as::u16},
      {writer::record_19(), "/record_19/entries/1/value_0", 44, as::u32},
      {writer::record_19(), "/record_19/entries/1/value_4", 48, as::u32},
      {writer::record_19(), "/record_19/entries/0/values_8/2", 32, as::u32},
      {writer::record_19(), "/record_19/entries/1/values_20/3", 70, as::u16},
      {writer::record_19(), "/record_19/tail/2/value_4", 92, as::u32},
      {writer::record_19(), "/record_34/blocks/0/value_4", 8, as::u16},
      {writer::record_19(), "/record_34/blocks/0/long_entries/1/value_4", 48, as::fixed_16_16},
      {writer::record_20(), "/record_20/record/value_8", 8, as::u16},
      {writer::record_20(), "/record_20/record/value_10", 10, as::u16},
      {writer::record_20(), "/record_20/record/value_12", 12, as::u8},
      {writer::record_20(), "/record_20/record/value_13", 13, as::u8},
      {writer::record_20(), "/record_20/payload/form", 14, as::u16},
      {writer::record_20(), "/record_20/tail/1/value_0", 28, as::u32},
      {writer::record_21(), "/record_21/bytes_8", 8, as::hex16},
      {record_22, "/record_22/value_8", 8, as::u32},
      {record_22, "/record_22/width", 12, as::u16},
      {record_22, "/record_22/height", 14, as::u16},
      {record_22, "/record_22/value_16", 16, as::u32},
      {record_22, "/record_22/grid_count", 20, as::u16},
      {record_22, "/record_22/grid/1/tag", 22 + 50, as::u16},
      {record_22, "/record_22/grid/1/first_half/1/0", 22 + 50 + 2 + 12, as::u32},
      {record_22, "/record_22/grid/0/second_half/0/2", 22 + 2 + 24 + 8, as::u32},
      {record_22, "/record_22/value_items", after_grid, as::u32},
      {record_22, "/record_22/value_list", after_items, as::u32},
      {record_22, "/record_22/list/0/value_0", after_items + 8, as::f32},
      {record_22, "/record_22/list/0/value_8", after_items + 16, as::u32},
      {record_22, "/record_22/list/0/values/1", after_items + 28, as::u32},
      {writer::record_23(), "/record_23/bytes_8", 8, as::hex16},
      {writer::record_24(), "/record_24/entries/0/value_0", 16, as::u16},
      {writer::record_24(), "/record_24/entries/0/values/1", 36, as::u32},
      {writer::record_24(), "/record_24/entries/2/count", 58, as::u16},
      {writer::record_25(), "/record_25/payload/2", 20, as::hex4},
      {writer::record_25(), "/record_25/entries/0/block_first", 44, as::hex16},
      {writer::record_25(), "/record_25/entries/0/value", 76, as::u32},
      {writer::record_26(), "/record_26/head/bytes_8", 8, as::hex8},
      {writer::record_26(), "/record_26/groups/1/bytes_0", 40, as::hex8},
      {writer::record_26(), "/record_26/groups/1/values/3", 60, as::f32},
      {writer::record_27(), "/record_27/record/bytes_8", 8, as::hex16},
      {writer::record_27(), "/record_27/entries/1/planes/1/1/2", 32 + 44 + 20 + 22, as::u16},
      {writer::record_27(), "/record_27/tail/1", 32 + 88 + 16, as::hex16},
      {grid_28, "/lens_shading/channel_map/1/1", 13, as::i8},
      {grid_28, "/lens_shading/channel_map/3/3", 23, as::i8},
      {grid_28, "/lens_shading/lights/1/light_id", 32 + 70, as::u32},
      {grid_28, "/lens_shading/lights/1/gains/1", 32 + 70 + 8, as::f32},
      {grid_28, "/lens_shading/lights/1/coords/1", 32 + 70 + 16, as::f32},
      {grid_28, "/lens_shading/lights/1/tables/1/1/1/2", 32 + 70 + 22 + 36 + 10, as::u16},
      {writer::record_29(), "/record_29/head/bytes_8", 8, as::hex4},
      {writer::record_29(), "/record_29/value_16", 16, as::u32},
      {writer::record_29(), "/record_29/planes/3/1/2", 20 + 92, as::f32},
      {record_30, "/record_30/head/bytes_8", 8, as::hex8},
      {record_30, "/record_30/bytes_18", 18, as::hex4},
      {record_30, "/record_30/grid/1/2", 42 + 20, as::u32},
      {record_30, "/record_30/trailing/1/1", 66 + 12, as::u32},
      {writer::record_31(), "/record_31/entries/1/17", 24 + 140, as::f32},
      {writer::record_31(), "/record_31/place_16", 16, as::u64},
      {writer::record_32(), "/record_32/bytes_8", 8, as::hex16},
      {grid_33, "/lens_shading_ext/lights_ext/1/light_id", 32 + 70, as::u16},
      {grid_33, "/lens_shading_ext/lights_ext/0/tables/0/1/0/1", 32 + 22 + 14, as::u16},
      {record_34, "/record_34/blocks/0/kind", 32, as::u32},
      {record_34, "/record_34/blocks/1/value_4", 76, as::u32},
      {record_34, "/record_34/blocks/0/long_place", 48, as::u64},
      {record_34, "/record_34/blocks/0/long_entries/0/value_4", 116, as::f32},
      {record_34, "/record_34/blocks/0/long_entries/0/values_20/3", 138, as::u16},
      {record_34, "/record_34/blocks/0/short_entries/1/value_4", 156, as::u32},
      {record_34, "/record_34/blocks/1/tail/3", 182, as::u16},
      {writer::record_35(), "/record_35/first/value_8", 8, as::u8},
      {writer::record_35(), "/record_35/first/value_12", 9, as::u32},
      {writer::record_35(), "/record_35/first/array_a/3", 26, as::u32},
      {writer::record_35(), "/record_35/first/array_b/3", 36, as::u16},
      {writer::record_35(), "/record_35/first/array_c/2", 42, as::u16},
      {writer::record_35(), "/record_35/second/array_d/2", 52, as::u32},
      {writer::record_36(), "/record_36/bytes_9", 9, as::hex4},
      {writer::record_36(), "/record_36/array_16/2", 18, as::u16},
      {writer::record_36(), "/record_36/array_32/2", 28, as::u32},
      {writer::record_722(), "/others/others_value", 8, as::u32},
      {writer::record_722(), "/others/others_count", 12, as::u32},
      {writer::record_722(), "/others/others_entries/2", 32, as::u64},
  };
  std::set<uint16_t> kinds;
  for (const field_place& row : rows) {
    const json slots = kit::document_of(row.record);
    const json::json_pointer pointer(row.pointer);
    kinds.insert(row.record.u16_at(6));
    if (!slots.contains(pointer)) {
      ADD_FAILURE() << row.pointer << " is missing";
      continue;
    }
    const json wanted = value_at(row.record, row.offset, row.type), got = slots.at(pointer);
    // The document has the shortest number that is the same float.
    if (wanted.is_number_float() && got.is_number_float())
      EXPECT_EQ(wanted.get<float>(), got.get<float>()) << row.pointer;
    else
      EXPECT_EQ(wanted, got) << row.pointer;
  }
  for (const writer::named_record& record : writer::every_good_record())
    EXPECT_EQ(1u, kinds.count(record.content.u16_at(6))) << record.name << " has no row";
}

TEST(DocumentFields, HoldTheFieldsThatTheWriterWasGiven) {
  const json general = kit::document_of(
      writer::record_1({.name = "mod", .pairs = {{"a", "b"}, {"lens", ""}}}))["general"];
  EXPECT_EQ("mod", general["name"]);
  EXPECT_EQ(json({{{"key", "a"}, {"value", "b"}}, {{"key", "lens"}, {"value", ""}}}),
            general["pairs"]);
  const json lights = kit::document_of(writer::record_33(
      {.heads = {{0x1234, 4, {1.5f, 2.25f}, {0.3127f, 0.329f}, 6},
                 {0xffff, 0xffff, {0, -1}, {0, 1}, 17}}}))["lens_shading_ext"]["lights_ext"];
  EXPECT_EQ(0x1234, lights[0]["light_id"]);
  EXPECT_EQ(5, lights[0]["aux"]);
  EXPECT_EQ(0, lights[1]["aux"]);
  EXPECT_EQ(json({1.5, 2.25}), lights[0]["gains"]);
  EXPECT_EQ("[0.3127,0.329]", lights[0]["coords"].dump());
  EXPECT_EQ(10, lights[0]["fraction_bits"]);
  EXPECT_EQ(65535, lights[1]["fraction_bits"]);
}

TEST(DocumentFields, NameEverySlotOfTheStructureInItsOrder) {
  const char* const names[] = {
      "general",          "module_properties", "unused_6",     "unused_7",  "record_5",
      "record_6",         "record_7",          "record_8",     "record_9",  "lsc_grid",
      "record_13",        "record_14",         "record_15",    "record_16", "record_17",
      "record_18",        "record_19",         "record_20",    "record_22", "record_23",
      "record_24",        "record_21",         "record_25",    "record_26", "record_27",
      "record_30",        "record_29",         "lens_shading", "record_31", "record_32",
      "lens_shading_ext", "record_34",         "record_35",    "record_36", "others"};
  const json slots = kit::document_of(writer::container().image());
  std::vector<std::string> keys;
  for (const auto& [key, value] : slots.items()) {
    keys.push_back(key);
    EXPECT_TRUE(value.is_null()) << key;
  }
  EXPECT_EQ(std::vector<std::string>(std::begin(names), std::end(names)), keys);
}

// Null stands where a version stores nothing.
TEST(DocumentFields, AreNullWhereTheRecordStoresNone) {
  const json properties = kit::document_of(writer::record_2({.version = 100}));
  EXPECT_EQ(0x2c0d, properties["module_properties"]["value_12"]);
  for (const char* const key : {"value_16", "bytes_18", "value_34"})
    EXPECT_TRUE(properties["module_properties"][key].is_null()) << key;
  EXPECT_EQ(json({11, nullptr, nullptr, nullptr}),
            kit::document_of(writer::record_13({.version = 101}))["record_13"]["params"]);
  EXPECT_TRUE(
      kit::document_of(writer::record_26({.version = 100}))["record_26"]["groups"].is_null());
  EXPECT_EQ(json::array(),
            kit::document_of(writer::record_31({.count = 0}))["record_31"]["entries"]);
}

TEST(DocumentFields, HoldNoAddress) {
  for (const writer::named_record& record : writer::every_good_record())
    EXPECT_EQ(kit::document_of(record.content).dump(), kit::document_of(record.content).dump())
        << record.name;
}

}  // namespace
