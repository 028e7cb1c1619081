// qo_cmc._parsing: parsed CMCs, what was found in their containers, and containers made of slots.

#include <pybind11/pybind11.h>

#include "python/binding/held_cmc.h"
#include "python/binding/json_objects.h"
#include "python/binding/memory_errors.h"
#include "python/binding/shading_panels.h"
#include "python/binding/slot_classes.h"
#include "tools/document/slots.h"
#include "tools/sample/sample_module.h"

namespace qo_python {
namespace {

[[nodiscard]] py::bytes bytes_of(const std::vector<uint8_t>& content) {
  return {reinterpret_cast<const char*>(content.data()), content.size()};
}

[[nodiscard]] py::bytes pack(const py::dict& slots, int checksum) {
  const document::json document = json_of(slots);
  const auto rule = checksum == 1 ? writer::checksum_rule::rule_a : writer::checksum_rule::rule_b;
  std::vector<uint8_t> container;
  try {
    const py::gil_scoped_release others_run;
    container = document::pack(document, rule);
  } catch (const document::error& wrong) {
    throw py::value_error(wrong.what());
  }
  return bytes_of(container);
}

}  // namespace

PYBIND11_MODULE(_parsing, module) {
  module.doc() = "Parsed CMCs. The package's names are those of qo_cmc.";
  module.attr("__version__") = QO_CMC_VERSION;

  keep_memory_errors();
  py::options without_signatures;  // the stubs have them
  without_signatures.disable_function_signatures();
  add_record_classes(module);
  add_kept_slot_classes(module);
  add_converted_slot_classes(module);
  add_lens_shading_classes(module);
  add_placed_slot_classes(module);
  add_slots_class(module);

  module.def("check", &check, py::arg("container"), py::arg("nvm"));
  module.def("pack", &pack, py::arg("slots"), py::arg("checksum"));
  module.def("colours", &colours);
  module.def("light_panels", &light_panels_of, py::arg("container"), py::arg("nvm"),
             py::arg("light"));
  module.def("sample_container", [] { return bytes_of(sample_container()); });
  module.def("sample_nvm", [] { return bytes_of(sample_nvm()); });
}

}  // namespace qo_python
