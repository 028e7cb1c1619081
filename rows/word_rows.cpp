// Sums of words.

#include "rows/word_rows.h"

#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

uint32_t sum(const uint8_t* bytes, size_t count) {
  // A sum modulo 2^32 is the same in any order: four accumulators keep the loads busy.
  using words = vector<uint32_t>;
  constexpr size_t step = 4 * lanes_of<uint32_t>;
  words partial[4] = {};
  uint32_t total = 0;
  size_t done = 0;
  // Up to where vectors no longer straddle cache lines, which would load each line twice. Words at
  // odd addresses never get there.
  const size_t before = (0 - reinterpret_cast<uintptr_t>(bytes)) % sizeof(words);
  if (before % sizeof(uint32_t) == 0 && count >= 4 * step)
    for (; done < before / sizeof(uint32_t); ++done)
      total += load_vector<uint32_t>(bytes + 4 * done);
  for (; count - done >= step; done += step)
    for (size_t i = 0; i < 4; ++i)
      partial[i] += load_vector<words>(bytes + 4 * (done + i * lanes_of<uint32_t>));
  for (; count - done >= lanes_of<uint32_t>; done += lanes_of<uint32_t>)
    partial[0] += load_vector<words>(bytes + 4 * done);
  const words lanes = (partial[0] + partial[1]) + (partial[2] + partial[3]);
  for (size_t i = 0; i < lanes_of<uint32_t>; ++i) total += lanes[i];
  for (; done < count; ++done) total += load_vector<uint32_t>(bytes + 4 * done);
  return total;
}

}  // namespace

extern const word_rows words;
constinit const word_rows words = {sum};

}  // namespace qo::QO_ROWS_NS
