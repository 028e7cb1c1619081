#include "tools/document/json_value.h"

#include <bit>
#include <charconv>
#include <cmath>

namespace document {
namespace {

constexpr std::string_view nan_prefix = "nan:0x";
constexpr const char* positive_infinity = "inf";
constexpr const char* negative_infinity = "-inf";
constexpr uint32_t infinity_bits = 0x7f800000;
constexpr uint32_t sign_bit = 0x80000000;

[[nodiscard]] bool is_nan(uint32_t bits) { return (bits & ~sign_bit) > infinity_bits; }

[[nodiscard]] std::optional<uint32_t> bits_of_name(const std::string& name) {
  if (name == positive_infinity) return infinity_bits;
  if (name == negative_infinity) return infinity_bits | sign_bit;
  if (name.size() != nan_prefix.size() + 8 || name.compare(0, nan_prefix.size(), nan_prefix) != 0)
    return std::nullopt;
  uint32_t bits = 0;
  const char* const end = name.data() + name.size();
  const auto [stop, failure] = std::from_chars(name.data() + nan_prefix.size(), end, bits, 16);
  if (failure != std::errc() || stop != end || !is_nan(bits)) return std::nullopt;
  // Only the form that is written: digits in lower case.
  if (float_value(bits) != name) return std::nullopt;
  return bits;
}

[[nodiscard]] std::optional<uint8_t> digit_of(char character) {
  if (character >= '0' && character <= '9') return static_cast<uint8_t>(character - '0');
  if (character >= 'a' && character <= 'f') return static_cast<uint8_t>(character - 'a' + 10);
  return std::nullopt;
}

/// Bytes of the UTF-8 sequence at the start of `text`; 0 when there is none.
[[nodiscard]] size_t sequence_length(std::string_view text) {
  const auto byte = [text](size_t i) {
    return i < text.size() ? static_cast<uint8_t>(text[i]) : uint8_t{0};
  };
  const auto continues = [&byte](size_t first, size_t last) {
    for (size_t i = first; i <= last; ++i)
      if ((byte(i) & 0xc0) != 0x80) return false;
    return true;
  };
  const uint8_t lead = byte(0);
  if (lead < 0x80) return 1;
  if (lead >= 0xc2 && lead <= 0xdf) return continues(1, 1) ? 2 : 0;
  // The second byte rules out overlong forms, surrogates and what lies past the last character.
  if (lead >= 0xe0 && lead <= 0xef) {
    if ((lead == 0xe0 && byte(1) < 0xa0) || (lead == 0xed && byte(1) > 0x9f)) return 0;
    return continues(1, 2) ? 3 : 0;
  }
  if (lead >= 0xf0 && lead <= 0xf4) {
    if ((lead == 0xf0 && byte(1) < 0x90) || (lead == 0xf4 && byte(1) > 0x8f)) return 0;
    return continues(1, 3) ? 4 : 0;
  }
  return 0;
}

}  // namespace

json float_value(uint32_t bits) {
  if (is_nan(bits)) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string name(nan_prefix);
    for (int shift = 28; shift >= 0; shift -= 4) name += digits[bits >> shift & 15];
    return name;
  }
  if (bits == infinity_bits) return positive_infinity;
  if (bits == (infinity_bits | sign_bit)) return negative_infinity;
  const float value = std::bit_cast<float>(bits);
  char text[32];
  const char* const end = std::to_chars(text, text + sizeof text, value).ptr;
  double shortest = value;
  // Read as a double and rounded once more, the shortest text may miss the float.
  if (std::from_chars(text, end, shortest).ec != std::errc() ||
      std::bit_cast<uint32_t>(static_cast<float>(shortest)) != bits)
    shortest = value;
  return shortest;
}

std::optional<uint32_t> float_bits(const json& value) {
  if (value.is_string()) return bits_of_name(value.get_ref<const std::string&>());
  if (!value.is_number()) return std::nullopt;
  const float number = static_cast<float>(value.get<double>());
  if (!std::isfinite(number)) return std::nullopt;
  return std::bit_cast<uint32_t>(number);
}

bool is_utf8(std::string_view text) {
  while (!text.empty()) {
    const size_t length = sequence_length(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

json text_value(std::string_view text) {
  if (is_utf8(text)) return std::string(text);
  return {{"bytes", hex_of(reinterpret_cast<const uint8_t*>(text.data()), text.size())}};
}

std::string hex_of(const uint8_t* bytes, size_t size) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string hex;
  hex.reserve(2 * size);
  for (size_t i = 0; i < size; ++i) {
    hex += digits[bytes[i] >> 4];
    hex += digits[bytes[i] & 15];
  }
  return hex;
}

std::optional<std::vector<uint8_t>> bytes_of_hex(std::string_view hex) {
  if (hex.size() % 2 != 0) return std::nullopt;
  std::vector<uint8_t> bytes;
  bytes.reserve(hex.size() / 2);
  for (size_t i = 0; i < hex.size(); i += 2) {
    const std::optional<uint8_t> high = digit_of(hex[i]);
    const std::optional<uint8_t> low = digit_of(hex[i + 1]);
    if (!high || !low) return std::nullopt;
    bytes.push_back(static_cast<uint8_t>(*high << 4 | *low));
  }
  return bytes;
}

}  // namespace document
