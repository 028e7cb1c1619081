#define QO_BENCH_ROWS rows_base
#define QO_BENCH_VECTOR_BYTES 16
#include "bench/vector_operations.inl.h"
