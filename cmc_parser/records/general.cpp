// Record kind 1: general data, a name and pairs of strings.

#include "cmc_parser/records/decoders.h"

#include "base/c_heap.h"

// Record 1, general data:
//    24  char  name[]          NUL-terminated
//     -  u16   pair_count      version >= 101, directly after the terminator
//     -  char  key[], value[]  version >= 101, pair_count times, NUL-terminated each

namespace qo {
namespace {

constexpr extent name_offset = 24;

/// Writes the addresses of `count` pairs that start at `offset`; false when one leaves the record.
[[nodiscard]] bool index_pairs(record_copy& record, extent offset, uint16_t count,
                               string_pair* pairs) {
  const auto next_string = [&](const char*& string) {
    const std::optional<extent> length = record.string_length(offset);
    if (!length) return false;
    string = reinterpret_cast<const char*>(record.at(offset));
    offset = offset + *length + 1;
    return true;
  };
  for (uint16_t i = 0; i < count; ++i)
    if (!next_string(pairs[i].key) || !next_string(pairs[i].value)) return false;
  return true;
}

}  // namespace

void release_general(parsed_cmc& cmc) {
  // Contract: the pairs go before the copy.
  free(cmc.general.pairs);
  free(cmc.general.record);
  cmc.general = {};
}

decode_result decode_general(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.general.record);
  release_general(cmc);
  if (!record.require(name_offset + 1)) return record.leak_as_too_short();
  const std::optional<extent> name_length = record.string_length(name_offset);
  if (!name_length) return record.leak_as(reason::string_unterminated);

  uint16_t pair_count = 0;
  heap_array<string_pair> pairs;
  if (record.version() >= version_101) {
    const extent count_offset = name_offset + *name_length + 1;
    const extent pairs_offset = count_offset + size_of<uint16_t>;
    pair_count = record.read<uint16_t>(count_offset);
    // A pair takes two terminators at least: a larger count is malformed, and must not reserve
    // room.
    if (!record.require(pairs_offset + extent(2) * pair_count)) return record.leak_as_too_short();
    pairs.reset(c_new_array<string_pair>(pair_count));
    if (pairs == nullptr)
      record.lose(reason::part_out_of_memory);
    else if (!index_pairs(record, pairs_offset, pair_count, pairs.get()))
      return record.leak_as(reason::string_unterminated);
  }

  cmc.general.name = reinterpret_cast<const char*>(record.at(name_offset));
  cmc.general.record = record.keep();
  cmc.general.pair_count = pair_count;
  cmc.general.pairs = pairs.release();
  return record.filled();
}

}  // namespace qo
