/// What a matrix peer is asked for, and the peers that may be there. All is packed by rows.
#pragma once

#include <cstddef>

#include "bench/contest.h"

namespace bench {

struct matrix_task {
  size_t height;
  size_t inner;
  size_t width = 0;
};

/// (height x inner) times (inner x width).
void add_product_peers(contest& race, const matrix_task& task);
/// (height x inner) times a vector.
void add_vector_product_peers(contest& race, const matrix_task& task);
/// Of a height x inner matrix.
void add_transpose_peers(contest& race, const matrix_task& task);
/// Of a matrix of `side` rows with a heavy diagonal. The peers exchange rows, or look for the pivot
/// at least.
void add_factor_peers(contest& race, size_t side);

/// A matrix whose factors stay small without exchanges of rows.
[[nodiscard]] plane heavy_diagonal(size_t side);

[[nodiscard]] job opencv_transpose_job(const matrix_task& task);
[[nodiscard]] job openblas_product_job(const matrix_task& task);
[[nodiscard]] job openblas_vector_product_job(const matrix_task& task);
[[nodiscard]] job openblas_transpose_job(const matrix_task& task);
[[nodiscard]] job openblas_factor_job(size_t side);
[[nodiscard]] job libxsmm_product_job(const matrix_task& task);

}  // namespace bench
