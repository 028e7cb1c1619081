#include "writer/records.h"
#include "cmc_parser/records/kinds.h"
#include "tests/kit/row_name.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace {

using writer::bytes;

struct size_case {
  const char* name;
  bytes content;
  uint16_t id;
  size_t size;
};

// Sizes added up by hand from the layouts.
const size_case sizes[] = {
    {"general_v100", writer::record_1({.version = 100}), 1, 31},
    {"general_v101", writer::record_1(), 1, 53},
    {"properties_v99", writer::record_2({.version = 99}), 2, 16},
    {"properties_v100", writer::record_2({.version = 100}), 2, 16},
    {"properties_v101", writer::record_2({.version = 101}), 2, 24},
    {"properties_v102", writer::record_2({.version = 102}), 2, 40},
    {"properties_v104", writer::record_2({.version = 104}), 2, 40},
    {"record_3", writer::record_3(), 3, 48},
    {"record_5", writer::record_5(), 5, 24},
    {"record_6", writer::record_6(), 6, 40},
    {"record_7", writer::record_7(), 7, 24},
    {"record_8", writer::record_8(), 8, 24},
    {"record_9", writer::record_9(), 9, 24},
    {"record_10_v100", writer::record_10({.version = 100}), 10, 128},
    {"record_10_v101", writer::record_10(), 10, 136},
    {"record_11_v100", writer::record_11({.version = 100}), 11, 136},
    {"record_11_v101", writer::record_11(), 11, 144},
    {"record_13_v100", writer::record_13({.version = 100}), 13, 88},
    {"record_13_v101", writer::record_13({.version = 101}), 13, 88},
    {"record_13_v102", writer::record_13(), 13, 96},
    {"record_14", writer::record_14(), 14, 48},
    {"record_15", writer::record_15(), 15, 144},
    {"record_16", writer::record_16(), 16, 32},
    {"record_17", writer::record_17(), 17, 24},
    {"record_18_v100", writer::record_18({.version = 100}), 18, 184},
    {"record_18_v101", writer::record_18(), 18, 200},
    {"record_19", writer::record_19(), 19, 96},
    {"record_20_v101", writer::record_20({.version = 101}), 20, 16},
    {"record_20_v102", writer::record_20(), 20, 40},
    {"record_21", writer::record_21(), 21, 24},
    {"record_22_v100", writer::record_22({.version = 100}), 22, 122},
    {"record_22_v101", writer::record_22({.version = 101}), 22, 2210},
    {"record_22_v102", writer::record_22(), 22, 2350},
    {"record_23", writer::record_23(), 23, 24},
    {"record_24", writer::record_24(), 24, 92},
    {"record_25_v100", writer::record_25(), 25, 352},
    {"record_25_v101", writer::record_25({.version = 101}), 25, 360},
    {"record_26_v100", writer::record_26({.version = 100}), 26, 16},
    {"record_26_v101", writer::record_26(), 26, 64},
    {"record_27_v100", writer::record_27({.version = 100}), 27, 120},
    {"record_27_v101", writer::record_27(), 27, 152},
    {"record_28", writer::record_28(), 28, 176},
    {"record_29", writer::record_29(), 29, 120},
    {"record_29_one_point", writer::record_29({.width = 1, .height = 1}), 29, 56},
    {"record_30_v100", writer::record_30({.version = 100}), 30, 72},
    {"record_30_v101", writer::record_30(), 30, 88},
    {"record_30_v102", writer::record_30({.version = 102}), 30, 72},
    {"record_31", writer::record_31(), 31, 168},
    {"record_32", writer::record_32(), 32, 24},
    {"record_33", writer::record_33(), 33, 176},
    {"record_34", writer::record_34(), 34, 184},
    {"record_35", writer::record_35(), 35, 56},
    {"record_36", writer::record_36(), 36, 32},
    {"record_722", writer::record_722(), 722, 40},
};

class BuiltRecord : public testing::TestWithParam<size_case> {};

TEST_P(BuiltRecord, HasTheSizeAndTheKindOfItsLayout) {
  const size_case& c = GetParam();
  EXPECT_EQ(c.size, c.content.size());
  EXPECT_EQ(c.size, c.content.u32_at(0));
  EXPECT_EQ(c.id, c.content.u16_at(6));
}

INSTANTIATE_TEST_SUITE_P(Layouts, BuiltRecord, testing::ValuesIn(sizes), kit::row_name);

TEST(BuiltRecords, AreOfEveryKindThatHasASlot) {
  for (const uint16_t kind : qo::record_kinds)
    EXPECT_TRUE(std::any_of(std::begin(sizes), std::end(sizes),
                            [kind](const size_case& c) { return c.id == kind; }))
        << "no size of a record " << kind;
}

TEST(EveryGoodRecord, CoversEachKindThatHasASlotUnderNamesOfItsOwn) {
  std::set<std::string> names;
  std::set<uint16_t> kinds;
  for (const writer::named_record& each : writer::every_good_record()) {
    EXPECT_TRUE(names.insert(each.name).second) << each.name;
    EXPECT_EQ(each.content.size(), each.content.u32_at(0)) << each.name;
    EXPECT_EQ("record_" + std::to_string(each.content.u16_at(6)) + "_v" +
                  std::to_string(each.content.u8_at(4)),
              each.name.substr(0, each.name.find('_', each.name.find("_v") + 1)));
    kinds.insert(each.content.u16_at(6));
  }
  EXPECT_EQ(std::set<uint16_t>(std::begin(qo::record_kinds), std::end(qo::record_kinds)), kinds)
      << "a kind is missing in every_good_record()";
}

TEST(EverySlotlessRecord, IsOfAnotherKind) {
  std::set<uint16_t> kinds;
  for (const writer::named_record& each : writer::every_slotless_record())
    kinds.insert(each.content.u16_at(6));
  std::set<uint16_t> expected = {64, 721, 722, 65535};
  for (uint16_t id = 0; id <= 63; ++id)
    if (!qo::is_record_kind(id)) expected.insert(id);
  EXPECT_EQ(expected, kinds);
}

TEST(FillerBytes, AreNever0AndNeighboursDiffer) {
  const bytes run = writer::filler_bytes(0).run(1000);
  for (size_t i = 0; i + 1 < run.size(); ++i) {
    ASSERT_NE(0, run.u8_at(i));
    ASSERT_NE(run.u8_at(i), run.u8_at(i + 1));
  }
  std::set<uint16_t> halves;
  for (size_t i = 0; i < 251; ++i) halves.insert(run.u16_at(2 * i));
  EXPECT_EQ(251u, halves.size());
}

TEST(FixedGrid, StoresHeadsGainsAndPlanesAtTheirPlaces) {
  const writer::sample_source sample = [](size_t light, size_t plane, size_t index) {
    return static_cast<uint16_t>(1000 * light + 100 * plane + index);
  };
  const std::vector<writer::light_head> heads = {{.light_id = 7,
                                                  .aux = 2,
                                                  .gains = {1.5f, 0.25f},
                                                  .coords = {0.5f, 0.25f},
                                                  .integer_bits = 0}};
  const bytes of_10 = writer::record_10(
      {.lights = 1, .width = 2, .height = 1, .version = 101, .heads = heads, .sample = sample});
  EXPECT_EQ(1, of_10.u16_at(10));
  EXPECT_EQ(2, of_10.u16_at(12));
  EXPECT_EQ(1, of_10.u16_at(14));
  EXPECT_EQ(7, of_10.u16_at(16));
  EXPECT_EQ(32768, of_10.u16_at(20));
  EXPECT_EQ(16384, of_10.u16_at(22));
  EXPECT_EQ(301, of_10.u16_at(24 + 2 * 7));
  EXPECT_EQ(384, of_10.u16_at(40));
  EXPECT_EQ(64, of_10.u16_at(42));

  const bytes of_11 = writer::record_11(
      {.lights = 1, .width = 2, .height = 1, .version = 101, .heads = heads, .sample = sample});
  EXPECT_EQ(1, of_11.u16_at(8));
  EXPECT_EQ(2, of_11.u16_at(10));
  EXPECT_EQ(1, of_11.u16_at(12));
  EXPECT_EQ(2, of_11.u16_at(14));
  EXPECT_EQ(7, of_11.u16_at(16));
  EXPECT_EQ(32768, of_11.u16_at(20));
  EXPECT_EQ(16384, of_11.u16_at(22));
  EXPECT_EQ(100, of_11.u16_at(24 + 2 * 2));
  EXPECT_EQ(384, of_11.u16_at(40));
}

TEST(MappedGrid, HasOnePlaneMoreThanTheLargestIndex) {
  const writer::mapped_grid_fields fields = {
      .lights = 2, .width = 1, .height = 1, .channel_map = {-1, 2, -128}, .filler = 1};
  const bytes of_28 = writer::record_28(fields);
  EXPECT_EQ(88u, of_28.size());  // 32 + 2 x (22 + 3 x 2)
  EXPECT_EQ(2, of_28.u8_at(9));
  EXPECT_EQ(128, of_28.u8_at(10));
  EXPECT_EQ(255, of_28.u8_at(23));
  EXPECT_EQ(0x0b02u, of_28.u32_at(60));  // the second light's id
  EXPECT_EQ(1.125f, of_28.f32_at(64));
  EXPECT_EQ(0.5625f, of_28.f32_at(68));
  EXPECT_EQ(0.0625f, of_28.f32_at(72));
  EXPECT_EQ(0.03125f, of_28.f32_at(76));
  EXPECT_EQ(5, of_28.u16_at(80));
  const bytes of_33 = writer::record_33(fields);
  EXPECT_EQ(0x0b02, of_33.u16_at(60));
  EXPECT_EQ(1, of_33.u16_at(62));
  EXPECT_EQ(1.125f, of_33.f32_at(64));
  EXPECT_EQ(5, of_33.u16_at(80));
}

TEST(Record34, PlacesItsBlocksAndArrays) {
  const bytes content = writer::record_34();
  EXPECT_EQ(2u, content.u32_at(8));
  EXPECT_EQ(32u, content.u64_at(16));
  EXPECT_EQ(1u, content.u32_at(40));
  EXPECT_EQ(2u, content.u32_at(44));
  EXPECT_EQ(112u, content.u64_at(48));
  EXPECT_EQ(144u, content.u64_at(56));
  EXPECT_EQ(0u, content.u64_at(64));
  EXPECT_EQ(1u, content.u32_at(72));
  EXPECT_EQ(0u, content.u64_at(88));
  EXPECT_EQ(160u, content.u64_at(96));
  EXPECT_EQ(176u, content.u64_at(104));
}

}  // namespace
