/// What the program answers to the shell.
#pragma once

namespace qo_cmc {

/// Of several files the largest counts.
enum class exit_code {
  fine = 0,      ///< also with notes
  found = 1,     ///< a finding, a difference, or a container that is not valid
  not_done = 2,  ///< wrong usage, or something that could not be read, held or written
};

[[nodiscard]] constexpr exit_code worse(exit_code a, exit_code b) { return a < b ? b : a; }

}  // namespace qo_cmc
