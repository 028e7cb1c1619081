// What is said of containers and images: offsets, fields, numbers.

#include "tools/findings/inspection.h"

#include "tests/tools/findings/inspected.h"

namespace {

using findings::finding;
using writer::bytes;
using writer::container;
using namespace findings_test;

/// The one finding with this code.
finding only(const inspection& seen, const std::string& code) {
  finding result = {};
  size_t count = 0;
  for (const finding& each : seen.found)
    if (each.code == code) ++count, result = each;
  EXPECT_EQ(1u, count) << code << " in " << testing::PrintToString(codes_of(seen));
  return result;
}

TEST(Inspection, HasNothingToSayOfAGoodContainer) {
  const inspection seen = inspect_with(merged_records(), module_image());
  EXPECT_TRUE(seen.valid);
  EXPECT_NE(nullptr, seen.cmc);
  EXPECT_EQ(texts{}, codes_of(seen));
  EXPECT_TRUE(seen.from.merged);
}

TEST(Inspection, NamesBothSizesOfATruncatedContainer) {
  const inspection seen = inspect(container().total(100).image());
  EXPECT_FALSE(seen.valid);
  EXPECT_EQ(nullptr, seen.cmc);
  EXPECT_TRUE(seen.records.empty());
  const finding found = only(seen, "size-mismatch");
  EXPECT_EQ(4u, found.offset);
  EXPECT_EQ("size", found.field);
  EXPECT_FALSE(found.record.has_value());
  EXPECT_EQ(
      "The container declares another size than the file has: it declares 100 bytes, and the file "
      "has 24.",
      found.message);
}

TEST(Inspection, NamesAllThreeSumsOfAWrongChecksumAndListsTheRecords) {
  // Words 7, 40, 11, 12, 13 and the checksum 99, then one record of 16 bytes: 16, 0x00050064, 1, 2.
  bytes words;
  words.u32(7).u32(40).u32(11).u32(12).u32(13).u32(99);
  words.u32(16).u8(100).u8(0).u16(5).u32(1).u32(2);
  const inspection seen = inspect(words.vector());
  EXPECT_FALSE(seen.valid);
  EXPECT_EQ((texts{"checksum-mismatch 20"}), codes_of(seen));
  EXPECT_EQ("checksum", seen.found[0].field);
  EXPECT_EQ(
      "Neither of the two checksums holds: stored is 0x00000063; the sum of all other words is "
      "0x000500ca, that of the records' words 0x00050077.",
      seen.found[0].message);
  ASSERT_EQ(1u, seen.records.size());
  EXPECT_EQ("record_5", seen.records[0].name);
  EXPECT_EQ("not parsed", seen.records[0].fate);
}

TEST(Inspection, SaysOfAnEmptyOrAShortOrATextFileThatItIsNoContainer) {
  EXPECT_EQ((texts{"container-too-short 0"}), codes_of(inspect(std::vector<uint8_t>{})));
  EXPECT_EQ((texts{"container-too-short 0"}), codes_of(inspect(std::vector<uint8_t>(23, 'x'))));
  EXPECT_EQ((texts{"size-mismatch 4"}), codes_of(inspect(std::vector<uint8_t>(1000, 'x'))));
  EXPECT_FALSE(inspect(std::vector<uint8_t>{}).valid);
}

TEST(Inspection, NamesTheBytesAfterARecordOfImpossibleSize) {
  bytes broken = writer::record_7({.size = 24});
  for (const uint32_t size : {0u, 7u}) {
    const inspection seen = inspect({writer::record_5({.size = 16}), broken.patch_u32(0, size),
                                     writer::record_8({.size = 32})});
    EXPECT_TRUE(seen.valid);
    EXPECT_EQ(1u, seen.records.size());
    const finding found = only(seen, "record-size-too-small");
    EXPECT_EQ(24u + 16u, found.offset);
    EXPECT_EQ("size", found.field);
    EXPECT_TRUE(found.message.ends_with("it states " + std::to_string(size) +
                                        " bytes, and 56 bytes are left unread."))
        << found.message;
    ASSERT_TRUE(found.record);
    EXPECT_EQ(1u, found.record->index);
    EXPECT_EQ(40u, found.record->offset);
    EXPECT_EQ(7u, found.record->id);
    EXPECT_EQ(100u, found.record->version);
    EXPECT_EQ(size, found.record->size);
  }
  const inspection seen = inspect({writer::record_5({.size = 16}), broken.patch_u32(0, 25)});
  EXPECT_TRUE(only(seen, "record-overruns")
                  .message.ends_with("it states 25 bytes, and 24 bytes are left unread."));
}

TEST(Inspection, NamesTheBytesAfterTheLastRecord) {
  std::vector<uint8_t> image = container().add(writer::record_5({.size = 16})).image();
  image.resize(image.size() + 3);
  writer::seal(image);
  const finding found = only(inspect(image), "bytes-after-last-record");
  EXPECT_EQ(40u, found.offset);
  EXPECT_TRUE(found.message.ends_with("3 bytes are left unread.")) << found.message;
}

TEST(Inspection, SaysByHowManyBytesARecordIsTooShort) {
  const inspection seen =
      inspect({writer::record_5(), writer::resized(writer::record_18({.count = 2}), 100)});
  const finding found = only(seen, "record-too-short");
  EXPECT_EQ(48u, found.offset);
  ASSERT_TRUE(found.record.has_value());
  EXPECT_EQ(1u, found.record->index);
  EXPECT_EQ(48u, found.record->offset);
  EXPECT_EQ(18u, found.record->id);
  EXPECT_EQ(101u, found.record->version);
  EXPECT_EQ(100u, found.record->size);
  EXPECT_TRUE(found.message.ends_with("it has 100 bytes and needs 184, 84 more.")) << found.message;
}

TEST(Inspection, SaysWhatHugeCountsAskFor) {
  bytes record = writer::record_25();
  const inspection seen = inspect({record.patch_u16(8, 0xffff).patch_u16(10, 0xffff)});
  // 12 + 4 x 65535 + 65535 x (20 + 36 + 36 x 65535)
  EXPECT_TRUE(only(seen, "record-too-short").message.find("needs 154618036212,") !=
              std::string::npos)
      << seen.found[0].message;
}

TEST(Inspection, NamesTheKindOfARecordThatNobodyReads) {
  const inspection seen = inspect({writer::plain_record(12), writer::plain_record(0x105)});
  EXPECT_TRUE(only(seen, "kind-refused").message.ends_with(": kind 12."));
  EXPECT_TRUE(only(seen, "kind-foreign").message.ends_with(": kind 261."));
  EXPECT_EQ(findings::severity::warning, only(seen, "kind-refused").how_bad);
  EXPECT_EQ(findings::severity::note, only(seen, "kind-foreign").how_bad);
}

TEST(Inspection, WarnsOfARecord30WithoutItsTables) {
  for (const bytes& record :
       {writer::resized(writer::record_30(), 40), writer::resized(writer::record_30(), 48),
        writer::resized(writer::record_30(), 72), writer::record_30({.items = 0})}) {
    const inspection seen = inspect({record});
    ASSERT_EQ(1u, seen.found.size());
    EXPECT_EQ(findings::severity::warning, seen.found[0].how_bad);
    EXPECT_EQ("converted", seen.records[0].fate);
    EXPECT_NE(nullptr, seen.cmc->record_30);
  }
}

TEST(Inspection, NamesTheRecordWhosePlaceIsTaken) {
  const inspection seen = inspect({writer::record_7({.size = 16}), writer::record_5({.size = 16}),
                                   writer::record_7({.size = 24})});
  const finding found = only(seen, "record-replaced");
  EXPECT_EQ(24u + 32u, found.offset);
  EXPECT_EQ("The record takes the place of an earlier one: record 0 at byte 24, of kind 7.",
            found.message);
}

TEST(Inspection, SaysThatARecord10WhoseSetGivesWayIsNotGone) {
  const inspection seen = inspect({writer::record_10(), writer::record_28()});
  const finding found = only(seen, "record-replaced");
  EXPECT_EQ(1u, found.record->index);
  EXPECT_TRUE(found.message.ends_with("record 0 at byte 24, of kind 10, in lens_shading only."))
      << found.message;
  EXPECT_EQ((texts{"kept", "converted"}), fates_of(seen));
}

TEST(Inspection, NamesTheRecordThatIsGoneForNothing) {
  const inspection seen =
      inspect({writer::record_7({.size = 16}), writer::resized(writer::record_7(), 9)});
  EXPECT_EQ((texts{"record-too-short 40", "record-displaced 40"}), codes_of(seen));
  EXPECT_EQ(findings::severity::warning, seen.found[1].how_bad);
  EXPECT_TRUE(seen.found[1].message.ends_with("record 0 at byte 24, of kind 7."));
  EXPECT_EQ((texts{"replaced", "leaked"}), fates_of(seen));
}

TEST(Inspection, TellsAnEmptyImageFromARefusedOne) {
  const inspection empty = inspect_with(merged_records(), {});
  EXPECT_EQ((texts{"nvm-empty -"}), codes_of(empty));
  const inspection refused = inspect_with(merged_records(), {1, 2, 3});
  EXPECT_EQ((texts{"nvm-refused -"}), codes_of(refused));
  EXPECT_TRUE(refused.found[0].message.ends_with("it has 3 bytes, and the answer is 1."))
      << refused.found[0].message;
  std::vector<uint8_t> cut = module_image();
  cut.resize(cut.size() / 2);
  EXPECT_EQ((texts{"nvm-refused -"}), codes_of(inspect_with(merged_records(), cut)));
  for (const inspection* seen : {&empty, &refused}) {
    EXPECT_TRUE(seen->valid) << "which concerns the container alone";
    EXPECT_FALSE(seen->from.merged);
  }
}

TEST(Inspection, NamesTheLightThatTheMergeEndedAt) {
  const inspection seen = inspect_with(merged_records(), module_image(1));
  const finding found = only(seen, "gain-table-missing");
  EXPECT_FALSE(found.offset.has_value());
  EXPECT_EQ("aux", found.field);
  EXPECT_TRUE(found.message.ends_with("light 1, after 1 that were merged.")) << found.message;
  EXPECT_TRUE(seen.from.merged) << "in part";
}

TEST(Inspection, NamesTheFieldsOfImplausibleLights) {
  writer::light_head odd = writer::default_light_head(1);
  odd.integer_bits = 20;
  odd.coords[1] = -0.25f;
  const inspection seen =
      inspect({writer::record_28({.heads = {writer::default_light_head(0), odd}}),
               writer::record_33({.heads = {odd}})});
  EXPECT_EQ((texts{"fraction-bits-implausible 24", "coordinates-implausible 24",
                   "fraction-bits-implausible 200", "coordinates-implausible 200"}),
            codes_of(seen));
  EXPECT_EQ("lens_shading.lights[1].fraction_bits", seen.found[0].field);
  EXPECT_EQ("lens_shading.lights[1].coords", seen.found[1].field);
  EXPECT_EQ("lens_shading_ext.lights_ext[0].coords", seen.found[3].field);
  EXPECT_TRUE(seen.found[0].message.ends_with("light 1 has 65532.")) << seen.found[0].message;
  EXPECT_TRUE(seen.found[1].message.ends_with("light 1 has 0.0625 and -0.25."))
      << seen.found[1].message;
}

TEST(Inspection, FindsACoordinateThatIsNoNumber) {
  writer::light_head odd = writer::default_light_head(0);
  odd.coords[0] = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(only(inspect({writer::record_28({.heads = {odd}})}), "coordinates-implausible")
                  .message.ends_with("light 0 has nan and 0.015625."));
}

TEST(Inspection, KnowsTheVersionsFrom100To103) {
  for (const uint8_t version : {uint8_t{100}, uint8_t{103}})
    EXPECT_EQ(texts{}, codes_of(inspect({writer::record_5({.version = version})})));
  for (const uint8_t version : {uint8_t{0}, uint8_t{99}, uint8_t{104}, uint8_t{255}})
    EXPECT_TRUE(only(inspect({writer::record_5({.version = version})}), "version-unknown")
                    .message.ends_with(": version " + std::to_string(version) + "."));
  // Another code says it already.
  EXPECT_EQ((texts{"version-without-layout 24"}),
            codes_of(inspect({writer::record_2({.version = 99})})));
}

TEST(Inspection, PutsFindingsInTheOrderOfOffsetsAndWhatHasNoneLast) {
  const inspection seen = inspect_with(
      {writer::record_722({.values = std::vector<uint64_t>(9, 1)}), writer::plain_record(12)}, {});
  EXPECT_EQ((texts{"entries-dropped 24", "kind-refused 112", "nvm-empty -"}), codes_of(seen));
}

TEST(Inspection, FillsTheOthersBlock) {
  const inspection seen =
      inspect({writer::record_722({.value = 7}), writer::record_722({.value = 8})});
  ASSERT_NE(nullptr, seen.cmc->others);
  EXPECT_EQ(7u, seen.cmc->others->others_value);
  EXPECT_EQ((texts{"converted", "superseded"}), fates_of(seen));
  EXPECT_EQ((texts{"record-superseded 64"}), codes_of(seen));
  EXPECT_TRUE(seen.found[0].message.ends_with("record 0 at byte 24, of kind 722."));
}

TEST(Inspection, OutlivesTheImages) {
  inspection seen;
  {
    const std::vector<uint8_t> image = container().add(writer::record_1({.name = "x"})).image();
    seen = findings::inspect(image, std::nullopt);
  }
  EXPECT_STREQ("x", seen.cmc->general.name);
}

}  // namespace
