#include "bench/vector_operations.h"

namespace bench {

vector_operations vector_operations_of(row_table table) {
#if defined(__x86_64__)
  if (table == row_table::avx512) return rows_avx512::operate;
  if (table == row_table::avx2) return rows_avx2::operate;
#endif
  (void)table;
  return rows_base::operate;
}

vector_sum vector_sum_of(row_table table) {
#if defined(__x86_64__)
  if (table == row_table::avx512) return rows_avx512::sum;
  if (table == row_table::avx2) return rows_avx2::sum;
#endif
  (void)table;
  return rows_base::sum;
}

}  // namespace bench
