// Every code can be found: for each an input in which it is.

#include <functional>
#include <map>
#include <set>

#include "tests/tools/findings/failing_heap.h"
#include "tests/tools/findings/inspected.h"

namespace {

using findings::code_description;
using writer::bytes;
using writer::container;
using namespace findings_test;

using source = std::function<inspection()>;

source of(const bytes& record) {
  return [record] { return inspect(std::vector<bytes>{record}); };
}
source of(const std::vector<bytes>& records) {
  return [records] { return inspect(records); };
}
source of_image(const std::vector<uint8_t>& image) {
  return [image] { return inspect(image); };
}
source with_module(const std::vector<bytes>& records, uint8_t sets = 2) {
  return [records, sets] { return inspect_with(records, module_image(sets)); };
}

writer::light_head head_with(uint16_t integer_bits, float coordinate) {
  writer::light_head head = writer::default_light_head(0);
  head.integer_bits = integer_bits;
  head.coords[0] = coordinate;
  return head;
}

/// Refuses each allocation of an inspection once, and hands out the first result that has the code.
source short_of_memory(const std::string& code, const std::vector<bytes>& records) {
  return [code, records] {
    for (size_t n = 0;; ++n) {
      failing_heap::fail_after(n);
      inspection seen = inspect(records);
      if (!failing_heap::stop()) return seen;
      for (const findings::finding& each : seen.found)
        if (each.code == code) return seen;
    }
  };
}

const std::map<std::string, source>& sources() {
  static const std::map<std::string, source> all = {
      {"container-too-short", of_image(std::vector<uint8_t>(23))},
      {"size-mismatch", of_image(container().total(25).image())},
      {"checksum-mismatch", of_image(container().checksum(1).image())},
      {"container-out-of-memory", short_of_memory("container-out-of-memory", {})},
      {"bytes-after-last-record", of_image(with_tail(bytes().zeros(7)))},
      {"record-size-too-small", of_image(with_tail(bytes().zeros(8)))},
      {"record-overruns",
       of_image(with_tail(bytes(writer::record_8({.size = 16})).patch_u32(0, 17)))},
      {"kind-foreign", of(writer::plain_record(64))},
      {"kind-refused", of(writer::plain_record(12))},
      {"copy-out-of-memory", short_of_memory("copy-out-of-memory", {writer::record_5()})},
      {"record-too-short", of(writer::resized(writer::record_5(), 15))},
      {"string-unterminated",
       of(writer::resized(writer::record_1({.name = "abc", .version = 100}), 26))},
      {"range-without-step", of(writer::record_14({.step = 0}))},
      {"range-reversed", of(writer::record_14({.first = 2, .last = 1}))},
      {"grid-negative", of(writer::record_22().patch_u16(12, 0xffff))},
      {"too-many-planes", of(writer::record_27({.planes = 4}))},
      {"plane-empty", of(writer::record_29({.width = 0}))},
      {"refused-by-stack", of(writer::resized(writer::record_31(), 16))},
      {"record-superseded", of({writer::record_3(), writer::record_3()})},
      {"out-of-memory", short_of_memory("out-of-memory", {writer::record_26()})},
      {"version-without-layout", of(writer::record_2({.version = 99}))},
      {"fields-lost", of(writer::resized(writer::record_2(), 36))},
      {"gains-lost", of(writer::resized(writer::record_10(), 128))},
      {"set-superseded", of({writer::record_28(), writer::record_10()})},
      {"parameters-defaulted", of(writer::resized(writer::record_13(), 88))},
      {"sub-table-lost", of(writer::resized(writer::record_15(), 88))},
      {"items-lost", of(writer::resized(writer::record_30(), 32))},
      {"block-lost", of(writer::resized(writer::record_22(), 1200))},
      {"list-lost", of(writer::resized(writer::record_20(), 20))},
      {"list-count-negative",
       of(writer::record_22({.grid_entries = 0, .items = 0, .list_counts = {}})
              .patch_i32(1074, -1))},
      {"groups-defaulted", of(writer::resized(writer::record_26(), 63))},
      {"grid-lost", of(writer::resized(writer::record_30(), 48))},
      {"trailing-lost", of(writer::resized(writer::record_30(), 72))},
      {"tables-without-items", of(writer::record_30({.items = 0}))},
      {"blocks-dropped", of(writer::record_34({.blocks = {{}, {}, {}, {}, {}}}))},
      {"entries-dropped", of(writer::record_722({.values = std::vector<uint64_t>(9, 1)}))},
      {"part-out-of-memory", short_of_memory("part-out-of-memory", {writer::record_1()})},
      {"nvm-empty", [] { return inspect_with({}, {}); }},
      {"nvm-refused", [] { return inspect_with({}, {1, 2, 3}); }},
      {"merge-without-lens-shading", with_module(merged_without(28))},
      {"merge-without-extended-set", with_module(merged_without(33))},
      {"merge-without-properties", with_module(merged_without(2))},
      {"merge-without-record-17", with_module(merged_without(17))},
      {"merge-without-lights",
       with_module(merged_without(28, {writer::record_28({.lights = 0})}))},
      {"merge-without-tables",
       with_module(merged_without(
           28, {writer::record_28({.width = 900,
                                   .height = 700,
                                   .channel_map = std::vector<int8_t>(16, -1)})}))},
      {"gains-not-computed",
       with_module(merged_without(17, {writer::record_17({.orientation = 4})}))},
      {"extended-set-too-small",
       with_module(
           merged_without(33, {writer::record_33({.lights = 1, .width = 9, .height = 7})}))},
      {"gain-table-missing", with_module(merged_records(), 1)},
      {"plane-order-unknown",
       with_module(merged_without(17, {writer::record_17({.plane_order = 4})}))},
      {"cfa-layout-unknown", with_module(merged_without(2, {writer::record_2({.cfa_layout = 4})}))},
      {"derived-without-record-20", of(writer::resized(writer::record_20(), 24))},
      {"derived-out-of-memory", short_of_memory("derived-out-of-memory", {writer::record_19()})},
      {"container-too-large",
       [] {
         // Refused for its size, before any byte is looked at.
         static constexpr uint8_t byte = 0;
         return findings::inspect({&byte, size_t{1} << 32}, std::nullopt);
       }},
      {"record-replaced", of({writer::record_5(), writer::record_5()})},
      {"record-displaced", of({writer::record_5(), writer::resized(writer::record_5(), 8)})},
      {"version-unknown", of(writer::record_5({.version = 104}))},
      {"fraction-bits-implausible", of(writer::record_28({.heads = {head_with(17, 0.5f)}}))},
      {"coordinates-implausible", of(writer::record_28({.heads = {head_with(6, 1.5f)}}))},
      {"library-message", short_of_memory("library-message", {writer::record_28()})},
  };
  return all;
}

/// What no file can bring about: the entry is handed no container, or no record.
bool is_for_callers_only(const std::string& word) {
  return word == "container-missing" || word == "record-missing";
}

class EveryCode : public testing::TestWithParam<code_description> {};

TEST_P(EveryCode, IsFoundWithItsSeverityAndSentence) {
  const code_description& code = GetParam();
  if (is_for_callers_only(code.word)) {
    EXPECT_FALSE(sources().contains(code.word));
    return;
  }
  const auto found = sources().find(code.word);
  ASSERT_NE(sources().end(), found) << "no input has the code " << code.word;
  const inspection seen = found->second();
  const auto is_it = [&](const findings::finding& each) { return each.code == code.word; };
  const auto finding = std::find_if(seen.found.begin(), seen.found.end(), is_it);
  ASSERT_NE(seen.found.end(), finding) << testing::PrintToString(codes_of(seen));
  EXPECT_EQ(code.how_bad, finding->how_bad);
  const std::string sentence = code.sentence;
  EXPECT_TRUE(finding->message.starts_with(sentence.substr(0, sentence.size() - 1)))
      << finding->message;
  EXPECT_TRUE(finding->message.ends_with(".")) << finding->message;
  // Errors concern the container and nothing else does.
  const bool has_error = std::any_of(seen.found.begin(), seen.found.end(), [](const auto& each) {
    return each.how_bad == findings::severity::error;
  });
  EXPECT_EQ(has_error, !seen.valid);
}

INSTANTIATE_TEST_SUITE_P(All, EveryCode,
                         testing::ValuesIn(findings::every_code().begin(),
                                           findings::every_code().end()),
                         [](const auto& each) {
                           std::string name = each.param.word;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

TEST(EveryCodeTest, HasNoInputForACodeThatIsNotInTheTable) {
  std::set<std::string> words;
  for (const code_description& code : findings::every_code()) words.insert(code.word);
  for (const auto& [word, input] : sources()) EXPECT_TRUE(words.contains(word)) << word;
}

TEST(EveryCodeTest, WithoutMemoryAnInspectionOfEverythingEnds) {
  std::vector<bytes> records = merged_records();
  for (const writer::named_record& each : writer::every_good_record())
    if (each.content.u16_at(6) != 34) records.push_back(each.content);
  const std::vector<uint8_t> module = module_image();
  for (size_t n = 0;; ++n) {
    failing_heap::fail_after(n);
    const inspection seen = inspect_with(records, module);
    if (!failing_heap::stop()) break;
    EXPECT_EQ(n == 0, !seen.valid);
    // The first allocation is the parsed CMC's.
    EXPECT_EQ(n == 0 ? 0 : records.size(), seen.records.size());
  }
}

}  // namespace
