// dump -> pack -> dump gives the same document.
#include <gtest/gtest.h>

#include <bit>

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
