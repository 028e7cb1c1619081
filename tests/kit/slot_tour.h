/// Goes through everything that the slots of a parsed CMC lead to.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "qo_cmc/parser.h"

namespace kit {

/// All slots of a parsed CMC, each 8 bytes: slot k, counted from 1, is element k - 1.
using slot_words = std::array<uint64_t, sizeof(parsed_cmc) / sizeof(uint64_t)>;

/// What a tour met. It reads every byte that the public headers promise after a slot, so that
/// under the address sanitizer an address of released memory, or an array shorter than its count,
/// ends the test.
struct slot_tour {
  /// Blocks that teardown has to release, the parsed CMC itself and `others` left out.
  std::vector<const void*> owned;
  /// Kinds of structures that count elements of an array that they lack.
  std::vector<uint16_t> incomplete;
  /// A hash of what was read, addresses left out: equal for equal content wherever it stands.
  uint64_t digest = 14695981039346656037u;

  bool owns(const void* block) const;
  /// Whether no block has two owners.
  bool owns_each_once() const;
};

slot_tour tour_of(const parsed_cmc& cmc);

}  // namespace kit
