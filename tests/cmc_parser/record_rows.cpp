#include "tests/cmc_parser/record_rows.h"

#include "writer/records.h"

namespace {

using kit::copy_fate;
using qo::reason;
using writer::bytes;

/// A record that nothing may be cut from.
sample exact(const bytes& record, size_t allocations = 0, size_t emptying = every_one) {
  return {record, record.size(), allocations, emptying};
}

/// The record, of which one after the other these ends are asked for.
sample in_steps(sample whole, std::vector<size_t> ends) {
  whole.ends = std::move(ends);
  return whole;
}

/// The record, which goes without a part below each of these ends.
sample losing(sample whole, std::vector<miss> losses) {
  whole.losses = std::move(losses);
  return whole;
}

/// The record with this loss at any size.
sample always(sample whole, reason why) {
  whole.at_any_size = why;
  return whole;
}

// Name at 24, count at 27, keys and values from 29 to 39. The ends are those of a name of one byte,
// of the count, and of four strings of one byte.
sample two_pairs(uint8_t version) {
  return in_steps(
      exact(
          writer::record_1({.name = "ab", .pairs = {{"k1", "v"}, {"", "xyz"}}, .version = version}),
          1, 0),
      {25, 29, 33});
}

std::vector<sample> samples_1() {
  bytes ignored_pairs = two_pairs(101).record;
  return {two_pairs(101),
          two_pairs(104),
          in_steps(exact(writer::record_1({.name = "ab", .version = 100})), {25}),
          exact(writer::record_1({.name = "", .version = 99})),
          in_steps(exact(writer::record_1({.name = "ab", .pairs = {}}), 1, 0), {25}),
          in_steps({ignored_pairs.patch_u8(4, 100), 27}, {25})};
}

// Bytes that a version fills, padded.
std::vector<sample> samples_2() {
  const auto filled = [](uint8_t version, size_t end) {
    return losing({writer::record_2({.version = version}), 8, 1}, {{end, reason::fields_lost}});
  };
  const auto zeroed = [](uint8_t version) {
    return always({writer::record_2({.version = version}), 8, 1}, reason::version_without_layout);
  };
  return {filled(103, 40), zeroed(0),       zeroed(99),      filled(100, 16),
          filled(101, 24), filled(102, 40), filled(104, 40), filled(255, 40)};
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

// Head and entries of the sub-table, and two arrays of each entry. The ends are those of the heads
// of all entries, then, where they lie beyond it, of each entry's head and arrays, padded.
sample sample_15(uint16_t a, uint16_t b, const std::vector<uint16_t>& counts, size_t least,
                 const std::vector<size_t>& ends = {}) {
  sample whole = {writer::record_15({.a = a, .b = b, .entry_counts = counts}), least,
                  2 + 2 * counts.size(), 0};
  for (const size_t end : ends) whole.losses.push_back({end, reason::sub_table_lost});
  return whole;
}

// After the grid, which ends at `start`: value and count of the items, the items, the block without
// its last 16 bytes.
std::vector<miss> losses_22(size_t start, size_t items) {
  const size_t after_items = start + 8 + 1040 * items;
  return {{start + 8, reason::items_lost},
          {after_items, reason::items_lost},
          {after_items + 1024, reason::block_lost}};
}

// The same with a list: those 16 bytes with its value and count, each entry's head, count and
// values, the trailing table.
std::vector<miss> losses_22(size_t start, size_t items, const std::vector<uint32_t>& counts) {
  std::vector<miss> losses = losses_22(start, items);
  size_t end = losses.back().end;
  const auto next = [&](size_t size) { losses.push_back({end += size, reason::list_lost}); };
  next(16 + 8);
  for (const uint32_t count : counts) {
    next(12);
    next(4);
    next(4 * size_t{count});
  }
  next(24 * counts.size());
  return losses;
}

// The head, heads of all entries, then each entry's head and values as far as they lie beyond.
std::vector<size_t> ends_24(const std::vector<uint16_t>& counts) {
  const size_t heads = 16 + 16 * counts.size();
  std::vector<size_t> ends = {16, heads};
  size_t end = 16;
  for (const uint16_t count : counts) {
    for (const size_t size : {size_t{16}, size_t{4} * count}) {
      end += size;
      if (end > heads) ends.push_back(end);
    }
  }
  return ends;
}

std::vector<sample> samples_24() {
  std::vector<sample> samples;
  for (const std::vector<uint16_t>& counts :
       {std::vector<uint16_t>{2, 0, 5}, {}, {0}, {1}, {0, 0, 0}, {4}})
    // The structure, its entries, the array of each.
    samples.push_back(in_steps(
        exact(writer::record_24({.counts = counts}), counts.empty() ? 1 : 2 + counts.size()),
        ends_24(counts)));
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

// The head; without planes a plane of 3 x 2 samples for each entry; the entries.
std::vector<size_t> ends_27(size_t entries, size_t planes) {
  std::vector<size_t> ends = {32};
  if (planes == 0 && 12 * entries > 32) ends.push_back(12 * entries);
  ends.push_back(32 + (20 + 12 * planes) * entries);
  return ends;
}

// The structure, the entries, head and planes of each.
std::vector<sample> samples_27() {
  std::vector<sample> samples;
  for (const uint8_t version : {uint8_t{101}, uint8_t{100}})
    for (const uint16_t planes : {uint16_t{0}, uint16_t{1}, uint16_t{3}})
      for (const uint16_t entries : {uint16_t{2}, uint16_t{0}, uint16_t{1}, uint16_t{3}})
        samples.push_back(in_steps(
            exact(writer::record_27({.entries = entries, .planes = planes, .version = version}),
                  2 + size_t{2} * entries),
            ends_27(entries, planes)));
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

// Cut below its items, its grid or its trailing values, a record goes without them. From version
// 100 down, and from 102 up, the grid's end is the last that it can miss.
std::vector<sample> samples_30() {
  const auto with_grid = [](bytes record, size_t items, size_t grid) {
    return losing(
        {std::move(record), 8, 4, 1},
        {{32, reason::items_lost}, {items, reason::items_lost}, {grid, reason::grid_lost}});
  };
  std::vector<sample> samples = {with_grid(writer::record_30({.version = 101}), 48, 72)};
  samples.front().losses.push_back({88, reason::trailing_lost});
  for (const uint8_t version : {uint8_t{99}, uint8_t{100}, uint8_t{102}})
    samples.push_back(with_grid(writer::record_30({.version = version}), 48, 72));
  samples.push_back(
      with_grid(writer::record_30({.items = 5, .version = 100, .filler = 71}), 64, 88));
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
      {1,
       1,
       kept,
       misfit::leaked,
       samples_1(),
       {.checked_before_allocating = false, .has_strings = true}},
      {2, 5, released, misfit::dropped, samples_2()},
      {3,
       55,
       released,
       misfit::dropped,
       samples_3(),
       {.second = replacement::first_wins, .counted = 12}},
      {5, 8, kept, misfit::leaked, {{writer::record_5(), 16}}},
      {6,
       9,
       kept,
       misfit::leaked,
       {exact(writer::record_6()), exact(writer::record_6({.counts = {0, 0, 0, 0}}))},
       {.counted = 16}},
      {7, 11, kept, misfit::leaked, {{writer::record_7(), 16}}},
      {8, 12, kept, misfit::leaked, {{writer::record_8(), 8}}},
      {9, 13, kept, misfit::passed_on, {{writer::record_9(), 8}}},
      {10,
       14,
       kept,
       misfit::leaked,
       {losing({writer::record_10(), 16 + 8 * 7 * 2, 10, 0}, {{136, reason::gains_lost}}),
        {writer::record_10({.lights = 0}), 16, 2, 0},
        {writer::record_10({.lights = 3, .version = 100}), 16 + 8 * 7 * 3, 14, 0}},
       {.second = replacement::by_a_rule_of_its_own, .counted = 16}},
      {11,
       57,
       released,
       misfit::dropped,
       samples_11(),
       {.second = replacement::first_wins, .checked_before_allocating = false, .counted = 14}},
      {13,
       18,
       kept,
       misfit::leaked,
       {losing({writer::record_13(), 88, 1, 0}, {{96, reason::parameters_defaulted}}),
        losing({writer::record_13({.count = 0}), 72, 1, 0}, {{80, reason::parameters_defaulted}}),
        {writer::record_13({.count = 1, .version = 100}), 80, 1, 0}},
       {.counted = 72, .left = default_parameters}},
      {14,
       21,
       kept,
       misfit::dropped,
       {exact(writer::record_14()), exact(writer::record_14({.last = 145}))},
       {.malformed = {{writer::record_14({.step = 0}), reason::range_without_step},
                      {writer::record_14({.last = 99}), reason::range_reversed}},
        .counted = 14}},
      {15,
       23,
       kept,
       misfit::leaked,
       {sample_15(2, 3, {2, 0, 3}, 88, {122, 136, 144}), sample_15(0, 0, {}, 16),
        sample_15(0, 0, {0}, 16, {26, 32}), sample_15(1, 0, {1}, 40, {50, 56}),
        sample_15(0, 1, {}, 24), sample_15(0, 0, {0, 6}, 16, {38, 40, 64})},
       {.silent = 0, .counted = 12}},
      {16,
       30,
       kept,
       misfit::leaked,
       {exact(writer::record_16()), exact(writer::record_16({.count = 1}))},
       {.counted = 14, .left = payload_of_16}},
      {17, 32, kept, misfit::leaked, {{writer::record_17(), 16}}},
      {18,
       34,
       kept,
       misfit::leaked,
       {{writer::record_18(), 184}, {writer::record_18({.count = 0, .version = 100}), 16}},
       {.counted = 10}},
      {19,
       37,
       kept,
       misfit::leaked,
       {exact(writer::record_19()), exact(writer::record_19({.entries = {}, .pairs = {}}))},
       {.counted = 16}},
      {20,
       40,
       kept,
       misfit::leaked,
       {losing({writer::record_20(), 16}, {{20, reason::list_lost}, {40, reason::list_lost}}),
        {writer::record_20({.version = 101}), 16},
        {writer::record_20({.version = 100}), 16}}},
      {21, 46, kept, misfit::leaked, {{writer::record_21(), 16}}},
      // The structure, the grid entries, their buffer; then the items, and the list's parts.
      {22,
       43,
       released,
       misfit::dropped,
       {losing(in_steps({writer::record_22(), 122, 9, 3}, {22}), losses_22(122, 1, {2, 0, 1})),
        losing(in_steps({writer::record_22({.width = 1, .height = 1, .items = 2, .filler = 71}), 42,
                         9, 3},
                        {22}),
               losses_22(42, 2, {2, 0, 1})),
        losing(in_steps({writer::record_22({.version = 101}), 122, 4, 3}, {22}), losses_22(122, 1)),
        {writer::record_22({.grid_entries = 0, .version = 100}), 22, 1},
        losing({writer::record_22({.grid_entries = 0, .items = 0, .list_counts = {}}), 22, 3, 1},
               losses_22(22, 0, {}))},
       {.checked_before_allocating = false}},
      {23, 44, kept, misfit::leaked, {{writer::record_23({.size = 32}), 24}}},
      {24,
       45,
       released,
       misfit::refused,
       samples_24(),
       {.code_without_memory = QO_CMC_NO_MEMORY,
        .checked_before_allocating = false,
        .malformed = {{writer::record_24({.counts = {2, 2}}).patch_u16(16 + 16 + 8 + 2, 3),
                       reason::record_too_short, 16 + 16 + 8 + 16 + 12}}}},
      {25, 47, kept, misfit::dropped, samples_25(), {.counted = 12}},
      {26,
       50,
       released,
       misfit::dropped,
       {losing({writer::record_26(), 16, 1}, {{64, reason::groups_defaulted}}),
        {writer::record_26({.version = 100}), 16, 1},
        losing({writer::record_26({.filler = 99}), 16, 1}, {{64, reason::groups_defaulted}})}},
      {27,
       51,
       kept,
       misfit::dropped,
       samples_27(),
       {.silent = 1,
        .malformed = {{writer::record_27({.entries = 1, .planes = 4}), reason::too_many_planes}}}},
      {28,
       54,
       released,
       misfit::dropped,
       samples_of_mapped(writer::record_28),
       {.silent = 1, .checked_before_allocating = false, .counted = 32}},
      {29,
       53,
       released,
       misfit::dropped,
       {exact(writer::record_29(), 2), exact(writer::record_29({.width = 1, .height = 1}), 2),
        exact(writer::record_29({.width = 1, .height = 6, .filler = 77}), 2)},
       {.malformed = {{writer::record_29({.width = 0, .height = 1}), reason::plane_empty}},
        .counted = 56}},
      {30, 52, released, misfit::dropped, samples_30(), {.silent = 3}},
      {31, 55, kept, misfit::passed_on, {exact(writer::record_31())}},
      {32, 56, kept, misfit::passed_on, {{writer::record_32(), 8}}},
      {33,
       57,
       released,
       misfit::dropped,
       samples_of_mapped(writer::record_33),
       {.checked_before_allocating = false, .counted = 32}},
      {34,
       58,
       kept,
       misfit::passed_on,
       {exact(writer::record_34()), exact(writer::record_34({.blocks = {}}))},
       {.second = replacement::last_wins_and_first_leaks}},
      {35, 59, released, misfit::dropped, samples_of_counts(writer::record_35, 8), {.counted = 14}},
      {36, 61, released, misfit::dropped, samples_of_counts(writer::record_36, 3), {.counted = 14}},
  };
}

}  // namespace

const std::vector<record_row>& record_rows() {
  static const std::vector<record_row> rows = make_rows();
  return rows;
}
