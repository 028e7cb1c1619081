/// Rebuilds the lens-shading tables of a parsed CMC for one camera module.
#pragma once

#include <cstdint>

#include "cmc_parser/reason.h"
#include "qo_cmc/parser.h"

namespace qo {

struct merge_result {
  reason why = reason::none;  ///< `none` when all lights were rebuilt
  uint16_t lights = 0;  ///< rebuilt before the merge ended; the light it ended at has this index
};

/// Multiplies the tables of `lens_shading_ext` by gain planes computed from the module's
/// calibration and writes the products over those of `lens_shading`.
///
/// Does nothing without both sets, record 2 and record 17, or when the target has nothing to
/// rebuild. Failures leave the tables as they are, or as the correction left them. Nothing of the
/// calibration is reachable from the parsed CMC afterwards.
[[nodiscard]] merge_result merge_calibration(parsed_cmc& cmc, const calibration& module);

}  // namespace qo
