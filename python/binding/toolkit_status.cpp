#include "python/binding/toolkit_status.h"

#include <string>

#include "qo_cmc/status.h"

namespace py = pybind11;

namespace qo_python {
namespace {

constexpr const char* status_error_doc =
    R"(A function of the library refused its arguments by a status.

Attributes
----------
status : int
    The status, one of the QO_CMC_ values; the text has its name.

Examples
--------
>>> try:
...     qo_cmc.resize_2d_array_uint16(np.zeros((1, 5), np.uint16), (3, 3))
... except qo_cmc.StatusError as error:
...     print(error.status, error)
32 resize_2d_array_uint16: QO_CMC_INVALID_SIZE (32)
)";

// Lives as long as the interpreter, as every type of an extension module.
PyObject* status_error = nullptr;

[[nodiscard]] const char* status_name(uint64_t status) {
  switch (status) {
    case QO_CMC_STEP_FAILED:
      return "QO_CMC_STEP_FAILED";
    case QO_CMC_NO_MEMORY:
      return "QO_CMC_NO_MEMORY";
    case QO_CMC_INVALID:
      return "QO_CMC_INVALID";
    case QO_CMC_INVALID_SIZE:
      return "QO_CMC_INVALID_SIZE";
    default:
      return "unknown status";
  }
}

}  // namespace

void define_status_error(py::module_& module) {
  py::dict members;
  members["status"] = 0;
  status_error = PyErr_NewExceptionWithDoc("qo_cmc.StatusError", status_error_doc, PyExc_ValueError,
                                           members.ptr());
  if (status_error == nullptr) throw py::error_already_set();
  module.add_object("StatusError", status_error);
}

void throw_unless_ok(const char* function, uint64_t status) {
  if (status == QO_CMC_OK) return;
  const std::string text =
      std::string(function) + ": " + status_name(status) + " (" + std::to_string(status) + ")";
  if (status == QO_CMC_NO_MEMORY) {
    PyErr_SetString(PyExc_MemoryError, text.c_str());
  } else {
    const py::object error = py::reinterpret_borrow<py::object>(status_error)(text);
    error.attr("status") = status;
    PyErr_SetObject(status_error, error.ptr());
  }
  throw py::error_already_set();
}

}  // namespace qo_python
