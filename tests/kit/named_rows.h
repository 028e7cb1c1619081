/// Tables of row kernels by the names that tests and benchmarks give them on the command line.
#pragma once

#include <cstdint>
#include <string_view>

namespace kit {

/// Names of the tables, each including what the one before it may use.
inline constexpr std::string_view rows_names[] = {"base", "avx2", "avx512"};

/// What ctest takes for a skipped test.
inline constexpr int skipped_exit_code = 77;

enum class rows_choice : uint8_t {
  taken,
  not_runnable,  ///< not compiled in, or beyond this machine
  unknown,       ///< no table has this name
};

/// Makes the library in this process use the table of this name.
[[nodiscard]] __attribute__((visibility("default"))) rows_choice use_rows_named(
    std::string_view name);

}  // namespace kit
