/// The same work on many files.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/qo_cmc/exit_code.h"
#include "tools/qo_cmc/streams.h"

namespace qo_cmc {

/// What the work on one file says. It is printed in one piece.
struct report {
  std::string output;
  std::string errors;
  exit_code code = exit_code::fine;

  /// A line on standard error.
  void say(const std::string& line);
  void at_least(exit_code other) { code = worse(code, other); }
};

/// Runs on several threads at once, each time for another file. What it throws becomes a line and
/// exit_code::not_done.
using file_work = std::function<void(const std::string& file, report& into)>;

inline constexpr unsigned most_jobs = 256;

/// Does the work for each file, `jobs` at a time, and prints the reports in the order of `files`;
/// a progress line stands on standard error meanwhile, if that is a terminal. Answers the worst
/// code. Throws `failure` when a report cannot be written; the work that is left is not done then.
[[nodiscard]] exit_code each_file(const std::vector<std::string>& files, unsigned jobs,
                                  const streams& standard, const file_work& work);

}  // namespace qo_cmc
