// Border extrapolation, the bicubic upscalers to float and the bicubic resizers to 16 bit.

#include "python/binding/toolkit_arguments.h"
#include "python/binding/toolkit_families.h"
#include "python/binding/toolkit_planes.h"
#include "python/binding/toolkit_status.h"
#include "qo_cmc/image_utils.h"

namespace qo_python {
namespace {

using namespace py::literals;

/// The largest side that border cells can be put around.
constexpr int64_t largest_side = 65532;

/// How far a mode reaches from its cell: steps up or down, and to the left or right.
struct reach {
  int rows;
  int columns;
};

[[nodiscard]] reach reach_of(int64_t mode) {
  switch (mode) {
    case 0:
      return {2, 0};
    case 1:
      return {-2, 0};
    case 2:
      return {0, 2};
    case 3:
      return {0, -2};
    case 4:
      return {2, 2};
    case 5:
      return {2, -2};
    case 6:
      return {-2, 2};
    case 7:
      return {-2, -2};
    default:
      return {0, 0};
  }
}

double python_interpolate_gain_value(const py::object& buffer, const py::object& cell,
                                     const py::object& mode) {
  constexpr const char* name = "interpolate_gain_value";
  const int64_t which = integer_of({name, "mode"}, mode, 0, UINT32_MAX);
  const sides place = sides_of({name, "cell"}, cell, 0, INT64_MAX);
  const array_view view = dense_array_of({name, "buffer"}, buffer, element::float32, 2);
  require_writable({name, "buffer"}, view);
  const py::ssize_t rows = view.shape[0];
  const py::ssize_t columns = view.shape[1];
  require_at_most({name, "buffer"}, "columns", columns, uint16_limit);
  const std::string size =
      "a buffer of shape (" + std::to_string(rows) + ", " + std::to_string(columns) + ")";
  const std::string found =
      "is (" + std::to_string(place.rows) + ", " + std::to_string(place.columns) + ")";
  if (place.rows >= rows || place.columns >= columns) {
    wrong_value({name, "cell"}, found + ", expected a cell of " + size);
  }
  const reach to = reach_of(which);
  const py::ssize_t last_row = place.rows + to.rows;
  const py::ssize_t last_column = place.columns + to.columns;
  if (last_row < 0 || last_row >= rows || last_column < 0 || last_column >= columns) {
    wrong_value({name, "cell"}, found + ", expected one from which mode " + std::to_string(which) +
                                    " reaches two cells inside " + size);
  }
  float* const target = reinterpret_cast<float*>(view.data) + place.rows * columns + place.columns;
  interpolate_gain_value(target, static_cast<uint16_t>(columns), static_cast<uint32_t>(which));
  return static_cast<double>(*target);
}

template <typename Element>
using upscale_function = uint32_t(const Element* const*, float* const*, uint16_t, uint16_t,
                                  uint16_t, uint16_t, uint16_t);

template <typename Element>
py::object upscale(const char* name, upscale_function<Element>* function, py::handle src_planes,
                   py::handle shape, py::handle out) {
  const sides size = sides_of({name, "shape"}, shape, 0, uint16_limit);
  const source_planes<Element> from = planes_of<Element>({name, "src_planes"}, src_planes);
  const auto to = result_of<float>({name, "out"}, out, {from.count(), size.rows, size.columns});
  refuse_overlap({name, "out"}, to.range, "src_planes", from);
  const std::vector<float*> planes = split_planes(to.data, from.count(), size);
  call_unlocked(name, [&] {
    return function(from.planes.data(), planes.data(), static_cast<uint16_t>(from.size.columns),
                    static_cast<uint16_t>(from.size.rows), static_cast<uint16_t>(size.columns),
                    static_cast<uint16_t>(size.rows), static_cast<uint16_t>(from.count()));
  });
  return to.array;
}

template <typename Element>
void define_upscale(py::module_& module, const char* name, upscale_function<Element>* function,
                    const char* doc) {
  module.def(
      name,
      [name, function](const py::object& src_planes, const py::object& shape,
                       const py::object& out) {
        return upscale<Element>(name, function, src_planes, shape, out);
      },
      "src_planes"_a, "shape"_a, py::kw_only(), "out"_a = py::none(), doc);
}

py::object python_create_extrapolated_buffer(const py::object& src, const py::object& out) {
  constexpr const char* name = "create_extrapolated_buffer_for_bicubic_u16";
  const plane<uint16_t> from = plane_of<uint16_t>({name, "src"}, src, largest_side);
  if (from.size.rows == 0 || from.size.columns == 0) {
    wrong_value({name, "src"}, "has shape (" + std::to_string(from.size.rows) + ", " +
                                   std::to_string(from.size.columns) +
                                   "), expected sides of 1 to 65532");
  }
  const auto to = result_of<float>({name, "out"}, out, {from.size.rows + 3, from.size.columns + 3});
  refuse_overlap({name, "out"}, to.range, "src", from.range);
  call_unlocked(name, [&] {
    create_extrapolated_buffer_for_bicubic_u16(from.data, to.data,
                                               static_cast<uint16_t>(from.size.columns),
                                               static_cast<uint16_t>(from.size.rows));
    return 0u;
  });
  return to.array;
}

py::object python_bicubic_resize_32f(const py::object& src, const py::object& shape,
                                     const py::object& out) {
  constexpr const char* name = "bicubic_resize_32f_to_u16p10";
  const sides size = sides_of({name, "shape"}, shape, 0, uint16_limit);
  const plane<float> from = plane_of<float>({name, "src"}, src, uint16_limit);
  const auto to = result_of<uint16_t>({name, "out"}, out, {size.rows, size.columns});
  refuse_overlap({name, "out"}, to.range, "src", from.range);
  call_unlocked(name, [&] {
    return bicubic_resize_32f_to_u16p10(
        from.data, static_cast<uint16_t>(from.size.rows), static_cast<uint16_t>(from.size.columns),
        to.data, static_cast<uint16_t>(size.rows), static_cast<uint16_t>(size.columns));
  });
  return to.array;
}

py::object python_bicubic_resize_u16(const py::object& src, const py::object& shape,
                                     const py::object& in_frac_bits, const py::object& out) {
  constexpr const char* name = "bicubic_resize_u16_to_u16";
  const sides size = sides_of({name, "shape"}, shape, 0, uint16_limit);
  const int64_t bits = integer_of({name, "in_frac_bits"}, in_frac_bits, 0, uint16_limit);
  const plane<uint16_t> from = plane_of<uint16_t>({name, "src"}, src, uint16_limit);
  const auto to = result_of<uint16_t>({name, "out"}, out, {size.rows, size.columns});
  refuse_overlap({name, "out"}, to.range, "src", from.range);
  call_unlocked(name, [&] {
    return bicubic_resize_u16_to_u16(
        from.data, static_cast<uint16_t>(from.size.rows), static_cast<uint16_t>(from.size.columns),
        static_cast<uint16_t>(bits), to.data, static_cast<uint16_t>(size.rows),
        static_cast<uint16_t>(size.columns));
  });
  return to.array;
}

}  // namespace

void define_bicubic(py::module_& module) {
  module.def("interpolate_gain_value", &python_interpolate_gain_value, "buffer"_a, "cell"_a,
             "mode"_a, R"(interpolate_gain_value(buffer, cell, mode)
--

Extrapolate one border cell of a buffer of floats, in place, from its neighbours inward.

A side's cell becomes 2 a - b with its neighbour a and the next one b; a corner's the mean of both
directions.

Parameters
----------
buffer : (rows, columns) array of float32
    C-contiguous and writable, at most 65535 columns.
cell : (int, int)
    Row and column of the cell that is written.
mode : int
    Where the cell lies: 0 top, 1 bottom, 2 left, 3 right, 4 top left, 5 top right, 6 bottom left,
    7 bottom right. Any other writes 0.

Returns
-------
float
    What was written.

Raises
------
TypeError, ValueError
    An argument is not as described, or a cell that the mode reads lies outside the buffer.

Examples
--------
>>> buffer = np.array([[0, 5, 7]], np.float32)
>>> qo_cmc.interpolate_gain_value(buffer, (0, 0), 2)
3.0
>>> buffer
array([[3., 5., 7.]], dtype=float32)
)");
  define_upscale<uint8_t>(module, "image_bicubic_upscale_uint8_to_float",
                          &image_bicubic_upscale_uint8_to_float,
                          R"(image_bicubic_upscale_uint8_to_float(src_planes, shape, *, out=None)
--

Enlarge planes of 8-bit samples to floats by bicubic interpolation, corner-aligned.

Parameters
----------
src_planes : (n, rows, columns) array of uint8, or a sequence of n planes
    C-contiguous, each side 2 to 65532.
shape : (int, int)
    Rows and columns of the results, each at least its source's, at most 65535.
out : array of float32, n planes of that shape, optional
    Where the results are written; C-contiguous, must not overlap `src_planes`.

Returns
-------
(n, rows, columns) array of float32
    `out`, or a new array, in units of the source.

Raises
------
TypeError, ValueError
    An argument is not as described.
StatusError
    A side is out of range: QO_CMC_INVALID_SIZE.
MemoryError
    There is no working memory.

Examples
--------
>>> planes = np.array([[[0, 10], [20, 30]]], np.uint8)
>>> qo_cmc.image_bicubic_upscale_uint8_to_float(planes, (2, 3))
array([[[ 0.,  5., 10.],
        [20., 25., 30.]]], dtype=float32)
)");
  define_upscale<uint16_t>(module, "image_bicubic_upscale_uint16_to_float",
                           &image_bicubic_upscale_uint16_to_float,
                           R"(image_bicubic_upscale_uint16_to_float(src_planes, shape, *, out=None)
--

Enlarge planes of 16-bit samples to floats by bicubic interpolation, corner-aligned.

Results are clamped to -255 ... 65535.

Parameters
----------
src_planes : (n, rows, columns) array of uint16, or a sequence of n planes
    C-contiguous, each side 2 to 65532.
shape : (int, int)
    Rows and columns of the results, each at least its source's, at most 65535.
out : array of float32, n planes of that shape, optional
    Where the results are written; C-contiguous, must not overlap `src_planes`.

Returns
-------
(n, rows, columns) array of float32
    `out`, or a new array, in units of the source.

Raises
------
TypeError, ValueError
    An argument is not as described.
StatusError
    A side is out of range: QO_CMC_INVALID_SIZE.
MemoryError
    There is no working memory.

Examples
--------
>>> plane = np.array([[0, 1000], [2000, 3000]], np.uint16)
>>> qo_cmc.image_bicubic_upscale_uint16_to_float([plane], (3, 2))
array([[[   0., 1000.],
        [1000., 2000.],
        [2000., 3000.]]], dtype=float32)
)");
  module.def("create_extrapolated_buffer_for_bicubic_u16", &python_create_extrapolated_buffer,
             "src"_a, py::kw_only(), "out"_a = py::none(),
             R"(create_extrapolated_buffer_for_bicubic_u16(src, *, out=None)
--

Copy a plane into floats, continued linearly on all sides as the bicubic functions need it.

Parameters
----------
src : (rows, columns) array of uint16
    C-contiguous, each side 1 to 65532.
out : (rows + 3, columns + 3) array of float32, optional
    Where the result is written; C-contiguous, must not overlap `src`.

Returns
-------
(rows + 3, columns + 3) array of float32
    `out`, or a new array: one row above the plane and one column to its left, two rows below and
    two columns to the right.

Raises
------
TypeError, ValueError
    An argument is not as described.

Examples
--------
>>> plane = np.array([[1, 2], [3, 4]], np.uint16)
>>> qo_cmc.create_extrapolated_buffer_for_bicubic_u16(plane)
array([[-2., -1.,  0.,  1.,  2.],
       [ 0.,  1.,  2.,  3.,  4.],
       [ 2.,  3.,  4.,  5.,  6.],
       [ 4.,  5.,  6.,  7.,  8.],
       [ 6.,  7.,  8.,  9., 10.]], dtype=float32)
)");
  module.def("bicubic_resize_32f_to_u16p10", &python_bicubic_resize_32f, "src"_a, "shape"_a,
             py::kw_only(), "out"_a = py::none(),
             R"(bicubic_resize_32f_to_u16p10(src, shape, *, out=None)
--

Resize a float plane to 16-bit samples with 10 fractional bits by bicubic interpolation.

Results are truncated, and their low 16 bits stored without a clamp: -1 becomes 65535. Add 0.5 /
1024 to the source to round instead. A smaller output takes points, not means.

Parameters
----------
src : (rows, columns) array of float32
    C-contiguous, each side 1 to 65532; 1.0 gives 1024.
shape : (int, int)
    Rows and columns of the result, at most 65535.
out : array of uint16 of that shape, optional
    Where the result is written; C-contiguous, must not overlap `src`.

Returns
-------
array of uint16
    `out`, or a new array.

Raises
------
TypeError, ValueError
    An argument is not as described.
StatusError
    A side of the source is out of range: QO_CMC_INVALID_SIZE.
MemoryError
    There is no working memory.

Examples
--------
>>> qo_cmc.bicubic_resize_32f_to_u16p10(np.array([[1, 2], [1, 2]], np.float32), (2, 3))
array([[1024, 1536, 2048],
       [1024, 1536, 2048]], dtype=uint16)
)");
  module.def("bicubic_resize_u16_to_u16", &python_bicubic_resize_u16, "src"_a, "shape"_a,
             "in_frac_bits"_a, py::kw_only(), "out"_a = py::none(),
             R"(bicubic_resize_u16_to_u16(src, shape, in_frac_bits, *, out=None)
--

Resize 16-bit samples to 16-bit samples with 10 fractional bits by bicubic interpolation.

The result of `bicubic_resize_32f_to_u16p10` for ``src / 2**in_frac_bits``, but an output side of 1
is refused.

Parameters
----------
src : (rows, columns) array of uint16
    C-contiguous, each side 1 to 65532.
shape : (int, int)
    Rows and columns of the result, not 1, at most 65535.
in_frac_bits : int
    Fractional bits of the samples, modulo 32.
out : array of uint16 of that shape, optional
    Where the result is written; C-contiguous, must not overlap `src`.

Returns
-------
array of uint16
    `out`, or a new array.

Raises
------
TypeError, ValueError
    An argument is not as described.
StatusError
    A side is out of range: QO_CMC_INVALID_SIZE.
MemoryError
    There is no working memory.

Examples
--------
>>> qo_cmc.bicubic_resize_u16_to_u16(np.array([[256, 512], [256, 512]], np.uint16), (2, 3), 8)
array([[1024, 1536, 2048],
       [1024, 1536, 2048]], dtype=uint16)
)");
}

}  // namespace qo_python
