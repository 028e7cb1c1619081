/// What targets of the parser hold to be true of its results, and what they hand over to it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "fuzz/require.h"
#include "tests/kit/slot_tour.h"

namespace fuzz {

/// Everything that the slots lead to can be read, and each block has one owner.
inline void require_sound_slots(const parsed_cmc& cmc) {
  const kit::slot_tour tour = kit::tour_of(cmc);
  // A decision on every byte that was read: the memory sanitizer asks only of those.
  require(tour.digest != 0);
  require(tour.owns_each_once());
}

struct c_deleter {
  void operator()(uint8_t* block) const { free(block); }
};

/// A heap block of exactly these bytes, for the address sanitizer to watch its ends.
using exact_block = std::unique_ptr<uint8_t, c_deleter>;
inline exact_block exact(const std::vector<uint8_t>& content) {
  exact_block block(static_cast<uint8_t*>(malloc(std::max<size_t>(content.size(), 1))));
  require(block != nullptr);
  if (!content.empty()) memcpy(block.get(), content.data(), content.size());
  return block;
}

}  // namespace fuzz
