/// The statuses of the library's functions as exceptions.
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>

namespace qo_python {

/// Adds StatusError to the module.
void define_status_error(pybind11::module_& module);

/// Throws for any status but QO_CMC_OK: MemoryError, or StatusError with the status.
void throw_unless_ok(const char* function, uint64_t status);

/// Calls the library without the interpreter's lock, and throws what it refuses.
template <typename Call>
void call_unlocked(const char* function, const Call& call) {
  uint64_t status = 0;
  {
    const pybind11::gil_scoped_release unlocked;
    status = call();
  }
  if (status != 0) throw_unless_ok(function, status);
}

}  // namespace qo_python
