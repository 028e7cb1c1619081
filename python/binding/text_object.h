/// Text of a file as a Python string.
#pragma once

#include <pybind11/pybind11.h>

#include <string_view>

namespace qo_python {

/// Bytes that are no UTF-8 become lone surrogates, from which they can be made again
/// ("surrogateescape", as for names of files).
[[nodiscard]] inline pybind11::object text_object(std::string_view text) {
  PyObject* const made =
      PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "surrogateescape");
  if (made == nullptr) throw pybind11::error_already_set();
  return pybind11::reinterpret_steal<pybind11::object>(made);
}

}  // namespace qo_python
