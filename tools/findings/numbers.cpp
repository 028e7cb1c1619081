#include "tools/findings/numbers.h"

#include <charconv>

namespace findings {

std::string hex_word(uint32_t value) {
  char digits[8];
  const auto end = std::to_chars(digits, digits + sizeof digits, value, 16);
  const auto length = static_cast<size_t>(end.ptr - digits);
  return "0x" + std::string(sizeof digits - length, '0') + std::string(digits, length);
}

std::string text_of(float value) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value);
  return std::string(text, end.ptr);
}

std::string bytes_of(uint64_t count) {
  return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

}  // namespace findings
