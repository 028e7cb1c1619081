/// What the peers of the lens-shading builders are asked for.
#pragma once

#include <cstddef>

#include "bench/contest.h"
#include "bench/image_task.h"

namespace bench {

/// The coarse grids of a module: 16 bit, 10 of them fractional, four channels to a set.
struct module_grids {
  size_t width;
  size_t height;
  size_t sets;
};

/// The design matrix of a grid: 15 monomials of column and row, from 1 on, for each sample.
void fill_monomials(float* design, const image_size& grid);

/// Design matrix, its transpose, the normal matrix and its factors.
[[nodiscard]] job openblas_normal_equations_job(const image_size& grid);
/// The same with the product by libxsmm and the factors by the plain loop, which 15 rows are for.
[[nodiscard]] job libxsmm_normal_equations_job(const image_size& grid);

[[nodiscard]] job opencv_gain_tables_job(const module_grids& grids, const image_size& out);

}  // namespace bench
