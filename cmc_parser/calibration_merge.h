/// Rebuilds the lens-shading tables of a parsed CMC for one camera module.
#pragma once

#include "qo_cmc/parser.h"

namespace qo {

/// Multiplies the tables of `lens_shading_ext` by gain planes computed from the module's
/// calibration and writes the products over those of `lens_shading`.
///
/// Does nothing without both sets, record 2 and record 17, or when the target has nothing to
/// rebuild. Failures leave the tables as they are, or as the correction left them. Nothing of the
/// calibration is reachable from the parsed CMC afterwards.
void merge_calibration(parsed_cmc& cmc, const calibration& module);

}  // namespace qo
