/// Eigen, compiled for each instruction set, with and without fused multiply-add.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "bench/builder_peers.h"
#include "bench/contest.h"
#include "bench/matrix_task.h"
#include "bench/row_tables.h"

namespace bench {

/// One compilation's jobs. What it computes differently: sums run in several accumulators, in
/// blocks and fused where the processor can; factors exchange rows; the fit solves all four
/// channels at once.
struct eigen_variant {
  const char* name;
  job (*product)(const matrix_task& task);
  job (*vector_product)(const matrix_task& task);
  job (*transpose)(const matrix_task& task);
  job (*factors)(size_t side);
  /// Design matrix, its transpose, the normal matrix and its factors.
  job (*normal_equations)(const image_size& grid);
  /// One quartic surface from its coefficients.
  job (*surface)(const image_size& grid, const image_size& out);
  /// Four grids, with the factors given.
  job (*fit)(const image_size& grid, const image_size& out);
  /// All sets of a module: gains, fit, surface, division by the minimum.
  job (*gain_tables)(const module_grids& grids, const image_size& out);
  /// `sites` planes of 16 bit times a plane of gains each; beyond 32 bits the cast alone.
  job (*correction)(size_t sites, size_t samples);
};

namespace eigen_base {
const eigen_variant& variant();
}
namespace eigen_avx2 {
const eigen_variant& variant();
}
namespace eigen_avx2_fused {
const eigen_variant& variant();
}
namespace eigen_avx512_fused {
const eigen_variant& variant();
}

/// Calls add(variant) for those that the selected row table allows. For AVX-512 there is none
/// without fused multiply-add: Eigen always fuses there.
template <typename Add>
void for_each_eigen(Add add) {
  (void)add;
#ifdef QO_BENCH_EIGEN
#if defined(__x86_64__)
  if (selected_rows() == row_table::base) return add(eigen_base::variant());
  add(eigen_avx2::variant());
  if (selected_rows() == row_table::avx2) return add(eigen_avx2_fused::variant());
  add(eigen_avx512_fused::variant());
#else
  add(eigen_base::variant());
#endif
#endif
}

}  // namespace bench
