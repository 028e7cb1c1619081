// The two reductions by area mean.

#include <optional>

#include "python/binding/toolkit_arguments.h"
#include "python/binding/toolkit_families.h"
#include "python/binding/toolkit_planes.h"
#include "python/binding/toolkit_status.h"
#include "qo_cmc/image_utils.h"

namespace qo_python {
namespace {

using region = std::array<uint16_t, 4>;

[[nodiscard]] std::optional<region> region_of(const char* name, py::handle roi) {
  if (roi.is_none()) return std::nullopt;
  int64_t numbers[4];
  integers_of({name, "roi"}, roi, "(x, y, width, height)", 0, uint16_limit, numbers, 4);
  region found;
  for (size_t i = 0; i < found.size(); ++i) found[i] = static_cast<uint16_t>(numbers[i]);
  return found;
}

/// Reads the arguments, calls `reduce(sources, planes, roi)` without the lock.
template <typename Element, typename Reduce>
py::object reduced(const char* name, py::handle src_planes, sides size, py::handle roi,
                   py::handle out, const Reduce& reduce) {
  const std::optional<region> part = region_of(name, roi);
  const source_planes<Element> from = planes_of<Element>({name, "src_planes"}, src_planes);
  const auto to = result_of<uint16_t>({name, "out"}, out, {from.count(), size.rows, size.columns});
  refuse_overlap({name, "out"}, to.range, "src_planes", from);
  const std::vector<uint16_t*> planes = split_planes(to.data, from.count(), size);
  call_unlocked(
      name, [&] { return reduce(from, planes.data(), part.has_value() ? part->data() : nullptr); });
  return to.array;
}

py::object python_downscale_32f(const py::object& src_planes, const py::object& shape,
                                const py::object& roi, const py::object& out) {
  constexpr const char* name = "image_downscale_32f_to_u16p10";
  const sides size = sides_of({name, "shape"}, shape, 0, uint16_limit);
  return reduced<float>(
      name, src_planes, size, roi, out,
      [size](const source_planes<float>& from, uint16_t* const* to, const uint16_t* part) {
        return image_downscale_32f_to_u16p10(
            from.planes.data(), to, static_cast<uint16_t>(from.size.columns),
            static_cast<uint16_t>(from.size.rows), static_cast<uint16_t>(size.columns),
            static_cast<uint16_t>(size.rows), static_cast<uint16_t>(from.count()), part);
      });
}

py::object python_downscale_u16(const py::object& src_planes, const py::object& shape,
                                const py::object& in_frac_bits, const py::object& out_frac_bits,
                                const py::object& roi, const py::object& out) {
  constexpr const char* name = "image_downscale_u16_to_u16";
  const sides size = sides_of({name, "shape"}, shape, 0, uint16_limit);
  const auto in_bits =
      static_cast<uint16_t>(integer_of({name, "in_frac_bits"}, in_frac_bits, 0, uint16_limit));
  const auto out_bits =
      static_cast<uint16_t>(integer_of({name, "out_frac_bits"}, out_frac_bits, 0, uint16_limit));
  return reduced<uint16_t>(
      name, src_planes, size, roi, out,
      [=](const source_planes<uint16_t>& from, uint16_t* const* to, const uint16_t* part) {
        return image_downscale_u16_to_u16(
            from.planes.data(), to, static_cast<uint16_t>(from.size.columns),
            static_cast<uint16_t>(from.size.rows), in_bits, static_cast<uint16_t>(size.columns),
            static_cast<uint16_t>(size.rows), out_bits, static_cast<uint16_t>(from.count()), part);
      });
}

}  // namespace

void define_downscale(py::module_& module) {
  using namespace py::literals;
  module.def("image_downscale_32f_to_u16p10", &python_downscale_32f, "src_planes"_a, "shape"_a,
             py::kw_only(), "roi"_a = py::none(), "out"_a = py::none(),
             R"(image_downscale_32f_to_u16p10(src_planes, shape, *, roi=None, out=None)
--

Reduce float planes, or a region of them, to 16 bits with 10 fractional ones by area means.

The low 16 bits of the rounded mean are stored, without a clamp. Sums lose digits as they grow:
reduce in two steps where an output would cover more than some thousand samples.

Parameters
----------
src_planes : (n, rows, columns) array of float32, or a sequence of n planes
    C-contiguous; 1.0 gives 1024.
shape : (int, int)
    Rows and columns of the results, each at least 3 and below its source's.
roi : (int, int, int, int), optional
    First column x, first row y, width and height of the region; the whole plane without it.
out : array of uint16, n planes of `shape`, optional
    Where the results are written; C-contiguous, must not overlap `src_planes`.

Returns
-------
(n, rows, columns) array of uint16
    `out`, or a new array.

Raises
------
TypeError, ValueError
    An argument is not as described.
StatusError
    A side is out of range, or the region leaves the plane: QO_CMC_INVALID_SIZE.

Examples
--------
>>> planes = np.ones((1, 6, 6), np.float32)
>>> planes[0, :2, :2] = 2
>>> qo_cmc.image_downscale_32f_to_u16p10(planes, (3, 3))
array([[[2048, 1024, 1024],
        [1024, 1024, 1024],
        [1024, 1024, 1024]]], dtype=uint16)
)");
  module.def(
      "image_downscale_u16_to_u16", &python_downscale_u16, "src_planes"_a, "shape"_a,
      "in_frac_bits"_a, "out_frac_bits"_a, py::kw_only(), "roi"_a = py::none(),
      "out"_a = py::none(),
      R"(image_downscale_u16_to_u16(src_planes, shape, in_frac_bits, out_frac_bits, *, roi=None, out=None)
--

Reduce 16-bit planes, or a region of them, by area means, between any numbers of fractional bits.

The low 16 bits of the mean are stored, without a clamp. Means are rounded with 10 fractional bits
of output, and off by ``2**(out_frac_bits - 11) - 0.5`` with others.

Parameters
----------
src_planes : (n, rows, columns) array of uint16, or a sequence of n planes
    C-contiguous.
shape : (int, int)
    Rows and columns of the results, each at least 3 and below its source's.
in_frac_bits, out_frac_bits : int
    Fractional bits of the samples and of the results, modulo 32.
roi : (int, int, int, int), optional
    First column x, first row y, width and height of the region; the whole plane without it.
out : array of uint16, n planes of `shape`, optional
    Where the results are written; C-contiguous, must not overlap `src_planes`.

Returns
-------
(n, rows, columns) array of uint16
    `out`, or a new array.

Raises
------
TypeError, ValueError
    An argument is not as described.
StatusError
    A side is out of range, or the region leaves the plane: QO_CMC_INVALID_SIZE.

Examples
--------
>>> plane = np.full((4, 8), 256, np.uint16)
>>> qo_cmc.image_downscale_u16_to_u16([plane], (3, 4), 8, 10)
array([[[1024, 1024, 1024, 1024],
        [1024, 1024, 1024, 1024],
        [1024, 1024, 1024, 1024]]], dtype=uint16)
)");
}

}  // namespace qo_python
