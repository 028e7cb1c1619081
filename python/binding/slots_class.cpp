// The slots themselves, as attributes.

#include "python/binding/findings_objects.h"
#include "python/binding/json_objects.h"
#include "python/binding/slot_classes.h"
#include "tools/document/slots.h"

namespace qo_python {
namespace {

/// An attribute that is what the slot's address leads to, or None.
template <typename T>
[[nodiscard]] py::object pointed(const held& of, const T* slot) {
  if (slot == nullptr) return py::none();
  return py::cast(part<T>(of, slot, &of->cmc()));
}

/// An attribute of a slot of several addresses; None where it is empty.
template <typename T>
[[nodiscard]] py::object grouped(const held& of, const T& slot, bool is_filled) {
  if (!is_filled) return py::none();
  return py::cast(part<T>(of, &slot, &of->cmc()));
}

class slots_class {
 public:
  explicit slots_class(py::module_& module)
      : class_(module, "Slots", R"(The slots of a parsed CMC.

Each is an attribute under its name in the C structure, None where it is empty.
)") {}

  /// @param make  what Python gets, of (held, parsed CMC)
  template <typename Make>
  slots_class& slot(const char* name, Make make) {
    class_.def_property_readonly(name, [make](const held& self) -> py::object {
      const held_cmc::view meanwhile(self);
      return make(self, self->cmc());
    });
    add_field(class_, name);
    return *this;
  }
  /// A slot of several addresses, the first of which is the record's copy.
  template <typename T>
  slots_class& kept(const char* name, T parsed_cmc::*member) {
    return slot(name, [member](const held& of, const parsed_cmc& cmc) {
      return grouped(of, cmc.*member, (cmc.*member).record != nullptr);
    });
  }
  template <typename T>
  slots_class& pointed(const char* name, T* parsed_cmc::*member) {
    return slot(name, [member](const held& of, const parsed_cmc& cmc) {
      return qo_python::pointed(of, cmc.*member);
    });
  }
  slots_class& record(const char* name, record_header* parsed_cmc::*member) {
    return slot(name, [member](const held& of, const parsed_cmc& cmc) {
      return record_of(of, cmc.*member);
    });
  }
  [[nodiscard]] py::class_<held_cmc, held>& operator*() { return class_; }

 private:
  py::class_<held_cmc, held> class_;
};

void add_slots(slots_class& slots) {
  const auto nothing = [](const held&, const parsed_cmc&) { return py::none(); };
  slots.kept("general", &parsed_cmc::general)
      .pointed("module_properties", &parsed_cmc::module_properties)
      .slot("unused_6", nothing)
      .slot("unused_7", nothing)
      .record("record_5", &parsed_cmc::record_5)
      .kept("record_6", &parsed_cmc::record_6)
      .record("record_7", &parsed_cmc::record_7)
      .record("record_8", &parsed_cmc::record_8)
      .record("record_9", &parsed_cmc::record_9)
      .kept("lsc_grid", &parsed_cmc::lsc_grid)
      .slot("record_13",
            [](const held& of, const parsed_cmc& cmc) {
              // A record that is too short leaves the defaults of its parameters, the last of which
              // is never 0.
              return grouped(of, cmc.record_13,
                             cmc.record_13.record != nullptr || cmc.record_13.params[3] != 0);
            })
      .kept("record_14", &parsed_cmc::record_14)
      .kept("record_15", &parsed_cmc::record_15)
      // Deliberate: without its record the payload's address says nothing, and the slot is empty.
      .kept("record_16", &parsed_cmc::record_16)
      .kept("record_17", &parsed_cmc::record_17)
      .kept("record_18", &parsed_cmc::record_18)
      .kept("record_19", &parsed_cmc::record_19)
      .kept("record_20", &parsed_cmc::record_20)
      .pointed("record_22", &parsed_cmc::record_22)
      .record("record_23", &parsed_cmc::record_23)
      .pointed("record_24", &parsed_cmc::record_24)
      .record("record_21", &parsed_cmc::record_21)
      .kept("record_25", &parsed_cmc::record_25)
      .pointed("record_26", &parsed_cmc::record_26)
      .pointed("record_27", &parsed_cmc::record_27)
      .pointed("record_30", &parsed_cmc::record_30)
      .pointed("record_29", &parsed_cmc::record_29)
      .slot("lens_shading",
            [](const held& of, const parsed_cmc& cmc) {
              return lens_shading_of(of, cmc.lens_shading);
            })
      .slot("record_31",
            [](const held& of, const parsed_cmc& cmc) { return record_31_of(of, cmc.record_31); })
      .record("record_32", &parsed_cmc::record_32)
      .slot("lens_shading_ext",
            [](const held& of, const parsed_cmc& cmc) {
              return lens_shading_ext_of(of, cmc.lens_shading_ext);
            })
      .slot("record_34",
            [](const held& of, const parsed_cmc& cmc) { return record_34_of(of, cmc.record_34); })
      .slot("record_35",
            [](const held& of, const parsed_cmc& cmc) {
              return grouped(of, cmc.record_35, cmc.record_35.first != nullptr);
            })
      .pointed("record_36", &parsed_cmc::record_36)
      .pointed("others", &parsed_cmc::others);
}

}  // namespace

// A slot that is added to the structure has its attribute above.
static_assert(sizeof(parsed_cmc) == 62 * 8);

void add_slots_class(py::module_& module) {
  slots_class slots(module);
  add_slots(slots);
  (*slots)
      .def(py::init<py::bytes, py::object>(), py::arg("container"), py::arg("nvm"))
      // All take the holder, which an object that __new__() made alone has not: it is refused.
      .def_property_readonly("_container", [](const held& self) { return self->container(); })
      .def_property_readonly("_nvm", [](const held& self) { return self->nvm(); })
      .def_property_readonly("_views", [](const held& self) { return self->views(); })
      .def_property_readonly("closed", [](const held& self) { return self->is_closed(); })
      .def_property_readonly("merged", [](const held& self) { return self->seen().from.merged; })
      .def("_findings", [](const held& self) { return findings_tuple(self->seen().found); })
      .def("_records", [](const held& self) { return records_tuple(self->seen().records); })
      .def("_close", [](const held& self) { self->close(); })
      .def("_to_dict", [](const held& self) {
        return object_of(document::slots_of(self->cmc(), self->seen().from));
      });
}

}  // namespace qo_python
