// The two builders of gain tables, and what they give.

#include "python/binding/toolkit_gain_tables.h"

#include "python/binding/made_classes.h"
#include "python/binding/toolkit_families.h"
#include "qo_nvm.h"

namespace qo_python {
namespace {

using namespace py::literals;

/// The bytes of any buffer, for as long as this lives.
class buffer_bytes {
 public:
  buffer_bytes(argument which, py::handle source) {
    if (PyObject_CheckBuffer(source.ptr()) == 0) {
      wrong_type(which, std::string("is ") + Py_TYPE(source.ptr())->tp_name +
                            ", expected bytes or another buffer");
    }
    if (PyObject_GetBuffer(source.ptr(), &view_, PyBUF_SIMPLE) < 0) {
      PyErr_Clear();
      wrong_value(which, "is not contiguous, expected bytes one after the other");
    }
  }
  buffer_bytes(const buffer_bytes&) = delete;
  buffer_bytes& operator=(const buffer_bytes&) = delete;
  ~buffer_bytes() { PyBuffer_Release(&view_); }

  [[nodiscard]] void* data() const { return view_.buf; }
  [[nodiscard]] py::ssize_t size() const { return view_.len; }

 private:
  Py_buffer view_{};
};

struct calibration_release {
  void operator()(calibration* module) const { qo_nvm_deinit(module); }
};
using calibration_owner = std::unique_ptr<calibration, calibration_release>;

[[nodiscard]] calibration_owner parse_nvm(argument which, py::handle nvm) {
  const buffer_bytes bytes(which, nvm);
  if (bytes.size() > UINT32_MAX) {
    wrong_value(which,
                "has " + std::to_string(bytes.size()) + " bytes, expected at most 4294967295");
  }
  const qo_blob image{bytes.data(), static_cast<uint32_t>(bytes.size())};
  calibration* module = nullptr;
  const uint32_t status = qo_nvm_parse(&image, &module);
  if (status != 0 || module == nullptr) {
    wrong_value(which, "is refused by the NVM library with status " + std::to_string(status) +
                           ", expected an NVM image");
  }
  return calibration_owner(module);
}

using builder = computed_upscale_lsc_tables*(uint32_t, uint32_t, const calibration*, uint32_t);

[[nodiscard]] gain_tables build(const char* name, builder* function, const char* reasons,
                                py::handle shape, py::handle nvm, py::handle orientation) {
  const sides size = sides_of({name, "shape"}, shape, 0, uint16_limit);
  const auto mirrored =
      static_cast<uint32_t>(integer_of({name, "orientation"}, orientation, 0, UINT32_MAX));
  const calibration_owner module = parse_nvm({name, "nvm"}, nvm);
  gain_tables::block tables;
  {
    const py::gil_scoped_release unlocked;
    tables.reset(function(static_cast<uint32_t>(size.columns), static_cast<uint32_t>(size.rows),
                          module.get(), mirrored),
                 deinit_computed_upscale_lsc_tables);
  }
  if (tables == nullptr) {
    throw py::value_error(std::string(name) + ": no tables: " + reasons);
  }
  return {std::move(tables), size};
}

void define_builder(py::module_& module, const char* name, builder* function, const char* reasons,
                    const char* doc) {
  module.def(
      name,
      [name, function, reasons](const py::object& shape, const py::object& nvm,
                                const py::object& orientation) {
        return build(name, function, reasons, shape, nvm, orientation);
      },
      "shape"_a, "nvm"_a, "orientation"_a = 0, doc);
}

[[nodiscard]] std::string text_of(const gain_tables& self) {
  if (self.released()) return "<ComputedUpscaleLscTables, released>";
  return "<ComputedUpscaleLscTables of " + std::to_string(self.count()) +
         (self.count() == 1 ? " table, 4 planes of " : " tables, 4 planes of ") +
         std::to_string(self.size().rows) + " x " + std::to_string(self.size().columns) + ">";
}

void define_type(py::module_& module) {
  py::class_<gain_tables> tables(module, "ComputedUpscaleLscTables",
                                 R"(Gain tables of one camera module.

A sequence of arrays (4, rows, columns) of float32, one for each calibration set, with a plane for
each channel. They are writable views of the tables, which live as long as they do. Also a context
manager, which releases the tables at its end.

Attributes
----------
table_count : int
    Tables, one for each calibration set.
gain_tables : tuple of (4, rows, columns) arrays of float32
    The tables.

Examples
--------
>>> with qo_cmc.compute_upscaled_lsc_tables_bicubic((25, 33), qo_cmc.sample_nvm()) as tables:
...     [table.shape for table in tables]
[(4, 25, 33), (4, 25, 33), (4, 25, 33)]
)");
  tables
      .def_property_readonly("table_count", &gain_tables::count,
                             "Tables, one for each calibration set.")
      .def_property_readonly("gain_tables", &gain_tables::views,
                             "The tables, (4, rows, columns) arrays of float32.")
      .def("__len__", &gain_tables::count)
      .def("__getitem__",
           [](const gain_tables& self, py::ssize_t index) {
             const py::ssize_t count = self.count();
             if (index < 0) index += count;
             if (index < 0 || index >= count) {
               throw py::index_error("ComputedUpscaleLscTables: index out of range");
             }
             return self.view(index);
           })
      .def("__iter__", [](const gain_tables& self) { return py::iter(self.views()); })
      .def("__repr__", &text_of)
      .def("__enter__", [](const py::object& self) { return self; })
      .def("__exit__",
           [](gain_tables& self, const py::object& kind, const py::object&, const py::object&) {
             // Arrays that an error's frames hold must not hide the error.
             if (kind.is_none() || !self.in_use()) self.release();
           });
  made_here_only(tables);
}

}  // namespace

const gain_tables::block& gain_tables::tables() const {
  if (released()) throw py::value_error("ComputedUpscaleLscTables: the tables are released");
  return tables_;
}

py::object gain_tables::view(py::ssize_t index) const {
  auto owner = std::make_unique<block>(tables());
  float* const first = (*owner)->gain_tables[index];
  py::capsule keeper(owner.get(), [](void* held) { delete static_cast<block*>(held); });
  static_cast<void>(owner.release());  // the capsule's
  return array_over(first, {4, size_.rows, size_.columns}, std::move(keeper));
}

py::tuple gain_tables::views() const {
  py::tuple all(static_cast<size_t>(count()));
  for (size_t i = 0; i < all.size(); ++i) all[i] = view(static_cast<py::ssize_t>(i));
  return all;
}

void gain_tables::release() {
  if (released()) return;
  if (in_use()) {
    PyErr_SetString(PyExc_BufferError,
                    "ComputedUpscaleLscTables: arrays of these tables are still in use");
    throw py::error_already_set();
  }
  tables_.reset();
}

void define_gain_tables(py::module_& module) {
  define_type(module);
  define_builder(
      module, "compute_upscaled_lsc_tables_polynom4th", &compute_upscaled_lsc_tables_polynom4th,
      "an output or grid side is 0, an output side is 1, the orientation is above 3, a surface is "
      "not above 0 everywhere, or there is no memory",
      R"(compute_upscaled_lsc_tables_polynom4th(shape, nvm, orientation=0)
--

Build gain tables from a module's calibration with the quartic surface, the smallest gain being 1.

Give it grids of 5 to 10 samples a side; with larger ones take
`compute_upscaled_lsc_tables_bicubic`, since the fit is formed in single precision.

Parameters
----------
shape : (int, int)
    Rows and columns of the gain planes, at most 65535.
nvm : bytes or another buffer
    The module's NVM image.
orientation : int, optional
    How the grids are mirrored: 0 not at all, 1 left to right, 2 top to bottom, 3 both.

Returns
-------
ComputedUpscaleLscTables
    A table for each calibration set.

Raises
------
TypeError, ValueError
    An argument is not as described, the image is refused, or there is no such surface.

Examples
--------
>>> tables = qo_cmc.compute_upscaled_lsc_tables_polynom4th((25, 33), qo_cmc.sample_nvm())
>>> tables[0].shape, float(tables[0].min())
((4, 25, 33), 1.0)
)");
  define_builder(
      module, "compute_upscaled_lsc_tables_bicubic", &compute_upscaled_lsc_tables_bicubic,
      "an output side is 0 or below the grid's, a grid side is below 2, or there is no memory",
      R"(compute_upscaled_lsc_tables_bicubic(shape, nvm, orientation=0)
--

Build gain tables from a module's calibration by bicubic interpolation; nothing is normalised.

Planes of up to 255 x 255 are converted whole. Of larger ones as many samples as the sides modulo
256 name are converted, row by row of that length, and the rest is 0.

Parameters
----------
shape : (int, int)
    Rows and columns of the gain planes, each at least the grid's.
nvm : bytes or another buffer
    The module's NVM image.
orientation : int, optional
    How the planes are mirrored: 0 not at all, 1 left to right, 2 top to bottom, 3 both. With any
    other every sample is 0.

Returns
-------
ComputedUpscaleLscTables
    A table for each calibration set.

Raises
------
TypeError, ValueError
    An argument is not as described, the image is refused, or its grids do not fit the shape.

Examples
--------
>>> tables = qo_cmc.compute_upscaled_lsc_tables_bicubic((25, 33), qo_cmc.sample_nvm())
>>> tables
<ComputedUpscaleLscTables of 3 tables, 4 planes of 25 x 33>
)");
  module.def(
      "deinit_computed_upscale_lsc_tables", [](gain_tables& tables) { tables.release(); },
      "tables"_a, R"(deinit_computed_upscale_lsc_tables(tables)
--

Release gain tables before their last reference is gone. Does nothing the second time.

Parameters
----------
tables : ComputedUpscaleLscTables
    The tables, which are empty from then on.

Raises
------
BufferError
    Arrays of the tables are still in use.

Examples
--------
>>> tables = qo_cmc.compute_upscaled_lsc_tables_bicubic((25, 33), qo_cmc.sample_nvm())
>>> qo_cmc.deinit_computed_upscale_lsc_tables(tables)
>>> tables
<ComputedUpscaleLscTables, released>
)");
}

}  // namespace qo_python
