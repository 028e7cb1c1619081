// libxsmm: products by code that is generated for their size. What it computes differently: it
// fuses multiply and add. It counts by columns, so that ours by rows is transpose(b) transpose(a).

#include <libxsmm.h>

#include "bench/matrix_task.h"
#include "bench/row_tables.h"

namespace bench {
namespace {

/// The generated code leaves the upper halves of vector registers dirty, and what comes after it
/// with the older encoding then runs several times slower.
void clear_upper_halves() {
#if defined(__x86_64__)
  if (selected_rows() != row_table::base) asm volatile("vzeroupper" ::: "memory");
#endif
}

}  // namespace

job libxsmm_product_job(const matrix_task& task) {
  const plane a = with_noise(dense_plane(sample::f32, task.inner, task.height));
  const plane b = with_noise(dense_plane(sample::f32, task.width, task.inner));
  const plane c = dense_plane(sample::f32, task.width, task.height);
  const auto m = static_cast<libxsmm_blasint>(task.width);
  const auto n = static_cast<libxsmm_blasint>(task.height);
  const auto k = static_cast<libxsmm_blasint>(task.inner);
  const float alpha = 1, beta = 0;
  const libxsmm_smmfunction generated =
      libxsmm_smmdispatch(m, n, k, nullptr, nullptr, nullptr, &alpha, &beta, nullptr, nullptr);
  if (generated == nullptr) return nullptr;
  return [=] {
    generated(b.as<float>(), a.as<float>(), c.as<float>());
    clear_upper_halves();
  };
}

}  // namespace bench
