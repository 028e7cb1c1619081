// The container writer, for the tests of the Python package: what it puts into a record is what a
// slot must show.

#include "writer/container_writer.h"

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "writer/records.h"

namespace py = pybind11;

namespace {

py::bytes bytes_of(const std::vector<uint8_t>& content) {
  return {reinterpret_cast<const char*>(content.data()), content.size()};
}

py::list named(const std::vector<writer::named_record>& records) {
  py::list all;
  for (const writer::named_record& record : records)
    all.append(py::make_tuple(record.name, bytes_of(record.content.vector())));
  return all;
}

py::bytes container(const std::vector<std::string>& records) {
  writer::container made;
  for (const std::string& record : records) made.add(writer::bytes().text(record));
  return bytes_of(made.image());
}

}  // namespace

PYBIND11_MODULE(container_writer, module) {
  module.def("every_good_record", [] { return named(writer::every_good_record()); });
  module.def("every_slotless_record", [] { return named(writer::every_slotless_record()); });
  module.def("container", &container, "A container of these records.");
}
