/// Values as a document writes them: floats with all their bits, text, bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace document {

using json = nlohmann::ordered_json;

/// What is wrong with a document: the path of the value, and a sentence.
class error : public std::runtime_error {
  using runtime_error::runtime_error;
};

/// The float with these bits: the shortest number that gives them again, or a string for those that
/// are no number.
[[nodiscard]] json float_value(uint32_t bits);
/// The bits of such a value, also of a number that is rounded to a float; none for another value,
/// and for a number that no float is near.
[[nodiscard]] std::optional<uint32_t> float_bits(const json& value);

[[nodiscard]] bool is_utf8(std::string_view text);
/// A string, or {"bytes": hex}.
[[nodiscard]] json text_value(std::string_view text);

[[nodiscard]] std::string hex_of(const uint8_t* bytes, size_t size);
/// None unless the text is pairs of hexadecimal digits, in lower case as they are written.
[[nodiscard]] std::optional<std::vector<uint8_t>> bytes_of_hex(std::string_view hex);

}  // namespace document
