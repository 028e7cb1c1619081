/// The gain tables of one camera module, with a block of its own only for each calibration set that
/// is asked for.
#pragma once

#include <cstdint>

#include "lsc/gain_tables.h"
#include "lsc/set_choice.h"

namespace qo {

/// Owner of such tables. The entries of all other sets name one block of full size, whose contents
/// mean nothing.
class chosen_gain_tables {
 public:
  /// Entries of `tables` that are null come to name `others`. Null tables are accepted.
  chosen_gain_tables(gain_tables_ptr tables, heap_array<float> others);
  chosen_gain_tables(const chosen_gain_tables&) = delete;
  chosen_gain_tables& operator=(const chosen_gain_tables&) = delete;
  ~chosen_gain_tables();

  [[nodiscard]] computed_upscale_lsc_tables* get() const { return tables_.get(); }

 private:
  gain_tables_ptr tables_;
  heap_array<float> others_;
};

/// The tables that compute_upscaled_lsc_tables_polynom4th() builds, with the blocks of the chosen
/// sets only. Every set is built all the same, the others one after another in one block, and a set
/// that cannot be built leaves no tables.
[[nodiscard]] chosen_gain_tables build_polynomial_tables(uint16_t out_width, uint16_t out_height,
                                                         const calibration& module,
                                                         uint32_t orientation,
                                                         const set_choice& chosen);

}  // namespace qo
