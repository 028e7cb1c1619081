/// Files that the program makes.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace qo_cmc {

/// Writes a file, or what stands there already: a pipe, a device. A regular file that could not be
/// written whole is removed. Throws `failure`.
void write_file(const std::string& name, std::string_view bytes);

/// The bytes as write_file() takes them.
[[nodiscard]] std::string_view text_of_bytes(std::span<const unsigned char> bytes);

}  // namespace qo_cmc
