/// Row kernels: the arithmetic of one row of samples, compiled once for each instruction set, and
/// the choice between the sets.
///
/// A family of kernels is a structure of function pointers (`word_rows.h`); `<family>_rows.cpp` is
/// compiled once for each set, in a namespace of its own, and leaves one constant of that
/// structure. Every set gives the same bits.
#pragma once

#include <cstdint>

#include "rows/area_rows.h"
#include "rows/bilinear_float_rows.h"
#include "rows/bilinear_rows.h"
#include "rows/float_rows.h"
#include "rows/gain_rows.h"
#include "rows/matrix_rows.h"
#include "rows/maximum_rows.h"
#include "rows/nearest_rows.h"
#include "rows/patch_rows.h"
#include "rows/spline_rows.h"
#include "rows/store_rows.h"
#include "rows/surface_rows.h"
#include "rows/word_rows.h"

namespace qo {

/// The families of one instruction set.
struct row_table {
  const word_rows& words;
  const matrix_rows& matrix;
  const surface_rows& surface;
  const gain_rows& gains;
  const float_rows& floats;
  const spline_rows& splines;
  const patch_rows& patches;
  const bilinear_rows& bilinear;
  const bilinear_float_rows& bilinear_float;
  const area_rows& areas;
  const nearest_rows& nearest;
  const maximum_rows& maxima;
  const store_rows& store;
};

/// What a table may use: each set includes those before it.
enum class instruction_set : uint8_t {
  base,    ///< what every machine of the architecture has: SSE2, or Advanced SIMD on AArch64
  avx2,    ///< AVX2, without fused multiply-add
  avx512,  ///< AVX-512 F, BW, DQ, VL and VBMI
};

/// The table of a set, or null when it is not compiled in or this machine lacks the set.
[[nodiscard]] const row_table* find_rows(instruction_set set);

/// The table in use: the best that this machine can run, unless use_rows() named another.
[[nodiscard]] const row_table& rows();

/// Makes every later call of rows() answer `table`. Only tests and benchmarks call this.
void use_rows(const row_table& table);

}  // namespace qo
