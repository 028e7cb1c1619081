/// What Python has no memory for.
#pragma once

#include <pybind11/pybind11.h>

#include <exception>
#include <stdexcept>

namespace qo_python {

/// Where Python cannot make a list, text or the like it has set a MemoryError, beside which
/// pybind11 throws a std::runtime_error: the MemoryError stays. For the module that calls this.
inline void keep_memory_errors() {
  pybind11::register_local_exception_translator([](std::exception_ptr error) {
    try {
      std::rethrow_exception(error);
    } catch (const std::runtime_error&) {
      if (PyErr_ExceptionMatches(PyExc_MemoryError) == 0) throw;
    }
  });
}

}  // namespace qo_python
