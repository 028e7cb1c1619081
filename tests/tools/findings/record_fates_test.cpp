// What becomes of each record, and which record filled the slots that several kinds feed.

#include "tests/tools/findings/inspected.h"

namespace {

using writer::bytes;
using namespace findings_test;

TEST(Rows, ListEveryRecordWithItsHeader) {
  const inspection seen =
      inspect({writer::record_5({.size = 16}), writer::plain_record(64, {.size = 32, .version = 7}),
               writer::record_28()});
  ASSERT_EQ(3u, seen.records.size());
  const findings::record_row& row = seen.records[1];
  EXPECT_EQ(1u, row.index);
  EXPECT_EQ(40u, row.offset);
  EXPECT_EQ(32u, row.size);
  EXPECT_EQ(64u, row.id);
  EXPECT_EQ(7u, row.version);
  EXPECT_EQ("", row.name);
  EXPECT_EQ("foreign", row.fate);
  EXPECT_EQ("record_5", seen.records[0].name);
  EXPECT_EQ("mapped_grid", seen.records[2].name);
}

TEST(Rows, SayWhatBecameOfTheRecord) {
  const struct {
    std::vector<bytes> records;
    texts fates;
  } cases[] = {
      {{writer::record_5()}, {"kept"}},
      {{writer::record_26()}, {"converted"}},
      {{writer::resized(writer::record_5(), 8)}, {"leaked"}},
      {{writer::resized(writer::record_26(), 8)}, {"released"}},
      {{writer::resized(writer::record_24(), 8)}, {"refused"}},
      {{writer::resized(writer::record_31(), 8)}, {"refused"}},
      {{writer::plain_record(4)}, {"refused"}},
      {{writer::plain_record(100)}, {"foreign"}},
      {{writer::record_722()}, {"converted"}},
      {{writer::resized(writer::record_722(), 12)}, {"released"}},
      {{writer::record_5(), writer::record_5()}, {"replaced", "kept"}},
      {{writer::record_3(), writer::record_3()}, {"converted", "superseded"}},
      {{writer::record_31(), writer::record_3()}, {"kept", "superseded"}},
      {{writer::record_3(), writer::record_31()}, {"replaced", "kept"}},
      {{writer::record_11(), writer::record_33()}, {"replaced", "converted"}},
      {{writer::record_33(), writer::record_11()}, {"converted", "superseded"}},
      // What record 10 gave to the lens shading is gone, but the record is still kept.
      {{writer::record_10(), writer::record_28()}, {"kept", "converted"}},
      {{writer::record_28(), writer::record_10()}, {"converted", "kept"}},
      {{writer::record_10(), writer::record_10()}, {"replaced", "kept"}},
      {{writer::record_34(), writer::record_34()}, {"replaced", "kept"}},
  };
  for (const auto& each : cases) {
    const inspection seen = inspect(each.records);
    EXPECT_EQ(each.fates, fates_of(seen)) << "case " << &each - cases;
  }
}

/// The findings that a well-formed record has all the same, by what its name says is special.
bool is_expected_of(const std::string& name, const std::string& code) {
  static constexpr struct {
    const char* special;
    const char* code;
  } expected[] = {{"_without_step", "range-without-step"},
                  {"_six_blocks", "blocks-dropped"},
                  {"_without_items", "tables-without-items"},
                  {"", "version-unknown"},
                  {"", "version-without-layout"}};
  return std::any_of(std::begin(expected), std::end(expected), [&](const auto& each) {
    return code == each.code && name.find(each.special) != std::string::npos;
  });
}

TEST(Rows, OfGoodRecordsSayThatTheirSlotsAreFilled) {
  for (const writer::named_record& each : writer::every_good_record()) {
    SCOPED_TRACE(each.name);
    const inspection seen = inspect({each.content});
    ASSERT_EQ(1u, seen.records.size());
    const std::string& fate = seen.records[0].fate;
    const bool is_dropped = each.name.find("_without_step") != std::string::npos;
    EXPECT_TRUE(is_dropped ? fate == "released" : fate == "kept" || fate == "converted") << fate;
    for (const findings::finding& found : seen.found)
      EXPECT_TRUE(is_expected_of(each.name, found.code)) << found.code << ": " << found.message;
  }
}

TEST(Origins, NameTheKindsThatFillSharedSlots) {
  const struct {
    std::vector<bytes> records;
    uint16_t lens_shading, lens_shading_ext, record_31;
  } cases[] = {
      {{}, 0, 0, 0},
      {{writer::record_10()}, 10, 0, 0},
      {{writer::record_28()}, 28, 0, 0},
      {{writer::record_10(), writer::record_28()}, 28, 0, 0},
      {{writer::record_28(), writer::record_10()}, 28, 0, 0},
      {{writer::record_28(), writer::resized(writer::record_28(), 8)}, 0, 0, 0},
      {{writer::record_28(), writer::resized(writer::record_28(), 8), writer::record_10()},
       10,
       0,
       0},
      {{writer::record_11()}, 0, 11, 0},
      {{writer::record_11(), writer::record_33()}, 0, 33, 0},
      {{writer::record_33(), writer::record_11()}, 0, 33, 0},
      {{writer::record_3()}, 0, 0, 3},
      {{writer::record_3(), writer::record_31()}, 0, 0, 31},
      {{writer::record_3(), writer::resized(writer::record_31(), 8)}, 0, 0, 3},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(&each - cases);
    const inspection seen = inspect(each.records);
    EXPECT_EQ(each.lens_shading, seen.from.lens_shading);
    EXPECT_EQ(each.lens_shading_ext, seen.from.lens_shading_ext);
    EXPECT_EQ(each.record_31, seen.from.record_31);
    EXPECT_EQ(each.lens_shading != 0, seen.cmc->lens_shading != nullptr);
    EXPECT_EQ(each.lens_shading_ext != 0, seen.cmc->lens_shading_ext != nullptr);
    EXPECT_EQ(each.record_31 != 0, seen.cmc->record_31 != nullptr);
    EXPECT_FALSE(seen.from.merged);
  }
}

TEST(Origins, TellADerivedRecord34FromACarriedOne) {
  EXPECT_TRUE(inspect({writer::record_19()}).from.record_34_derived);
  EXPECT_FALSE(inspect({writer::record_19(), writer::record_34()}).from.record_34_derived);
  EXPECT_FALSE(inspect(std::vector<bytes>{}).from.record_34_derived);
}

TEST(Names, AreThoseOfTheKinds) {
  EXPECT_STREQ("general", findings::name_of_kind(1));
  EXPECT_STREQ("module_properties", findings::name_of_kind(2));
  EXPECT_STREQ("lsc_grid", findings::name_of_kind(10));
  EXPECT_STREQ("mapped_grid_ext", findings::name_of_kind(33));
  EXPECT_STREQ("others", findings::name_of_kind(722));
  for (const uint16_t unknown : std::initializer_list<uint16_t>{0, 4, 12, 37, 64, 0xffff})
    EXPECT_STREQ("", findings::name_of_kind(unknown));
}

}  // namespace
