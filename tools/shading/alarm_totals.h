/// What is wrong with the tables, counted over all lights, and said in sentences.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/shading/shading.h"

namespace shading {

struct alarm_totals {
  uint64_t samples = 0;  ///< of all lights and channels
  uint64_t below_one_before = 0;
  uint64_t below_one_after = 0;
  uint64_t wrapped = 0;
  uint64_t not_finite = 0;        ///< ratios
  uint64_t unknown_channels = 0;  ///< with an `after` whose products are not known
};

[[nodiscard]] alarm_totals totals_of(const subject& about);

struct totals_sentence {
  std::string words;
  bool alarm;
};

[[nodiscard]] std::vector<totals_sentence> sentences_of(const subject& about,
                                                        const alarm_totals& totals);

}  // namespace shading
