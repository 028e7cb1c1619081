/// Several planes of one size: an array (n, rows, columns), or a sequence of planes.
#pragma once

#include <vector>

#include "python/binding/toolkit_arguments.h"

namespace qo_python {

/// Where planes stand that are only read. They live as long as `owner`.
template <typename Element>
struct source_planes {
  py::object owner;
  std::vector<const Element*> planes;
  sides size{};
  std::vector<byte_range> ranges;

  [[nodiscard]] py::ssize_t count() const { return static_cast<py::ssize_t>(planes.size()); }
};

/// Up to 65535 planes whose sides are up to 65535.
template <typename Element>
[[nodiscard]] source_planes<Element> planes_of(argument which, py::handle value) {
  source_planes<Element> found;
  if (is_array(value)) {
    const array_view view = dense_array_of(which, value, element_of<Element>, 3);
    require_at_most(which, "planes", view.shape[0], uint16_limit);
    require_at_most(which, "rows", view.shape[1], uint16_limit);
    require_at_most(which, "columns", view.shape[2], uint16_limit);
    found.owner = py::reinterpret_borrow<py::object>(value);
    found.size = {view.shape[1], view.shape[2]};
    const auto* const first = reinterpret_cast<const Element*>(view.data);
    for (py::ssize_t i = 0; i < view.shape[0]; ++i) {
      found.planes.push_back(first + i * view.shape[1] * view.shape[2]);
    }
    found.ranges.push_back(range_of(view));
    return found;
  }
  const py::tuple planes =
      sequence_of(which, value, "an array (planes, rows, columns) or a sequence of planes");
  require_at_most(which, "planes", static_cast<py::ssize_t>(planes.size()), uint16_limit);
  if (planes.empty()) wrong_value(which, "holds no plane, expected at least one");
  for (const py::handle member : planes) {
    const plane<Element> one = plane_of<Element>(which, member, uint16_limit);
    if (found.planes.empty()) found.size = one.size;
    if (one.size.rows != found.size.rows || one.size.columns != found.size.columns) {
      wrong_value(which, "holds a plane of shape (" + std::to_string(one.size.rows) + ", " +
                             std::to_string(one.size.columns) + "), expected (" +
                             std::to_string(found.size.rows) + ", " +
                             std::to_string(found.size.columns) + ") as the first one");
    }
    found.planes.push_back(one.data);
    found.ranges.push_back(one.range);
  }
  found.owner = planes;
  return found;
}

template <typename Element>
void refuse_overlap(argument out, byte_range written, const char* name,
                    const source_planes<Element>& source) {
  for (const byte_range read : source.ranges) refuse_overlap(out, written, name, read);
}

/// The planes of a dense array, which are written.
template <typename Element>
[[nodiscard]] std::vector<Element*> split_planes(Element* first, py::ssize_t count, sides size) {
  std::vector<Element*> planes;
  for (py::ssize_t i = 0; i < count; ++i) planes.push_back(first + i * size.rows * size.columns);
  return planes;
}

}  // namespace qo_python
