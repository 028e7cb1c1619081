/// The least-squares quartic surface in double precision.
///
/// Same space of surfaces as the library's, another basis: products of Legendre polynomials over
/// the grid, for which the normal equations are well conditioned on grids of every size.
#pragma once

#include <cstddef>
#include <vector>

namespace accuracy {

class quartic_reference {
 public:
  /// Sides of at least 5.
  quartic_reference(size_t width, size_t height);

  /// The surface through `grid`, sampled corner to corner at out_width x out_height.
  [[nodiscard]] std::vector<double> sampled(const std::vector<double>& grid, size_t out_width,
                                            size_t out_height) const;

 private:
  static constexpr size_t term_count = 15;

  size_t width_;
  size_t height_;
  double factor_[term_count][term_count] = {};  ///< Cholesky, lower
};

}  // namespace accuracy
