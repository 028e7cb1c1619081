/// The correction of lens-shading tables for one camera module, with what ended it.
#pragma once

#include <cstdint>

#include "lsc/set_choice.h"
#include "qo_cmc/lsc.h"

namespace qo {

enum class correction_fault : uint8_t {
  none,
  missing_argument,    ///< a set, its lights or the gains
  source_too_small,    ///< fewer lights or samples than the target has
  gain_table_missing,  ///< none of the number that the light names
  plane_order_unknown,
  cfa_layout_unknown,
};

struct correction_result {
  uint64_t code = 0;  ///< that of ratio_based_sample_to_sample_correction()
  correction_fault fault = correction_fault::none;
  uint16_t lights = 0;  ///< rewritten; the light that the correction ended at has this index
};

/// Whose gain planes of green are averaged, with a cell of 4 x 4 sites.
enum class averaged_greens : uint8_t {
  of_every_light,   ///< as callers who keep the gains see them
  of_scaled_sites,  ///< only where samples are multiplied by them: a container may hold thousands
                    ///< of lights that have no table, and each of them would cost two whole planes
};

/// ratio_based_sample_to_sample_correction(), with all that it knows and not only its code.
[[nodiscard]] correction_result correct_samples(lens_shading_set* target,
                                                const lens_shading_set* source,
                                                computed_upscale_lsc_tables* gains,
                                                uint32_t cfa_layout, uint32_t plane_order,
                                                averaged_greens greens);

/// The calibration sets whose gains correct_samples() multiplies samples by: those that a light of
/// the source names for a light of the target with a site to scale. What becomes of the gains of
/// any other set shows in neither. Both have their lights.
[[nodiscard]] set_choice sets_that_scale(const lens_shading_set& target,
                                         const lens_shading_set& source, uint32_t cfa_layout);

}  // namespace qo
