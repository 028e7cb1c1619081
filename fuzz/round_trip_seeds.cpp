// For each draw a container of its record alone, of two of it, and containers of many; the numbers
// that the draws take are made up.

#include <algorithm>
#include <cstdio>

#include "cmc_parser/records/kinds.h"
#include "fuzz/drawn_record.h"
#include "fuzz/target.h"
#include "writer/filler_bytes.h"

namespace fuzz {
namespace {

/// A kind without a draw would never be tried.
void require_every_kind() {
  std::vector<uint16_t> drawn;
  for (const auto& draws : {kept_draws, converted_draws, lens_shading_draws}) {
    for (const draw each : draws) {
      input_reader nothing(nullptr, 0);
      drawn.push_back(each(nothing).content.u16_at(6));
    }
  }
  for (const uint16_t kind : qo::record_kinds) {
    if (std::find(drawn.begin(), drawn.end(), kind) != drawn.end()) continue;
    std::fprintf(stderr, "no draw of fuzz/drawn_*_records.cpp makes a record %u\n", unsigned{kind});
    abort();
  }
}

}  // namespace

std::vector<input> seeds() {
  require_every_kind();
  const size_t draws = kept_draws.size() + converted_draws.size() + lens_shading_draws.size();
  constexpr size_t bytes_a_record = 80;
  std::vector<input> all = {{}};
  const auto drawn = [](size_t number, uint32_t start, size_t size) {
    input one = writer::filler_bytes(start).run(size).vector();
    one.insert(one.begin(), static_cast<uint8_t>(number));
    return one;
  };
  for (size_t number = 0; number < draws; ++number) {
    for (uint32_t start = 0; start < 6; ++start) {
      input one = drawn(number, start * 31, bytes_a_record);
      one.insert(one.begin(), static_cast<uint8_t>(start));
      all.push_back(one);
    }
  }
  for (uint32_t start = 0; start < 8; ++start) {
    input many = {0};
    for (size_t number = 0; number < draws; ++number) {
      const input one = drawn(number, start * 17, 9 + start * 5);
      many.insert(many.end(), one.begin(), one.end());
    }
    all.push_back(many);
  }
  return all;
}

}  // namespace fuzz
