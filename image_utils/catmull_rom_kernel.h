/// The Catmull-Rom spline through a 4 x 4 block, in double precision, as a number with 10
/// fractional bits.
#pragma once

#include <cstdint>

namespace qo {

/// The spline's value times 1024, truncated toward zero.
///
/// `block` holds four rows of four samples, and the position lies in the cell between its second
/// and third rows and columns: `fy` across rows, `fx` along a row, both from 0 to below 1.
///
/// The one-dimensional spline through p0 ... p3, at t between p1 and p2, is
///
///   p1 + t/2 ((p2 - p0) + t ((2 p0 - 5 p1 + 4 p2 - p3) + t (3 (p1 - p2) + p3 - p0)))
///
/// It runs along the four rows and then through their four values; each result is rounded to float.
/// Contract: the value is neither rounded to the nearest integer nor clamped. Out of the 32-bit
/// range it saturates, and a NaN gives 0.
[[nodiscard]] int32_t bicubic_kernel_4x4_p10(const float block[16], float fy, float fx);

}  // namespace qo
