/// What there is to draw of a light's lens shading, as objects of qo_cmc._panels.
#pragma once

#include <pybind11/pybind11.h>

namespace qo_python {

/// The panels of one light, as the inspector's page has them.
/// @param nvm  bytes, or None
[[nodiscard]] pybind11::object light_panels_of(const pybind11::bytes& container,
                                               const pybind11::object& nvm, size_t light);

/// The colours of the panels, each as red, green and blue, 0 to 255: the map, then below 1.0, then
/// wrapped.
[[nodiscard]] pybind11::tuple colours();

}  // namespace qo_python
