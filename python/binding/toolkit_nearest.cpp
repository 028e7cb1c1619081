// The three nearest-neighbour scalers.

#include "python/binding/toolkit_arguments.h"
#include "python/binding/toolkit_families.h"
#include "python/binding/toolkit_status.h"
#include "qo_cmc/image_utils.h"

namespace qo_python {
namespace {

/// Reads the arguments, calls `scale(source, result)` without the lock, and gives the result.
template <typename Source, typename Output, typename Scale>
py::object scaled(const char* name, py::handle src, py::handle shape, py::handle out, int64_t most,
                  const Scale& scale) {
  const sides size = sides_of({name, "shape"}, shape, 0, most);
  const plane<Source> from = plane_of<Source>({name, "src"}, src, most);
  const auto to = result_of<Output>({name, "out"}, out, {size.rows, size.columns});
  refuse_overlap({name, "out"}, to.range, "src", from.range);
  call_unlocked(name, [&] { return scale(from, to.data, size); });
  return to.array;
}

py::object python_scale_uint32(const py::object& src, const py::object& shape,
                               const py::object& out) {
  return scaled<uint32_t, uint32_t>(
      "image_nearest_neighbor_scale_uint32", src, shape, out, int32_limit,
      [](const plane<uint32_t>& from, uint32_t* to, sides size) {
        return image_nearest_neighbor_scale_uint32(
            from.data, static_cast<int32_t>(from.size.columns),
            static_cast<int32_t>(from.size.rows), to, static_cast<int32_t>(size.columns),
            static_cast<int32_t>(size.rows));
      });
}

py::object python_upscale_uint16(const py::object& src, const py::object& shape,
                                 const py::object& out) {
  return scaled<uint16_t, uint16_t>(
      "image_upscale_nearest_neighbor_uint16", src, shape, out, uint16_limit,
      [](const plane<uint16_t>& from, uint16_t* to, sides size) {
        return image_upscale_nearest_neighbor_uint16(
            from.data, to, static_cast<uint16_t>(from.size.columns),
            static_cast<uint16_t>(from.size.rows), static_cast<uint16_t>(size.columns),
            static_cast<uint16_t>(size.rows));
      });
}

py::object python_downscale_int32(const py::object& src, const py::object& shape,
                                  const py::object& use_max, const py::object& out) {
  const int takes_maxima = PyObject_IsTrue(use_max.ptr());
  if (takes_maxima < 0) throw py::error_already_set();
  return scaled<int32_t, uint32_t>(
      "image_downscale_nearest_neighbor_int32", src, shape, out, uint16_limit,
      [takes_maxima](const plane<int32_t>& from, uint32_t* to, sides size) {
        return image_downscale_nearest_neighbor_int32(
            from.data, to, static_cast<uint16_t>(from.size.columns),
            static_cast<uint16_t>(from.size.rows), static_cast<uint16_t>(size.columns),
            static_cast<uint16_t>(size.rows), static_cast<uint8_t>(takes_maxima));
      });
}

}  // namespace

void define_nearest(py::module_& module) {
  using namespace py::literals;
  module.def("image_nearest_neighbor_scale_uint32", &python_scale_uint32, "src"_a, "shape"_a,
             py::kw_only(), "out"_a = py::none(),
             R"(image_nearest_neighbor_scale_uint32(src, shape, *, out=None)
--

Scale a plane of 32-bit samples to any size by copying samples, left-aligned, in fixed point.

From 257 outputs along an axis on some take the sample after theirs; a column past the end of its
row is the next row's first.

Parameters
----------
src : (rows, columns) array of uint32
    C-contiguous, each side at least 1.
shape : (int, int)
    Rows and columns of the result, each at least 1.
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
    A side is 0: QO_CMC_INVALID_SIZE.

Examples
--------
>>> qo_cmc.image_nearest_neighbor_scale_uint32(np.array([[1, 2, 3]], np.uint32), (2, 6))
array([[1, 1, 2, 2, 3, 3],
       [1, 1, 2, 2, 3, 3]], dtype=uint32)
)");
  module.def("image_upscale_nearest_neighbor_uint16", &python_upscale_uint16, "src"_a, "shape"_a,
             py::kw_only(), "out"_a = py::none(),
             R"(image_upscale_nearest_neighbor_uint16(src, shape, *, out=None)
--

Scale a plane of 16-bit samples by copying those in which the outputs' far edges lie.

Despite the name the output may be smaller. At some pairs of widths the last column is the next
row's first.

Parameters
----------
src : (rows, columns) array of uint16
    C-contiguous, each side 2 to 65535.
shape : (int, int)
    Rows and columns of the result, each 2 to 65535.
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
>>> qo_cmc.image_upscale_nearest_neighbor_uint16(np.array([[1, 2], [3, 4]], np.uint16), (2, 4))
array([[1, 1, 2, 2],
       [3, 3, 4, 4]], dtype=uint16)
)");
  module.def("image_downscale_nearest_neighbor_int32", &python_downscale_int32, "src"_a, "shape"_a,
             "use_max"_a = false, py::kw_only(), "out"_a = py::none(),
             R"(image_downscale_nearest_neighbor_int32(src, shape, use_max=False, *, out=None)
--

Scale a plane of signed 32-bit samples by copying samples, or by taking maxima.

Parameters
----------
src : (rows, columns) array of int32
    C-contiguous, each side 2 to 65535.
shape : (int, int)
    Rows and columns of the result, each 2 to 65535.
use_max : bool, optional
    Take the largest sample of each block, or 0 where none is above it. Row 0 and column 0 of the
    source are in no block.
out : array of uint32 of that shape, optional
    Where the result is written; C-contiguous, must not overlap `src`.

Returns
-------
array of uint32
    `out`, or a new array. Copied samples keep their 32 bits.

Raises
------
TypeError, ValueError
    An argument is not as described.
StatusError
    A side is below 2: QO_CMC_INVALID_SIZE.

Examples
--------
>>> plane = np.arange(16, dtype=np.int32).reshape(4, 4)
>>> qo_cmc.image_downscale_nearest_neighbor_int32(plane, (2, 2))
array([[ 5,  7],
       [13, 15]], dtype=uint32)
>>> qo_cmc.image_downscale_nearest_neighbor_int32(-plane, (2, 2), use_max=True)
array([[0, 0],
       [0, 0]], dtype=uint32)
)");
}

}  // namespace qo_python
