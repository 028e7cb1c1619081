#include "tools/document/number_array.h"

#include <bit>
#include <charconv>

namespace document {

bool is_number(const json& value) {
  return value.is_number() || (value.is_string() && float_bits(value).has_value());
}

std::vector<size_t> shape_of(const json& value) {
  if (!value.is_array() || value.empty()) return {};
  std::vector<size_t> inner;
  for (size_t i = 0; i < value.size(); ++i) {
    const json& element = value[i];
    std::vector<size_t> shape;
    if (!is_number(element)) {
      shape = shape_of(element);
      if (shape.empty()) return {};
    }
    if (i == 0)
      inner = std::move(shape);
    else if (inner != shape)
      return {};
  }
  inner.insert(inner.begin(), value.size());
  return inner;
}

std::string shape_text(const std::vector<size_t>& shape) {
  std::string text;
  for (const size_t size : shape) text += (text.empty() ? "" : " x ") + std::to_string(size);
  return text;
}

size_t values_in(const std::vector<size_t>& shape) {
  size_t count = 1;
  for (const size_t size : shape) count *= size;
  return shape.empty() ? 0 : count;
}

void for_each_number(const json& value, const std::function<void(const json&)>& visit) {
  if (!value.is_array()) return visit(value);
  for (const json& element : value) for_each_number(element, visit);
}

double as_double(const json& number) {
  if (number.is_number()) return number.get<double>();
  return std::bit_cast<float>(float_bits(number).value_or(0));
}

std::string number_text(double value, int digits) {
  char text[64];
  const auto [end, failure] =
      std::to_chars(text, text + sizeof text, value, std::chars_format::general, digits);
  return failure == std::errc() ? std::string(text, end) : "?";
}

std::string gain_text(double value) {
  // A gain below 1.0 is a finding: more decimals where it would read as 1.000.
  for (int decimals = 3;; ++decimals) {
    char text[64];
    const auto [end, failure] =
        std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, decimals);
    if (failure != std::errc()) return "?";
    if (value < 1.0 && text[0] == '1') continue;
    return std::string(text, end);
  }
}

}  // namespace document
