/// JSON values as Python objects, and back.
#pragma once

#include <pybind11/pybind11.h>

#include "tools/document/json_value.h"

namespace qo_python {

/// Dictionaries keep the order of the keys.
[[nodiscard]] pybind11::object object_of(const document::json& value);

/// None, booleans, numbers, text, dictionaries with keys of text, lists, tuples and what has a
/// tolist(), as NumPy's arrays and numbers have. Raises TypeError for anything else, and ValueError
/// for what is nested deeper than any document, for integers beyond 64 bits, and for text that is
/// no Unicode.
[[nodiscard]] document::json json_of(const pybind11::handle& object);

}  // namespace qo_python
