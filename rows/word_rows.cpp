// Sums of words.

#include "rows/word_rows.h"

#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

using word_vector = vector<uint32_t>;
constexpr size_t lanes = lanes_of<uint32_t>;

/// The words at `bytes` in front of word `count`, in their lanes; 0 in the others.
word_vector first_words(const uint8_t* bytes, size_t count) {
  word_vector number;
  for (size_t i = 0; i < lanes; ++i) number[i] = static_cast<uint32_t>(i);
  return load_vector<word_vector>(bytes) &
         same_bits<word_vector>(number < static_cast<uint32_t>(count));
}

/// The rule itself.
uint32_t sum_of_each(const uint8_t* bytes, size_t count) {
  uint32_t total = 0;
  for (size_t i = 0; i < count; ++i) total += load_vector<uint32_t>(bytes + 4 * i);
  return total;
}

uint32_t sum(const uint8_t* bytes, size_t count) {
  if (count < lanes) return sum_of_each(bytes, count);
  // A sum modulo 2^32 is the same in any order: four accumulators keep the loads busy.
  constexpr size_t step = 4 * lanes;
  word_vector partial[4] = {};
  size_t done = 0;
  // Up to where vectors no longer straddle cache lines, which would load each line twice. Words at
  // odd addresses never get there.
  const size_t before = (0 - reinterpret_cast<uintptr_t>(bytes)) % sizeof(word_vector);
  if (before % sizeof(uint32_t) == 0 && count >= 4 * step) {
    done = before / sizeof(uint32_t);
    partial[3] = first_words(bytes, done);
  }
  for (; count - done >= step; done += step)
    for (size_t i = 0; i < 4; ++i)
      partial[i] += load_vector<word_vector>(bytes + 4 * (done + i * lanes));
  for (; count - done >= lanes; done += lanes)
    partial[0] += load_vector<word_vector>(bytes + 4 * done);
  // Of the last vector of all, the words that are not yet counted: those from some lane on.
  const uint8_t* const last = bytes + 4 * (count - lanes);
  partial[1] += load_vector<word_vector>(last) - first_words(last, lanes - (count - done));
  const word_vector sums = (partial[0] + partial[1]) + (partial[2] + partial[3]);
  uint32_t total = 0;
  for (size_t i = 0; i < lanes; ++i) total += sums[i];
  return total;
}

}  // namespace

extern const word_rows words;
constinit const word_rows words = {sum};

}  // namespace qo::QO_ROWS_NS
