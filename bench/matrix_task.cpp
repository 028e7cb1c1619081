#include "bench/matrix_task.h"

#include "bench/eigen_peer.h"

namespace bench {

plane heavy_diagonal(size_t side) {
  const plane made = with_noise(dense_plane(sample::f32, side, side));
  for (size_t i = 0; i < side; ++i)
    made.as<float>()[i * side + i] += 60.0f * static_cast<float>(side);
  return made;
}

void add_product_peers(contest& race, const matrix_task& task) {
#ifdef QO_BENCH_OPENBLAS
  race.peer("openblas", openblas_product_job(task));
#endif
#ifdef QO_BENCH_LIBXSMM
  race.peer("libxsmm", libxsmm_product_job(task));
#endif
  for_each_eigen([&](const eigen_variant& eigen) { race.peer(eigen.name, eigen.product(task)); });
}

void add_vector_product_peers(contest& race, const matrix_task& task) {
#ifdef QO_BENCH_OPENBLAS
  race.peer("openblas", openblas_vector_product_job(task));
#endif
  for_each_eigen(
      [&](const eigen_variant& eigen) { race.peer(eigen.name, eigen.vector_product(task)); });
}

void add_transpose_peers(contest& race, const matrix_task& task) {
#ifdef QO_BENCH_OPENBLAS
  race.peer("openblas", openblas_transpose_job(task));
#endif
#ifdef QO_BENCH_OPENCV
  race.peer("opencv", opencv_transpose_job(task));
#endif
  for_each_eigen([&](const eigen_variant& eigen) { race.peer(eigen.name, eigen.transpose(task)); });
}

void add_factor_peers(contest& race, size_t side) {
#ifdef QO_BENCH_OPENBLAS
  race.peer("openblas", openblas_factor_job(side));
#endif
  for_each_eigen([&](const eigen_variant& eigen) { race.peer(eigen.name, eigen.factors(side)); });
}

}  // namespace bench
