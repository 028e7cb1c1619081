#define QO_BENCH_EIGEN_NAMESPACE eigen_base
#define QO_BENCH_EIGEN_LIBRARY Eigen_base
#define QO_BENCH_EIGEN_NAME "eigen"
#include "bench/eigen_peer.inl.h"
