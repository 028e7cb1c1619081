// From a container and a module's NVM image to the tables that the pipeline reads.

#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <vector>

#include "tests/kit/container_cycle.h"
#include "writer/nvm_writer.h"
#include "writer/records.h"

namespace {

constexpr size_t grid_width = 17;
constexpr size_t grid_height = 13;
constexpr size_t out_width = 65;
constexpr size_t out_height = 49;
constexpr uint8_t fraction_bits = 14;
constexpr size_t terms = 15;

/// A table sample of the container: large enough for small gains to show, and it differs by site.
uint16_t table_sample(size_t, size_t plane, size_t index) {
  return static_cast<uint16_t>(9000 + 500 * plane + index);
}

std::vector<uint8_t> container_with(uint16_t orientation) {
  writer::mapped_grid_fields grid;
  grid.lights = 1;
  grid.width = out_width;
  grid.height = out_height;
  grid.sample = table_sample;
  return writer::container()
      .add(writer::record_2({.cfa_layout = 1}))
      .add(writer::record_17({.plane_order = 1, .orientation = orientation}))
      .add(writer::record_28(grid))
      .add(writer::record_33(grid))
      .image();
}

/// The gain that the module stores for each grid point, quantised as its image quantises it.
using gain_surface = double (*)(double x, double y);

writer::bytes image_of(gain_surface gain) {
  writer::nvm_fields fields;
  fields.columns = grid_width;
  fields.rows = grid_height;
  fields.sets = {{.fraction_bits = fraction_bits, .element = [gain](size_t, size_t index) {
                    const double x = static_cast<double>(index % grid_width) + 1;
                    const double y = static_cast<double>(index / grid_width) + 1;
                    return static_cast<uint16_t>(
                        std::lround(std::ldexp(gain(x, y) - 1.0, fraction_bits)));
                  }}};
  return writer::nvm_image(fields);
}

kit::cmc_ptr parse_with(uint16_t orientation, gain_surface gain) {
  const writer::bytes nvm = image_of(gain);
  const qo_blob nvm_blob = {nvm.data(), static_cast<uint32_t>(nvm.size())};
  return kit::parse(container_with(orientation), &nvm_blob);
}

Eigen::Matrix<double, 1, terms> monomials(double x, double y) {
  Eigen::Matrix<double, 1, terms> row;
  row << 1, x, y, x * x, x * y, y * y, x * x * x, x * x * y, x * y * y, y * y * y, x * x * x * x,
      x * x * x * y, x * x * y * y, x * y * y * y, y * y * y * y;
  return row;
}

double x_of(size_t column) {
  return 1.0 + static_cast<double>(column) * (grid_width - 1.0) / (out_width - 1.0);
}
double y_of(size_t row) {
  return 1.0 + static_cast<double>(row) * (grid_height - 1.0) / (out_height - 1.0);
}

/// How far the computed surface may be from the one that the module stores, relative to its largest
/// gain.
///
/// Quantisation moves each grid value by half a unit; the least-squares projection passes that on
/// multiplied by its largest row sum (its Lebesgue constant) at most. Solving the normal equations
/// in single precision disturbs the fitted values by a small multiple of the unit roundoff times
/// the condition number of the design matrix with its columns scaled to one length (factorising
/// without pivoting does not depend on that scaling); the multiple taken is 8.
double fit_error(double largest_gain) {
  Eigen::MatrixXd design(grid_width * grid_height, terms);
  for (size_t i = 0; i < grid_width * grid_height; ++i)
    design.row(static_cast<Eigen::Index>(i)) =
        monomials(static_cast<double>(i % grid_width) + 1, static_cast<double>(i / grid_width) + 1);
  const Eigen::VectorXd scale = design.colwise().norm().cwiseInverse();
  const Eigen::MatrixXd scaled = design * scale.asDiagonal();
  const Eigen::VectorXd singular = Eigen::JacobiSVD<Eigen::MatrixXd>(scaled).singularValues();
  const double condition = singular(0) / singular(terms - 1);
  const Eigen::MatrixXd solver = scaled.completeOrthogonalDecomposition().pseudoInverse();
  double lebesgue = 0;
  for (size_t r = 0; r < out_height; ++r)
    for (size_t k = 0; k < out_width; ++k)
      lebesgue = std::max(
          lebesgue, (monomials(x_of(k), y_of(r)) * scale.asDiagonal() * solver).cwiseAbs().sum());
  const double quantisation = std::ldexp(0.5, -fraction_bits);
  const double roundoff = std::ldexp(1.0, -24);
  return lebesgue * quantisation / largest_gain + 8 * roundoff * condition;
}

double flat(double, double) { return 1.5; }

/// A quartic: 1.2 in the middle, about 2.6 in the corners, and steeper to the right and the bottom.
double leaning(double x, double y) {
  const double u = (x - 9) / 8, v = (y - 7) / 6, r2 = u * u + v * v;
  return 1.2 + 0.4 * r2 + 0.12 * r2 * r2 + 0.1 * u + 0.05 * v;
}

TEST(ModuleTables, OfAFlatModuleEqualTheSourceUpToTheTruncation) {
  const kit::cmc_ptr cmc = parse_with(0, flat);
  ASSERT_NE(nullptr, cmc);
  const double error = 2 * fit_error(1.0);  // of the plane and of its minimum
  for (size_t site = 0; site < 4; ++site) {
    const uint16_t* const table = cmc->lens_shading->lights[0].tables[site / 2][site % 2];
    for (size_t i = 0; i < out_width * out_height; ++i) {
      const double source = table_sample(0, site, i);
      // No gain is below 1, so that no sample falls.
      ASSERT_GE(table[i], source);
      ASSERT_LE(table[i], source * (1 + error)) << "site " << site << " sample " << i;
    }
  }
}

/// The worst distance, in gains, between the tables and the stored surface mirrored as told.
void expect_mirrored(uint16_t orientation, bool left_right, bool top_bottom) {
  const kit::cmc_ptr cmc = parse_with(orientation, leaning);
  ASSERT_NE(nullptr, cmc);
  double least = 1e9, largest = 0;
  for (size_t r = 0; r < out_height; ++r) {
    for (size_t k = 0; k < out_width; ++k) {
      least = std::min(least, leaning(x_of(k), y_of(r)));
      largest = std::max(largest, leaning(x_of(k), y_of(r)));
    }
  }
  // Relative to the largest gain, once for the surface and once for the minimum it is divided by.
  const double error = 2 * fit_error(largest) * largest / least;
  for (size_t site = 0; site < 4; ++site) {
    const uint16_t* const table = cmc->lens_shading->lights[0].tables[site / 2][site % 2];
    for (size_t r = 0; r < out_height; ++r) {
      for (size_t k = 0; k < out_width; ++k) {
        const double gain = leaning(x_of(left_right ? out_width - 1 - k : k),
                                    y_of(top_bottom ? out_height - 1 - r : r)) /
                            least;
        const double source = table_sample(0, site, r * out_width + k);
        ASSERT_NEAR(source * gain, table[r * out_width + k], source * gain * error + 1)
            << "site " << site << " row " << r << " column " << k;
      }
    }
  }
}

TEST(ModuleTables, OfAKnownSurfaceAreItsProductWithTheSource) { expect_mirrored(0, false, false); }
TEST(ModuleTables, OfOrientation1AreMirroredLeftToRight) { expect_mirrored(1, true, false); }
TEST(ModuleTables, OfOrientation2AreMirroredTopToBottom) { expect_mirrored(2, false, true); }
TEST(ModuleTables, OfOrientation3AreTurnedByHalfATurn) { expect_mirrored(3, true, true); }

TEST(ModuleTables, OfAnUnknownOrientationAreTheContainersOwn) {
  const kit::cmc_ptr cmc = parse_with(4, leaning);
  ASSERT_NE(nullptr, cmc);
  for (size_t site = 0; site < 4; ++site)
    for (size_t i = 0; i < out_width * out_height; ++i)
      ASSERT_EQ(table_sample(0, site, i),
                cmc->lens_shading->lights[0].tables[site / 2][site % 2][i]);
}

TEST(ModuleTables, FitWithinAPercentOfTheirSurface) {
  // The bound that the other tests take is no excuse for a poor fit.
  EXPECT_LT(fit_error(1.0), 0.01);
}

}  // namespace
