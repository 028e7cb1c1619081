#define QO_BENCH_ROWS rows_avx512
#define QO_BENCH_VECTOR_BYTES 64
#include "bench/vector_operations.inl.h"
