// Small matrix algebra, all packed by rows.

#include <cstdint>
#include <cstring>
#include <vector>

#include "bench/families.h"
#include "bench/matrix_task.h"
#include "qo_cmc/lsc.h"

namespace bench {
namespace {

constexpr int32_t element = sizeof(float);

int32_t integer(size_t size) { return static_cast<int32_t>(size); }
int32_t row_stride(size_t columns) { return integer(columns) * element; }

plane noise(size_t height, size_t width) {
  return with_noise(dense_plane(sample::f32, width, height));
}
plane blank(size_t height, size_t width) { return dense_plane(sample::f32, width, height); }

// The obvious loops.

void product(const float* a, const float* b, float* c, const matrix_task& size) {
  for (size_t i = 0; i < size.height; ++i)
    for (size_t j = 0; j < size.width; ++j) {
      float sum = 0;
      for (size_t k = 0; k < size.inner; ++k)
        sum = sum + a[i * size.inner + k] * b[k * size.width + j];
      c[i * size.width + j] = sum;
    }
}

void transposed(const float* a, float* b, const matrix_task& size) {
  for (size_t i = 0; i < size.height; ++i)
    for (size_t j = 0; j < size.inner; ++j) b[j * size.height + i] = a[i * size.inner + j];
}

void factorised(const float* from, float* a, size_t n) {
  std::memcpy(a, from, n * n * sizeof *a);
  for (size_t k = 0; k + 1 < n; ++k) {
    for (size_t i = k + 1; i < n; ++i) a[i * n + k] = a[i * n + k] / a[k * n + k];
    for (size_t i = k + 1; i < n; ++i)
      for (size_t j = k + 1; j < n; ++j) a[i * n + j] = a[i * n + j] - a[i * n + k] * a[k * n + j];
  }
}

void fill_product(contest& race, const matrix_task& size) {
  const plane a = noise(size.height, size.inner), b = noise(size.inner, size.width);
  const plane c = blank(size.height, size.width), expected = blank(size.height, size.width);
  race.ours([=] {
    mul_mm(a.as<float>(), row_stride(size.inner), element, integer(size.inner),
           integer(size.height), b.as<float>(), row_stride(size.width), element,
           integer(size.width), integer(size.inner), c.as<float>(), row_stride(size.width),
           element);
  });
  race.scalar([=] { product(a.as<float>(), b.as<float>(), expected.as<float>(), size); });
  race.compare(c, expected);
  add_product_peers(race, size);
  race.bound_by_bytes(a.bytes() + b.bytes() + c.bytes());
  race.bound_by_operations(2.0 * double(size.height * size.inner * size.width));
}

void fill_vector_product(contest& race, const matrix_task& size) {
  const plane a = noise(size.height, size.inner), x = noise(size.inner, 1);
  const plane y = blank(size.height, 1), expected = blank(size.height, 1);
  race.ours([=] {
    mul_mv(a.as<float>(), row_stride(size.inner), element, integer(size.inner),
           integer(size.height), x.as<float>(), element, integer(size.inner), y.as<float>(),
           element);
  });
  race.scalar([=] {
    product(a.as<float>(), x.as<float>(), expected.as<float>(), {size.height, size.inner, 1});
  });
  race.compare(y, expected);
  add_vector_product_peers(race, size);
  race.bound_by_bytes(a.bytes() + x.bytes() + y.bytes());
  race.bound_by_operations(2.0 * double(size.height * size.inner));
}

void fill_transpose(contest& race, const matrix_task& size) {
  const plane a = noise(size.height, size.inner);
  const plane b = blank(size.inner, size.height), expected = blank(size.inner, size.height);
  race.ours([=] {
    transpose_m(a.as<float>(), row_stride(size.inner), element, integer(size.inner),
                integer(size.height), b.as<float>(), row_stride(size.height), element);
  });
  race.scalar([=] { transposed(a.as<float>(), expected.as<float>(), size); });
  race.compare(b, expected);
  add_transpose_peers(race, size);
  race.bound_by_bytes(a.bytes() + b.bytes());
}

void fill_factors(contest& race, size_t side) {
  const plane a = heavy_diagonal(side);
  const plane lu = blank(side, side), expected = blank(side, side);
  const plane order = dense_plane(sample::u32, side, 1);
  race.ours([=] {
    lu_decomposition_m(a.as<float>(), row_stride(side), element, order.as<int32_t>(),
                       lu.as<float>(), row_stride(side), element, integer(side));
  });
  race.scalar([=] { factorised(a.as<float>(), expected.as<float>(), side); });
  race.compare(lu, expected);
  add_factor_peers(race, side);
  race.bound_by_bytes(a.bytes() + lu.bytes());
  race.bound_by_operations(2.0 / 3.0 * double(side * side * side));
}

std::string text_of(const matrix_task& size) {
  return std::to_string(size.height) + " x " + std::to_string(size.inner);
}

}  // namespace

void add_matrix_rows(rows& all) {
  struct sized {
    matrix_task size;
    goal avx512, avx2;
  };
  const sized products[] = {
      {{15, 221, 15}, 2.0, 0.41}, {{64, 64, 64}, 2.15, 1.5}, {{256, 256, 256}, 2.1, 1.6}};
  for (const sized& each : products)
    all.push_back({.name = "mul_mm " + text_of(each.size),
                   .samples = each.size.height * each.size.width,
                   .avx512 = each.avx512,
                   .avx2 = each.avx2,
                   .rival = "",
                   .fill = [size = each.size](contest& race) { fill_product(race, size); }});
  const matrix_task shapes[] = {{15, 221}, {64, 64}, {256, 256}};
  for (const matrix_task& size : shapes)
    all.push_back({.name = "mul_mv " + text_of(size),
                   .samples = size.height,
                   .avx512 = 1.5,
                   .avx2 = {1.9, 2.3},
                   .rival = "",
                   .fill = [size](contest& race) { fill_vector_product(race, size); }});
  for (const matrix_task& size : shapes)
    all.push_back({.name = "transpose_m " + text_of(size),
                   .samples = size.height * size.inner,
                   .avx512 = 1.05,
                   .avx2 = 1.0,
                   .rival = "",
                   .fill = [size](contest& race) { fill_transpose(race, size); }});
  struct factored {
    size_t side;
    goal avx512, avx2;
  };
  for (const factored& each : {factored{15, 0.8, 0.72}, {64, 1.0, 0.9}, {256, 1.35, 1.3}})
    all.push_back({.name = "lu_decomposition_m " + std::to_string(each.side),
                   .samples = each.side * each.side,
                   .avx512 = each.avx512,
                   .avx2 = each.avx2,
                   .rival = "",
                   .fill = [side = each.side](contest& race) { fill_factors(race, side); }});
}

}  // namespace bench
