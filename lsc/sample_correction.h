/// The correction of lens-shading tables for one camera module, with what ended it.
#pragma once

#include <cstdint>

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

/// ratio_based_sample_to_sample_correction(), with all that it knows and not only its code.
[[nodiscard]] correction_result correct_samples(lens_shading_set* target,
                                                const lens_shading_set* source,
                                                computed_upscale_lsc_tables* gains,
                                                uint32_t cfa_layout, uint32_t plane_order);

}  // namespace qo
