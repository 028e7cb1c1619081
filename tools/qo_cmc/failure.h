/// What could not be done.
#pragma once

#include <stdexcept>
#include <string>

namespace qo_cmc {

/// One line on standard error, which names the file, and exit_code::not_done.
class failure : public std::runtime_error {
 public:
  /// `subject` is a file's name, as the user wrote it; it is escaped here.
  failure(const std::string& subject, const std::string& reason);
  /// The reason is that of an error number of the C library.
  failure(const std::string& subject, int error_number);
};

/// What was thrown in a line, without its end.
[[nodiscard]] std::string line_of(const std::exception& thrown);
/// The same for something thrown while `subject` was worked on.
[[nodiscard]] std::string line_of(const std::string& subject, const std::exception& thrown);

}  // namespace qo_cmc
