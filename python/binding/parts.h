/// Structures of a parsed CMC as Python objects: numbers by value, arrays as views, structures as
/// parts of their own.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <memory>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "python/binding/held_cmc.h"
#include "python/binding/made_classes.h"

namespace qo_python {

using held = std::shared_ptr<held_cmc>;

/// Where an array stands; a null address is one that the slot does not have.
struct array_place {
  const void* data;
  py::dtype type;
  std::vector<py::ssize_t> shape;
};

template <typename T, typename... Sides>
[[nodiscard]] array_place array_of(const void* data, Sides... sides) {
  return {data, py::dtype::of<T>(), {static_cast<py::ssize_t>(sides)...}};
}

/// A read-only array that looks at what stands there, at any address, and keeps it; or None.
[[nodiscard]] py::object view_of(const held& of, const array_place& place);

/// One structure, inside another one (for slots, the parsed CMC).
template <typename T, typename In = parsed_cmc>
class part {
 public:
  part(held of, const T* at, const In* in) : of_(std::move(of)), at_(at), in_(in) {}

  /// These raise ValueError once the parsed CMC is closed.
  [[nodiscard]] const T& get() const {
    (void)of_->cmc();
    return *at_;
  }
  [[nodiscard]] const In& in() const {
    (void)of_->cmc();
    return *in_;
  }
  [[nodiscard]] const held& of() const { return of_; }

 private:
  held of_;
  const T* at_;
  const In* in_;
};

/// A kept copy of a record.
struct kept_record {
  held of;
  const record_header* at;
  size_t size;  ///< bytes that stand there

  [[nodiscard]] const record_header& header() const {
    (void)of->cmc();
    return *at;
  }
};

/// The copy, or None.
[[nodiscard]] py::object record_of(const held& of, const record_header* record);

/// What Python gets for a member.
template <typename M>
[[nodiscard]] py::object value_of(const held& of, const M& member) {
  if constexpr (std::is_array_v<M> && std::rank_v<M> == 1)
    return view_of(of, array_of<std::remove_all_extents_t<M>>(&member, std::extent_v<M>));
  else if constexpr (std::is_array_v<M>)
    return view_of(of, array_of<std::remove_all_extents_t<M>>(&member, std::extent_v<M, 0>,
                                                              std::extent_v<M, 1>));
  else if constexpr (std::is_arithmetic_v<M>)
    return py::cast(member);
  else if constexpr (std::is_convertible_v<M, const record_header*>)
    return record_of(of, member);
  else
    return py::cast(part<M>(of, &member, nullptr));
}

/// Adds the name of an attribute to those that the class lists, in `_fields`.
void add_field(py::object& type, const char* name);
/// "Record22(width=17, height=13, grid=<2>, ...)" of the attributes that the class names.
[[nodiscard]] std::string text_of_part(const py::object& object);

/// The class of a structure. Attributes have the names of its members.
template <typename T, typename In = parsed_cmc>
class part_class {
 public:
  using object = part<T, In>;

  part_class(py::module_& module, const char* name, const char* doc) : class_(module, name, doc) {
    made_here_only(class_);
    class_.def("__repr__", [](const py::object& self) { return text_of_part(self); });
  }

  template <typename M>
  part_class& field(const char* name, M T::*member) {
    return made(name,
                [member](const object& self) { return value_of(self.of(), self.get().*member); });
  }
  /// @param place  array_place(structure, what it stands in)
  template <typename Place>
  part_class& array(const char* name, Place place) {
    return made(name, [place](const object& self) {
      return view_of(self.of(), place(self.get(), self.in()));
    });
  }
  /// A tuple of parts inside this one, or None.
  /// @param place  std::span(structure, what it stands in), with a null address where there is none
  template <typename Place>
  part_class& parts(const char* name, Place place) {
    return made(name, [place](const object& self) -> py::object {
      const auto elements = place(self.get(), self.in());
      using element = typename decltype(elements)::value_type;
      if (elements.data() == nullptr) return py::none();
      py::tuple all(elements.size());
      for (size_t i = 0; i < elements.size(); ++i)
        all[i] = py::cast(part<element, T>(self.of(), &elements[i], &self.get()));
      return all;
    });
  }
  /// @param make  what Python gets, of the part
  template <typename Make>
  part_class& made(const char* name, Make make) {
    class_.def_property_readonly(name, [make](const object& self) {
      const held_cmc::view meanwhile(self.of());
      return make(self);
    });
    add_field(class_, name);
    return *this;
  }
  template <typename Method>
  part_class& method(const char* name, Method method, const char* doc) {
    class_.def(
        name,
        [method](const object& self) {
          const held_cmc::view meanwhile(self.of());
          return method(self);
        },
        doc);
    return *this;
  }

 private:
  py::class_<object> class_;
};

}  // namespace qo_python
