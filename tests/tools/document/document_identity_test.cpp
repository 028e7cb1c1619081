// dump -> pack -> dump gives the same document.
#include <gtest/gtest.h>

#include <set>

#include "tests/tools/document/parsed_document.h"
#include "writer/nvm_writer.h"
#include "writer/records.h"

namespace {

using document::json;
using writer::bytes;
using writer::checksum_rule;

std::vector<uint8_t> image_of(const std::vector<bytes>& records) {
  return writer::container().add(records).image();
}

/// Where two documents differ first, for a message that can be read.
std::string first_difference(const json& a, const json& b, const std::string& path = "") {
  if (a == b) return "";
  if (a.is_structured() && b.is_structured() && a.size() == b.size() && a.type() == b.type())
    for (auto x = a.begin(), y = b.begin(); x != a.end(); ++x, ++y) {
      const std::string key = a.is_object() ? x.key() : std::to_string(x - a.begin());
      if (*x != *y) return first_difference(*x, *y, path + "/" + key);
    }
  return path + ": " + a.dump().substr(0, 200) + " against " + b.dump().substr(0, 200);
}

/// The document comes back from its container as text and as values, whatever the checksum's rule.
void expect_identity(const json& slots) {
  for (const checksum_rule rule : {checksum_rule::rule_a, checksum_rule::rule_b}) {
    std::vector<uint8_t> packed;
    try {
      packed = document::pack(json::parse(slots.dump()), rule);
    } catch (const document::error& failure) {
      FAIL() << failure.what();
    }
    EXPECT_EQ(writer::checksum_of(packed, rule), bytes(packed).u32_at(20));
    const json again = kit::document_of(packed);
    ASSERT_EQ("", first_difference(slots, again));
    EXPECT_EQ(slots.dump(), again.dump());
  }
}

TEST(DocumentIdentity, HoldsForEveryGoodRecordByItself) {
  for (const writer::named_record& record : writer::every_good_record()) {
    SCOPED_TRACE(record.name);
    expect_identity(kit::document_of(record.content));
  }
}

TEST(DocumentIdentity, HoldsForAllRecordsTogether) {
  std::vector<bytes> forward, backward;
  for (const writer::named_record& record : writer::every_good_record()) {
    forward.push_back(record.content);
    backward.insert(backward.begin(), record.content);
  }
  expect_identity(kit::document_of(image_of(forward)));
  expect_identity(kit::document_of(image_of(backward)));
}

TEST(DocumentIdentity, HoldsForEveryVersionOfAllKindsTogether) {
  for (const char* const version : {"_v99", "_v100", "_v101", "_v102", "_v103", "_v104"}) {
    SCOPED_TRACE(version);
    std::vector<bytes> records;
    for (const writer::named_record& record : writer::every_good_record())
      if (record.name.ends_with(version)) records.push_back(record.content);
    expect_identity(kit::document_of(image_of(records)));
  }
}

TEST(DocumentIdentity, HoldsForRecordsThatNoSlotTakes) {
  for (const writer::named_record& record : writer::every_slotless_record()) {
    SCOPED_TRACE(record.name);
    expect_identity(kit::document_of(record.content));
  }
}

TEST(DocumentIdentity, HoldsForAnEmptyContainer) {
  expect_identity(kit::document_of(image_of({})));
}

// Kinds of which the slot is the copy: the document has every byte of the record.
TEST(DocumentIdentity, KeepsEveryByteOfKeptCopies) {
  const std::set<uint16_t> kept = {1,  5,  6,  7,  8,  9,  10, 13, 14, 15, 16,
                                   17, 18, 19, 20, 21, 23, 25, 27, 31, 32, 34};
  size_t compared = 0;
  for (const writer::named_record& record : writer::every_good_record()) {
    if (kept.count(record.content.u16_at(6)) == 0) continue;
    const json slots = kit::document_of(record.content);
    const std::vector<uint8_t> packed = document::pack(slots, checksum_rule::rule_a);
    if (packed.size() == writer::container::header_size) {
      EXPECT_NE(std::string::npos, record.name.find("without_step")) << record.name;
      continue;
    }
    std::vector<uint8_t> wanted = record.content.vector();
    // What the decoder itself changes in the copy.
    if (record.name.starts_with("record_20_v99") || record.name.starts_with("record_20_v100"))
      wanted[13] = 8;
    if (record.name.ends_with("six_blocks")) wanted[8] = 4;
    EXPECT_EQ(wanted, std::vector<uint8_t>(packed.begin() + 24, packed.end())) << record.name;
    ++compared;
  }
  EXPECT_GT(compared, 100u);
}

// Places anywhere, in any order, at any alignment, with bytes between.
TEST(DocumentIdentity, HoldsForArraysAtAnyPlace) {
  bytes table_31;
  table_31.u32(1).u32(0x31323334).u64(29).raw("gap..", 5);
  for (int i = 0; i < 18; ++i) table_31.f32(static_cast<float>(i) / 4);
  table_31.raw("and more", 8);
  expect_identity(kit::document_of(writer::record(31, 100, table_31)));
  expect_identity(kit::document_of(writer::record(31, 100, bytes().u32(0).u32(7).u64(0).u64(9))));
  expect_identity(kit::document_of(writer::record(31, 100, bytes().u32(0).u32(7).u64(32).u64(9))));

  bytes table_34;
  table_34.u32(1).u32(5).u64(43).raw("0123456789abcdefghi", 19);  // blocks at 43, entries at 24
  table_34.u32(6).u32(7).u32(0).u32(2).u64(83).u64(24).u64(84).raw("-", 1).raw("eighteen", 8);
  const json slots = kit::document_of(writer::record(34, 101, table_34));
  ASSERT_TRUE(slots["record_34"]["blocks"].is_array());
  EXPECT_EQ(2u, slots["record_34"]["blocks"][0]["short_entries"].size());
  EXPECT_EQ(json::array(), slots["record_34"]["blocks"][0]["long_entries"]);
  expect_identity(slots);
}

// Arrays that share bytes cannot be told one by one.
TEST(DocumentIdentity, HoldsForArraysThatShareBytes) {
  bytes table;
  table.u32(2).u32(0).u64(32).u64(0x2424242424242424);
  for (int i = 0; i < 2; ++i) table.u32(1).u32(2).u32(1).u32(2).u64(112).u64(112).u64(32);
  table.raw(std::string(32, 'x').data(), 32);
  const json slots = kit::document_of(writer::record(34, 100, table));
  EXPECT_TRUE(slots["record_34"]["blocks"].is_null());
  EXPECT_EQ(2u * (24 + 2 * 40 + 32 - 16), slots["record_34"]["bytes_24"].get<std::string>().size());
  expect_identity(slots);
}

TEST(DocumentIdentity, HoldsForFloatsThatAreNoNumbers) {
  const uint32_t patterns[] = {0x7fc00001, 0xffc00000, 0x7f800001, 0xffbfffff, 0x7f800000,
                               0xff800000, 0x80000000, 0x00000001, 0x807fffff, 0x7f7fffff,
                               0x3dcccccd, 0x00800000, 0x4b800001, 0x3f800001};
  bytes plane = writer::record_29({.width = 7, .height = 2});
  for (size_t i = 0; i < 56; ++i) plane.patch_u32(20 + 4 * i, patterns[i % 14]);
  bytes lights = writer::record_28();
  for (size_t i = 0; i < 4; ++i) lights.patch_u32(36 + 4 * i, patterns[i]);
  bytes entries = writer::record_31();
  for (size_t i = 0; i < 36; ++i) entries.patch_u32(24 + 4 * i, patterns[i % 14]);
  bytes old_entries = writer::record_3();
  old_entries.patch_u32(12, 0x7fc00001);
  for (const bytes& record : {plane, lights, entries, old_entries}) {
    const json slots = kit::document_of(record);
    EXPECT_NE(std::string::npos, slots.dump().find("\"nan:0x7fc00001\""));
    expect_identity(slots);
  }
  EXPECT_EQ(json({"nan:0x7fc00001", "nan:0xffc00000", "nan:0x7f800001", "nan:0xffbfffff", "inf",
                  "-inf", -0.0}),
            kit::document_of(plane)["record_29"]["planes"][0][0]);
  EXPECT_EQ("0.1", kit::document_of(plane)["record_29"]["planes"][0][1][3].dump());
}

// Any float comes back from its shortest text.
TEST(DocumentIdentity, HoldsForFloatsOfAllSizes) {
  uint32_t bits = 1;
  for (int i = 0; i < 200000; ++i) {
    bits = bits * 1664525u + 1013904223u;
    const std::optional<uint32_t> back =
        document::float_bits(json::parse(document::float_value(bits).dump()));
    ASSERT_TRUE(back.has_value()) << bits;
    ASSERT_EQ(bits, *back);
  }
}

TEST(DocumentIdentity, HoldsForTextOfAnyBytes) {
  std::string every_byte;
  for (int i = 1; i < 256; ++i) every_byte += static_cast<char>(i);
  const std::vector<std::string> names = {
      every_byte,    "\xff",         "\xc0\xaf",         "\xed\xa0\x80", "\xf4\x90\x80\x80",
      "caf\xc3\xa9", "\x1b[31m\\\"", "\xf0\x9f\x93\xb7", "tail\xe2\x82", "\xf8\x88\x80\x80\x80"};
  for (const std::string& name : names) {
    const json slots = kit::document_of(writer::record_1({.name = name, .pairs = {{name, name}}}));
    expect_identity(slots);
    const json& value = slots["general"]["name"];
    if (value.is_string())
      EXPECT_EQ(name, value.get<std::string>());
    else
      EXPECT_EQ(document::hex_of(reinterpret_cast<const uint8_t*>(name.data()), name.size()),
                value["bytes"]);
  }
}

TEST(DocumentIdentity, HoldsWhenTheModulesCalibrationWasMerged) {
  const bytes nvm = writer::nvm_image({.grid = writer::nvm_grid{}});
  const auto image = [](const bytes& tables, const bytes& more, uint8_t version) {
    return image_of({tables, more, writer::record_2(), writer::record_17(),
                     writer::record_30({.version = version})});
  };
  for (const uint8_t version : {uint8_t{99}, uint8_t{100}, uint8_t{101}, uint8_t{102}}) {
    for (const auto& [tables, more] : {std::pair(writer::record_10(), writer::record_11()),
                                       std::pair(writer::record_28(), writer::record_33()),
                                       std::pair(writer::record_10({.width = 17, .height = 13}),
                                                 writer::record_33({.width = 17, .height = 13}))}) {
      const std::vector<uint8_t> container = image(tables, more, version);
      const json plain = kit::document_of(container);
      const json merged = kit::document_of(container, &nvm);
      ASSERT_NE(plain["lens_shading"], merged["lens_shading"]);
      ASSERT_NE(plain["record_30"], merged["record_30"]);
      EXPECT_EQ(28, merged["lens_shading"]["built_from"]);
      expect_identity(plain);
      expect_identity(merged);
    }
  }
}

// The first record 10 gives lens_shading, the last one lsc_grid.
TEST(DocumentIdentity, HoldsForTwoRecordsOfTheOldGrid) {
  const json slots =
      kit::document_of(image_of({writer::record_10(), writer::record_10({.filler = 99})}));
  EXPECT_EQ(28, slots["lens_shading"]["built_from"]);
  EXPECT_EQ(false, slots["lsc_grid"]["blocks_in_lens_shading"]);
  expect_identity(slots);
}

// A record 28 that is malformed empties what record 10 filled.
TEST(DocumentIdentity, HoldsForAGridWithoutItsTables) {
  const json slots =
      kit::document_of(image_of({writer::record_10(), writer::resized(writer::record_28(), 24)}));
  EXPECT_TRUE(slots["lens_shading"].is_null());
  EXPECT_FALSE(slots["lsc_grid"].is_null());
  expect_identity(slots);
}

TEST(DocumentIdentity, HoldsForAnyBytesInTheRecords) {
  uint32_t state = 12345;
  const auto next = [&state] { return state = state * 1664525u + 1013904223u, state >> 8; };
  const std::vector<writer::named_record> good = writer::every_good_record();
  for (int round = 0; round < 1500; ++round) {
    const writer::named_record& record = good[next() % good.size()];
    bytes mutated = record.content;
    for (uint32_t k = 1 + next() % 4; k > 0 && mutated.size() > 8; --k)
      mutated.patch_u8(8 + next() % (mutated.size() - 8), static_cast<uint8_t>(next()));
    if (next() % 4 == 0) mutated.patch_u8(4, static_cast<uint8_t>(98 + next() % 8));
    SCOPED_TRACE(record.name + " in round " + std::to_string(round));
    expect_identity(kit::document_of(mutated));
    if (testing::Test::HasFailure()) return;
  }
}

// What decoders make of records that are cut: slots that are empty, or have only some parts.
TEST(DocumentIdentity, HoldsForRecordsThatAreCutOrExtended) {
  for (const writer::named_record& record : writer::every_good_record()) {
    SCOPED_TRACE(record.name);
    const size_t size = record.content.size();
    std::vector<size_t> sizes = {size + 1, size + 8, size + 100};
    const size_t step = size > 400 ? 97 : 7;
    for (size_t cut = 8; cut < size; cut += step) sizes.push_back(cut);
    if (size > 8) sizes.push_back(size - 1);
    for (const size_t other : sizes) {
      SCOPED_TRACE(other);
      const json slots = kit::document_of(writer::resized(record.content, other));
      expect_identity(slots);
      if (testing::Test::HasFailure()) return;
    }
  }
}

}  // namespace
