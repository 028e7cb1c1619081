// libxsmm: products by code that is generated for their size. What it computes differently: it
// fuses multiply and add. It counts by columns, so that ours by rows is transpose(b) transpose(a).
// The generated code leaves the upper halves of vector registers dirty: they are cleared.

#include <libxsmm.h>

#include "bench/builder_peers.h"
#include "bench/matrix_task.h"
#include "bench/vector_operations.h"

namespace bench {
namespace {

/// c = a b, packed by rows.
libxsmm_smmfunction generated_for(const matrix_task& task) {
  const auto m = static_cast<libxsmm_blasint>(task.width);
  const auto n = static_cast<libxsmm_blasint>(task.height);
  const auto k = static_cast<libxsmm_blasint>(task.inner);
  const float alpha = 1, beta = 0;
  return libxsmm_smmdispatch(m, n, k, nullptr, nullptr, nullptr, &alpha, &beta, nullptr, nullptr);
}

void factorise(float* a, size_t n) {
  for (size_t k = 0; k + 1 < n; ++k)
    for (size_t i = k + 1; i < n; ++i) {
      const float factor = a[i * n + k] /= a[k * n + k];
      for (size_t j = k + 1; j < n; ++j) a[i * n + j] -= factor * a[k * n + j];
    }
}

}  // namespace

job libxsmm_product_job(const matrix_task& task) {
  const plane a = with_noise(dense_plane(sample::f32, task.inner, task.height));
  const plane b = with_noise(dense_plane(sample::f32, task.width, task.inner));
  const plane c = dense_plane(sample::f32, task.width, task.height);
  const libxsmm_smmfunction product = generated_for(task);
  if (product == nullptr) return nullptr;
  return [=] {
    product(b.as<float>(), a.as<float>(), c.as<float>());
    clear_upper_halves();
  };
}

job libxsmm_normal_equations_job(const image_size& grid) {
  const size_t samples = grid.samples(), terms = 15;
  const plane design = dense_plane(sample::f32, terms, samples);
  const plane design_t = dense_plane(sample::f32, samples, terms);
  const plane lu = dense_plane(sample::f32, terms, terms);
  const libxsmm_smmfunction product = generated_for({terms, samples, terms});
  if (product == nullptr) return nullptr;
  return [=] {
    fill_monomials(design.as<float>(), grid);
    for (size_t i = 0; i < terms; ++i)
      for (size_t k = 0; k < samples; ++k)
        design_t.as<float>()[i * samples + k] = design.as<float>()[k * terms + i];
    product(design.as<float>(), design_t.as<float>(), lu.as<float>());
    clear_upper_halves();
    factorise(lu.as<float>(), terms);
    keep(lu.as<float>());
  };
}

}  // namespace bench
