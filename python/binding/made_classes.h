/// Classes whose objects only their module makes.
#pragma once

#include <pybind11/pybind11.h>

namespace qo_python {

/// Refuses __new__(), also of classes derived from it: its object would have no value, and reading
/// it would read memory that was never written. pybind11 itself makes objects without it.
inline void refuse_new(const pybind11::handle& type) {
  reinterpret_cast<PyTypeObject*>(type.ptr())->tp_new = nullptr;
}

}  // namespace qo_python
