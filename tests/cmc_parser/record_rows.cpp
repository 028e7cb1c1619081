#include "tests/cmc_parser/record_rows.h"

#include "writer/records.h"

namespace {

using kit::copy_fate;
using writer::bytes;

/// A record that nothing may be cut from.
sample exact(const bytes& record, size_t allocations = 0, size_t emptying = every_one) {
  return {record, record.size(), allocations, emptying};
}

// Name at 24, count at 27, keys and values from 29 to 39.
sample two_pairs(uint8_t version) {
  return exact(
      writer::record_1({.name = "ab", .pairs = {{"k1", "v"}, {"", "xyz"}}, .version = version}), 1,
      0);
}

std::vector<sample> samples_1() {
  bytes ignored_pairs = two_pairs(101).record;
  return {two_pairs(101),
          two_pairs(104),
          exact(writer::record_1({.name = "ab", .version = 100})),
          exact(writer::record_1({.name = "", .version = 99})),
          exact(writer::record_1({.name = "ab", .pairs = {}}), 1, 0),
          {ignored_pairs.patch_u8(4, 100), 27}};
}

std::vector<sample> samples_2() {
  std::vector<sample> samples;
  for (const uint8_t version : {uint8_t{103}, uint8_t{0}, uint8_t{99}, uint8_t{100}, uint8_t{101},
                                uint8_t{102}, uint8_t{104}, uint8_t{255}})
    samples.push_back({writer::record_2({.version = version}), 8, 1});
  return samples;
}

std::vector<sample> samples_3() {
  std::vector<sample> samples;
  for (const size_t entries : {size_t{0}, size_t{1}, size_t{2}})
    samples.push_back(exact(writer::record_3({.entries = std::vector<writer::record_3_entry>(
                                                  entries, {1, 2, {3, 4, 5, 6}})}),
                            1));
  return samples;
}

std::vector<sample> samples_11() {
  std::vector<sample> samples;
  for (const uint8_t version : {uint8_t{100}, uint8_t{101}})
    for (const uint16_t lights : {uint16_t{0}, uint16_t{1}, uint16_t{2}})
      samples.push_back(
          exact(writer::record_11({.lights = lights, .version = version}), 2 + size_t{4} * lights));
  return samples;
}

// Head and entries of the sub-table, and two arrays of each entry.
sample sample_15(uint16_t a, uint16_t b, const std::vector<uint16_t>& counts, size_t least) {
  return {writer::record_15({.a = a, .b = b, .entry_counts = counts}), least, 2 + 2 * counts.size(),
          0};
}

std::vector<sample> samples_24() {
  std::vector<sample> samples;
  for (const std::vector<uint16_t>& counts :
       {std::vector<uint16_t>{2, 0, 5}, {}, {0}, {1}, {0, 0, 0}, {4}})
    // The structure, its entries, the array of each.
    samples.push_back(
        exact(writer::record_24({.counts = counts}), counts.empty() ? 1 : 2 + counts.size()));
  return samples;
}

std::vector<sample> samples_25() {
  std::vector<sample> samples;
  for (const uint8_t version : {uint8_t{100}, uint8_t{101}})
    for (const uint16_t entries : {uint16_t{2}, uint16_t{0}, uint16_t{1}, uint16_t{3}})
      for (const uint16_t items : {uint16_t{0}, uint16_t{3}})
        samples.push_back(exact(
            writer::record_25({.entries = entries, .items = items, .version = version}), 1, 0));
  return samples;
}

// The structure, the entries, head and planes of each.
std::vector<sample> samples_27() {
  std::vector<sample> samples;
  for (const uint8_t version : {uint8_t{101}, uint8_t{100}})
    for (const uint16_t planes : {uint16_t{0}, uint16_t{1}, uint16_t{3}})
      for (const uint16_t entries : {uint16_t{2}, uint16_t{0}, uint16_t{1}, uint16_t{3}})
        samples.push_back(
            exact(writer::record_27({.entries = entries, .planes = planes, .version = version}),
                  2 + size_t{2} * entries));
  return samples;
}

// The set, its lights, four tables each.
std::vector<sample> samples_of_mapped(bytes (*build)(const writer::mapped_grid_fields&)) {
  std::vector<sample> samples;
  for (const uint16_t lights : {uint16_t{2}, uint16_t{0}, uint16_t{1}})
    samples.push_back(
        exact(build({.lights = lights, .filler = 28u + lights}), 2 + size_t{4} * lights));
  return samples;
}

// Cut below its items, its grid or its trailing values, a record goes without them.
std::vector<sample> samples_30() {
  std::vector<sample> samples;
  for (const uint8_t version : {uint8_t{101}, uint8_t{99}, uint8_t{100}, uint8_t{102}})
    samples.push_back({writer::record_30({.version = version}), 8, 4, 1});
  samples.push_back({writer::record_30({.items = 5, .version = 100, .filler = 71}), 8, 4, 1});
  return samples;
}

template <typename Fields>
std::vector<sample> samples_of_counts(bytes (*build)(const Fields&), size_t allocations) {
  std::vector<sample> samples;
  for (const uint8_t count : {uint8_t{3}, uint8_t{0}, uint8_t{1}, uint8_t{4}, uint8_t{255}})
    samples.push_back(exact(build({.count = count}), allocations));
  return samples;
}

std::vector<kit::slot_value> default_parameters(const uint8_t*, size_t) {
  return {{20, 0 | uint64_t{1} << 16 | uint64_t{250} << 32 | uint64_t{1000} << 48}};
}

std::vector<kit::slot_value> payload_of_16(const uint8_t* copy, size_t size) {
  if (size < 14) return {};
  return {{31, copy + 14}};
}

std::vector<record_row> make_rows() {
  constexpr copy_fate kept = copy_fate::kept;
  constexpr copy_fate released = copy_fate::released;
  return {
      {1, 1, kept, misfit::leaked, samples_1(), {.checked_before_allocating = false}},
      {2, 5, released, misfit::dropped, samples_2()},
      {3, 55, released, misfit::dropped, samples_3(), {.second = replacement::first_wins}},
      {5, 8, kept, misfit::leaked, {{writer::record_5(), 16}}},
      {6,
       9,
       kept,
       misfit::leaked,
       {exact(writer::record_6()), exact(writer::record_6({.counts = {0, 0, 0, 0}}))}},
      {7, 11, kept, misfit::leaked, {{writer::record_7(), 16}}},
      {8, 12, kept, misfit::leaked, {{writer::record_8(), 8}}},
      {9, 13, kept, misfit::passed_on, {{writer::record_9(), 8}}},
      {10,
       14,
       kept,
       misfit::leaked,
       {{writer::record_10(), 16 + 8 * 7 * 2, 10, 0},
        {writer::record_10({.lights = 0}), 16, 2, 0},
        {writer::record_10({.lights = 3, .version = 100}), 16 + 8 * 7 * 3, 14, 0}},
       {.second = replacement::by_a_rule_of_its_own}},
      {11,
       57,
       released,
       misfit::dropped,
       samples_11(),
       {.second = replacement::first_wins, .checked_before_allocating = false}},
      {13,
       18,
       kept,
       misfit::leaked,
       {{writer::record_13(), 88, 1, 0},
        {writer::record_13({.count = 0}), 72, 1, 0},
        {writer::record_13({.count = 1, .version = 100}), 80, 1, 0}},
       {.left = default_parameters}},
      {14,
       21,
       kept,
       misfit::dropped,
       {exact(writer::record_14()), exact(writer::record_14({.last = 145}))},
       {.malformed = {writer::record_14({.step = 0}), writer::record_14({.last = 99})}}},
      {15,
       23,
       kept,
       misfit::leaked,
       {sample_15(2, 3, {2, 0, 3}, 88), sample_15(0, 0, {}, 16), sample_15(0, 0, {0}, 16),
        sample_15(1, 0, {1}, 40), sample_15(0, 1, {}, 24), sample_15(0, 0, {0, 6}, 16)},
       {.silent = 0}},
      {16,
       30,
       kept,
       misfit::leaked,
       {exact(writer::record_16()), exact(writer::record_16({.count = 1}))},
       {.left = payload_of_16}},
      {17, 32, kept, misfit::leaked, {{writer::record_17(), 16}}},
      {18,
       34,
       kept,
       misfit::leaked,
       {{writer::record_18(), 184}, {writer::record_18({.count = 0, .version = 100}), 16}}},
      {19,
       37,
       kept,
       misfit::leaked,
       {exact(writer::record_19()), exact(writer::record_19({.entries = {}, .pairs = {}}))}},
      {20,
       40,
       kept,
       misfit::leaked,
       {{writer::record_20(), 16},
        {writer::record_20({.version = 101}), 16},
        {writer::record_20({.version = 100}), 16}}},
      {21, 46, kept, misfit::leaked, {{writer::record_21(), 16}}},
      // The structure, the grid entries, their buffer; then the items, and the list's parts.
      {22,
       43,
       released,
       misfit::dropped,
       {{writer::record_22(), 122, 9, 3},
        {writer::record_22({.width = 1, .height = 1, .items = 2, .filler = 71}), 42, 9, 3},
        {writer::record_22({.version = 101}), 122, 4, 3},
        {writer::record_22({.grid_entries = 0, .version = 100}), 22, 1},
        {writer::record_22({.grid_entries = 0, .items = 0, .list_counts = {}}), 22, 3, 1}},
       {.checked_before_allocating = false}},
      {23, 44, kept, misfit::leaked, {{writer::record_23({.size = 32}), 24}}},
      {24,
       45,
       released,
       misfit::refused,
       samples_24(),
       {.code_without_memory = QO_CMC_NO_MEMORY,
        .checked_before_allocating = false,
        .malformed = {writer::record_24({.counts = {2, 2}}).patch_u16(16 + 16 + 8 + 2, 3)}}},
      {25, 47, kept, misfit::dropped, samples_25()},
      {26,
       50,
       released,
       misfit::dropped,
       {{writer::record_26(), 16, 1},
        {writer::record_26({.version = 100}), 16, 1},
        {writer::record_26({.filler = 99}), 16, 1}}},
      {27,
       51,
       kept,
       misfit::dropped,
       samples_27(),
       {.silent = 1, .malformed = {writer::record_27({.entries = 1, .planes = 4})}}},
      {28,
       54,
       released,
       misfit::dropped,
       samples_of_mapped(writer::record_28),
       {.silent = 1, .checked_before_allocating = false}},
      {29,
       53,
       released,
       misfit::dropped,
       {exact(writer::record_29(), 2), exact(writer::record_29({.width = 1, .height = 1}), 2),
        exact(writer::record_29({.width = 1, .height = 6, .filler = 77}), 2)},
       {.malformed = {writer::record_29({.width = 0, .height = 1})}}},
      {30, 52, released, misfit::dropped, samples_30(), {.silent = 3}},
      {31, 55, kept, misfit::passed_on, {exact(writer::record_31())}},
      {32, 56, kept, misfit::passed_on, {{writer::record_32(), 8}}},
      {33,
       57,
       released,
       misfit::dropped,
       samples_of_mapped(writer::record_33),
       {.checked_before_allocating = false}},
      {34,
       58,
       kept,
       misfit::passed_on,
       {exact(writer::record_34()), exact(writer::record_34({.blocks = {}}))},
       {.second = replacement::last_wins_and_first_leaks}},
      {35, 59, released, misfit::dropped, samples_of_counts(writer::record_35, 8)},
      {36, 61, released, misfit::dropped, samples_of_counts(writer::record_36, 3)},
  };
}

}  // namespace

const std::vector<record_row>& record_rows() {
  static const std::vector<record_row> rows = make_rows();
  return rows;
}
