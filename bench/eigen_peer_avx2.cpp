#define QO_BENCH_EIGEN_NAMESPACE eigen_avx2
#define QO_BENCH_EIGEN_LIBRARY Eigen_avx2
#define QO_BENCH_EIGEN_NAME "eigen"
#include "bench/eigen_peer.inl.h"
