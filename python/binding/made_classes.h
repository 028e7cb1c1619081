/// Classes whose objects only their module makes.
#pragma once

#include <pybind11/pybind11.h>

namespace qo_python {

/// Refuses __new__(), also of classes derived from it: its object would have no value, and reading
/// it would read memory that was never written. pybind11 itself makes objects without it, and does
/// not look whether there was memory for one.
inline void made_here_only(const pybind11::handle& type) {
  auto* const made = reinterpret_cast<PyTypeObject*>(type.ptr());
  made->tp_new = nullptr;
  made->tp_alloc = [](PyTypeObject* of, Py_ssize_t items) {
    PyObject* const object = PyType_GenericAlloc(of, items);
    if (object == nullptr) throw pybind11::error_already_set();
    return object;
  };
}

}  // namespace qo_python
