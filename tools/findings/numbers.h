/// Numbers as text, the same under every locale.
#pragma once

#include <cstdint>
#include <string>

namespace findings {

/// Eight digits after "0x".
[[nodiscard]] std::string hex_word(uint32_t value);

/// The shortest text that reads back as the same number.
[[nodiscard]] std::string text_of(float value);

/// "1 byte", "2 bytes".
[[nodiscard]] std::string bytes_of(uint64_t count);

}  // namespace findings
