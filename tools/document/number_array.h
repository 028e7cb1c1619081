/// Arrays of numbers in a document: rows, tables, tables of tables.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/document/json_value.h"

namespace document {

/// A number, or a float that is none.
[[nodiscard]] bool is_number(const json& value);
/// Elements in each dimension, outermost first; empty for what is no array of only numbers with
/// rows of equal length, and for an array without elements.
[[nodiscard]] std::vector<size_t> shape_of(const json& value);
/// "49 x 65", or "5" for a row.
[[nodiscard]] std::string shape_text(const std::vector<size_t>& shape);
[[nodiscard]] size_t values_in(const std::vector<size_t>& shape);
/// Calls `visit` with every number, in order.
void for_each_number(const json& value, const std::function<void(const json&)>& visit);

/// The value as a number, NaN and infinities too.
[[nodiscard]] double as_double(const json& number);
/// Shortest text with up to `digits` significant digits.
[[nodiscard]] std::string number_text(double value, int digits);
/// With three digits after the point, or as many as keep a gain below 1.0 from reading as 1.000.
[[nodiscard]] std::string gain_text(double value);

}  // namespace document
