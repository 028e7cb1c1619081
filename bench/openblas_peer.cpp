// OpenBLAS, on one thread. What it computes differently: products are fused and summed in blocks;
// the factorisation looks for the pivot of each column and exchanges rows.

#include <cblas.h>

#include <cstring>
#include <memory>
#include <vector>

#include "bench/builder_peers.h"
#include "bench/matrix_task.h"

extern "C" void sgetrf_(const int* rows, const int* columns, float* a, const int* stride,
                        int* pivots, int* info);

namespace bench {
namespace {

int integer(size_t size) { return static_cast<int>(size); }

plane noise(size_t height, size_t width) {
  return with_noise(dense_plane(sample::f32, width, height));
}

}  // namespace

job openblas_product_job(const matrix_task& task) {
  openblas_set_num_threads(1);
  const plane a = noise(task.height, task.inner), b = noise(task.inner, task.width);
  const plane c = dense_plane(sample::f32, task.width, task.height);
  const int m = integer(task.height), n = integer(task.width), k = integer(task.inner);
  return [=] {
    cblas_sgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, m, n, k, 1, a.as<float>(), k,
                b.as<float>(), n, 0, c.as<float>(), n);
  };
}

job openblas_vector_product_job(const matrix_task& task) {
  openblas_set_num_threads(1);
  const plane a = noise(task.height, task.inner), x = noise(task.inner, 1);
  const plane y = dense_plane(sample::f32, task.height, 1);
  const int m = integer(task.height), n = integer(task.inner);
  return [=] {
    cblas_sgemv(CblasRowMajor, CblasNoTrans, m, n, 1, a.as<float>(), n, x.as<float>(), 1, 0,
                y.as<float>(), 1);
  };
}

job openblas_transpose_job(const matrix_task& task) {
  openblas_set_num_threads(1);
  const plane a = noise(task.height, task.inner);
  const plane b = dense_plane(sample::f32, task.height, task.inner);
  const int m = integer(task.height), n = integer(task.inner);
  return [=] {
    cblas_somatcopy(CblasRowMajor, CblasTrans, m, n, 1, a.as<float>(), n, b.as<float>(), m);
  };
}

job openblas_factor_job(size_t side) {
  openblas_set_num_threads(1);
  const plane a = heavy_diagonal(side);
  const plane lu = dense_plane(sample::f32, side, side);
  const auto pivots = std::make_shared<std::vector<int>>(side);
  return [=] {
    std::memcpy(lu.as<float>(), a.as<float>(), a.bytes());
    const int n = integer(side);
    int info = 0;
    sgetrf_(&n, &n, lu.as<float>(), &n, pivots->data(), &info);
  };
}

job openblas_normal_equations_job(const image_size& grid) {
  openblas_set_num_threads(1);
  const int samples = integer(grid.samples()), terms = 15;
  const plane design = dense_plane(sample::f32, 15, grid.samples());
  const plane design_t = dense_plane(sample::f32, grid.samples(), 15);
  const plane lu = dense_plane(sample::f32, 15, 15);
  const auto pivots = std::make_shared<std::vector<int>>(15);
  return [=] {
    fill_monomials(design.as<float>(), grid);
    cblas_somatcopy(CblasRowMajor, CblasTrans, samples, terms, 1, design.as<float>(), terms,
                    design_t.as<float>(), samples);
    cblas_sgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, terms, terms, samples, 1,
                design_t.as<float>(), samples, design.as<float>(), terms, 0, lu.as<float>(), terms);
    int info = 0;
    sgetrf_(&terms, &terms, lu.as<float>(), &terms, pivots->data(), &info);
  };
}

}  // namespace bench
