/// Row kernels of the Catmull-Rom spline in double precision, with results of 16 bits.
///
/// The spline through p0 ... p3, at t between p1 and p2, is
///
///   p1 + t/2 (slope + t (square + t cube)),  slope = p2 - p0,
///   square = ((2 p0 - 5 p1) + 4 p2) - p3,  cube = (3 (p1 - p2) + p3) - p0,
///
/// in double precision and rounded to float once.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qo {

/// The most columns, and the most rows of results, that one call of a kernel takes.
inline constexpr size_t spline_strip = 1024;
inline constexpr size_t spline_results = 16;

/// Rows of values have this much room after their last column, which kernels may read and write.
inline constexpr size_t spline_room = 16;

struct spline_rows {
  /// dst[x] = the spline through row[cells[x]] ... row[cells[x] + 3] at t[x].
  ///
  /// Deliberate: p2 - p0 and p1 - p2 are rounded to single precision here. `dst` is a row of
  /// values.
  void (*along)(const float* row, const uint32_t* cells, const float* t, size_t count, float* dst);

  /// The same for samples that are integers of magnitude 13 * 65535 at most, all times one power of
  /// two: then nothing that precedes t has to be rounded in either precision.
  void (*along_integers)(const float* row, const uint32_t* cells, const float* t, size_t count,
                         float* dst);

  /// `result_count` rows of results, `stride` samples apart: dst[y * stride + x] = the low 16 bits
  /// of trunc(1024 s), s the spline through p[0][x] ... p[3][x] at t[y]. The product is rounded to
  /// float; its conversion saturates at 32 bits and takes a NaN for 0.
  void (*across)(const float* const p[4], const float* t, size_t result_count, size_t count,
                 uint16_t* dst, size_t stride);
};

}  // namespace qo
