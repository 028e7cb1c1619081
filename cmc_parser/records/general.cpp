#include "base/c_heap.h"
#include "cmc_parser/records/decoders.h"

// Record 1, general data:
//    24  char  name[]          NUL-terminated
//     -  u16   pair_count      version >= 101, directly behind the terminator
//     -  char  key[], value[]  version >= 101, pair_count times, NUL-terminated each

namespace qo {
namespace {

constexpr uint64_t name_offset = 24;

/// Writes the addresses of `count` pairs that start at `offset`; false when one leaves the record.
bool index_pairs(record_copy& record, uint64_t offset, uint16_t count, string_pair* pairs) {
  const auto next_string = [&](const char*& string) {
    const std::optional<uint64_t> length = record.string_length(offset);
    if (!length) return false;
    string = reinterpret_cast<const char*>(record.bytes() + offset);
    offset += *length + 1;
    return true;
  };
  for (uint16_t i = 0; i < count; ++i)
    if (!next_string(pairs[i].key) || !next_string(pairs[i].value)) return false;
  return true;
}

}  // namespace

void release_general(parsed_cmc& cmc) {
  free(cmc.general.pairs);
  free(cmc.general.record);
  cmc.general = {};
}

uint32_t decode_general(record_copy record, parsed_cmc& cmc, const calibration*) {
  release_general(cmc);
  const std::optional<uint64_t> name_length = record.string_length(name_offset);
  if (!name_length) {
    record.leak();
    return QO_CMC_OK;
  }

  uint16_t pair_count = 0;
  heap_array<string_pair> pairs;
  if (record.version() >= version_101) {
    const uint64_t count_offset = name_offset + *name_length + 1;
    const uint64_t pairs_offset = count_offset + sizeof(uint16_t);
    pair_count = record.read<uint16_t>(count_offset);
    // A pair takes two terminators at least: a larger count is malformed, and must not reserve
    // room.
    if (!record.holds(pairs_offset + uint64_t{2} * pair_count)) {
      record.leak();
      return QO_CMC_OK;
    }
    pairs.reset(c_new_array<string_pair>(pair_count));
    if (pairs && !index_pairs(record, pairs_offset, pair_count, pairs.get())) {
      record.leak();
      return QO_CMC_OK;
    }
  }

  cmc.general.name = reinterpret_cast<const char*>(record.bytes() + name_offset);
  cmc.general.record = record.keep();
  cmc.general.pair_count = pair_count;
  cmc.general.pairs = pairs.release();
  return QO_CMC_OK;
}

}  // namespace qo
