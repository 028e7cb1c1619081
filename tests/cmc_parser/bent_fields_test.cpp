// Every field of every record bent: sizes, counts and all else that is a number, set to the ends of
// its range, to the middle, and to one beside what it was. Whatever the fields then say, nothing
// outside the record is read, every block has its owner, what is left is what the contract leaves,
// and the heap stays in its bounds.

#include <map>
#include <set>

#include "cmc_parser/records/kinds.h"
#include "tests/kit/fake_platform.h"
#include "tests/kit/foretold_cycle.h"
#include "tests/kit/merging_module.h"
#include "tools/layout/annotation.h"
#include "writer/records.h"

namespace {

using writer::bytes;
using writer::container;

/// A number in a record, from the record's start.
struct field {
  size_t offset;
  unsigned width;
  friend auto operator<=>(const field&, const field&) = default;
};

/// All that the layout names and that one number may be. The halves of four bytes are fields too:
/// some counts are the upper ones.
std::set<field> fields_of(const bytes& record) {
  std::set<field> fields;
  for (const layout::span& each : layout::annotate(container().add(record).image(), std::nullopt)) {
    if (each.offset < container::header_size || each.gap) continue;
    const size_t offset = each.offset - container::header_size;
    if (each.size != 1 && each.size != 2 && each.size != 4 && each.size != 8) continue;
    fields.insert({offset, static_cast<unsigned>(each.size)});
    if (each.size == 4) fields.insert({{offset, 2}, {offset + 2, 2}});
  }
  return fields;
}

uint64_t number_at(const bytes& record, const field& at) {
  uint64_t number = 0;
  for (unsigned i = 0; i < at.width; ++i)
    number |= uint64_t{record.u8_at(at.offset + i)} << (8 * i);
  return number;
}

bytes bent(bytes record, const field& at, uint64_t number) {
  for (unsigned i = 0; i < at.width; ++i)
    record.patch_u8(at.offset + i, static_cast<uint8_t>(number >> (8 * i)));
  return record;
}

/// Without the number that is there.
std::set<uint64_t> numbers_for(const bytes& record, const field& at) {
  const uint64_t now = number_at(record, at);
  const uint64_t most = ~uint64_t{0} >> (64 - 8 * at.width);
  std::set<uint64_t> numbers = {0,   1, (now - 1) & most, (now + 1) & most, most / 2, most / 2 + 1,
                                most};
  numbers.erase(now);
  return numbers;
}

/// The heap that the entry promises, the NVM library's own aside.
size_t promised_heap(const std::vector<uint8_t>& image, size_t grid_bytes, size_t merge_bytes) {
  bool has_record_20 = false;
  for (const bytes& record : kit::records_of(image))
    has_record_20 = has_record_20 || record.u16_at(6) == 20;
  return 24 * image.size() + 4096 + grid_bytes + merge_bytes + (has_record_20 ? 8 * 65535 : 0);
}

constexpr size_t grid_columns = 7, grid_rows = 6;
constexpr size_t merge_bytes = 5 * 1024 + 136 * grid_columns * grid_rows;

/// Each number in each field of the record, which stands between those before and after it.
void expect_sound_however_bent(const std::vector<bytes>& before, const bytes& record,
                               const std::vector<bytes>& after, const qo_blob* nvm) {
  const size_t grid_bytes = nvm != nullptr ? 4 * 9 * 7 : 0;
  for (const field& at : fields_of(record)) {
    for (const uint64_t number : numbers_for(record, at)) {
      SCOPED_TRACE(testing::Message()
                   << at.width << " bytes at " << at.offset << " are " << number);
      const std::vector<uint8_t> image =
          container().add(before).add(bent(record, at, number)).add(after).image();
      kit::allocation_ledger ledger;
      kit::run_foretold_cycle(ledger, image, nvm);
      EXPECT_GE(promised_heap(image, grid_bytes, nvm != nullptr ? merge_bytes : 0),
                ledger.peak_bytes());
      if (testing::Test::HasFailure()) return;
    }
  }
}

std::vector<uint8_t> module_with_grid() {
  const auto slope = [](size_t, size_t index) { return static_cast<uint16_t>(100 + 3 * index); };
  return writer::nvm_image({.columns = grid_columns,
                            .rows = grid_rows,
                            .sets = std::vector<writer::nvm_set>(2, {.element = slope}),
                            .grid = writer::nvm_grid{}})
      .vector();
}

class BentFields : public testing::TestWithParam<uint16_t> {
 protected:
  const kit::fake_platform quiet_;
};

// The record that follows is reached or not, as the bent one's size says.
TEST_P(BentFields, OfEveryGoodRecordAreSound) {
  for (const writer::named_record& record : writer::every_good_record()) {
    if (record.content.u16_at(6) != GetParam()) continue;
    SCOPED_TRACE(record.name);
    expect_sound_however_bent({}, record.content, {writer::record_8()}, nullptr);
    if (HasFailure()) return;
  }
}

// The one before it is replaced, or stays.
TEST_P(BentFields, OfARecordBehindItselfAndBesideAModuleAreSound) {
  const std::vector<uint8_t> module = module_with_grid();
  const qo_blob nvm = writer::blob_of(module);
  for (const writer::named_record& record : writer::every_good_record()) {
    if (record.content.u16_at(6) != GetParam()) continue;
    SCOPED_TRACE(record.name);
    expect_sound_however_bent({record.content}, record.content, {}, &nvm);
    if (HasFailure()) return;
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, BentFields, testing::ValuesIn(qo::record_kinds),
                         [](const auto& kind) { return "record_" + std::to_string(kind.param); });

TEST(BentFieldsOfAMerge, OfEachRecordAreSound) {
  const kit::fake_platform quiet;
  const std::vector<uint8_t> module = module_with_grid();
  const qo_blob nvm = writer::blob_of(module);
  const std::vector<std::vector<bytes>> merges = {
      kit::merged_records(),
      kit::merged_records(256, 3, 1),
      {writer::record_2(), writer::record_17(), writer::record_10({.width = 9, .height = 7}),
       writer::record_11({.width = 9, .height = 7})},
  };
  for (const std::vector<bytes>& records : merges) {
    for (size_t i = 0; i < records.size(); ++i) {
      SCOPED_TRACE(testing::Message() << "merge " << &records - merges.data() << ", record " << i);
      const auto place = records.begin() + static_cast<ptrdiff_t>(i);
      expect_sound_however_bent({records.begin(), place}, *place, {place + 1, records.end()}, &nvm);
      if (HasFailure()) return;
    }
  }
}

/// Where counts and sizes stand: what the sweeps above must not lose.
struct counts_row {
  uint16_t kind;
  std::vector<field> counts;
};

const counts_row counts_rows[] = {
    {1, {{31, 2}}},
    {3, {{8, 4}}},
    {6, {{12, 1}, {13, 1}, {14, 1}, {15, 1}}},
    {10, {{10, 2}, {12, 2}, {14, 2}}},
    {11, {{8, 2}, {10, 2}, {12, 2}}},
    {13, {{70, 2}}},
    {14, {{8, 2}, {10, 2}, {12, 2}}},
    // The number of entries, and in the first entry's upper half that of its values.
    {15, {{8, 2}, {10, 2}, {84, 2}, {96, 2}}},
    {16, {{12, 2}}},
    {18, {{8, 2}}},
    {19, {{12, 2}, {14, 2}}},
    {20, {{14, 2}, {16, 2}}},
    // Of the grid, the items, the list and the first of its entries.
    {22, {{12, 2}, {14, 2}, {20, 2}, {126, 4}, {2214, 4}, {2230, 4}}},
    {24, {{14, 2}, {18, 2}}},
    {25, {{8, 2}, {10, 2}}},
    {27, {{24, 2}, {26, 2}, {28, 2}, {30, 2}}},
    {28, {{8, 1}, {23, 1}, {24, 2}, {28, 2}, {30, 2}}},
    {29, {{12, 2}, {14, 2}}},
    {30, {{16, 2}, {22, 2}, {24, 2}, {26, 2}, {28, 2}}},
    {31, {{8, 4}, {16, 8}}},
    {33, {{8, 1}, {23, 1}, {24, 2}, {28, 2}, {30, 2}}},
    // Of the blocks, and in the first of them.
    {34, {{8, 4}, {16, 8}, {40, 4}, {44, 4}, {48, 8}, {56, 8}}},
    {35, {{13, 1}}},
    {36, {{13, 1}}},
};

TEST(BentFieldsOfTheLayout, AreAllThatCountOrMeasure) {
  std::map<uint16_t, std::set<field>> fields;
  for (const writer::named_record& record : writer::every_good_record())
    fields[record.content.u16_at(6)].merge(fields_of(record.content));
  for (const uint16_t kind : qo::record_kinds) {
    EXPECT_TRUE(fields[kind].contains({0, 4})) << "the size of kind " << kind;
    EXPECT_TRUE(fields[kind].contains({4, 1})) << "the version of kind " << kind;
    EXPECT_TRUE(fields[kind].contains({6, 2})) << "kind " << kind;
  }
  for (const counts_row& row : counts_rows)
    for (const field& count : row.counts)
      EXPECT_TRUE(fields[row.kind].contains(count)) << "kind " << row.kind << ", " << count.offset;
}

}  // namespace
