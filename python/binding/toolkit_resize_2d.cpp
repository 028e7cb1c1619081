// The resize_2d_array functions and crop_resize_2d_array_uint16(): bilinear, corner-aligned.

#include "python/binding/toolkit_arguments.h"
#include "python/binding/toolkit_families.h"
#include "python/binding/toolkit_status.h"
#include "qo_cmc/image_utils.h"

namespace qo_python {
namespace {

template <typename Element>
using resize_function = uint32_t(const Element*, uint32_t, int32_t, Element*, uint32_t, uint32_t);

template <typename Element>
using interleaved_function = uint32_t(const Element*, uint32_t, int32_t, Element*, uint32_t,
                                      uint32_t, int32_t);

/// Of the float member's widths only the low 16 bits count; all its columns have to.
template <typename Element>
inline constexpr int64_t column_limit =
    element_of<Element> == element::float32 ? uint16_limit : int32_limit;

template <typename Element>
[[nodiscard]] sides output_sides(const char* name, py::handle shape) {
  const sides size = sides_of({name, "shape"}, shape, 0, int32_limit);
  if (size.columns > column_limit<Element>) {
    wrong_value({name, "shape"}, "holds " + std::to_string(size.columns) +
                                     " columns, expected at most " +
                                     std::to_string(column_limit<Element>));
  }
  return size;
}

template <typename Element>
[[nodiscard]] plane<Element> source_of(const char* name, py::handle src) {
  const auto from = plane_of<Element>({name, "src"}, src, int32_limit);
  require_at_most({name, "src"}, "columns", from.size.columns, column_limit<Element>);
  return from;
}

template <typename Element>
py::object resize(const char* name, resize_function<Element>* function, py::handle src,
                  py::handle shape, py::handle out) {
  const sides size = output_sides<Element>(name, shape);
  const plane<Element> from = source_of<Element>(name, src);
  const auto to = result_of<Element>({name, "out"}, out, {size.rows, size.columns});
  refuse_overlap({name, "out"}, to.range, "src", from.range);
  call_unlocked(name, [&] {
    return function(from.data, static_cast<uint32_t>(from.size.columns),
                    static_cast<int32_t>(from.size.rows), to.data,
                    static_cast<uint32_t>(size.columns), static_cast<uint32_t>(size.rows));
  });
  return to.array;
}

template <typename Element>
py::object resize_interleaved(const char* name, interleaved_function<Element>* function,
                              py::handle src, py::handle shape, py::handle dst_step,
                              py::handle channel, py::handle out) {
  const sides size = output_sides<Element>(name, shape);
  const int64_t step = integer_of({name, "dst_step"}, dst_step, 1, int32_limit);
  const int64_t first = integer_of({name, "channel"}, channel, 0, step - 1);
  const plane<Element> from = source_of<Element>(name, src);
  const auto to =
      result_of<Element>({name, "out"}, out, {size.rows, size.columns, step}, fill::zero);
  refuse_overlap({name, "out"}, to.range, "src", from.range);
  call_unlocked(name, [&] {
    return function(from.data, static_cast<uint32_t>(from.size.columns),
                    static_cast<int32_t>(from.size.rows), to.data + first,
                    static_cast<uint32_t>(size.columns), static_cast<uint32_t>(size.rows),
                    static_cast<int32_t>(step));
  });
  return to.array;
}

py::object crop_resize(py::handle src, py::handle shape, py::handle crop_origin,
                       py::handle crop_end, py::handle out) {
  constexpr const char* name = "crop_resize_2d_array_uint16";
  const sides size = output_sides<uint16_t>(name, shape);
  int64_t origin[2];
  integers_of({name, "crop_origin"}, crop_origin, "(left, top)", INT32_MIN, INT32_MAX, origin, 2);
  int64_t end[2];
  integers_of({name, "crop_end"}, crop_end, "(right, bottom)", INT32_MIN, INT32_MAX, end, 2);
  const plane<uint16_t> from = source_of<uint16_t>(name, src);
  const auto to = result_of<uint16_t>({name, "out"}, out, {size.rows, size.columns});
  refuse_overlap({name, "out"}, to.range, "src", from.range);
  call_unlocked(name, [&] {
    return crop_resize_2d_array_uint16(
        from.data, static_cast<uint32_t>(from.size.columns), static_cast<uint32_t>(from.size.rows),
        {static_cast<int32_t>(origin[0]), static_cast<int32_t>(origin[1])},
        {static_cast<int32_t>(end[0]), static_cast<int32_t>(end[1])}, to.data,
        static_cast<uint32_t>(size.columns), static_cast<uint32_t>(size.rows));
  });
  return to.array;
}

using namespace py::literals;

template <typename Element>
void define(py::module_& module, const char* name, resize_function<Element>* function,
            const char* doc) {
  module.def(
      name,
      [name, function](const py::object& src, const py::object& shape, const py::object& out) {
        return resize<Element>(name, function, src, shape, out);
      },
      "src"_a, "shape"_a, py::kw_only(), "out"_a = py::none(), doc);
}

template <typename Element>
void define(py::module_& module, const char* name, interleaved_function<Element>* function,
            const char* doc) {
  module.def(
      name,
      [name, function](const py::object& src, const py::object& shape, const py::object& dst_step,
                       const py::object& channel, const py::object& out) {
        return resize_interleaved<Element>(name, function, src, shape, dst_step, channel, out);
      },
      "src"_a, "shape"_a, "dst_step"_a, py::kw_only(), "channel"_a = 0, "out"_a = py::none(), doc);
}

}  // namespace

void define_resize_2d(py::module_& module) {
  define<uint16_t>(module, "resize_2d_array_uint16", &resize_2d_array_uint16,
                   R"(resize_2d_array_uint16(src, shape, *, out=None)
--

Resize an array of 16-bit samples by bilinear interpolation with 8 fractional bits.

Corner-aligned; results are rounded half up. The last output can fall short of the last source
sample, by up to (outputs - 2) / 256 source samples: where that matters convert to float32 and take
`resize_2d_array_float`.

Parameters
----------
src : (rows, columns) array of uint16
    C-contiguous, each side at least 2.
shape : (int, int)
    Rows and columns of the result, each at least 2.
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
    A side is below 2: QO_CMC_INVALID_SIZE.

Examples
--------
>>> qo_cmc.resize_2d_array_uint16(np.array([[0, 100], [200, 300]], np.uint16), (3, 3))
array([[  0,  50, 100],
       [100, 150, 200],
       [200, 250, 300]], dtype=uint16)
)");
  define<uint8_t>(module, "resize_2d_array_uint8", &resize_2d_array_uint8,
                  R"(resize_2d_array_uint8(src, shape, *, out=None)
--

Resize an array of 8-bit samples by bilinear interpolation with 8 fractional bits.

The formula of `resize_2d_array_uint16`.

Parameters
----------
src : (rows, columns) array of uint8
    C-contiguous, each side at least 2.
shape : (int, int)
    Rows and columns of the result, each at least 2.
out : array of uint8 of that shape, optional
    Where the result is written; C-contiguous, must not overlap `src`.

Returns
-------
array of uint8
    `out`, or a new array.

Raises
------
TypeError, ValueError
    An argument is not as described.
StatusError
    A side is below 2: QO_CMC_INVALID_SIZE.

Examples
--------
>>> qo_cmc.resize_2d_array_uint8(np.array([[0, 10], [20, 30]], np.uint8), (2, 3))
array([[ 0,  5, 10],
       [20, 25, 30]], dtype=uint8)
)");
  define<uint32_t>(module, "resize_2d_array_uint32", &resize_2d_array_uint32,
                   R"(resize_2d_array_uint32(src, shape, *, out=None)
--

Resize an array of 32-bit samples by bilinear interpolation with 12 fractional bits.

The formula of `resize_2d_array_uint16`, formed modulo 2^32: exact only for samples below 256, and
wrapping with larger ones.

Parameters
----------
src : (rows, columns) array of uint32
    C-contiguous, each side at least 2.
shape : (int, int)
    Rows and columns of the result, each at least 2.
out : array of uint32 of that shape, optional
    Where the result is written; C-contiguous, must not overlap `src`.

Returns
-------
array of uint32
    `out`, or a new array.

Raises
------
TypeError, ValueError
    An argument is not as described.
StatusError
    A side is below 2: QO_CMC_INVALID_SIZE.

Examples
--------
>>> qo_cmc.resize_2d_array_uint32(np.array([[0, 200], [0, 200]], np.uint32), (2, 5))
array([[  0,  50, 100, 150, 200],
       [  0,  50, 100, 150, 200]], dtype=uint32)
)");
  define<float>(module, "resize_2d_array_float", &resize_2d_array_float,
                R"(resize_2d_array_float(src, shape, *, out=None)
--

Resize an array of floats by bilinear interpolation in single precision, corner-aligned.

Parameters
----------
src : (rows, columns) array of float32
    C-contiguous, each side at least 2, at most 65535 columns.
shape : (int, int)
    Rows and columns of the result, likewise.
out : array of float32 of that shape, optional
    Where the result is written; C-contiguous, must not overlap `src`.

Returns
-------
array of float32
    `out`, or a new array.

Raises
------
TypeError, ValueError
    An argument is not as described.
StatusError
    A side is below 2: QO_CMC_INVALID_SIZE.

Examples
--------
>>> qo_cmc.resize_2d_array_float(np.array([[0, 1], [2, 3]], np.float32), (2, 5))
array([[0.  , 0.25, 0.5 , 0.75, 1.  ],
       [2.  , 2.25, 2.5 , 2.75, 3.  ]], dtype=float32)
)");
  define<uint16_t>(module, "resize_2d_array_uint16_v1", &resize_2d_array_uint16_v1,
                   R"(resize_2d_array_uint16_v1(src, shape, dst_step, *, channel=0, out=None)
--

Resize an array of 16-bit samples into one channel of an interleaved array.

The formula of `resize_2d_array_uint16`; the other channels stay untouched.

Parameters
----------
src : (rows, columns) array of uint16
    C-contiguous, each side at least 2.
shape : (int, int)
    Rows and columns of the result, each at least 2.
dst_step : int
    Channels of the result, at least 1.
channel : int, optional
    The one that is written.
out : (rows, columns, dst_step) array of uint16, optional
    Where the result is written; C-contiguous, must not overlap `src`.

Returns
-------
(rows, columns, dst_step) array of uint16
    `out`, or a new array, whose other channels are 0.

Raises
------
TypeError, ValueError
    An argument is not as described.
StatusError
    A side is below 2: QO_CMC_INVALID_SIZE.

Examples
--------
>>> plane = np.array([[10, 20], [30, 40]], np.uint16)
>>> pixels = qo_cmc.resize_2d_array_uint16_v1(plane, (2, 2), 3)
>>> _ = qo_cmc.resize_2d_array_uint16_v1(plane + np.uint16(5), (2, 2), 3, channel=2, out=pixels)
>>> pixels[0]
array([[10,  0, 15],
       [20,  0, 25]], dtype=uint16)
)");
  define<uint8_t>(module, "resize_2d_array_uint8_v1", &resize_2d_array_uint8_v1,
                  R"(resize_2d_array_uint8_v1(src, shape, dst_step, *, channel=0, out=None)
--

Resize an array of 8-bit samples into one channel of an interleaved array.

The formula of `resize_2d_array_uint8`; the other channels stay untouched.

Parameters
----------
src : (rows, columns) array of uint8
    C-contiguous, each side at least 2.
shape : (int, int)
    Rows and columns of the result, each at least 2.
dst_step : int
    Channels of the result, at least 1.
channel : int, optional
    The one that is written.
out : (rows, columns, dst_step) array of uint8, optional
    Where the result is written; C-contiguous, must not overlap `src`.

Returns
-------
(rows, columns, dst_step) array of uint8
    `out`, or a new array, whose other channels are 0.

Raises
------
TypeError, ValueError
    An argument is not as described.
StatusError
    A side is below 2: QO_CMC_INVALID_SIZE.

Examples
--------
>>> qo_cmc.resize_2d_array_uint8_v1(np.eye(2, dtype=np.uint8), (2, 2), 2, channel=1)[1]
array([[0, 0],
       [0, 1]], dtype=uint8)
)");
  module.def(
      "crop_resize_2d_array_uint16",
      [](const py::object& src, const py::object& shape, const py::object& crop_origin,
         const py::object& crop_end,
         const py::object& out) { return crop_resize(src, shape, crop_origin, crop_end, out); },
      "src"_a, "shape"_a, "crop_origin"_a, "crop_end"_a, py::kw_only(), "out"_a = py::none(),
      R"(crop_resize_2d_array_uint16(src, shape, crop_origin, crop_end, *, out=None)
--

Resize a region of an array of 16-bit samples.

The formula of `resize_2d_array_uint16`, whose step comes from the region. The origin is scaled by
that step too, so the sampled region starts where it is meant to only when region and output are
equally large: otherwise resize a copy of the region. Margins that are negative or exceed the array
are not refused: sizes and positions wrap.

Parameters
----------
src : (rows, columns) array of uint16
    C-contiguous, each side at least 1.
shape : (int, int)
    Rows and columns of the result, each at least 2.
crop_origin : (int, int)
    Columns cut off at the left and rows cut off at the top, in this order.
crop_end : (int, int)
    Columns cut off at the right and rows cut off at the bottom.
out : array of uint16 of `shape`, optional
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
    A side of the region or the output is below 2: QO_CMC_INVALID_SIZE.

Examples
--------
>>> numbers = np.arange(20, dtype=np.uint16).reshape(4, 5)
>>> qo_cmc.crop_resize_2d_array_uint16(numbers, (2, 3), (1, 1), (1, 1))
array([[ 6,  7,  8],
       [11, 12, 13]], dtype=uint16)
)");
}

}  // namespace qo_python
