// transpose_m(), mul_mm(), mul_mv() and lu_decomposition_m(): matrices with any strides.

#include "python/binding/toolkit_arguments.h"
#include "python/binding/toolkit_families.h"
#include "python/binding/toolkit_status.h"
#include "qo_cmc/lsc.h"

namespace qo_python {
namespace {

/// A matrix or, with one column, a vector; strides in bytes.
struct matrix {
  float* data;
  int32_t height, width;
  int32_t stride1, stride2;
  byte_range range;
};

[[nodiscard]] int32_t stride_of(argument which, const array_view& view, int dimension) {
  const py::ssize_t stride = view.strides[dimension];
  if (stride >= INT32_MIN && stride <= INT32_MAX) return static_cast<int32_t>(stride);
  // No step is ever taken along a side of 1.
  if (view.shape[dimension] <= 1) return 0;
  wrong_value(which, "has a stride of " + std::to_string(stride) +
                         " bytes, expected -2147483648 to 2147483647");
}

[[nodiscard]] matrix matrix_of(argument which, py::handle value, int dimensions) {
  const array_view view = array_of(which, value, element::float32, dimensions);
  const bool is_vector = dimensions == 1;
  require_at_most(which, is_vector ? "elements" : "rows", view.shape[0], int32_limit);
  if (!is_vector) require_at_most(which, "columns", view.shape[1], int32_limit);
  return {reinterpret_cast<float*>(view.data),
          static_cast<int32_t>(view.shape[0]),
          is_vector ? 1 : static_cast<int32_t>(view.shape[1]),
          stride_of(which, view, 0),
          is_vector ? 0 : stride_of(which, view, 1),
          range_of(view)};
}

/// The matrix that is written: `out`, which `array` then is, or an array of its own.
[[nodiscard]] matrix result_matrix(argument which, py::handle out,
                                   std::initializer_list<py::ssize_t> shape, py::object& array) {
  const int dimensions = static_cast<int>(shape.size());
  if (out.is_none()) {
    array = new_array(element::float32, shape, fill::none);
  } else {
    const array_view view = array_of(which, out, element::float32, dimensions);
    require_shape(which, view, shape);
    require_writable(which, view);
    array = py::reinterpret_borrow<py::object>(out);
  }
  return matrix_of(which, array, dimensions);
}

/// Strided arrays can lie in each other's gaps, which is no overlap, but takes longer to see.
void refuse_shared(argument out_name, const py::object& out, const matrix& written,
                   const char* source_name, py::handle source, const matrix& read) {
  if (!overlap(written.range, read.range)) return;
  const py::object shared =
      py::module_::import("numpy").attr("shares_memory")(plain_array(out), plain_array(source));
  if (shared.cast<bool>()) refuse_overlap(out_name, written.range, source_name, read.range);
}

py::object python_transpose_m(const py::object& src, const py::object& out) {
  constexpr const char* name = "transpose_m";
  const matrix from = matrix_of({name, "src"}, src, 2);
  py::object array;
  const matrix to = result_matrix({name, "out"}, out, {from.width, from.height}, array);
  refuse_shared({name, "out"}, array, to, "src", src, from);
  call_unlocked(name, [&] {
    return transpose_m(from.data, from.stride1, from.stride2, from.width, from.height, to.data,
                       to.stride1, to.stride2);
  });
  return array;
}

py::object python_mul_mm(const py::object& src1, const py::object& src2, const py::object& out) {
  constexpr const char* name = "mul_mm";
  const matrix left = matrix_of({name, "src1"}, src1, 2);
  const matrix right = matrix_of({name, "src2"}, src2, 2);
  if (left.width != right.height) {
    wrong_value({name, "src2"}, "has " + std::to_string(right.height) + " rows, expected " +
                                    std::to_string(left.width) + ", the columns of src1");
  }
  py::object array;
  const matrix to = result_matrix({name, "out"}, out, {left.height, right.width}, array);
  refuse_shared({name, "out"}, array, to, "src1", src1, left);
  refuse_shared({name, "out"}, array, to, "src2", src2, right);
  call_unlocked(name, [&] {
    return mul_mm(left.data, left.stride1, left.stride2, left.width, left.height, right.data,
                  right.stride1, right.stride2, right.width, right.height, to.data, to.stride1,
                  to.stride2);
  });
  return array;
}

py::object python_mul_mv(const py::object& src1, const py::object& src2, const py::object& out) {
  constexpr const char* name = "mul_mv";
  const matrix left = matrix_of({name, "src1"}, src1, 2);
  const matrix right = matrix_of({name, "src2"}, src2, 1);
  if (left.width != right.height) {
    wrong_value({name, "src2"}, "has " + std::to_string(right.height) + " elements, expected " +
                                    std::to_string(left.width) + ", the columns of src1");
  }
  py::object array;
  const matrix to = result_matrix({name, "out"}, out, {left.height}, array);
  refuse_shared({name, "out"}, array, to, "src1", src1, left);
  refuse_shared({name, "out"}, array, to, "src2", src2, right);
  call_unlocked(name, [&] {
    return mul_mv(left.data, left.stride1, left.stride2, left.width, left.height, right.data,
                  right.stride1, right.height, to.data, to.stride1);
  });
  return array;
}

/// Whether the strides are those of rows, or of columns, one after the other without gaps.
[[nodiscard]] bool is_packed(int64_t stride, int64_t other, int64_t side) {
  return side == 1 || (stride == 4 * side && other == 4);
}

py::tuple python_lu_decomposition_m(const py::object& src, const py::object& out) {
  constexpr const char* name = "lu_decomposition_m";
  const auto [dst, dst_index] = results_of<2>({name, "out"}, out, "(dst, dst_index)");
  // The library copies the matrix as one block of memory: it has to be one.
  const array_view view = array_of({name, "src"}, src, element::float32, 2);
  const py::ssize_t side = view.shape[0];
  if (side != view.shape[1] || side == 0) {
    wrong_value({name, "src"}, "has " + std::to_string(side) + " rows and " +
                                   std::to_string(view.shape[1]) +
                                   " columns, expected a square of at least 1");
  }
  require_at_most({name, "src"}, "rows", side, int32_limit);
  const bool by_rows = is_packed(view.strides[0], view.strides[1], side);
  if (!by_rows && !is_packed(view.strides[1], view.strides[0], side)) {
    wrong_value({name, "src"},
                "is not contiguous, expected rows or columns one after the other without gaps");
  }
  // With more rows the copy is refused before a stride is looked at.
  const auto line = static_cast<int32_t>(side < (1 << 29) ? 4 * side : 0);
  py::object array;
  const matrix to = result_matrix({name, "out[0]"}, dst, {side, side}, array);
  const result<int32_t> index = result_of<int32_t>({name, "out[1]"}, dst_index, {side});
  refuse_overlap({name, "out[1]"}, index.range, "src", range_of(view));
  refuse_overlap({name, "out[1]"}, index.range, "out[0]", to.range);
  call_unlocked(name, [&] {
    return lu_decomposition_m(reinterpret_cast<const float*>(view.data), by_rows ? line : 4,
                              by_rows ? 4 : line, index.data, to.data, to.stride1, to.stride2,
                              static_cast<int32_t>(side));
  });
  return py::make_tuple(array, index.array);
}

}  // namespace

void define_matrices(py::module_& module) {
  using namespace py::literals;
  module.def("transpose_m", &python_transpose_m, "src"_a, py::kw_only(), "out"_a = py::none(),
             R"(transpose_m(src, *, out=None)
--

Transpose a matrix into memory of its own.

Parameters
----------
src : (rows, columns) array of float32
    Any strides, also negative or unaligned ones.
out : (columns, rows) array of float32, optional
    Where the result is written, with any strides; must not overlap `src`.

Returns
-------
(columns, rows) array of float32
    `out`, or a new array.

Raises
------
TypeError, ValueError
    An argument is not as described.

Examples
--------
>>> qo_cmc.transpose_m(np.array([[1, 2, 3]], np.float32))
array([[1.],
       [2.],
       [3.]], dtype=float32)
)");
  module.def("mul_mm", &python_mul_mm, "src1"_a, "src2"_a, py::kw_only(), "out"_a = py::none(),
             R"(mul_mm(src1, src2, *, out=None)
--

Multiply two matrices in single precision, each sum in ascending order.

The bits are the same on every processor, which those of ``src1 @ src2`` are not. A sum of 1000
terms errs by up to 1e-5 of the sum of their sizes.

Parameters
----------
src1 : (n, k) array of float32
    Any strides, also negative or unaligned ones.
src2 : (k, m) array of float32
    Likewise.
out : (n, m) array of float32, optional
    Where the product is written, with any strides; must not overlap a source.

Returns
-------
(n, m) array of float32
    `out`, or a new array; zeros when k is 0.

Raises
------
TypeError, ValueError
    An argument is not as described.

Examples
--------
>>> a = np.array([[1, 2], [3, 4]], np.float32)
>>> qo_cmc.mul_mm(a, a.T)
array([[ 5., 11.],
       [11., 25.]], dtype=float32)
)");
  module.def("mul_mv", &python_mul_mv, "src1"_a, "src2"_a, py::kw_only(), "out"_a = py::none(),
             R"(mul_mv(src1, src2, *, out=None)
--

Multiply a matrix by a vector in single precision, each sum in ascending order.

Parameters
----------
src1 : (n, k) array of float32
    Any strides, also negative or unaligned ones.
src2 : (k,) array of float32
    Likewise.
out : (n,) array of float32, optional
    Where the product is written, with any stride; must not overlap a source.

Returns
-------
(n,) array of float32
    `out`, or a new array; zeros when k is 0.

Raises
------
TypeError, ValueError
    An argument is not as described.

Examples
--------
>>> qo_cmc.mul_mv(np.array([[1, 2], [3, 4]], np.float32), np.array([10, 1], np.float32))
array([12., 34.], dtype=float32)
)");
  module.def("lu_decomposition_m", &python_lu_decomposition_m, "src"_a, py::kw_only(),
             "out"_a = py::none(),
             R"(lu_decomposition_m(src, *, out=None)
--

Factorise a square matrix as L U by Doolittle's method, without exchanging rows.

Both factors share the result: L, whose diagonal of ones is implied, below the diagonal, U on and
above it. A zero pivot is not detected and leaves infinities and NaNs, and a small one costs as
many digits as it is small: order the rows beforehand.

Parameters
----------
src : (n, n) array of float32
    C- or Fortran-contiguous, n at least 1.
out : tuple of (n, n) array of float32 and (n,) array of int32, optional
    Where the results are written. The first may have any strides and overlap `src`.

Returns
-------
dst : (n, n) array of float32
    The factors.
dst_index : (n,) array of int32
    0, 1, ... n - 1, since rows are never exchanged.

Raises
------
TypeError, ValueError
    An argument is not as described.
MemoryError
    The working copy cannot be had, or exceeds 2^31 - 1 bytes.

Examples
--------
>>> factors, index = qo_cmc.lu_decomposition_m(np.array([[4, 2], [2, 5]], np.float32))
>>> factors
array([[4. , 2. ],
       [0.5, 4. ]], dtype=float32)
>>> index
array([0, 1], dtype=int32)
)");
}

}  // namespace qo_python
