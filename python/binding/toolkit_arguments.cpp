#include "python/binding/toolkit_arguments.h"

#define NPY_NO_DEPRECATED_API NPY_1_7_API_VERSION
#include <numpy/arrayobject.h>

#include <utility>

namespace qo_python {
namespace {

struct element_kind {
  const char* name;
  int type_number;
};

[[nodiscard]] element_kind kind_of(element type) {
  switch (type) {
    case element::uint8:
      return {"uint8", NPY_UINT8};
    case element::uint16:
      return {"uint16", NPY_UINT16};
    case element::uint32:
      return {"uint32", NPY_UINT32};
    case element::int32:
      return {"int32", NPY_INT32};
    case element::float32:
      break;
  }
  return {"float32", NPY_FLOAT32};
}

[[nodiscard]] std::string type_name(py::handle value) { return Py_TYPE(value.ptr())->tp_name; }

[[nodiscard]] std::string shape_text(const py::ssize_t* shape, size_t dimensions) {
  std::string text = "(";
  for (size_t i = 0; i < dimensions; ++i) {
    if (i > 0) text += ", ";
    text += std::to_string(shape[i]);
  }
  return text + (dimensions == 1 ? ",)" : ")");
}

[[nodiscard]] std::string span_text(int64_t least, int64_t most) {
  return std::to_string(least) + " to " + std::to_string(most);
}

/// An integer, or false when it takes more than 64 bits.
[[nodiscard]] bool read_integer(argument which, const char* verb, py::handle value, int64_t& into) {
  if (PyIndex_Check(value.ptr()) == 0) {
    wrong_type(which, verb + type_name(value) + ", expected an integer");
  }
  const auto number = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
  if (number.ptr() == nullptr) throw py::error_already_set();
  int overflow = 0;
  into = PyLong_AsLongLongAndOverflow(number.ptr(), &overflow);
  if (into == -1 && PyErr_Occurred() != nullptr) throw py::error_already_set();
  return overflow == 0;
}

[[nodiscard]] PyArrayObject* as_array(py::handle value) {
  return reinterpret_cast<PyArrayObject*>(value.ptr());
}

[[nodiscard]] py::object taken(PyObject* array) {
  if (array == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::object>(array);
}

}  // namespace

void wrong_type(argument which, const std::string& what) {
  throw py::type_error(std::string(which.function) + ": " + which.name + " " + what);
}

void wrong_value(argument which, const std::string& what) {
  throw py::value_error(std::string(which.function) + ": " + which.name + " " + what);
}

void import_numpy() {
  if (_import_array() < 0) throw py::error_already_set();
}

int64_t integer_of(argument which, py::handle value, int64_t least, int64_t most) {
  int64_t number = 0;
  if (!read_integer(which, "is ", value, number)) {
    wrong_value(which, "takes more than 64 bits, expected " + span_text(least, most));
  }
  if (number < least || number > most) {
    wrong_value(which, "is " + std::to_string(number) + ", expected " + span_text(least, most));
  }
  return number;
}

py::tuple sequence_of(argument which, py::handle value, const char* expected) {
  if (PyTuple_CheckExact(value.ptr()) != 0) return py::reinterpret_borrow<py::tuple>(value);
  if (PySequence_Check(value.ptr()) == 0) {
    wrong_type(which, "is " + type_name(value) + ", expected " + expected);
  }
  return py::reinterpret_steal<py::tuple>(taken(PySequence_Tuple(value.ptr())).release());
}

void integers_of(argument which, py::handle value, const char* expected, int64_t least,
                 int64_t most, int64_t* into, size_t count) {
  const py::tuple numbers = sequence_of(which, value, expected);
  if (numbers.size() != count) {
    wrong_value(which, "has " + std::to_string(numbers.size()) + " values, expected " + expected);
  }
  for (size_t i = 0; i < count; ++i) {
    const py::handle number = PyTuple_GET_ITEM(numbers.ptr(), static_cast<py::ssize_t>(i));
    if (!read_integer(which, "holds ", number, into[i])) {
      wrong_value(which, "holds a number of more than 64 bits, expected " + span_text(least, most));
    }
    if (into[i] < least || into[i] > most) {
      wrong_value(which,
                  "holds " + std::to_string(into[i]) + ", expected " + span_text(least, most));
    }
  }
}

sides sides_of(argument which, py::handle value, int64_t least, int64_t most) {
  int64_t numbers[2];
  integers_of(which, value, "(rows, columns)", least, most, numbers, 2);
  return {numbers[0], numbers[1]};
}

bool is_array(py::handle value) { return PyArray_Check(value.ptr()); }

array_view array_of(argument which, py::handle value, element type, int dimensions) {
  const element_kind kind = kind_of(type);
  if (!is_array(value)) {
    wrong_type(which, "is " + type_name(value) + ", expected an array of " + kind.name);
  }
  PyArrayObject* const array = as_array(value);
  if (PyArray_TYPE(array) != kind.type_number || PyArray_ISBYTESWAPPED(array)) {
    const py::str found(py::handle(reinterpret_cast<PyObject*>(PyArray_DESCR(array))));
    wrong_type(which, "is " + std::string(found) + ", expected " + kind.name);
  }
  if (PyArray_NDIM(array) != dimensions) {
    wrong_value(which,
                "has shape " +
                    shape_text(PyArray_DIMS(array), static_cast<size_t>(PyArray_NDIM(array))) +
                    ", expected " + std::to_string(dimensions) +
                    (dimensions == 1 ? " dimension" : " dimensions"));
  }
  return {static_cast<char*>(PyArray_DATA(array)),
          PyArray_DIMS(array),
          PyArray_STRIDES(array),
          dimensions,
          static_cast<size_t>(PyArray_ITEMSIZE(array)),
          PyArray_IS_C_CONTIGUOUS(array) && PyArray_ISALIGNED(array),
          PyArray_ISWRITEABLE(array) != 0};
}

array_view dense_array_of(argument which, py::handle value, element type, int dimensions) {
  const array_view view = array_of(which, value, type, dimensions);
  if (!view.dense) {
    wrong_value(which, PyArray_IS_C_CONTIGUOUS(as_array(value))
                           ? "is not aligned, expected elements at multiples of their size"
                           : "is not C-contiguous, expected rows one after the other without gaps");
  }
  return view;
}

void require_writable(argument which, const array_view& view) {
  if (!view.writable) wrong_value(which, "is read-only, expected a writable array");
}

void require_shape(argument which, const array_view& view,
                   std::initializer_list<py::ssize_t> expected) {
  for (size_t i = 0; i < expected.size(); ++i) {
    if (view.shape[i] != expected.begin()[i]) {
      wrong_value(which, "has shape " + shape_text(view.shape, expected.size()) + ", expected " +
                             shape_text(expected.begin(), expected.size()));
    }
  }
}

void require_at_most(argument which, const char* unit, py::ssize_t count, int64_t most) {
  if (count > most) {
    wrong_value(which, "has " + std::to_string(count) + " " + unit + ", expected at most " +
                           std::to_string(most));
  }
}

byte_range range_of(const array_view& view) {
  auto begin = reinterpret_cast<uintptr_t>(view.data);
  uintptr_t end = begin + view.item_size;
  for (int i = 0; i < view.dimensions; ++i) {
    if (view.shape[i] == 0) return {begin, begin};
    // An array lies in memory, so neither product nor sum can overflow.
    const py::ssize_t reach = (view.shape[i] - 1) * view.strides[i];
    if (reach < 0) {
      begin -= static_cast<uintptr_t>(-reach);
    } else {
      end += static_cast<uintptr_t>(reach);
    }
  }
  return {begin, end};
}

bool overlap(byte_range a, byte_range b) {
  return a.begin < a.end && b.begin < b.end && a.begin < b.end && b.begin < a.end;
}

void refuse_overlap(argument out, byte_range written, const char* source, byte_range read) {
  if (overlap(written, read)) {
    wrong_value(out, std::string("overlaps ") + source + ", expected memory of its own");
  }
}

py::object new_array(element type, std::initializer_list<py::ssize_t> shape, fill contents) {
  const int dimensions = static_cast<int>(shape.size());
  const int number = kind_of(type).type_number;
  auto* const sizes = const_cast<npy_intp*>(shape.begin());  // only read there
  return taken(contents == fill::zero ? PyArray_ZEROS(dimensions, sizes, number, 0)
                                      : PyArray_EMPTY(dimensions, sizes, number, 0));
}

py::object array_over(float* data, std::initializer_list<py::ssize_t> shape, py::object owner) {
  py::object array = taken(PyArray_SimpleNewFromData(
      static_cast<int>(shape.size()), const_cast<npy_intp*>(shape.begin()), NPY_FLOAT32, data));
  if (PyArray_SetBaseObject(as_array(array), owner.release().ptr()) < 0) {
    throw py::error_already_set();
  }
  return array;
}

void* data_of(const py::object& array) { return PyArray_DATA(as_array(array)); }

py::object dense_copy_if_needed(const py::object& array) {
  return taken(
      PyArray_FromArray(as_array(array), nullptr, NPY_ARRAY_CARRAY_RO | NPY_ARRAY_ENSUREARRAY));
}

py::object dense_copy(const py::object& array) {
  return taken(PyArray_FromArray(as_array(array), nullptr,
                                 NPY_ARRAY_CARRAY | NPY_ARRAY_ENSURECOPY | NPY_ARRAY_ENSUREARRAY));
}

py::object plain_array(py::handle array) {
  return taken(PyArray_FromArray(as_array(array), nullptr, NPY_ARRAY_ENSUREARRAY));
}

}  // namespace qo_python
