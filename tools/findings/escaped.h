/// Text from a file, made safe for a terminal.
#pragma once

#include <string>
#include <string_view>

namespace findings {

/// Printable UTF-8 stays as it is. Every byte of anything else becomes \xNN: control characters of
/// ASCII and of Unicode, DEL, marks that turn the direction of writing, separators of lines, bytes
/// that are not UTF-8. A backslash is doubled, so that the result can be read back.
[[nodiscard]] std::string escaped(std::string_view from_file);

}  // namespace findings
