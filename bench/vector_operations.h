/// How fast this processor adds and multiplies in the vectors of a row table, without fusing them.
#pragma once

#include <cstddef>

#include "bench/row_tables.h"

namespace bench {

/// Performs as many additions and products, in lanes of 32 bits; none waits for another.
using vector_operations = void (*)(size_t operations);

[[nodiscard]] vector_operations vector_operations_of(row_table table);

/// Adds up the whole words of `bytes` with all the vectors' width: what reading them costs.
using vector_sum = unsigned (*)(const void* bytes, size_t size);

[[nodiscard]] vector_sum vector_sum_of(row_table table);

/// Code that leaves the upper halves of vector registers dirty slows what comes after it with the
/// older encoding, on some processors several times.
inline void clear_upper_halves() {
#if defined(__x86_64__)
  if (selected_rows() != row_table::base) asm volatile("vzeroupper" ::: "memory");
#endif
}

namespace rows_base {
void operate(size_t operations);
unsigned sum(const void* bytes, size_t size);
}  // namespace rows_base
namespace rows_avx2 {
void operate(size_t operations);
unsigned sum(const void* bytes, size_t size);
}  // namespace rows_avx2
namespace rows_avx512 {
void operate(size_t operations);
unsigned sum(const void* bytes, size_t size);
}  // namespace rows_avx512

}  // namespace bench
