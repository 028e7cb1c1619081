/// The tables of row kernels: which of them this machine has, and which one is timed.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace bench {

enum class row_table { base, avx2, avx512 };

[[nodiscard]] const char* name_of(row_table table);
/// Those that this processor can run, the plainest first.
[[nodiscard]] std::vector<row_table> tables_of_this_machine();

/// Makes the library use the table of this name: base, avx2 or avx512. Null is the best one that
/// the machine has. False when there is no such table, or the machine cannot run it.
[[nodiscard]] bool select_rows(const char* name);
[[nodiscard]] row_table selected_rows();

}  // namespace bench
