/// The families of functions that make up the module, one file each.
#pragma once

#include <pybind11/pybind11.h>

namespace qo_python {

void define_matrices(pybind11::module_& module);
void define_surface_fit(pybind11::module_& module);
void define_gain_tables(pybind11::module_& module);
void define_correction(pybind11::module_& module);
void define_bicubic(pybind11::module_& module);
void define_nearest(pybind11::module_& module);
void define_resize_2d(pybind11::module_& module);
void define_downscale(pybind11::module_& module);

}  // namespace qo_python
