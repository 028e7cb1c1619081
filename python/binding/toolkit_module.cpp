// The numeric toolkit of the library, on NumPy arrays: every function of lsc.h and image_utils.h
// under its C name. A call checks its arguments, lets go of the interpreter's lock and calls the
// exported function; nothing is computed here.

#include <pybind11/pybind11.h>

#include "python/binding/memory_errors.h"
#include "python/binding/toolkit_arguments.h"
#include "python/binding/toolkit_families.h"
#include "python/binding/toolkit_status.h"

namespace py = pybind11;

PYBIND11_MODULE(_toolkit, module) {
  // Docstrings bring their signature in the form that inspect.signature() reads.
  py::options options;
  options.disable_function_signatures();

  module.doc() = "The numeric toolkit on NumPy arrays; its names stand in qo_cmc.";
  qo_python::import_numpy();
  qo_python::keep_memory_errors();
  qo_python::define_status_error(module);
  qo_python::define_matrices(module);
  qo_python::define_surface_fit(module);
  qo_python::define_gain_tables(module);
  qo_python::define_correction(module);
  qo_python::define_bicubic(module);
  qo_python::define_nearest(module);
  qo_python::define_resize_2d(module);
  qo_python::define_downscale(module);
}
