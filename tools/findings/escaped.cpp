#include "tools/findings/escaped.h"

#include <cstddef>
#include <cstdint>

namespace findings {
namespace {

/// One character of UTF-8; of no bytes where the text does not start with one.
struct character {
  size_t size = 0;
  uint32_t code = 0;
};

[[nodiscard]] character decode(std::string_view text) {
  const auto first = static_cast<uint8_t>(text.front());
  size_t size = 1;
  if (first >= 0xf0 && first <= 0xf4)
    size = 4;
  else if (first >= 0xe0 && first < 0xf0)
    size = 3;
  else if (first >= 0xc2 && first < 0xe0)
    size = 2;
  else if (first >= 0x80)
    return {};
  if (text.size() < size) return {};
  uint32_t code = size == 1 ? first : first & (0x7fu >> size);
  for (size_t i = 1; i < size; ++i) {
    const auto next = static_cast<uint8_t>(text[i]);
    if ((next & 0xc0u) != 0x80u) return {};
    code = code << 6 | (next & 0x3fu);
  }
  const bool longer_than_needed = (size == 3 && code < 0x800) || (size == 4 && code < 0x10000);
  const bool surrogate = code >= 0xd800 && code <= 0xdfff;
  if (longer_than_needed || surrogate || code > 0x10ffff) return {};
  return {size, code};
}

/// Controls and what changes how the text around it is shown.
[[nodiscard]] bool is_printable(uint32_t code) {
  if (code < 0x20 || (code >= 0x7f && code < 0xa0)) return false;
  if (code >= 0x200b && code <= 0x200f) return false;  // no width, direction marks
  if (code >= 0x2028 && code <= 0x202e) return false;  // separators, embeddings
  if (code >= 0x2060 && code <= 0x206f) return false;  // joiners, isolates
  return code != 0x061c && code != 0xfeff && (code & 0xfffe) != 0xfffe;
}

void append_as_hex(std::string& result, char byte) {
  constexpr char digits[] = "0123456789abcdef";
  const auto value = static_cast<uint8_t>(byte);
  result += "\\x";
  result += digits[value >> 4];
  result += digits[value & 15];
}

}  // namespace

std::string escaped(std::string_view from_file) {
  std::string result;
  while (!from_file.empty()) {
    const character next = decode(from_file);
    const size_t size = next.size != 0 ? next.size : 1;
    const std::string_view bytes = from_file.substr(0, size);
    if (next.size == 0 || !is_printable(next.code))
      for (const char byte : bytes) append_as_hex(result, byte);
    else if (next.code == '\\')
      result += "\\\\";
    else
      result += bytes;
    from_file.remove_prefix(size);
  }
  return result;
}

}  // namespace findings
