// Small matrix algebra, over all the ways that matrices stand in memory.

#include <string>

#include "qo_cmc/lsc.h"
#include "tests/bits/items.h"
#include "tests/bits/plane_sizes.h"
#include "tests/kit/strided_buffer.h"

namespace bits {
namespace {

using kit::strided_buffer;

strided_buffer empty_matrix(noise& random, uint32_t rows, uint32_t columns) {
  const kit::layout kind = random.one_of(kit::all_layouts);
  return {static_cast<int32_t>(rows), static_cast<int32_t>(columns), kind, kit::guard_side::behind,
          random.below(4)};
}

strided_buffer drawn_matrix(noise& random, uint32_t rows, uint32_t columns, nature kind) {
  strided_buffer matrix = empty_matrix(random, rows, columns);
  for (int32_t i = 0; i < matrix.rows(); ++i)
    for (int32_t j = 0; j < matrix.columns(); ++j) matrix.set(i, j, random.sample<float>(kind));
  return matrix;
}

void transposes(results& all) {
  const std::string name = "transpose_m";
  digest& seen = all.add(name);
  noise random(name);
  for (uint32_t columns = 1; columns <= most_columns; ++columns) {
    strided_buffer from = drawn_matrix(random, random.from_to(1, 17), columns, nature::any_bits);
    strided_buffer to = empty_matrix(random, columns, static_cast<uint32_t>(from.rows()));
    seen.status(transpose_m(from.base(), from.stride1(), from.stride2(), from.columns(),
                            from.rows(), to.base(), to.stride1(), to.stride2()));
    seen.samples(to.packed());
  }
}

void products(results& all, nature kind) {
  const std::string name = "mul_mm." + std::string(name_of(kind));
  digest& seen = all.add(name);
  noise random(name);
  for (uint32_t columns = 1; columns <= most_columns; ++columns) {
    const uint32_t inner = random.from_to(1, 24);
    strided_buffer a = drawn_matrix(random, random.from_to(1, 9), inner, kind);
    strided_buffer b = drawn_matrix(random, inner, columns, kind);
    strided_buffer to = empty_matrix(random, static_cast<uint32_t>(a.rows()), columns);
    seen.status(mul_mm(a.base(), a.stride1(), a.stride2(), a.columns(), a.rows(), b.base(),
                       b.stride1(), b.stride2(), b.columns(), b.rows(), to.base(), to.stride1(),
                       to.stride2()));
    seen.computed(to.packed());
  }
}

void vector_products(results& all, nature kind) {
  const std::string name = "mul_mv." + std::string(name_of(kind));
  digest& seen = all.add(name);
  noise random(name);
  for (uint32_t rows = 1; rows <= 3u * most_columns; ++rows) {
    const uint32_t inner = random.from_to(1, 24);
    strided_buffer a = drawn_matrix(random, rows, inner, kind);
    strided_buffer b = drawn_matrix(random, 1, inner, kind);
    strided_buffer to = empty_matrix(random, 1, rows);
    seen.status(mul_mv(a.base(), a.stride1(), a.stride2(), a.columns(), a.rows(), b.base(),
                       b.stride2(), b.columns(), to.base(), to.stride2()));
    seen.computed(to.packed());
  }
}

void factors(results& all, nature kind) {
  const std::string name = "lu_decomposition_m." + std::string(name_of(kind));
  digest& seen = all.add(name);
  noise random(name);
  for (uint32_t repetition = 0; repetition < 4; ++repetition) {
    for (uint32_t n = 1; n <= 35; ++n) {
      const auto from = random.plane<float>(size_t{n} * n, kind);
      const bool by_columns = random.below(2) != 0;
      const auto step = static_cast<int32_t>(4 * n);
      strided_buffer to = empty_matrix(random, n, n);
      auto index = unwritten<int32_t>(n);
      seen.status(lu_decomposition_m(from.data(), by_columns ? 4 : step, by_columns ? step : 4,
                                     index.data(), to.base(), to.stride1(), to.stride2(),
                                     static_cast<int32_t>(n)));
      seen.samples(index);
      seen.computed(to.packed());
    }
  }
}

}  // namespace

void matrix_items(results& all) {
  transposes(all);
  for (const nature kind : float_natures) products(all, kind);
  for (const nature kind : float_natures) vector_products(all, kind);
  for (const nature kind : float_natures) factors(all, kind);
}

}  // namespace bits
