#include "python/binding/json_objects.h"

#include <cmath>

namespace qo_python {

namespace py = pybind11;
using document::json;

namespace {

/// Documents have six levels; a list may also hold itself.
constexpr int deepest = 32;

[[nodiscard]] json integer_of(const py::handle& object) {
  int overflow = 0;
  const long long number = PyLong_AsLongLongAndOverflow(object.ptr(), &overflow);
  if (overflow == 0) {
    if (number == -1 && PyErr_Occurred() != nullptr) throw py::error_already_set();
    // What is positive is unsigned, as in a file that was read.
    return number >= 0 ? json(static_cast<uint64_t>(number)) : json(number);
  }
  const unsigned long long large = PyLong_AsUnsignedLongLong(object.ptr());
  if (PyErr_Occurred() != nullptr) {
    PyErr_Clear();
    throw py::value_error("an integer of the slots has more than 64 bits");
  }
  return large;
}

[[nodiscard]] std::string text_of(const py::handle& object) {
  Py_ssize_t size = 0;
  const char* const text = PyUnicode_AsUTF8AndSize(object.ptr(), &size);
  if (text == nullptr) throw py::error_already_set();  // a ValueError: lone surrogates
  return {text, static_cast<size_t>(size)};
}

[[nodiscard]] json json_of(const py::handle& object, int depth) {
  if (depth > deepest) throw py::value_error("the slots are nested deeper than any document");
  PyObject* const at = object.ptr();
  if (object.is_none()) return nullptr;
  if (PyBool_Check(at)) return at == Py_True;
  if (PyLong_Check(at)) return integer_of(object);
  if (PyFloat_Check(at)) {
    const double number = PyFloat_AS_DOUBLE(at);
    // As a document writes what JSON has no number for.
    if (std::isnan(number)) return "nan:0x7fc00000";
    if (std::isinf(number)) return number > 0 ? "inf" : "-inf";
    return number;
  }
  if (PyUnicode_Check(at)) return text_of(object);
  if (PyDict_Check(at)) {
    json made = json::object();
    // Of their own: a tolist() may change what it stands in.
    const auto items = py::reinterpret_steal<py::list>(PyDict_Items(at));
    if (!items) throw py::error_already_set();
    for (const py::handle item : items) {
      const py::handle key = PyTuple_GET_ITEM(item.ptr(), 0),
                       value = PyTuple_GET_ITEM(item.ptr(), 1);
      if (!PyUnicode_Check(key.ptr())) throw py::type_error("a key of the slots is no text");
      made[text_of(key)] = json_of(value, depth + 1);
    }
    return made;
  }
  if (PyList_Check(at) || PyTuple_Check(at)) {
    json made = json::array();
    const auto elements = py::reinterpret_steal<py::tuple>(PySequence_Tuple(at));
    if (!elements) throw py::error_already_set();
    for (const py::handle element : elements) made.push_back(json_of(element, depth + 1));
    return made;
  }
  if (py::hasattr(object, "tolist")) return json_of(object.attr("tolist")(), depth + 1);
  throw py::type_error("slots hold no " + std::string(Py_TYPE(at)->tp_name));
}

}  // namespace

py::object object_of(const json& value) {
  switch (value.type()) {
    case json::value_t::boolean:
      return py::bool_(value.get<bool>());
    case json::value_t::number_integer:
      return py::int_(value.get<int64_t>());
    case json::value_t::number_unsigned:
      return py::int_(value.get<uint64_t>());
    case json::value_t::number_float:
      return py::float_(value.get<double>());
    case json::value_t::string:
      return py::str(value.get_ref<const std::string&>());
    case json::value_t::array: {
      py::list list(value.size());
      size_t i = 0;
      for (const json& element : value) list[i++] = object_of(element);
      return list;
    }
    case json::value_t::object: {
      py::dict members;
      for (const auto& [key, member] : value.items()) members[py::str(key)] = object_of(member);
      return members;
    }
    case json::value_t::null:
    case json::value_t::binary:
    case json::value_t::discarded:
      break;
  }
  return py::none();
}

json json_of(const py::handle& object) { return json_of(object, 0); }

}  // namespace qo_python
