#include "tools/layout/annotation.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

#include "writer/container_writer.h"
#include "writer/records.h"

namespace {

using writer::bytes;

std::vector<layout::span> annotated(const std::vector<uint8_t>& image) {
  return layout::annotate(image, std::nullopt);
}

/// Of a container with this one record; places count from the record's start.
std::map<std::string, layout::span> fields_of(const bytes& record) {
  std::map<std::string, layout::span> fields;
  for (layout::span& each : annotated(writer::container().add(record).image())) {
    if (each.offset < writer::container::header_size || each.gap) continue;
    each.offset -= writer::container::header_size;
    const std::string name = each.name;
    EXPECT_TRUE(fields.emplace(name, std::move(each)).second) << name << " is there twice";
  }
  return fields;
}

void expect_every_byte_once(const std::vector<layout::span>& spans, size_t size) {
  uint64_t reached = 0;
  for (const layout::span& each : spans) {
    ASSERT_EQ(reached, each.offset) << each.name;
    ASSERT_GT(each.size, 0u) << each.name;
    reached += each.size;
  }
  ASSERT_EQ(size, reached);
}

TEST(Annotation, NamesEveryByteOfEveryKindAndVersionOnce) {
  for (const writer::named_record& each : writer::every_good_record()) {
    SCOPED_TRACE(each.name);
    const std::vector<uint8_t> image = writer::container().add(each.content).image();
    expect_every_byte_once(annotated(image), image.size());
  }
}

TEST(Annotation, LeavesNoGapInTheMiddleOfARecordButWhereNothingReads) {
  // By the start of the writer's name: what their layouts pass over.
  const std::set<std::string> with_gaps = {"record_10", "record_11", "record_20", "record_22",
                                           "record_28", "record_33", "record_34"};
  for (const writer::named_record& each : writer::every_good_record()) {
    SCOPED_TRACE(each.name);
    const auto spans = annotated(writer::container().add(each.content).image());
    size_t last_field = 0;
    for (size_t i = 0; i < spans.size(); ++i)
      if (!spans[i].gap) last_field = i;
    const bool allowed = with_gaps.count(each.name.substr(0, 9)) != 0;
    for (size_t i = 0; i < last_field; ++i) {
      if (!spans[i].gap) continue;
      EXPECT_TRUE(allowed) << "gap at " << spans[i].offset;
      EXPECT_LE(spans[i].size, 16u);
    }
  }
}

TEST(Annotation, GivesNoGoodRecordACutField) {
  for (const writer::named_record& each : writer::every_good_record())
    for (const layout::span& field : annotated(writer::container().add(each.content).image()))
      EXPECT_EQ(std::string::npos, field.name.find("cut:")) << each.name << ": " << field.name;
}

TEST(Annotation, NamesTheFieldsOfTheHeader) {
  const auto spans = annotated(writer::container().image());
  ASSERT_EQ(4u, spans.size());
  EXPECT_EQ("container.word_0", spans[0].name);
  EXPECT_EQ("container.total_size", spans[1].name);
  EXPECT_EQ("24", spans[1].value);
  EXPECT_EQ("container.words_2_to_4", spans[2].name);
  EXPECT_EQ(12u, spans[2].size);
  EXPECT_EQ("container.checksum", spans[3].name);
  EXPECT_EQ(20u, spans[3].offset);
}

TEST(Annotation, PutsPlanesAndGainsOfLensShadingWhereTheyStand) {
  const auto fields = fields_of(writer::record_10({.lights = 2, .width = 3, .height = 2}));
  EXPECT_EQ(8u, fields.at("lsc_grid.size").size * 2);
  EXPECT_EQ("2", fields.at("lsc_grid.light_count").value);
  // A light takes 8 bytes and four planes of 12.
  EXPECT_EQ(16u + 56 + 8 + 3 * 12, fields.at("lsc_grid.lights[1].planes[3]").offset);
  EXPECT_EQ(12u, fields.at("lsc_grid.lights[1].planes[3]").size);
  EXPECT_EQ(16u + 2 * 56 + 4, fields.at("lsc_grid.lights[1].gains").offset);
}

TEST(Annotation, FollowsTheChannelMapOfMappedGrids) {
  writer::mapped_grid_fields grid = {.lights = 1, .width = 2, .height = 2};
  grid.channel_map = {4, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 2};
  const auto fields = fields_of(writer::record_33(grid));
  EXPECT_EQ(32u + 22 + 4 * 8, fields.at("mapped_grid_ext.lights[0].planes[4]").offset);
  EXPECT_EQ(0u, fields.count("mapped_grid_ext.lights[0].planes[5]"));
  EXPECT_EQ("-1", fields.at("mapped_grid_ext.channel_map[0][1]").value);
}

TEST(Annotation, ShowsTextWithoutItsTerminator) {
  const auto fields =
      fields_of(writer::record_1({.name = "module", .pairs = {{"k", "v"}}, .version = 101}));
  EXPECT_EQ("module", fields.at("general.name").value);
  EXPECT_EQ(7u, fields.at("general.name").size);
  EXPECT_EQ("v", fields.at("general.pairs[0].value").value);
}

TEST(Annotation, FindsArraysThatStandAtGivenPlaces) {
  for (const writer::named_record& each : writer::every_good_record()) {
    if (each.name.rfind("record_34", 0) != 0) continue;
    for (const auto& [name, field] : fields_of(each.content))
      if (name.ends_with(".tail")) {
        EXPECT_EQ(8u, field.size) << each.name;
      }
  }
}

TEST(Annotation, NamesACutFieldAsFarAsItGoes) {
  const bytes whole = writer::record_29({.width = 3, .height = 2});
  const auto fields = fields_of(writer::resized(whole, 20 + 24 + 10));
  EXPECT_EQ(10u, fields.at("record_29.planes[1] (cut: 10 of 24 bytes)").size);
  EXPECT_EQ(0u, fields.count("record_29.planes[2]"));
}

TEST(Annotation, SaysWhereTheRecordsEnd) {
  std::vector<uint8_t> image = writer::container().add(writer::record_8()).image();
  const size_t end = image.size();
  image.insert(image.end(), {7, 0, 0, 0, 100, 0, 8, 0, 1});
  auto spans = annotated(image);
  EXPECT_EQ(end, spans.back().offset);
  EXPECT_TRUE(spans.back().gap);
  EXPECT_EQ("not a record: it would have 7 bytes, 9 are left", spans.back().name);
  image.resize(end + 7);
  spans = annotated(image);
  EXPECT_EQ("less than a record's header", spans.back().name);
}

TEST(Annotation, ShowsOnlyTheAskedKind) {
  const std::vector<uint8_t> image = writer::container()
                                         .add(writer::record_8())
                                         .add(writer::record_24())
                                         .add(writer::record_8())
                                         .image();
  const auto spans = layout::annotate(image, 8);
  ASSERT_FALSE(spans.empty());
  for (const layout::span& each : spans) EXPECT_EQ(0u, each.name.rfind("record_8", 0)) << each.name;
  EXPECT_EQ(24u, spans.front().offset);
  EXPECT_EQ(image.size(), spans.back().offset + spans.back().size);
}

TEST(Annotation, NamesEveryByteOnceWhateverTheBytesAre) {
  std::mt19937 random(1);
  for (const writer::named_record& each : writer::every_good_record()) {
    SCOPED_TRACE(each.name);
    const std::vector<uint8_t> good = writer::container().add(each.content).image();
    for (int round = 0; round < 60; ++round) {
      std::vector<uint8_t> image = good;
      for (int change = 0; change < 3; ++change)
        image[random() % image.size()] = static_cast<uint8_t>(random() % 3 == 0 ? 255 : random());
      image.resize(random() % (image.size() + 1));
      expect_every_byte_once(annotated(image), image.size());
      if (HasFailure()) return;
    }
  }
}

}  // namespace
