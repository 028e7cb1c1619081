// Lens-shading sets: lights, and a table for each site of the colour-filter cell.

#include <array>

#include "lsc/colour_cells.h"
#include "python/binding/slot_classes.h"

namespace qo_python {
namespace {

constexpr size_t cell_side = 4;

/// Tables of the sites that have one, by (row, column).
template <typename Light>
[[nodiscard]] py::dict tables_of(const part<Light, lens_shading_set>& self) {
  const lens_shading_set& set = self.in();
  py::dict tables;
  for (size_t row = 0; row < cell_side; ++row)
    for (size_t column = 0; column < cell_side; ++column)
      if (const uint16_t* const table = self.get().tables[row][column]; table != nullptr)
        tables[py::make_tuple(row, column)] =
            view_of(self.of(), array_of<uint16_t>(table, set.height, set.width));
  return tables;
}

/// The cell that record 2 names. Raises LookupError where it does not.
[[nodiscard]] qo::colour_cell cell_of(const held& of) {
  const module_properties_record* const record_2 = of->cmc().module_properties;
  if (record_2 == nullptr) {
    PyErr_SetString(PyExc_LookupError,
                    "no record 2 says which colours the sites of the cell have: "
                    "tables has them by (row, column)");
    throw py::error_already_set();
  }
  const qo::colour_cell cell = qo::find_colour_cell(record_2->cfa_layout);
  if (cell.side == 0) {
    PyErr_SetString(PyExc_LookupError,
                    ("cfa_layout " + std::to_string(record_2->cfa_layout) +
                     " of record 2 names no cell: tables has the sites by (row, column)")
                        .c_str());
    throw py::error_already_set();
  }
  return cell;
}

/// The site of each colour, the first in raster order that has a table: {"C1": (row, column), ...}.
template <typename Light>
[[nodiscard]] py::dict channel_sites_of(const part<Light, lens_shading_set>& self) {
  static constexpr std::array<std::pair<qo::colour, const char*>, 4> colours = {
      {{qo::colour::C1, "C1"},
       {qo::colour::G1, "G1"},
       {qo::colour::G2, "G2"},
       {qo::colour::C2, "C2"}}};
  const qo::colour_cell cell = cell_of(self.of());
  py::dict sites;
  for (const auto& [colour, name] : colours)
    for (size_t site = 0; site < cell.side * cell.side && !sites.contains(name); ++site) {
      const size_t row = site / cell.side, column = site % cell.side;
      if (cell.at(row, column) == colour && self.get().tables[row][column] != nullptr)
        sites[name] = py::make_tuple(row, column);
    }
  return sites;
}

template <typename Light>
[[nodiscard]] py::dict channels_of(const part<Light, lens_shading_set>& self) {
  const lens_shading_set& set = self.in();
  py::dict channels;
  for (const auto& [name, site] : channel_sites_of(self)) {
    const auto [row, column] = site.template cast<std::pair<size_t, size_t>>();
    channels[name] = view_of(
        self.of(), array_of<uint16_t>(self.get().tables[row][column], set.height, set.width));
  }
  return channels;
}

constexpr const char* channels_doc = R"(The tables by colour channel.

Returns
-------
dict of str to numpy.ndarray
    "C1", "G1", "G2" and "C2", in this order: of each colour that has a table the first in the
    cell's raster order. The cells of 4 x 4 sites have several of one colour: `tables` has them all.

Raises
------
LookupError
    Where no record 2 names the cell.

Examples
--------
>>> import qo_cmc
>>> cmc = qo_cmc.parse(qo_cmc.sample_container())
>>> {name: table.shape for name, table in cmc.lens_shading.lights[0].channels().items()}
{'C1': (49, 65), 'G1': (49, 65), 'G2': (49, 65), 'C2': (49, 65)}
)";

constexpr const char* channel_sites_doc = R"(The site, (row, column), of each table of `channels`.

Returns
-------
dict of str to (int, int)

Raises
------
LookupError
    Where no record 2 names the cell.
)";

constexpr const char* physical_doc =
    R"(The tables as gains: samples divided by ``1 << fraction_bits``.

Returns
-------
PhysicalGains
    A mapping as `tables` is, of ``float32``, which holds every sample exactly; its method
    `channels` has them by colour.

Examples
--------
>>> import qo_cmc
>>> light = qo_cmc.parse(qo_cmc.sample_container()).lens_shading.lights[0]
>>> gains = light.physical()
>>> gains[0, 0].dtype, bool((gains[0, 0] * 2**light.fraction_bits == light.tables[0, 0]).all())
(dtype('float32'), True)
)";

template <typename Light>
void add_light_class(py::module_& module, const char* name, const char* doc) {
  using object = part<Light, lens_shading_set>;
  part_class<Light, lens_shading_set> light(module, name, doc);
  light.field("light_id", &Light::light_id)
      .field("gains", &Light::gains)
      .field("coords", &Light::coords)
      .field("fraction_bits", &Light::fraction_bits)
      .made("tables", [](const object& self) { return tables_of(self); })
      .method(
          "channels", [](const object& self) { return channels_of(self); }, channels_doc)
      .method(
          "channel_sites", [](const object& self) { return channel_sites_of(self); },
          channel_sites_doc)
      .method(
          "physical",
          [](const object& self) {
            return py::module_::import("qo_cmc._gains").attr("PhysicalGains")(py::cast(self));
          },
          physical_doc);
  if constexpr (std::is_same_v<Light, lens_shading_light_ext>) light.field("aux", &Light::aux);
}

/// What tells the class of the extended set from that of the other: the structure is the same.
struct extended {};

template <typename Light>
[[nodiscard]] py::tuple lights_of(const held& of, const lens_shading_set& set,
                                  const Light* lights) {
  py::tuple all(lights != nullptr ? set.light_count : 0);
  for (size_t i = 0; i < all.size(); ++i)
    all[i] = py::cast(part<Light, lens_shading_set>(of, &lights[i], &set));
  return all;
}

/// The members that both forms of a set have.
template <typename In>
void add_set_members(part_class<lens_shading_set, In>& set) {
  set.field("size", &lens_shading_set::size)
      .field("version", &lens_shading_set::version)
      .field("reserved", &lens_shading_set::reserved)
      .field("id", &lens_shading_set::id)
      .field("channel_map", &lens_shading_set::channel_map)
      .field("light_count", &lens_shading_set::light_count)
      .field("width", &lens_shading_set::width)
      .field("height", &lens_shading_set::height);
}

}  // namespace

void add_lens_shading_classes(py::module_& module) {
  add_light_class<lens_shading_light>(module, "Light", R"(A light source of a lens-shading set.

Attributes
----------
light_id : int
gains, coords : numpy.ndarray
    Two ``float32`` each, as the record has them: `gains` are no tables.
fraction_bits : int
    Fractional bits of the tables' samples.
tables : dict of (int, int) to numpy.ndarray
    ``uint16``, height x width, by row and column of the colour-filter cell; sites without a table
    are left out.
)");
  add_light_class<lens_shading_light_ext>(module, "LightExt",
                                          R"(A light source of the extended lens-shading set.

Attributes
----------
light_id : int
gains, coords : numpy.ndarray
    Two ``float32`` each, as the record has them: `gains` are no tables.
fraction_bits : int
    Fractional bits of the tables' samples.
tables : dict of (int, int) to numpy.ndarray
    ``uint16``, height x width, by row and column of the colour-filter cell; sites without a table
    are left out.
aux : int
    1-based number of the calibration set that belongs to the light; 0: none.
)");

  part_class<lens_shading_set> set(module, "LensShading", R"(Lens-shading tables.

Attributes
----------
size, version, reserved, id : int
    Of the record that the set was built from.
channel_map : numpy.ndarray
    ``int8``, 4 x 4: plane of each site of the colour-filter cell in the record; negative: none.
light_count, width, height : int
    Light sources, and columns and rows of every table.
lights : tuple of Light
)");
  add_set_members(set);
  set.made("lights", [](const part<lens_shading_set>& self) {
    return lights_of(self.of(), self.get(), self.get().lights);
  });

  part_class<lens_shading_set, extended> ext(module, "LensShadingExt",
                                             R"(The extended lens-shading tables.

Attributes
----------
size, version, reserved, id : int
    Of the record that the set was built from.
channel_map : numpy.ndarray
    ``int8``, 4 x 4: plane of each site of the colour-filter cell in the record; negative: none.
light_count, width, height : int
    Light sources, and columns and rows of every table.
lights_ext : tuple of LightExt
)");
  add_set_members(ext);
  ext.made("lights_ext", [](const part<lens_shading_set, extended>& self) {
    return lights_of(self.of(), self.get(), self.get().lights_ext);
  });
}

py::object lens_shading_of(const held& of, const lens_shading_set* set) {
  if (set == nullptr) return py::none();
  return py::cast(part<lens_shading_set>(of, set, nullptr));
}

py::object lens_shading_ext_of(const held& of, const lens_shading_set* set) {
  if (set == nullptr) return py::none();
  return py::cast(part<lens_shading_set, extended>(of, set, nullptr));
}

}  // namespace qo_python
