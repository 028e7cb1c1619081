/// What Python handed over, checked before any of it reaches the library: dtype, dimensions, layout
/// and sizes. Every message begins with the function's name, and says which argument, what was
/// found and what was expected. A wrong type or dtype is a TypeError, all else a ValueError.
///
/// Integers are read before arrays: reading one can run Python code, which could change an array
/// that was looked at already.
#pragma once

#include <pybind11/pybind11.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string>

namespace qo_python {

namespace py = pybind11;

/// An argument, as messages name it.
struct argument {
  const char* function;
  const char* name;
};

[[noreturn]] void wrong_type(argument which, const std::string& what);
[[noreturn]] void wrong_value(argument which, const std::string& what);

/// Has to be called before anything else here; throws when NumPy cannot be imported.
void import_numpy();

// ---- Integers ----

/// Rows and columns, the order of Python's shapes.
struct sides {
  py::ssize_t rows;
  py::ssize_t columns;
};

inline constexpr int64_t uint16_limit = std::numeric_limits<uint16_t>::max();
inline constexpr int64_t int32_limit = std::numeric_limits<int32_t>::max();

[[nodiscard]] int64_t integer_of(argument which, py::handle value, int64_t least, int64_t most);
/// Reads `count` integers of a sequence; `expected` says in a message what they are.
void integers_of(argument which, py::handle value, const char* expected, int64_t least,
                 int64_t most, int64_t* into, size_t count);
[[nodiscard]] sides sides_of(argument which, py::handle value, int64_t least, int64_t most);
/// A tuple of what a list or another sequence holds, which nobody can change under its reader.
[[nodiscard]] py::tuple sequence_of(argument which, py::handle value, const char* expected);

// ---- Arrays ----

enum class element { uint8, uint16, uint32, int32, float32 };

template <typename Element>
inline constexpr element element_of = {};
template <>
inline constexpr element element_of<uint8_t> = element::uint8;
template <>
inline constexpr element element_of<uint16_t> = element::uint16;
template <>
inline constexpr element element_of<uint32_t> = element::uint32;
template <>
inline constexpr element element_of<int32_t> = element::int32;
template <>
inline constexpr element element_of<float> = element::float32;

/// Bytes from `begin` to before `end`.
struct byte_range {
  uintptr_t begin;
  uintptr_t end;
};

/// An array of the expected dtype and number of dimensions, with any strides. What it points to
/// belongs to the array, which the caller keeps alive.
struct array_view {
  char* data;
  const py::ssize_t* shape;
  const py::ssize_t* strides;
  int dimensions;
  size_t item_size;
  bool dense;  ///< elements row by row without gaps, at addresses that fit their type
  bool writable;
};

[[nodiscard]] bool is_array(py::handle value);
[[nodiscard]] array_view array_of(argument which, py::handle value, element type, int dimensions);
/// The same, dense.
[[nodiscard]] array_view dense_array_of(argument which, py::handle value, element type,
                                        int dimensions);
void require_writable(argument which, const array_view& view);
void require_shape(argument which, const array_view& view,
                   std::initializer_list<py::ssize_t> expected);
void require_at_most(argument which, const char* unit, py::ssize_t count, int64_t most);
[[nodiscard]] byte_range range_of(const array_view& view);
[[nodiscard]] bool overlap(byte_range a, byte_range b);
void refuse_overlap(argument out, byte_range written, const char* source, byte_range read);

/// A dense plane whose sides are at most `most`.
template <typename Element>
struct plane {
  Element* data;
  sides size;
  byte_range range;
};

template <typename Element>
[[nodiscard]] plane<Element> plane_of(argument which, py::handle value, int64_t most) {
  const array_view view = dense_array_of(which, value, element_of<Element>, 2);
  require_at_most(which, "rows", view.shape[0], most);
  require_at_most(which, "columns", view.shape[1], most);
  return {reinterpret_cast<Element*>(view.data), {view.shape[0], view.shape[1]}, range_of(view)};
}

// ---- Results ----

enum class fill { none, zero };

[[nodiscard]] py::object new_array(element type, std::initializer_list<py::ssize_t> shape,
                                   fill contents);
/// An array over memory that `owner` keeps.
[[nodiscard]] py::object array_over(float* data, std::initializer_list<py::ssize_t> shape,
                                    py::object owner);
[[nodiscard]] void* data_of(const py::object& array);
// What these give is a plain array, whatever class derived from it was given: such a class could
// run Python code for every copy, and answer NumPy's functions itself.
/// A dense array with the values of one of any layout, over the same memory where it is so already.
[[nodiscard]] py::object dense_copy_if_needed(const py::object& array);
/// A dense array of its own with the same values.
[[nodiscard]] py::object dense_copy(const py::object& array);
/// The same memory.
[[nodiscard]] py::object plain_array(py::handle array);

/// What a function writes: the caller's `out`, or an array of its own.
template <typename Element>
struct result {
  py::object array;
  Element* data;
  byte_range range;  ///< empty for an array of its own, which overlaps nothing
};

template <typename Element>
[[nodiscard]] result<Element> result_of(argument which, py::handle out,
                                        std::initializer_list<py::ssize_t> shape,
                                        fill contents = fill::none) {
  if (out.is_none()) {
    py::object array = new_array(element_of<Element>, shape, contents);
    Element* const data = static_cast<Element*>(data_of(array));
    return {std::move(array), data, {0, 0}};
  }
  const array_view view =
      dense_array_of(which, out, element_of<Element>, static_cast<int>(shape.size()));
  require_shape(which, view, shape);
  require_writable(which, view);
  return {py::reinterpret_borrow<py::object>(out), reinterpret_cast<Element*>(view.data),
          range_of(view)};
}

/// The members of a tuple of `Count` arrays that `out` may be, or nothings.
template <size_t Count>
[[nodiscard]] std::array<py::object, Count> results_of(argument which, py::handle out,
                                                       const char* expected) {
  std::array<py::object, Count> members;
  members.fill(py::none());
  if (out.is_none()) return members;
  const py::tuple given = sequence_of(which, out, expected);
  if (given.size() != Count) {
    wrong_value(which, "has " + std::to_string(given.size()) + " values, expected " + expected);
  }
  for (size_t i = 0; i < Count; ++i) members[i] = given[i];
  return members;
}

}  // namespace qo_python
