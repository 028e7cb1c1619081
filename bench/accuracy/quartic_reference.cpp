#include "bench/accuracy/quartic_reference.h"

#include <array>
#include <cmath>

namespace accuracy {
namespace {

constexpr size_t degree = 4;
using powers = std::array<double, degree + 1>;

/// Legendre's polynomials at sample k of `side`, the first at -1 and the last at 1.
[[nodiscard]] powers legendre(size_t k, size_t side) {
  const double t = 2 * static_cast<double>(k) / static_cast<double>(side - 1) - 1;
  powers p{1, t};
  for (size_t n = 1; n < degree; ++n) {
    const double order = static_cast<double>(n);
    p[n + 1] = ((2 * order + 1) * t * p[n] - order * p[n - 1]) / (order + 1);
  }
  return p;
}

[[nodiscard]] std::vector<powers> along(size_t side) {
  std::vector<powers> all;
  for (size_t k = 0; k < side; ++k) all.push_back(legendre(k, side));
  return all;
}

template <size_t Count>
void products(const powers& x, const powers& y, std::array<double, Count>& terms) {
  size_t next = 0;
  for (size_t total = 0; total <= degree; ++total)
    for (size_t of_y = 0; of_y <= total; ++of_y) terms[next++] = x[total - of_y] * y[of_y];
}

}  // namespace

quartic_reference::quartic_reference(size_t width, size_t height) : width_(width), height_(height) {
  const std::vector<powers> x = along(width);
  const std::vector<powers> y = along(height);
  double normal[term_count][term_count] = {};
  std::array<double, term_count> terms;
  for (size_t row = 0; row < height; ++row)
    for (size_t column = 0; column < width; ++column) {
      products(x[column], y[row], terms);
      for (size_t i = 0; i < term_count; ++i)
        for (size_t j = 0; j <= i; ++j) normal[i][j] += terms[i] * terms[j];
    }
  for (size_t i = 0; i < term_count; ++i)
    for (size_t j = 0; j <= i; ++j) {
      double rest = normal[i][j];
      for (size_t k = 0; k < j; ++k) rest -= factor_[i][k] * factor_[j][k];
      factor_[i][j] = i == j ? std::sqrt(rest) : rest / factor_[j][j];
    }
}

std::vector<double> quartic_reference::sampled(const std::vector<double>& grid, size_t out_width,
                                               size_t out_height) const {
  const std::vector<powers> x = along(width_);
  const std::vector<powers> y = along(height_);
  std::array<double, term_count> terms;
  std::array<double, term_count> c{};
  for (size_t row = 0; row < height_; ++row)
    for (size_t column = 0; column < width_; ++column) {
      products(x[column], y[row], terms);
      for (size_t i = 0; i < term_count; ++i) c[i] += terms[i] * grid[row * width_ + column];
    }
  for (size_t i = 0; i < term_count; ++i) {
    for (size_t k = 0; k < i; ++k) c[i] -= factor_[i][k] * c[k];
    c[i] /= factor_[i][i];
  }
  for (size_t i = term_count; i-- > 0;) {
    for (size_t k = i + 1; k < term_count; ++k) c[i] -= factor_[k][i] * c[k];
    c[i] /= factor_[i][i];
  }

  const std::vector<powers> out_x = along(out_width);
  const std::vector<powers> out_y = along(out_height);
  std::vector<double> plane;
  for (size_t row = 0; row < out_height; ++row)
    for (size_t column = 0; column < out_width; ++column) {
      products(out_x[column], out_y[row], terms);
      double value = 0;
      for (size_t i = 0; i < term_count; ++i) value += c[i] * terms[i];
      plane.push_back(value);
    }
  return plane;
}

}  // namespace accuracy
