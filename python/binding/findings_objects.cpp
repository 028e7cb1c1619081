#include "python/binding/findings_objects.h"

#include <pybind11/stl.h>

#include "python/binding/text_object.h"

namespace qo_python {

namespace py = pybind11;

namespace {

[[nodiscard]] py::object classes() { return py::module_::import("qo_cmc._findings"); }

[[nodiscard]] py::object reference_of(const std::optional<findings::record_reference>& record,
                                      const py::object& type) {
  if (!record) return py::none();
  return type(record->index, record->offset, record->id, record->version, record->size);
}

}  // namespace

py::tuple findings_tuple(const std::vector<findings::finding>& found) {
  if (found.empty()) return py::tuple(0);
  const py::object finding = classes().attr("Finding");
  const py::object reference = classes().attr("RecordReference");
  py::tuple all(found.size());
  for (size_t i = 0; i < found.size(); ++i) {
    const findings::finding& each = found[i];
    all[i] = finding(each.code, findings::word_of(each.how_bad), text_object(each.message),
                     each.offset, reference_of(each.record, reference), each.field);
  }
  return all;
}

py::tuple records_tuple(const std::vector<findings::record_row>& records) {
  const py::object type = classes().attr("RecordRow");
  py::tuple all(records.size());
  for (size_t i = 0; i < records.size(); ++i) {
    const findings::record_row& each = records[i];
    all[i] = type(each.index, each.offset, each.size, each.id, each.name, each.version, each.fate);
  }
  return all;
}

}  // namespace qo_python
