/// The classes of the slots' structures, by family.
#pragma once

#include <pybind11/pybind11.h>

#include "python/binding/parts.h"

namespace qo_python {

/// Record copies and their headers.
void add_record_classes(py::module_& module);
/// Slots that keep a copy of their record.
void add_kept_slot_classes(py::module_& module);
/// Slots that hold a converted form.
void add_converted_slot_classes(py::module_& module);
/// Lens-shading sets.
void add_lens_shading_classes(py::module_& module);
/// Records 31 and 34, with what the container library placed in them.
void add_placed_slot_classes(py::module_& module);

/// The class whose attributes are the slots themselves.
void add_slots_class(py::module_& module);

// Slots that are no plain parts.
[[nodiscard]] py::object lens_shading_of(const held& of, const lens_shading_set* set);
[[nodiscard]] py::object lens_shading_ext_of(const held& of, const lens_shading_set* set);
[[nodiscard]] py::object record_31_of(const held& of, const record_header* record);
[[nodiscard]] py::object record_34_of(const held& of, const record_header* record);

}  // namespace qo_python
