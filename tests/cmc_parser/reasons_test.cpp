// Every reason that the library can give is given: for each a scenario in which it is.

#include <algorithm>
#include <functional>
#include <set>
#include <vector>

#include "tests/kit/container_cycle.h"
#include "tests/kit/fake_platform.h"
#include "tests/kit/merging_module.h"
#include "tests/kit/module_calibration.h"
#include "tests/kit/reason_name.h"
#include "tests/kit/reporting_library.h"
#include "tests/kit/row_name.h"
#include "writer/nvm_writer.h"
#include "writer/records.h"

namespace {

using kit::merged_records;
using kit::merged_without;
using kit::module_image;
using kit::with_tail;
using qo::reason;
using writer::bytes;
using writer::container;

/// Collects the reasons of a parse.
class all_reasons final : public qo::parse_report {
 public:
  void container(const qo::container_verdict& verdict) override { add(verdict.why); }
  void nvm(const qo::nvm_verdict& verdict) override { add(verdict.why); }
  void record(const qo::record_view&, const qo::decode_result& result, const parsed_cmc&) override {
    add(result.why);
  }
  void walk(const qo::walk_end& end) override { add(end.why); }
  void merge(const qo::merge_result& result) override { add(result.why); }
  void derivation(const qo::derivation_result& result) override { add(result.why); }

  void add(reason why) {
    if (why != reason::none) told.push_back(why);
  }

  std::vector<reason> told;
};

/// A scenario's tools: the reasons, and the library's heap.
struct stage {
  all_reasons reasons;
  kit::allocation_ledger ledger;

  void parse(const std::vector<uint8_t>& image, const qo_blob* nvm = nullptr) {
    const kit::read_only_image held(image);
    const qo_blob blob = held.blob();
    const kit::cmc_ptr cmc(kit::parse_container(&blob, nvm, &reasons));
    ledger.fail_never();
    if (cmc == nullptr) return;
    if (const auto others = kit::read_others(&blob, cmc.get())) {
      reasons.add(others->result.why);
      ledger.release(cmc->others);
    }
  }
  void parse(const std::vector<bytes>& records) { parse(container().add(records).image()); }
  void parse_with(const std::vector<bytes>& records, std::vector<uint8_t> nvm) {
    const qo_blob image = {nvm.data(), static_cast<uint32_t>(nvm.size())};
    parse(container().add(records).image(), &image);
  }
};

struct scenario {
  reason expected;
  std::function<void(stage&)> run;
};

std::vector<bytes> one(const bytes& record) { return {record}; }

/// Parses with the n-th allocation refused. The parsed CMC is the first, the record's copy the
/// next.
void parse_short_of_memory(stage& s, size_t n, const std::vector<bytes>& records) {
  s.ledger.fail_after(n);
  s.parse(records);
}

// NOLINTNEXTLINE(readability-function-size): one line a reason
std::vector<scenario> scenarios() {
  const auto record = [](reason why, const bytes& content) {
    return scenario{why, [content](stage& s) { s.parse(one(content)); }};
  };
  const auto short_of_memory = [](reason why, size_t n, const std::vector<bytes>& records) {
    return scenario{why, [n, records](stage& s) { parse_short_of_memory(s, n, records); }};
  };
  const auto module = [](reason why, const std::vector<bytes>& records, uint8_t sets = 2) {
    return scenario{why, [records, sets](stage& s) { s.parse_with(records, module_image(sets)); }};
  };
  return {
      {reason::container_missing,
       [](stage& s) { EXPECT_EQ(nullptr, kit::parse_container(nullptr, nullptr, &s.reasons)); }},
      {reason::container_too_short, [](stage& s) { s.parse(std::vector<uint8_t>(23)); }},
      {reason::size_mismatch, [](stage& s) { s.parse(container().total(25).image()); }},
      {reason::checksum_mismatch, [](stage& s) { s.parse(container().checksum(1).image()); }},
      short_of_memory(reason::container_out_of_memory, 0, {}),
      {reason::bytes_after_last_record, [](stage& s) { s.parse(with_tail(bytes().zeros(7))); }},
      {reason::record_size_too_small, [](stage& s) { s.parse(with_tail(bytes().zeros(8))); }},
      {reason::record_overruns,
       [](stage& s) { s.parse(with_tail(writer::record_8({.size = 16}).patch_u32(0, 17))); }},
      record(reason::kind_foreign, writer::plain_record(64)),
      record(reason::kind_refused, writer::plain_record(12)),
      {reason::record_missing,
       [](stage& s) {
         parsed_cmc cmc = {};
         bytes shrunk = writer::record_8();
         std::vector<uint8_t> block = shrunk.patch_u32(0, 7).vector();
         s.reasons.add(kit::decode_record(block.data(), &cmc, nullptr).why);
       }},
      short_of_memory(reason::copy_out_of_memory, 1, one(writer::record_5())),
      record(reason::record_too_short, writer::resized(writer::record_5(), 15)),
      record(reason::string_unterminated,
             writer::resized(writer::record_1({.name = "abc", .version = 100}), 26)),
      record(reason::range_without_step, writer::record_14({.step = 0})),
      record(reason::range_reversed, writer::record_14({.first = 2, .last = 1})),
      record(reason::grid_negative, writer::record_22().patch_u16(12, 0xffff)),
      record(reason::too_many_planes, writer::record_27({.planes = 4})),
      record(reason::plane_empty, writer::record_29({.width = 0})),
      record(reason::refused_by_stack, writer::resized(writer::record_31(), 16)),
      {reason::record_superseded,
       [](stage& s) {
         s.parse({writer::record_3(), writer::record_3()});
       }},
      short_of_memory(reason::out_of_memory, 2, one(writer::record_26())),
      record(reason::version_without_layout, writer::record_2({.version = 99})),
      record(reason::fields_lost, writer::resized(writer::record_2(), 36)),
      record(reason::gains_lost, writer::resized(writer::record_10(), 128)),
      {reason::set_superseded,
       [](stage& s) {
         s.parse({writer::record_28(), writer::record_10()});
       }},
      record(reason::parameters_defaulted, writer::resized(writer::record_13(), 88)),
      record(reason::sub_table_lost, writer::resized(writer::record_15(), 88)),
      record(reason::items_lost, writer::resized(writer::record_30(), 32)),
      record(reason::block_lost, writer::resized(writer::record_22(), 1200)),
      record(reason::list_lost, writer::resized(writer::record_20(), 20)),
      record(reason::list_count_negative,
             writer::record_22({.grid_entries = 0, .items = 0, .list_counts = {}})
                 .patch_i32(1074, -1)),
      record(reason::groups_defaulted, writer::resized(writer::record_26(), 63)),
      record(reason::grid_lost, writer::resized(writer::record_30(), 48)),
      record(reason::trailing_lost, writer::resized(writer::record_30(), 72)),
      record(reason::tables_without_items, writer::record_30({.items = 0})),
      record(reason::blocks_dropped, writer::record_34({.blocks = {{}, {}, {}, {}, {}}})),
      record(reason::entries_dropped, writer::record_722({.values = std::vector<uint64_t>(9, 1)})),
      short_of_memory(reason::part_out_of_memory, 2, one(writer::record_1())),
      {reason::nvm_empty,
       [](stage& s) {
         const qo_blob nothing = {"", 0};
         s.parse(container().image(), &nothing);
       }},
      {reason::nvm_refused,
       [](stage& s) {
         s.parse_with({}, {1, 2, 3});
       }},
      module(reason::merge_without_lens_shading, merged_without(28)),
      module(reason::merge_without_extended_set, merged_without(33)),
      module(reason::merge_without_properties, merged_without(2)),
      module(reason::merge_without_record_17, merged_without(17)),
      module(reason::merge_without_lights, merged_without(28, {writer::record_28({.lights = 0})})),
      module(reason::merge_without_tables,
             merged_without(28, {writer::record_28({.width = 900,
                                                    .height = 700,
                                                    .channel_map = std::vector<int8_t>(16, -1)})})),
      module(reason::gains_not_computed, merged_records(2, 2, 4)),
      module(reason::extended_set_too_small,
             merged_without(33, {writer::record_33({.lights = 1, .width = 9, .height = 7})})),
      module(reason::gain_table_missing, merged_records(), 1),
      module(reason::plane_order_unknown, merged_records(2, 4)),
      module(reason::cfa_layout_unknown, merged_records(4)),
      record(reason::derived_without_record_20, writer::resized(writer::record_20(), 24)),
      // The parsed CMC, the copy, the derived record.
      short_of_memory(reason::derived_out_of_memory, 2, one(writer::record_19())),
  };
}

class Reasons : public testing::TestWithParam<kit::named_reason> {
 protected:
  kit::fake_platform platform_;
};

TEST_P(Reasons, AreGiven) {
  const std::vector<scenario> all = scenarios();
  const auto found = std::find_if(
      all.begin(), all.end(), [](const scenario& each) { return each.expected == GetParam().why; });
  ASSERT_NE(all.end(), found) << "no scenario makes " << GetParam().name << " happen";
  stage s;
  found->run(s);
  const std::vector<reason>& told = s.reasons.told;
  EXPECT_NE(told.end(), std::find(told.begin(), told.end(), GetParam().why))
      << testing::PrintToString(told);
}

INSTANTIATE_TEST_SUITE_P(All, Reasons, testing::ValuesIn(kit::named_reasons),
                         [](const auto& each) { return std::string(each.param.name); });

// What the scenarios for merges stand on.
TEST(ReasonsOfMerges, AreNoneWhereAllIsThere) {
  const kit::fake_platform platform;
  stage s;
  s.parse_with(merged_records(), module_image());
  EXPECT_TRUE(s.reasons.told.empty()) << testing::PrintToString(s.reasons.told);
}

}  // namespace
