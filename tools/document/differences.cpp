#include "tools/document/slots.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "tools/document/number_array.h"
#include "tools/findings/escaped.h"

namespace document {
namespace {

// Up to so many numbers are compared one by one.
constexpr size_t most_single_numbers = 4;
// Bytes of a hexadecimal text that one line shows.
constexpr size_t most_shown_bytes = 16;

[[nodiscard]] bool is_bytes_of_text(const json& value) {
  return value.is_object() && value.size() == 1 && value.begin().key() == "bytes" &&
         value.begin()->is_string();
}

[[nodiscard]] bool is_scalar(const json& value) {
  return !value.is_structured() || is_bytes_of_text(value);
}

/// Strings of a document are hexadecimal but for names and what stands under a key of a pair.
[[nodiscard]] bool is_hex(const std::string& key, const json& value) {
  return value.is_string() && key != "name" && key != "key" && key != "value" && !is_number(value);
}

[[nodiscard]] std::string quoted(const std::string& text) {
  std::string result = "\"";
  return result.append(findings::escaped(text)).append("\"");
}

[[nodiscard]] std::string scalar_text(const std::string& key, const json& value) {
  if (is_bytes_of_text(value)) return "bytes " + value.begin()->get<std::string>();
  if (is_number(value) && value.is_string()) return value.get<std::string>();
  if (is_hex(key, value)) {
    const std::string hex = value.get<std::string>();
    if (hex.size() <= 2 * most_shown_bytes) return hex.empty() ? "no bytes" : hex;
    return hex.substr(0, 2 * most_shown_bytes) + "... (" + std::to_string(hex.size() / 2) +
           " bytes)";
  }
  if (value.is_string()) return quoted(value.get<std::string>());
  return value.dump();
}

/// What stands in one document, where the other has something of another form.
[[nodiscard]] std::string outline(const std::string& key, const json& value) {
  if (is_scalar(value)) return scalar_text(key, value);
  if (value.is_object()) return "present";
  const std::vector<size_t> shape = shape_of(value);
  if (!shape.empty()) return shape_text(shape) + " values";
  return std::to_string(value.size()) + (value.size() == 1 ? " element" : " elements");
}

/// A document holds the same number now as a signed, now as an unsigned one.
[[nodiscard]] bool is_same_integer(const json& a, const json& b) {
  const auto is_negative = [](const json& number) {
    return !number.is_number_unsigned() && number.get<int64_t>() < 0;
  };
  return is_negative(a) == is_negative(b) && a.get<uint64_t>() == b.get<uint64_t>();
}

/// Equal to the last bit: 0.0 is not -0.0.
[[nodiscard]] bool is_identical(const json& a, const json& b) {
  if (a.is_number_integer() && b.is_number_integer()) return is_same_integer(a, b);
  if (a.is_number_float() && b.is_number_float())
    return std::bit_cast<uint64_t>(a.get<double>()) == std::bit_cast<uint64_t>(b.get<double>());
  if (!a.is_structured() || !b.is_structured()) return a.type() == b.type() && a == b;
  if (a.type() != b.type() || a.size() != b.size()) return false;
  for (auto x = a.begin(), y = b.begin(); x != a.end(); ++x, ++y)
    if ((a.is_object() && x.key() != y.key()) || !is_identical(*x, *y)) return false;
  return true;
}

class comparison {
 public:
  void compare_slots(const json& a, const json& b) {
    for_each_key(a, b, [this](const std::string& slot, const json& x, const json& y) {
      if (x.is_null() != y.is_null())
        add(slot, x.is_null() ? "absent" : "present", y.is_null() ? "absent" : "present");
      else
        compare(slot, slot, x, y);
    });
  }
  [[nodiscard]] std::vector<difference> take() { return std::move(found_); }

 private:
  void add(const std::string& path, std::string before, std::string after) {
    found_.push_back({path, std::move(before), std::move(after)});
  }

  /// Keys of both, in the order of the first, then those that only the second has.
  template <typename Visit>
  void for_each_key(const json& a, const json& b, const Visit& visit) {
    static const json absent;
    for (const auto& [key, value] : a.items()) {
      const auto other = b.find(key);
      visit(key, value, other != b.end() ? *other : absent);
    }
    for (const auto& [key, value] : b.items())
      if (a.find(key) == a.end()) visit(key, absent, value);
  }

  void compare(const std::string& path, const std::string& key, const json& a, const json& b) {
    if (is_identical(a, b)) return;
    if (a.is_object() && b.is_object() && !is_scalar(a) && !is_scalar(b))
      return for_each_key(a, b, [&](const std::string& name, const json& x, const json& y) {
        compare(path + "." + findings::escaped(name), name, x, y);
      });
    if (a.is_array() && b.is_array()) return compare_arrays(path, key, a, b);
    if (is_hex(key, a) && is_hex(key, b)) return compare_bytes(path, key, a, b);
    add(path, outline(key, a), outline(key, b));
  }

  [[nodiscard]] static bool is_numbers(const json& array, const std::vector<size_t>& shape) {
    return array.empty() || !shape.empty();
  }

  void compare_arrays(const std::string& path, const std::string& key, const json& a,
                      const json& b) {
    const std::vector<size_t> shape = shape_of(a), other = shape_of(b);
    if (shape == other && values_in(shape) > most_single_numbers)
      return compare_numbers(path, shape, a, b);
    // Tables of different shapes have nothing in common.
    if (shape != other && (is_numbers(a, shape) && is_numbers(b, other)))
      return add(path, outline(key, a), outline(key, b));
    if (a.size() != b.size()) add(path, outline(key, a), outline(key, b));
    for (size_t i = 0; i < std::min(a.size(), b.size()); ++i)
      compare(path + "[" + std::to_string(i) + "]", key, a[i], b[i]);
  }

  /// One line for a grid: how many numbers differ, the largest difference and the mean of those
  /// that differ.
  void compare_numbers(const std::string& path, const std::vector<size_t>& shape, const json& a,
                       const json& b) {
    std::vector<const json*> before;
    for_each_number(a, [&before](const json& number) { before.push_back(&number); });
    size_t index = 0, count = 0, not_finite = 0;
    double largest = 0, sum = 0;
    for_each_number(b, [&](const json& number) {
      const json& old = *before[index++];
      if (is_identical(old, number)) return;
      ++count;
      const double distance = std::abs(as_double(number) - as_double(old));
      if (!std::isfinite(distance)) {
        ++not_finite;
        return;
      }
      largest = std::max(largest, distance);
      sum += distance;
    });
    if (count == 0) return;
    std::string after = std::to_string(count) + " of them differ";
    if (count != not_finite)
      after += ", largest difference " + number_text(largest, 9) + ", mean of these " +
               number_text(sum / static_cast<double>(count - not_finite), 6);
    if (not_finite != 0) after += ", " + std::to_string(not_finite) + " not finite";
    add(path, shape_text(shape) + " values", std::move(after));
  }

  void compare_bytes(const std::string& path, const std::string& key, const json& a,
                     const json& b) {
    const std::string before = a.get<std::string>(), after = b.get<std::string>();
    if (before.size() != after.size() || before.size() <= 2 * most_shown_bytes)
      return add(path, scalar_text(key, a), scalar_text(key, b));
    size_t count = 0, first = 0;
    for (size_t i = 0; i < before.size(); i += 2)
      if (before.compare(i, 2, after, i, 2) != 0 && count++ == 0) first = i;
    std::string place = "byte ";
    place.append(std::to_string(first / 2)).append(": ");
    add(path, place + before.substr(first, 2),
        place + after.substr(first, 2) + " (" + std::to_string(count) + " of " +
            std::to_string(before.size() / 2) + " bytes differ)");
  }

  std::vector<difference> found_;
};

}  // namespace

std::vector<difference> differences(const json& a, const json& b) {
  comparison result;
  result.compare_slots(a, b);
  return result.take();
}

}  // namespace document
