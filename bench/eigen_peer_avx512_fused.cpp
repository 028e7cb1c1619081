#define QO_BENCH_EIGEN_NAMESPACE eigen_avx512_fused
#define QO_BENCH_EIGEN_LIBRARY Eigen_avx512_fused
#define QO_BENCH_EIGEN_NAME "eigen fused"
#include "bench/eigen_peer.inl.h"
