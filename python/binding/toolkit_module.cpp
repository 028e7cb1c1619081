// The numeric toolkit of the library, on NumPy arrays.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include "qo_cmc/image_utils.h"
#include "qo_cmc/lsc.h"

namespace py = pybind11;

PYBIND11_MODULE(_toolkit, m) { m.doc() = "The numeric toolkit on NumPy arrays."; }
