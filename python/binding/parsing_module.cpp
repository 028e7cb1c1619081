#include <pybind11/pybind11.h>

#include "tools/document/slots.h"
#include "tools/sample/sample_module.h"

PYBIND11_MODULE(_parsing, m) {
  m.attr("__version__") = QO_CMC_VERSION;
  m.def("sample_nvm", [] {
    const auto image = sample_nvm();
    return pybind11::bytes(reinterpret_cast<const char*>(image.data()), image.size());
  });
}
