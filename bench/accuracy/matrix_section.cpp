// Products and factorisations in single precision against double precision.

#include <algorithm>
#include <cmath>
#include <functional>

#include "bench/accuracy/errors.h"
#include "bench/accuracy/page.h"
#include "bench/accuracy/sections.h"
#include "bench/accuracy/seeded.h"
#include "qo_cmc/lsc.h"

namespace accuracy {
namespace {

void print_sums() {
  table lines({"terms", "from 0 to 1", "from -1 to 1", "constant 0.1"});
  for (const size_t terms :
       {size_t{15}, size_t{100}, size_t{1000}, size_t{10000}, size_t{100000}, size_t{1000000}}) {
    constexpr size_t rows = 8;
    const auto error_of = [&](const std::function<double()>& element) {
      std::vector<float> matrix(rows * terms);
      std::vector<float> vector(terms);
      for (float& each : matrix) each = static_cast<float>(element());
      for (float& each : vector) each = static_cast<float>(element());
      float product[rows];
      const auto width = static_cast<int32_t>(terms);
      (void)mul_mv(matrix.data(), 4 * width, 4, width, rows, vector.data(), 4, width, product, 4);
      double worst = 0;
      for (size_t row = 0; row < rows; ++row) {
        double sum = 0;
        double of_sizes = 0;
        for (size_t k = 0; k < terms; ++k) {
          const double each =
              static_cast<double>(matrix[row * terms + k]) * static_cast<double>(vector[k]);
          sum += each;
          of_sizes += std::fabs(each);
        }
        worst = std::max(worst, std::fabs(static_cast<double>(product[row]) - sum) / of_sizes);
      }
      return magnitude(worst);
    };
    seeded random(terms);
    lines.line({count(terms), error_of([&] { return random.unit(); }),
                error_of([&] { return 2 * random.unit() - 1; }), error_of([] { return 0.1; })});
  }
}

// ---- Factorisation ----

using matrix = std::vector<float>;  // packed rows

/// Largest absolute element.
template <typename Element>
[[nodiscard]] double largest(const std::vector<Element>& elements) {
  double most = 0;
  for (const Element each : elements) most = std::max(most, std::fabs(static_cast<double>(each)));
  return most;
}

/// The inverse in double precision, by Gauss and Jordan with row exchanges.
[[nodiscard]] std::vector<double> inverse_of(const matrix& source, size_t n) {
  std::vector<double> left(source.begin(), source.end());
  std::vector<double> right(n * n, 0.0);
  for (size_t i = 0; i < n; ++i) right[i * n + i] = 1;
  for (size_t k = 0; k < n; ++k) {
    size_t pivot = k;
    for (size_t i = k + 1; i < n; ++i)
      if (std::fabs(left[i * n + k]) > std::fabs(left[pivot * n + k])) pivot = i;
    for (size_t j = 0; j < n; ++j) {
      std::swap(left[k * n + j], left[pivot * n + j]);
      std::swap(right[k * n + j], right[pivot * n + j]);
    }
    const double divisor = left[k * n + k];
    for (size_t j = 0; j < n; ++j) {
      left[k * n + j] /= divisor;
      right[k * n + j] /= divisor;
    }
    for (size_t i = 0; i < n; ++i) {
      const double factor = left[i * n + k];
      if (i == k || factor == 0) continue;
      for (size_t j = 0; j < n; ++j) {
        left[i * n + j] -= factor * left[k * n + j];
        right[i * n + j] -= factor * right[k * n + j];
      }
    }
  }
  return right;
}

template <typename Element>
[[nodiscard]] double largest_row_sum(const std::vector<Element>& elements, size_t n) {
  double most = 0;
  for (size_t i = 0; i < n; ++i) {
    double sum = 0;
    for (size_t j = 0; j < n; ++j) sum += std::fabs(static_cast<double>(elements[i * n + j]));
    most = std::max(most, sum);
  }
  return most;
}

void factorise(const std::string& name, const matrix& source, size_t n, table& lines) {
  matrix lu(n * n);
  std::vector<int32_t> unused(n);
  const auto side = static_cast<int32_t>(n);
  (void)lu_decomposition_m(source.data(), 4 * side, 4, unused.data(), lu.data(), 4 * side, 4, side);
  const auto factor = [&](size_t i, size_t j) { return static_cast<double>(lu[i * n + j]); };

  std::vector<double> rest(n * n);
  for (size_t i = 0; i < n; ++i)
    for (size_t j = 0; j < n; ++j) {
      double sum = i <= j ? factor(i, j) : 0;
      for (size_t k = 0; k < std::min(i, j + 1); ++k) sum += factor(i, k) * factor(k, j);
      rest[i * n + j] = sum - static_cast<double>(source[i * n + j]);
    }

  // The solution whose elements are all 1, in double precision, so that only the factors err.
  std::vector<double> x(n, 0.0);
  for (size_t i = 0; i < n; ++i) {
    for (size_t j = 0; j < n; ++j) x[i] += static_cast<double>(source[i * n + j]);
    for (size_t k = 0; k < i; ++k) x[i] -= factor(i, k) * x[k];
  }
  errors off;
  for (size_t i = n; i-- > 0;) {
    for (size_t k = i + 1; k < n; ++k) x[i] -= factor(i, k) * x[k];
    x[i] /= factor(i, i);
    off.add(x[i] - 1);
  }
  const double condition = largest_row_sum(source, n) * largest_row_sum(inverse_of(source, n), n);
  // Beyond that the inverse says nothing.
  lines.line({name, condition < 1e15 ? magnitude(condition) : "above 1e+15",
              magnitude(largest(rest) / largest(source)), magnitude(off.worst())});
}

[[nodiscard]] matrix random_matrix(size_t n, double on_diagonal) {
  seeded random(n);
  matrix elements(n * n);
  for (float& each : elements) each = static_cast<float>(2 * random.unit() - 1);
  for (size_t i = 0; i < n; ++i) elements[i * n + i] += static_cast<float>(on_diagonal);
  return elements;
}

[[nodiscard]] matrix hilbert(size_t n) {
  matrix elements(n * n);
  for (size_t i = 0; i < n; ++i)
    for (size_t j = 0; j < n; ++j) elements[i * n + j] = 1.0f / static_cast<float>(i + j + 1);
  return elements;
}

constexpr size_t term_count = 15;

/// The normal matrix of the quartic fit over a grid, formed as lu_decomposition() forms it.
[[nodiscard]] matrix normal_matrix(size_t width, size_t height) {
  const size_t samples = width * height;
  matrix design(samples * term_count);
  matrix design_t(samples * term_count);
  matrix lu(term_count * term_count);
  int32_t unused[term_count];
  (void)lu_decomposition(design.data(), design_t.data(), lu.data(), unused,
                         static_cast<uint16_t>(width), static_cast<uint16_t>(height), term_count);
  const auto columns = static_cast<int32_t>(samples);
  matrix normal(term_count * term_count);
  (void)mul_mm(design_t.data(), 4 * columns, 4, columns, term_count, design.data(), 4 * term_count,
               4, term_count, columns, normal.data(), 4 * term_count, 4);
  return normal;
}

void print_factors() {
  table lines({"matrix", "condition", "L U - A, by the largest of A", "solution"});
  for (const size_t n : {size_t{4}, size_t{15}, size_t{64}})
    factorise("random, large diagonal, " + std::to_string(n),
              random_matrix(n, 2.0 * static_cast<double>(n)), n, lines);
  for (const size_t n : {size_t{4}, size_t{15}, size_t{64}, size_t{200}})
    factorise("random, " + std::to_string(n), random_matrix(n, 0), n, lines);
  for (const float pivot : {1e-2f, 1e-4f, 1e-6f, 1e-8f})
    factorise("first pivot " + magnitude(static_cast<double>(pivot)), {pivot, 0.9f, 0.7f, 0.3f}, 2,
              lines);
  for (const size_t n : {size_t{3}, size_t{5}, size_t{7}})
    factorise("1 / (i + j + 1), " + std::to_string(n), hilbert(n), n, lines);
  for (const size_t side : {size_t{5}, size_t{7}, size_t{10}, size_t{17}, size_t{33}})
    factorise("normal matrix, grid " + sides(side, side), normal_matrix(side, side), term_count,
              lines);
}

}  // namespace

void print_matrix_section() {
  heading("Matrices");
  paragraph(
      "`mul_mv()` and `mul_mm()` add up in one single-precision number, in ascending order. "
      "Largest "
      "error of eight sums, relative to the sum of the terms' sizes:");
  print_sums();
  paragraph(
      "`lu_decomposition_m()` does not exchange rows. Condition: largest row sum of the matrix by "
      "that "
      "of its inverse. Solution: largest error of a solution whose elements are all 1, solved with "
      "the factors in double precision, so that only the factors err.");
  print_factors();
  paragraph(
      "What to do: cut sums of more than some 10,000 terms into pieces and add their results in "
      "double precision. Factorise matrices whose diagonal outweighs the rest of each row, or that "
      "are symmetric and positive definite; a condition of 1e6 leaves one to three digits. Order "
      "the "
      "rows beforehand where a pivot may be small. `transpose_m()` moves elements and loses "
      "nothing.");
}

}  // namespace accuracy
