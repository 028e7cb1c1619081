/// Findings as lines of text.
#pragma once

#include <string>
#include <vector>

#include "tools/findings/inspection.h"
#include "tools/qo_cmc/each_file.h"
#include "tools/qo_cmc/paint.h"

namespace qo_cmc {

/// FILE:OFFSET: CODE: sentence [severity; record ...; field ...], without a line end; "-" stands
/// for an offset that there is not.
[[nodiscard]] std::string line_of(const std::string& file, const findings::finding& each,
                                  const paint& with);

/// The name of one of several files, above what is printed of it.
[[nodiscard]] std::string heading_of(const std::string& file, const paint& with);

/// When the container is not valid: its errors and a last line on standard error, and
/// exit_code::found.
void say_if_not_valid(const std::string& file, bool valid,
                      const std::vector<findings::finding>& found, report& into);

/// The same, and the warnings of a container that is valid.
void say_what_is_lost(const std::string& file, bool valid,
                      const std::vector<findings::finding>& found, report& into);

}  // namespace qo_cmc
