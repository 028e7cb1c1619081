// ratio_based_sample_to_sample_correction(): copies of lens-shading tables, rewritten for a module.
//
// First every attribute is read, which can run any Python code, and what was found is kept; then
// the C structures are built from it, and the library is called.

#include <vector>

#include "python/binding/made_classes.h"
#include "python/binding/toolkit_arguments.h"
#include "python/binding/toolkit_families.h"
#include "python/binding/toolkit_gain_tables.h"
#include "python/binding/toolkit_status.h"
#include "qo_cmc/lens_shading.h"
#include "qo_cmc/lsc.h"

namespace qo_python {
namespace {

constexpr const char* function_name = "ratio_based_sample_to_sample_correction";
constexpr size_t cell_sides = 4;
/// The first code of a cell of 4 x 4 sites, with which gain tables are written.
constexpr int64_t first_large_cell = 256;

[[nodiscard]] argument named(const std::string& name) { return {function_name, name.c_str()}; }

[[nodiscard]] py::object attribute(const std::string& owner, py::handle value, const char* name) {
  PyObject* const found = PyObject_GetAttrString(value.ptr(), name);
  if (found != nullptr) return py::reinterpret_steal<py::object>(found);
  if (PyErr_ExceptionMatches(PyExc_AttributeError) == 0) throw py::error_already_set();
  PyErr_Clear();
  wrong_type(named(owner), std::string("is ") + Py_TYPE(value.ptr())->tp_name +
                               ", expected an object with the attribute " + name);
}

[[nodiscard]] int64_t integer_attribute(const std::string& owner, py::handle value,
                                        const char* name, int64_t most) {
  const std::string full = owner + "." + name;
  return integer_of(named(full), attribute(owner, value, name), 0, most);
}

/// Two floats, from an array or any other sequence of numbers.
[[nodiscard]] std::array<float, 2> float_pair(const std::string& owner, py::handle value,
                                              const char* name) {
  const std::string full = owner + "." + name;
  const py::tuple numbers =
      sequence_of(named(full), attribute(owner, value, name), "a pair of numbers");
  if (numbers.size() != 2) {
    wrong_value(named(full),
                "has " + std::to_string(numbers.size()) + " values, expected a pair of numbers");
  }
  std::array<float, 2> pair{};
  for (size_t i = 0; i < pair.size(); ++i) {
    const py::object number = numbers[i];
    const double wide = PyFloat_AsDouble(number.ptr());
    if (wide == -1.0 && PyErr_Occurred() != nullptr) {
      if (PyErr_ExceptionMatches(PyExc_MemoryError) != 0) throw py::error_already_set();
      PyErr_Clear();
      wrong_type(named(full),
                 std::string("holds ") + Py_TYPE(number.ptr())->tp_name + ", expected numbers");
    }
    pair[i] = static_cast<float>(wide);
  }
  return pair;
}

/// A light, as Python code gave it.
struct light {
  uint32_t light_id;
  std::array<float, 2> gains;
  std::array<float, 2> coords;
  uint16_t fraction_bits;
  uint16_t aux;                                           ///< 0 of a target's lights
  std::array<py::object, cell_sides * cell_sides> table;  ///< none where the site has no table
};

struct shading {
  sides size;
  std::vector<light> lights;
};

void read_tables(const std::string& owner, py::handle tables, light& into) {
  const auto given = py::reinterpret_steal<py::object>(
      PyMapping_Check(tables.ptr()) != 0 ? PyMapping_Items(tables.ptr()) : nullptr);
  if (!given) {
    // Sequences have no items().
    if (PyErr_Occurred() != nullptr && PyErr_ExceptionMatches(PyExc_AttributeError) == 0) {
      throw py::error_already_set();
    }
    PyErr_Clear();
    wrong_type(named(owner), std::string("is ") + Py_TYPE(tables.ptr())->tp_name +
                                 ", expected a mapping of (row, column) to arrays");
  }
  const auto items = py::reinterpret_steal<py::tuple>(PySequence_Tuple(given.ptr()));
  if (!items) throw py::error_already_set();
  for (const py::handle item : items) {
    const py::tuple pair = sequence_of(named(owner), item, "a pair of site and table");
    if (pair.size() != 2) wrong_value(named(owner), "has items that are no pairs");
    int64_t site[2];
    integers_of(named(owner), pair[0], "sites (row, column)", 0, cell_sides - 1, site, 2);
    into.table[static_cast<size_t>(site[0]) * cell_sides + static_cast<size_t>(site[1])] = pair[1];
  }
}

[[nodiscard]] shading read_shading(const char* name, py::handle value, const char* lights_name) {
  shading found{};
  found.size.rows = integer_attribute(name, value, "height", uint16_limit);
  found.size.columns = integer_attribute(name, value, "width", uint16_limit);
  const bool is_source = std::string(lights_name) == "lights_ext";
  const std::string full = std::string(name) + "." + lights_name;
  const py::tuple lights =
      sequence_of(named(full), attribute(name, value, lights_name), "a sequence of lights");
  require_at_most(named(full), "lights", static_cast<py::ssize_t>(lights.size()), uint16_limit);
  for (size_t i = 0; i < lights.size(); ++i) {
    const std::string owner = full + "[" + std::to_string(i) + "]";
    const py::object given = lights[i];
    light one{};
    one.light_id = static_cast<uint32_t>(integer_attribute(owner, given, "light_id", UINT32_MAX));
    one.gains = float_pair(owner, given, "gains");
    one.coords = float_pair(owner, given, "coords");
    one.fraction_bits =
        static_cast<uint16_t>(integer_attribute(owner, given, "fraction_bits", uint16_limit));
    if (is_source) {
      one.aux = static_cast<uint16_t>(integer_attribute(owner, given, "aux", uint16_limit));
    }
    read_tables(owner + ".tables", attribute(owner, given, "tables"), one);
    found.lights.push_back(std::move(one));
  }
  return found;
}

/// Replaces each table by a dense array: its own copy, or itself where it is dense and only read.
void make_dense(const char* name, shading& set, bool copied) {
  for (size_t i = 0; i < set.lights.size(); ++i) {
    for (size_t site = 0; site < set.lights[i].table.size(); ++site) {
      py::object& table = set.lights[i].table[site];
      if (table.ptr() == nullptr) continue;
      const std::string full = std::string(name) + "[" + std::to_string(i) + "].tables[(" +
                               std::to_string(site / cell_sides) + ", " +
                               std::to_string(site % cell_sides) + ")]";
      require_shape(named(full), array_of(named(full), table, element::uint16, 2),
                    {set.size.rows, set.size.columns});
      table = copied ? dense_copy(table) : dense_copy_if_needed(table);
    }
  }
}

/// The part that both C structures have.
template <typename Light>
[[nodiscard]] Light light_structure(const light& one) {
  Light structure{};
  structure.light_id = one.light_id;
  structure.fraction_bits = one.fraction_bits;
  for (size_t i = 0; i < 2; ++i) {
    structure.gains[i] = one.gains[i];
    structure.coords[i] = one.coords[i];
  }
  for (size_t site = 0; site < one.table.size(); ++site) {
    if (one.table[site].ptr() == nullptr) continue;
    structure.tables[site / cell_sides][site % cell_sides] =
        static_cast<uint16_t*>(data_of(one.table[site]));
  }
  return structure;
}

[[nodiscard]] lens_shading_set set_structure(const shading& set) {
  lens_shading_set structure{};
  structure.light_count = static_cast<uint16_t>(set.lights.size());
  structure.width = static_cast<uint16_t>(set.size.columns);
  structure.height = static_cast<uint16_t>(set.size.rows);
  return structure;
}

/// The gain tables of `gains`, which stay alive and of their size as long as this does.
class gains_argument {
 public:
  gains_argument(py::handle gains, sides target, bool written) {
    if (py::isinstance<gain_tables>(gains)) {
      const auto& built = gains.cast<const gain_tables&>();
      block_ = built.tables();
      require_size("gains", built.size(), target);
      for (size_t i = 0; i < block_->table_count; ++i) {
        pointers_.push_back(block_->gain_tables[i]);
      }
    } else {
      arrays_ = sequence_of(named("gains"), gains,
                            "ComputedUpscaleLscTables or a sequence of arrays of float32");
      require_at_most(named("gains"), "tables", static_cast<py::ssize_t>(arrays_.size()), 255);
      for (size_t i = 0; i < arrays_.size(); ++i) read_array(i, target, written);
    }
    structure_.table_count = static_cast<uint8_t>(pointers_.size());
    pointers_.push_back(nullptr);  // so that the array is one also without tables
    structure_.gain_tables = pointers_.data();
  }
  gains_argument(const gains_argument&) = delete;
  gains_argument& operator=(const gains_argument&) = delete;

  [[nodiscard]] computed_upscale_lsc_tables* structure() { return &structure_; }

 private:
  static void require_size(const std::string& name, sides found, sides target) {
    if (found.rows == target.rows && found.columns == target.columns) return;
    wrong_value(named(name), "has planes of shape (" + std::to_string(found.rows) + ", " +
                                 std::to_string(found.columns) + "), expected (" +
                                 std::to_string(target.rows) + ", " +
                                 std::to_string(target.columns) + ") as the target's tables");
  }

  void read_array(size_t i, sides target, bool written) {
    const std::string name = "gains[" + std::to_string(i) + "]";
    const py::object array = arrays_[i];
    const array_view view = dense_array_of(named(name), array, element::float32, 3);
    require_shape(named(name), view, {4, target.rows, target.columns});
    if (written) require_writable(named(name), view);
    pointers_.push_back(reinterpret_cast<float*>(view.data));
  }

  gain_tables::block block_;
  py::tuple arrays_;
  std::vector<float*> pointers_;
  computed_upscale_lsc_tables structure_{};
};

/// A corrected light; its tables are arrays of its own.
struct corrected_light {
  uint32_t light_id;
  uint16_t fraction_bits;
  py::object gains;
  py::object coords;
  py::dict tables;
};

[[nodiscard]] py::object array_of_pair(const float* pair) {
  py::object array = new_array(element::float32, {2}, fill::none);
  float* const into = static_cast<float*>(data_of(array));
  into[0] = pair[0];
  into[1] = pair[1];
  return array;
}

[[nodiscard]] py::tuple corrected(const shading& target,
                                  const std::vector<lens_shading_light>& lights) {
  py::tuple all(lights.size());
  for (size_t i = 0; i < lights.size(); ++i) {
    corrected_light one{lights[i].light_id, lights[i].fraction_bits, array_of_pair(lights[i].gains),
                        array_of_pair(lights[i].coords), py::dict()};
    for (size_t site = 0; site < target.lights[i].table.size(); ++site) {
      const py::object& table = target.lights[i].table[site];
      if (table.ptr() == nullptr) continue;
      one.tables[py::make_tuple(site / cell_sides, site % cell_sides)] = table;
    }
    all[i] = py::cast(std::move(one));
  }
  return all;
}

py::tuple python_correction(const py::object& target, const py::object& source,
                            const py::object& gains, const py::object& cfa_layout,
                            const py::object& plane_order) {
  const int64_t layout = integer_of(named("cfa_layout"), cfa_layout, 0, UINT32_MAX);
  const int64_t order = integer_of(named("plane_order"), plane_order, 0, UINT32_MAX);
  shading to = read_shading("target", target, "lights");
  shading from = read_shading("source", source, "lights_ext");
  gains_argument tables(gains, to.size, layout >= first_large_cell);
  make_dense("target.lights", to, true);
  make_dense("source.lights_ext", from, false);

  // One more than there are, so that a set without lights is not one without an array.
  std::vector<lens_shading_light> lights;
  lights.reserve(to.lights.size() + 1);
  for (const light& one : to.lights) lights.push_back(light_structure<lens_shading_light>(one));
  std::vector<lens_shading_light_ext> source_lights;
  source_lights.reserve(from.lights.size() + 1);
  for (const light& one : from.lights) {
    source_lights.push_back(light_structure<lens_shading_light_ext>(one));
    source_lights.back().aux = one.aux;
  }
  lens_shading_set target_set = set_structure(to);
  target_set.lights = lights.data();
  lens_shading_set source_set = set_structure(from);
  source_set.lights_ext = source_lights.data();
  call_unlocked(function_name, [&] {
    return ratio_based_sample_to_sample_correction(&target_set, &source_set, tables.structure(),
                                                   static_cast<uint32_t>(layout),
                                                   static_cast<uint32_t>(order));
  });
  return corrected(to, lights);
}

void define_corrected_light(py::module_& module) {
  py::class_<corrected_light> type(module, "CorrectedLight",
                                   R"(A light source with tables that were rewritten for one module.

Attributes
----------
light_id : int
    Number of the light source.
gains, coords : (2,) array of float32
    Two numbers each, of the source's light.
fraction_bits : int
    Fractional bits of the samples, of the source's light.
tables : dict of (row, column) to (height, width) array of uint16
    The tables of the colour-filter cell's sites, which share memory with nothing.

Examples
--------
>>> cmc = qo_cmc.parse(qo_cmc.sample_container())
>>> ones = np.ones((4, cmc.lens_shading.height, cmc.lens_shading.width), np.float32)
>>> light = qo_cmc.ratio_based_sample_to_sample_correction(
...     cmc.lens_shading, cmc.lens_shading_ext, [ones] * 255, 0, 0)[0]
>>> sorted(light.tables)
[(0, 0), (0, 1), (1, 0), (1, 1)]
)");
  made_here_only(type);
  type.def_readonly("light_id", &corrected_light::light_id)
      .def_readonly("gains", &corrected_light::gains)
      .def_readonly("coords", &corrected_light::coords)
      .def_readonly("fraction_bits", &corrected_light::fraction_bits)
      .def_readonly("tables", &corrected_light::tables)
      .def("__repr__", [](const corrected_light& self) {
        return "<CorrectedLight " + std::to_string(self.light_id) + ", " +
               std::to_string(self.tables.size()) + " tables>";
      });
}

}  // namespace

void define_correction(py::module_& module) {
  using namespace py::literals;
  define_corrected_light(module);
  module.def(
      "ratio_based_sample_to_sample_correction", &python_correction, "target"_a, "source"_a,
      "gains"_a, "cfa_layout"_a, "plane_order"_a,
      R"(ratio_based_sample_to_sample_correction(target, source, gains, cfa_layout, plane_order)
--

Rewrite lens-shading tables for one camera module: the source's times the gains of their colours.

Neither set is changed: the result holds copies. A product is truncated, and its low 16 bits are
stored without a clamp. With a cell of 4 x 4 sites both green planes of the gain tables are first
replaced by their mean, in `gains` itself, also when a later light is refused.

Parameters
----------
target : lens shading
    ``cmc.lens_shading``, or any object with its `width`, `height` and `lights`, each of these with
    `light_id`, `gains`, `coords`, `fraction_bits` and `tables`.
source : lens shading with `lights_ext`
    ``cmc.lens_shading_ext``, or the like; each light also has `aux`, the number of its gain table,
    counted from 1.
gains : ComputedUpscaleLscTables or sequence of (4, height, width) arrays of float32
    Gain tables in the target's size. C-contiguous; writable with a cell of 4 x 4 sites.
cfa_layout : int
    The sensor's cell: 0 to 3 (2 x 2 sites), or 256 to 263 (4 x 4 sites).
plane_order : int
    0 to 3: the planes of a gain table are the sites of this cell of 2 x 2, row by row.

Returns
-------
tuple of CorrectedLight
    One for each light of `target`, with copies of its tables.

Raises
------
TypeError, ValueError
    An argument is not as described.
StatusError
    The source has fewer lights or smaller tables than the target, `aux` names no table, or a code
    is none of the above: QO_CMC_INVALID.

Examples
--------
>>> from types import SimpleNamespace as Record
>>> light = dict(light_id=1, gains=(1, 1), coords=(0, 0), fraction_bits=12)
>>> plane = np.array([[1000, 2000]], np.uint16)
>>> target = Record(width=2, height=1, lights=[Record(**light, tables={(0, 0): plane})])
>>> source = Record(width=2, height=1, lights_ext=[
...     Record(**light, tables={(0, 0): plane}, aux=1)])
>>> gains = np.full((4, 1, 2), 1.2345, np.float32)
>>> lights = qo_cmc.ratio_based_sample_to_sample_correction(target, source, [gains], 0, 0)
>>> lights[0].tables[(0, 0)]
array([[1234, 2469]], dtype=uint16)
)");
}

}  // namespace qo_python
