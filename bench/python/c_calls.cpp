// c_calls: the library's exported functions in loops of C++, for overhead.py to time beside loops
// of Python that do the same work.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "qo_cmc/image_utils.h"
#include "qo_cmc/parser.h"
#include "qo_cmc/status.h"
#include "writer/container_writer.h"
#include "writer/records.h"

namespace py = pybind11;

namespace {

/// Lens-shading tables of 65 x 49, as the bench of the parser has them.
py::bytes tables_of(uint16_t lights) {
  writer::container made;
  made.add(writer::record_28({.lights = lights, .width = 65, .height = 49}));
  made.add(writer::record_33({.lights = lights, .width = 65, .height = 49}));
  const std::vector<uint8_t> image = made.image();
  return {reinterpret_cast<const char*>(image.data()), image.size()};
}

void parse(const py::bytes& container, size_t times) {
  const std::string_view content = container;
  const qo_blob blob = {content.data(), static_cast<uint32_t>(content.size())};
  for (size_t i = 0; i < times; ++i) {
    parsed_cmc* const cmc = qo_cmc_parser_init(&blob);
    if (cmc == nullptr) std::abort();
    qo_cmc_parser_deinit(cmc);
  }
}

using grid = py::array_t<uint16_t, py::array::c_style>;

void resize(const grid& src, grid& dst, size_t times) {
  const auto size = [](const grid& of, int axis) { return static_cast<uint32_t>(of.shape(axis)); };
  const uint16_t* const from = src.data();
  uint16_t* const to = dst.mutable_data();
  for (size_t i = 0; i < times; ++i) {
    const uint32_t status = ::resize_2d_array_uint16(
        from, size(src, 1), static_cast<int32_t>(size(src, 0)), to, size(dst, 1), size(dst, 0));
    if (status != QO_CMC_OK) std::abort();
  }
}

}  // namespace

PYBIND11_MODULE(c_calls, module) {
  module.def("tables_of", &tables_of);
  module.def("parse", &parse);
  // What is not as it says is refused, and never converted.
  module.def("resize_2d_array_uint16", &resize, py::arg("src").noconvert(),
             py::arg("dst").noconvert(), py::arg("times"));
}
