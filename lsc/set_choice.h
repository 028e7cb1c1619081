/// Some of a module's calibration sets.
#pragma once

#include <cstdint>

namespace qo {

/// Sets by their number, from 0 on. A light counts them from 1 in its `aux`.
class set_choice {
 public:
  [[nodiscard]] static constexpr set_choice all() {
    set_choice every;
    for (bool& chosen : every.chosen_) chosen = true;
    return every;
  }

  /// Adds the set that a light names. A number that no module's set can have is ignored.
  constexpr void add_named(uint16_t aux) {
    if (aux != 0 && aux <= UINT8_MAX) chosen_[aux - 1] = true;
  }
  [[nodiscard]] constexpr bool has(uint8_t set) const { return chosen_[set]; }

 private:
  bool chosen_[UINT8_MAX + 1] = {};
};

}  // namespace qo
