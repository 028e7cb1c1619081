#include "python/binding/held_cmc.h"

#include <algorithm>
#include <new>
#include <optional>
#include <span>

#include "python/binding/findings_objects.h"

namespace qo_python {
namespace {

[[nodiscard]] std::span<const uint8_t> content_of(const py::bytes& bytes) {
  char* data = nullptr;
  Py_ssize_t size = 0;
  if (PyBytes_AsStringAndSize(bytes.ptr(), &data, &size) != 0) throw py::error_already_set();
  return {reinterpret_cast<const uint8_t*>(data), static_cast<size_t>(size)};
}

/// @param nvm  bytes, or None
[[nodiscard]] findings::inspection inspect(const py::bytes& container, const py::object& nvm) {
  const std::span<const uint8_t> content = content_of(container);
  std::optional<std::span<const uint8_t>> image;
  if (!nvm.is_none()) image = content_of(py::bytes(nvm));
  const py::gil_scoped_release others_run;  // bytes are never written, and both are held here
  return findings::inspect(content, image);
}

[[nodiscard]] const findings::finding* find(const findings::inspection& seen, const char* code) {
  const auto found =
      std::find_if(seen.found.begin(), seen.found.end(),
                   [code](const findings::finding& each) { return each.code == code; });
  return found != seen.found.end() ? &*found : nullptr;
}

}  // namespace

held_cmc::held_cmc(py::bytes container, py::object nvm)
    : container_(std::move(container)), nvm_(std::move(nvm)), seen_(inspect(container_, nvm_)) {
  if (!seen_.valid) {
    // Nothing is wrong with such a container.
    if (find(seen_, "container-out-of-memory") != nullptr) throw std::bad_alloc();
    const py::object error = py::module_::import("qo_cmc._findings").attr("InvalidContainer");
    PyErr_SetObject(error.ptr(), error(findings_tuple(seen_.found)).ptr());
    throw py::error_already_set();
  }
  if (const findings::finding* const refused = find(seen_, "nvm-refused"); refused != nullptr)
    throw py::value_error(refused->message);
}

const parsed_cmc& held_cmc::cmc() const {
  if (is_closed()) throw py::value_error("the parsed CMC is closed");
  return *seen_.cmc;
}

void held_cmc::close() {
  if (views_ != 0)
    throw py::buffer_error(std::to_string(views_) +
                           (views_ == 1 ? " array looks" : " arrays look") +
                           " into the parsed CMC: delete or copy them before it is closed");
  seen_.cmc.reset();
}

py::tuple check(const py::bytes& container, const py::object& nvm) {
  const findings::inspection seen = inspect(container, nvm);
  return py::make_tuple(seen.valid, findings_tuple(seen.found));
}

}  // namespace qo_python
