// lu_decomposition(), lsc_polynomial_upscale_float() and do_polynomial_upscale(): the quartic
// surface.

#include "python/binding/toolkit_arguments.h"
#include "python/binding/toolkit_families.h"
#include "python/binding/toolkit_planes.h"
#include "python/binding/toolkit_status.h"
#include "qo_cmc/lsc.h"

namespace qo_python {
namespace {

/// Coefficients of a quartic surface.
constexpr py::ssize_t surface_terms = 15;

py::tuple python_lu_decomposition(const py::object& grid_shape, const py::object& design,
                                  const py::object& out) {
  constexpr const char* name = "lu_decomposition";
  const sides grid = sides_of({name, "grid_shape"}, grid_shape, 0, uint16_limit);
  const auto given = results_of<3>({name, "out"}, out, "(design_t, lu, dst_index)");
  const py::ssize_t samples = grid.rows * grid.columns;
  py::ssize_t terms = surface_terms;
  if (!design.is_none()) {
    const array_view view = array_of({name, "design"}, design, element::float32, 2);
    require_at_most({name, "design"}, "columns", view.shape[1], uint16_limit);
    terms = view.shape[1];
  }
  const auto rows = result_of<float>({name, "design"}, design, {samples, terms});
  const auto transposed = result_of<float>({name, "out[0]"}, given[0], {terms, samples});
  const auto factors = result_of<float>({name, "out[1]"}, given[1], {terms, terms});
  const auto index = result_of<int32_t>({name, "out[2]"}, given[2], {terms});
  refuse_overlap({name, "out[0]"}, transposed.range, "design", rows.range);
  refuse_overlap({name, "out[1]"}, factors.range, "design", rows.range);
  refuse_overlap({name, "out[1]"}, factors.range, "out[0]", transposed.range);
  refuse_overlap({name, "out[2]"}, index.range, "design", rows.range);
  refuse_overlap({name, "out[2]"}, index.range, "out[0]", transposed.range);
  refuse_overlap({name, "out[2]"}, index.range, "out[1]", factors.range);
  call_unlocked(name, [&] {
    return lu_decomposition(rows.data, transposed.data, factors.data, index.data,
                            static_cast<uint16_t>(grid.columns), static_cast<uint16_t>(grid.rows),
                            static_cast<uint16_t>(terms));
  });
  return py::make_tuple(rows.array, transposed.array, factors.array, index.array);
}

py::object python_lsc_polynomial_upscale(const py::object& design_t, const py::object& lu,
                                         const py::object& source, const py::object& shape,
                                         const py::object& out) {
  constexpr const char* name = "lsc_polynomial_upscale_float";
  constexpr size_t channels = 4;
  const sides size = sides_of({name, "shape"}, shape, 0, uint16_limit);
  const source_planes<float> grids = planes_of<float>({name, "source"}, source);
  if (grids.planes.size() != channels) {
    wrong_value({name, "source"},
                "holds " + std::to_string(grids.planes.size()) + " grids, expected 4");
  }
  const array_view rows = dense_array_of({name, "design_t"}, design_t, element::float32, 2);
  const py::ssize_t terms = rows.shape[0];
  require_at_most({name, "design_t"}, "rows", terms, uint16_limit);
  require_shape({name, "design_t"}, rows, {terms, grids.size.rows * grids.size.columns});
  const array_view factors = dense_array_of({name, "lu"}, lu, element::float32, 2);
  require_shape({name, "lu"}, factors, {terms, terms});
  const auto to = result_of<float>({name, "out"}, out, {channels, size.rows, size.columns});
  refuse_overlap({name, "out"}, to.range, "source", grids);
  refuse_overlap({name, "out"}, to.range, "design_t", range_of(rows));
  refuse_overlap({name, "out"}, to.range, "lu", range_of(factors));
  const std::vector<float*> planes = split_planes(to.data, grids.count(), size);
  call_unlocked(name, [&] {
    return lsc_polynomial_upscale_float(
        reinterpret_cast<const float*>(rows.data), reinterpret_cast<const float*>(factors.data),
        nullptr, grids.planes.data(), planes.data(), static_cast<uint16_t>(grids.size.columns),
        static_cast<uint16_t>(grids.size.rows), static_cast<uint16_t>(size.columns),
        static_cast<uint16_t>(size.rows), static_cast<uint16_t>(terms));
  });
  return to.array;
}

py::object python_do_polynomial_upscale(const py::object& coefficients,
                                        const py::object& grid_shape, const py::object& shape,
                                        const py::object& out) {
  constexpr const char* name = "do_polynomial_upscale";
  const sides grid = sides_of({name, "grid_shape"}, grid_shape, 0, uint16_limit);
  const sides size = sides_of({name, "shape"}, shape, 1, uint16_limit);
  const array_view terms =
      dense_array_of({name, "coefficients"}, coefficients, element::float32, 1);
  require_shape({name, "coefficients"}, terms, {surface_terms});
  const auto to = result_of<float>({name, "out"}, out, {size.rows, size.columns});
  refuse_overlap({name, "out"}, to.range, "coefficients", range_of(terms));
  call_unlocked(name, [&] {
    do_polynomial_upscale(to.data, reinterpret_cast<const float*>(terms.data),
                          static_cast<uint16_t>(grid.columns), static_cast<uint16_t>(grid.rows),
                          static_cast<uint16_t>(size.columns), static_cast<uint16_t>(size.rows));
    return 0u;
  });
  return to.array;
}

}  // namespace

void define_surface_fit(py::module_& module) {
  using namespace py::literals;
  module.def("lu_decomposition", &python_lu_decomposition, "grid_shape"_a, py::kw_only(),
             "design"_a = py::none(), "out"_a = py::none(),
             R"(lu_decomposition(grid_shape, *, design=None, out=None)
--

Prepare the least-squares fit of a quartic surface over a grid.

Row y * columns + x of the design matrix holds the monomials 1, x, y, x^2, xy, y^2, ... y^4 of the
grid's sample in row y and column x, both counted from 1. They are not scaled: take grids of 5 to 10
samples a side.

Parameters
----------
grid_shape : (int, int)
    Rows and columns of the grid, at most 65535.
design : (rows * columns, terms) array of float32, optional
    The design matrix with columns of the caller's own from the 16th on; the first 15 are written.
    C-contiguous.
out : tuple of three arrays, optional
    Where `design_t`, `lu` and `dst_index` are written; C-contiguous, none overlapping another.

Returns
-------
design : (rows * columns, terms) array of float32
    The caller's, or a new one of 15 terms.
design_t : (terms, rows * columns) array of float32
    Its transpose.
lu : (terms, terms) array of float32
    The factors of the normal matrix, as `lu_decomposition_m` gives them.
dst_index : (terms,) array of int32
    0, 1, ... terms - 1.

Raises
------
TypeError, ValueError
    An argument is not as described.
StatusError
    There are fewer than 15 terms, or a matrix exceeds 2^31 - 1 bytes: QO_CMC_STEP_FAILED.
MemoryError
    There is no working memory.

Examples
--------
>>> design, design_t, lu, index = qo_cmc.lu_decomposition((7, 9))
>>> design.shape, design_t.shape, lu.shape, index.shape
((63, 15), (15, 63), (15, 15), (15,))
>>> design[10]  # row 2, column 2
array([ 1.,  2.,  2.,  4.,  4.,  4.,  8.,  8.,  8.,  8., 16., 16., 16.,
       16., 16.], dtype=float32)
)");
  module.def("lsc_polynomial_upscale_float", &python_lsc_polynomial_upscale, "design_t"_a, "lu"_a,
             "source"_a, "shape"_a, py::kw_only(), "out"_a = py::none(),
             R"(lsc_polynomial_upscale_float(design_t, lu, source, shape, *, out=None)
--

Fit a quartic surface to each of four grids by least squares, and sample it at another size.

Parameters
----------
design_t : (15, rows * columns) array of float32
    From `lu_decomposition` for the grids' shape; C-contiguous, as `lu` and `source`.
lu : (15, 15) array of float32
    From the same call.
source : (4, rows, columns) array of float32, or a sequence of four grids
    The grids.
shape : (int, int)
    Rows and columns of the results, at most 65535. A side of 1 makes every sample a NaN.
out : array of float32, four planes of that shape, optional
    Where the results are written; C-contiguous, must not overlap a source.

Returns
-------
(4, rows, columns) array of float32
    `out`, or a new array.

Raises
------
TypeError, ValueError
    An argument is not as described.
StatusError
    A step failed: QO_CMC_STEP_FAILED.

Examples
--------
>>> _, design_t, lu, _ = qo_cmc.lu_decomposition((5, 6))
>>> flat = np.full((4, 5, 6), 1.5, np.float32)
>>> surface = qo_cmc.lsc_polynomial_upscale_float(design_t, lu, flat, (9, 11))
>>> surface.shape, bool(abs(surface - 1.5).max() < 0.01)
((4, 9, 11), True)
)");
  module.def("do_polynomial_upscale", &python_do_polynomial_upscale, "coefficients"_a,
             "grid_shape"_a, "shape"_a, py::kw_only(), "out"_a = py::none(),
             R"(do_polynomial_upscale(coefficients, grid_shape, shape, *, out=None)
--

Sample a quartic surface, corner-aligned with the grid that it was fitted to.

Parameters
----------
coefficients : (15,) array of float32
    Those of 1, x, y, x^2, xy, y^2, x^3, x^2 y, x y^2, y^3, x^4, x^3 y, x^2 y^2, x y^3, y^4, where x
    goes from 1 to the grid's columns, and y to its rows. C-contiguous.
grid_shape : (int, int)
    Rows and columns of the grid, at most 65535.
shape : (int, int)
    Rows and columns of the result, 1 to 65535. A side of 1 makes every sample a NaN.
out : array of float32 of that shape, optional
    Where the result is written; C-contiguous, must not overlap `coefficients`.

Returns
-------
array of float32
    `out`, or a new array.

Raises
------
TypeError, ValueError
    An argument is not as described.

Examples
--------
>>> plane = np.zeros(15, np.float32)
>>> plane[1] = 1  # x
>>> qo_cmc.do_polynomial_upscale(plane, (5, 3), (2, 5))
array([[1. , 1.5, 2. , 2.5, 3. ],
       [1. , 1.5, 2. , 2.5, 3. ]], dtype=float32)
)");
}

}  // namespace qo_python
