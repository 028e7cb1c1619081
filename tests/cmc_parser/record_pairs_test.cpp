// Every two kinds in one container, in either order, and every kind twice: each slot holds what it
// holds when its record is alone, but where two kinds share a slot, and where the derived record is
// made of two.

#include <algorithm>
#include <cstring>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "cmc_parser/records/kinds.h"
#include "tests/kit/fake_platform.h"
#include "tests/kit/foretold_cycle.h"
#include "writer/records.h"

namespace {

using writer::bytes;
using writer::container;

/// Slots that are filled together, counted from 1, the last one included.
struct slot_group {
  size_t first, last;
  std::vector<uint16_t> kinds;  ///< that fill them
};

const std::vector<slot_group> slot_groups = {
    {1, 4, {1}},    {5, 5, {2}},        {6, 7, {}},        {8, 8, {5}},    {9, 10, {6}},
    {11, 11, {7}},  {12, 12, {8}},      {13, 13, {9}},     {14, 17, {10}}, {18, 20, {13}},
    {21, 22, {14}}, {23, 29, {15}},     {30, 31, {16}},    {32, 33, {17}}, {34, 36, {18}},
    {37, 39, {19}}, {40, 42, {20}},     {43, 43, {22}},    {44, 44, {23}}, {45, 45, {24}},
    {46, 46, {21}}, {47, 49, {25}},     {50, 50, {26}},    {51, 51, {27}}, {52, 52, {30}},
    {53, 53, {29}}, {54, 54, {10, 28}}, {55, 55, {3, 31}}, {56, 56, {32}}, {57, 57, {11, 33}},
    {58, 58, {34}}, {59, 60, {35}},     {61, 61, {36}},    {62, 62, {}},
};

/// Older forms: they fill their shared slot only while it is empty.
bool gives_way(uint16_t kind) { return kind == 3 || kind == 10 || kind == 11; }

bool fills(uint16_t kind, const slot_group& group) {
  return std::find(group.kinds.begin(), group.kinds.end(), kind) != group.kinds.end();
}

/// What the slots of a group lead to, the others left out.
uint64_t digest_of(const parsed_cmc& cmc, const slot_group& group) {
  kit::slot_words all, some{};
  memcpy(all.data(), &cmc, sizeof cmc);
  for (size_t slot = group.first; slot <= group.last; ++slot) some[slot - 1] = all[slot - 1];
  parsed_cmc alone;
  memcpy(&alone, some.data(), sizeof alone);
  return kit::tour_of(alone).digest;
}

/// Of all groups, in their order.
std::vector<uint64_t> digests_of(const std::vector<bytes>& records) {
  const std::vector<uint8_t> image = container().add(records).image();
  kit::allocation_ledger ledger;
  kit::run_foretold_cycle(ledger, image);
  std::vector<uint64_t> digests;
  {
    const kit::cmc_ptr cmc = kit::parse(image);
    for (const slot_group& group : slot_groups) digests.push_back(digest_of(*cmc, group));
  }
  ledger.release_all();
  EXPECT_EQ(0u, ledger.bad_releases());
  return digests;
}

struct candidate {
  std::string name;
  bytes record;
  uint16_t kind;
  std::vector<uint64_t> alone;
};

/// Of each kind the first and the largest good record, and a cut one.
std::vector<candidate> make_candidates() {
  std::map<uint16_t, std::vector<writer::named_record>> chosen;
  for (const writer::named_record& record : writer::every_good_record()) {
    std::vector<writer::named_record>& of_kind = chosen[record.content.u16_at(6)];
    if (of_kind.size() < 2)
      of_kind.push_back(record);
    else if (of_kind[1].content.size() < record.content.size())
      of_kind[1] = record;
  }
  std::vector<candidate> candidates;
  const auto add = [&](const std::string& name, const bytes& record) {
    candidates.push_back({name, record, record.u16_at(6), digests_of({record})});
  };
  for (const auto& [kind, records] : chosen) {
    for (const writer::named_record& record : records) add(record.name, record.content);
    add(records[0].name + "_cut", writer::resized(records[0].content, 15));
  }
  return candidates;
}

const std::vector<candidate>& candidates() {
  static const std::vector<candidate> all = make_candidates();
  return all;
}

/// Whether the container library refuses the record, or its slot is another's already.
bool leaves_former(const candidate& second, const slot_group& group, bool has_former) {
  constexpr uint16_t decoded_in_place[] = {9, 31, 32, 34};
  const bool in_place = std::find(std::begin(decoded_in_place), std::end(decoded_in_place),
                                  second.kind) != std::end(decoded_in_place);
  if (in_place && !kit::is_taken_by_stack(second.record)) return true;
  // Kind 10 keeps its copy in slots of its own, whatever becomes of the set.
  return has_former && gives_way(second.kind) && group.kinds.size() > 1;
}

class RecordPairs : public testing::TestWithParam<uint16_t> {
 protected:
  const kit::fake_platform quiet_;
};

TEST_P(RecordPairs, FillTheirSlotsAsIfEachWereAlone) {
  const std::vector<uint64_t> empty = digests_of({});
  // The same derived record, whichever of its sources comes first.
  const auto derived_group =
      static_cast<size_t>(std::find_if(slot_groups.begin(), slot_groups.end(),
                                       [](const slot_group& group) { return group.first == 58; }) -
                          slot_groups.begin());
  for (const candidate& first : candidates()) {
    if (first.kind != GetParam()) continue;
    for (const candidate& second : candidates()) {
      SCOPED_TRACE(first.name + ", then " + second.name);
      const std::vector<uint64_t> both = digests_of({first.record, second.record});
      for (size_t g = 0; g < slot_groups.size(); ++g) {
        const slot_group& group = slot_groups[g];
        const bool of_first = fills(first.kind, group);
        const bool of_second = fills(second.kind, group);
        uint64_t expected = empty[g];
        if (of_first) expected = first.alone[g];
        if (of_second && !leaves_former(second, group, of_first && expected != empty[g]))
          expected = second.alone[g];
        const bool has_record_34 = expected != empty[g];
        if (g == derived_group && !has_record_34) {
          const auto is_source = [&](const candidate& each) {
            return each.alone[g] != empty[g] && (each.kind == 19 || each.kind == 20);
          };
          // A second record of the kind, cut or not, takes the first one's place.
          const bool from_first = is_source(first) && first.kind != second.kind;
          if (from_first && is_source(second))
            expected = digests_of({second.record, first.record})[g];
          else if (from_first)
            expected = first.alone[g];
          else if (is_source(second))
            expected = second.alone[g];
        }
        EXPECT_EQ(expected, both[g]) << "slot " << group.first;
      }
      if (HasFailure()) return;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, RecordPairs, testing::ValuesIn(qo::record_kinds),
                         [](const auto& kind) { return "record_" + std::to_string(kind.param); });

TEST(RecordPairsThemselves, AreOfAllKindsAndOfAllSlots) {
  size_t slots = 0;
  for (const slot_group& group : slot_groups) {
    EXPECT_EQ(slots + 1, group.first);
    slots = group.last;
  }
  EXPECT_EQ(sizeof(parsed_cmc) / sizeof(uint64_t), slots);
  for (const uint16_t kind : qo::record_kinds)
    EXPECT_TRUE(std::any_of(slot_groups.begin(), slot_groups.end(), [&](const slot_group& group) {
      return fills(kind, group);
    })) << kind;
}

TEST(RecordPairsThemselves, RecordsWithoutASlotDisturbNone) {
  for (const writer::named_record& slotless : writer::every_slotless_record())
    for (const candidate& each : candidates()) {
      EXPECT_EQ(each.alone, digests_of({slotless.content, each.record})) << slotless.name;
      EXPECT_EQ(each.alone, digests_of({each.record, slotless.content})) << slotless.name;
      if (HasFailure()) return;
    }
}

}  // namespace
