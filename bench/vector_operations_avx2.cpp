#define QO_BENCH_ROWS rows_avx2
#define QO_BENCH_VECTOR_BYTES 32
#include "bench/vector_operations.inl.h"
