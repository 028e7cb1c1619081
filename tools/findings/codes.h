/// The table of all that can be said about a container: a stable word for each, how bad it is, a
/// sentence, and what to do.
#pragma once

#include <cstdint>
#include <span>

#include "cmc_parser/reason.h"

namespace findings {

enum class severity : uint8_t {
  note,     ///< superseded or foreign records, messages of the library
  warning,  ///< something that was meant is lost
  error,    ///< the container is refused
};

/// "note", "warning" or "error".
[[nodiscard]] const char* word_of(severity how_bad);

/// Words stay what they are: scripts look for them.
struct code_description {
  const char* word;
  severity how_bad;
  const char* sentence;  ///< with its full stop
  const char* advice;
  const char* field = "";  ///< what it is about, where that is one field
};

/// What is seen by comparing records, or in what they hold; the library has no word in it.
enum class observation : uint8_t {
  container_too_large,
  record_replaced,
  record_displaced,
  version_unknown,
  fraction_bits_implausible,
  coordinates_implausible,
  library_message,
};

/// `why` is not `none`.
[[nodiscard]] const code_description& describe(qo::reason why);
[[nodiscard]] const code_description& describe(observation seen);

/// Every code there is: those of the library's reasons, then the others.
[[nodiscard]] std::span<const code_description> every_code();

}  // namespace findings
