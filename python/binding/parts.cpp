#include "python/binding/parts.h"

namespace qo_python {

py::object view_of(const held& of, const array_place& place) {
  if (place.data == nullptr) return py::none();
  // A capsule, whose memory NumPy never lets anyone make writable again.
  auto counted = std::make_unique<held_cmc::view>(of);
  const py::capsule keeper(counted.get(),
                           [](void* view) { delete static_cast<held_cmc::view*>(view); });
  static_cast<void>(counted.release());  // the capsule's
  py::array view(place.type, place.shape, place.data, keeper);
  py::detail::array_proxy(view.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
  return view;
}

py::object record_of(const held& of, const record_header* record) {
  if (record == nullptr) return py::none();
  return py::cast(kept_record{of, record, record->size});
}

void add_field(py::object& type, const char* name) {
  const py::tuple before = py::getattr(type, "_fields", py::tuple());
  type.attr("_fields") = before + py::make_tuple(name);
}

std::string text_of_part(const py::object& object) {
  const py::object type = py::type::of(object);
  std::string text = py::str(type.attr("__name__"));
  text += "(";
  bool first = true;
  for (const py::handle name : type.attr("_fields")) {
    const py::object value = object.attr(name);
    if (!first) text += ", ";
    first = false;
    text += std::string(py::str(name)) + "=";
    if (py::isinstance<py::array>(value))
      text += "<" + std::string(py::str(value.attr("dtype"))) + " " +
              std::string(py::str(value.attr("shape"))) + ">";
    else if (py::isinstance<py::tuple>(value) || py::isinstance<py::dict>(value))
      text += "<" + std::to_string(py::len(value)) + ">";
    else if (py::hasattr(py::type::of(value), "_fields"))
      text += "<" + std::string(py::str(py::type::of(value).attr("__name__"))) + ">";
    else
      text += std::string(py::repr(value));
  }
  return text + ")";
}

}  // namespace qo_python
