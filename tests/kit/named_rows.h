/// Tables of row kernels by the names that tests and benchmarks give them on the command line.
#pragma once

#include <string_view>

#include "rows/row_table.h"

namespace kit {

struct named_set {
  std::string_view name;
  qo::instruction_set set;
};

inline constexpr named_set named_sets[] = {
    {"base", qo::instruction_set::base},
    {"avx2", qo::instruction_set::avx2},
    {"avx512", qo::instruction_set::avx512},
};

/// What ctest takes for a skipped test.
inline constexpr int skipped_exit_code = 77;

enum class rows_choice {
  taken,
  not_runnable,  ///< not compiled in, or beyond this machine
  unknown,       ///< no table has this name
};

/// Makes the library's objects in this process use the table of this name.
[[nodiscard]] inline rows_choice use_rows_named(std::string_view name) {
  for (const named_set& candidate : named_sets) {
    if (candidate.name != name) continue;
    const qo::row_table* const table = qo::find_rows(candidate.set);
    if (table == nullptr) return rows_choice::not_runnable;
    qo::use_rows(*table);
    return rows_choice::taken;
  }
  return rows_choice::unknown;
}

}  // namespace kit
