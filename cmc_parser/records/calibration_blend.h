/// The module's calibration grid, smoothed and blended with one value of record 30.
#pragma once

#include <cstdint>

#include "qo_nvm.h"

namespace qo {

/// Writes grid.width x grid.height values:
///
///   out(y, x) = trunc(local(y, x) * 0.6 / 2^shift + centre * 0.39999998 + 0.5)
///
/// local is the mean of the grid's values, read as signed, in the 7 x 7 window around (y, x) that
/// lie strictly between 0.5 and 1.5 times the mean m of the grid's interior; m itself when there is
/// none. Sums wrap in 32 bits. A `centre` of 0, or an interior of no values, leaves `out`
/// untouched.
///
/// @param[in]  grid  the module's grid; its values are not null
/// @param[out] out   the same size, dense row-major
void blend_calibration_grid(const calibration_grid& grid, uint32_t centre, uint32_t* out);

}  // namespace qo
