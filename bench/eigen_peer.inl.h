// Included by one source for each compilation, which defines QO_BENCH_EIGEN_NAMESPACE, its
// namespace, and QO_BENCH_EIGEN_NAME. The library's own namespace is renamed with it: inline
// functions of the same name, compiled for different processors, would be taken for each other.
#define Eigen QO_BENCH_EIGEN_LIBRARY

#include <Eigen/Core>
#include <Eigen/LU>
#include <memory>

#include "bench/eigen_peer.h"

namespace bench::QO_BENCH_EIGEN_NAMESPACE {
namespace {

using matrix = Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
using vector = Eigen::VectorXf;
using words = Eigen::Matrix<uint16_t, Eigen::Dynamic, 1>;
constexpr Eigen::Index terms = 15;

Eigen::Index index(size_t size) { return static_cast<Eigen::Index>(size); }

matrix matrix_from(const plane& source) {
  return Eigen::Map<const matrix>(source.as<float>(), index(source.height), index(source.width));
}

matrix noise(size_t height, size_t width) {
  return matrix_from(with_noise(dense_plane(sample::f32, width, height)));
}

/// What the jobs work on; each keeps its own.
struct operands {
  matrix a, b, c;
  vector x, y;
};

job product(const matrix_task& task) {
  const auto m = std::make_shared<operands>();
  m->a = noise(task.height, task.inner);
  m->b = noise(task.inner, task.width);
  m->c.resize(index(task.height), index(task.width));
  return [m] {
    m->c.noalias() = m->a * m->b;
    keep(m->c.data());
  };
}

job vector_product(const matrix_task& task) {
  const auto m = std::make_shared<operands>();
  m->a = noise(task.height, task.inner);
  m->x = noise(task.inner, 1);
  m->y.resize(index(task.height));
  return [m] {
    m->y.noalias() = m->a * m->x;
    keep(m->y.data());
  };
}

job transpose(const matrix_task& task) {
  const auto m = std::make_shared<operands>();
  m->a = noise(task.height, task.inner);
  m->c.resize(index(task.inner), index(task.height));
  return [m] {
    m->c = m->a.transpose();
    keep(m->c.data());
  };
}

job factors(size_t side) {
  const auto m = std::make_shared<operands>();
  m->a = matrix_from(heavy_diagonal(side));
  const auto lu = std::make_shared<Eigen::PartialPivLU<matrix>>(index(side));
  return [m, lu] {
    lu->compute(m->a);
    keep(lu->matrixLU().data());
  };
}

void fill_design(matrix& rows, const image_size& grid) {
  rows.resize(index(grid.samples()), terms);
  fill_monomials(rows.data(), grid);
}

job normal_equations(const image_size& grid) {
  const auto m = std::make_shared<operands>();
  const auto lu = std::make_shared<Eigen::PartialPivLU<matrix>>(terms);
  return [m, lu, grid] {
    fill_design(m->a, grid);
    m->b = m->a.transpose();
    m->c.noalias() = m->b * m->a;
    lu->compute(m->c);
    keep(lu->matrixLU().data());
  };
}

using row_array = Eigen::Array<float, 1, Eigen::Dynamic>;

/// Samples one surface: in each row a polynomial in x, by Horner's rule.
template <typename Coefficients>
void sample_surface(const Coefficients& c, const image_size& grid, const image_size& out,
                    Eigen::Map<matrix> plane) {
  const auto step_x = float(grid.width - 1) / float(out.width - 1);
  const auto step_y = float(grid.height - 1) / float(out.height - 1);
  const row_array x = row_array::LinSpaced(index(out.width), 1, 1 + float(out.width - 1) * step_x);
  for (Eigen::Index r = 0; r < plane.rows(); ++r) {
    const float y = 1 + float(r) * step_y;
    const float k0 = c[0] + y * (c[2] + y * (c[5] + y * (c[9] + y * c[14])));
    const float k1 = c[1] + y * (c[4] + y * (c[8] + y * c[13]));
    const float k2 = c[3] + y * (c[7] + y * c[12]);
    const float k3 = c[6] + y * c[11];
    plane.row(r).array() = (((c[10] * x + k3) * x + k2) * x + k1) * x + k0;
  }
}

Eigen::Map<matrix> mapped(const plane& to, const image_size& size, size_t number = 0) {
  return {to.as<float>() + number * size.samples(), index(size.height), index(size.width)};
}

job surface(const image_size& grid, const image_size& out) {
  const auto m = std::make_shared<operands>();
  m->x = noise(15, 1);
  const plane result = dense_plane(sample::f32, out.width, out.height);
  return [m, result, grid, out] {
    sample_surface(m->x, grid, out, mapped(result, out));
    keep(result.as<float>());
  };
}

/// The least-squares fit of one grid size.
struct fit_of_grids {
  explicit fit_of_grids(const image_size& grid) {
    matrix design;
    fill_design(design, grid);
    transposed = design.transpose();
    lu.compute(transposed * design);
  }
  matrix transposed;
  Eigen::PartialPivLU<matrix> lu;
};

job fit(const image_size& grid, const image_size& out) {
  const auto prepared = std::make_shared<fit_of_grids>(grid);
  const auto grids = std::make_shared<matrix>(noise(4, grid.samples()));
  const plane result = dense_plane(sample::f32, out.width, out.height * 4);
  return [=] {
    const matrix coefficients = prepared->lu.solve(prepared->transposed * grids->transpose());
    for (size_t channel = 0; channel < 4; ++channel)
      sample_surface(coefficients.col(index(channel)), grid, out, mapped(result, out, channel));
    keep(result.as<float>());
  };
}

job gain_tables(const module_grids& grids, const image_size& out) {
  const plane raw =
      with_noise(dense_plane(sample::u16, grids.width * grids.height, 4 * grids.sets));
  const plane result = dense_plane(sample::f32, out.width, out.height * 4 * grids.sets);
  return [=] {
    const image_size grid{grids.width, grids.height};
    const fit_of_grids prepared(grid);
    matrix gains(4, index(grid.samples()));
    for (size_t set = 0; set < grids.sets; ++set) {
      for (size_t channel = 0; channel < 4; ++channel)
        gains.row(index(channel)) =
            (Eigen::Map<const words>(raw.as<uint16_t>() + (4 * set + channel) * grid.samples(),
                                     index(grid.samples()))
                     .cast<float>()
                     .array() /
                 1024.0f +
             1.0f)
                .transpose();
      const matrix coefficients = prepared.lu.solve(prepared.transposed * gains.transpose());
      for (size_t channel = 0; channel < 4; ++channel) {
        Eigen::Map<matrix> plane = mapped(result, out, 4 * set + channel);
        sample_surface(coefficients.col(index(channel)), grid, out, plane);
        const float minimum = plane.minCoeff();
        plane = (plane / minimum).cwiseMax(1.0f);
      }
    }
    keep(result.as<float>());
  };
}

job correction(size_t sites, size_t samples) {
  const plane from = with_noise(dense_plane(sample::u16, samples, sites));
  const plane gains = with_noise(dense_plane(sample::f32, samples, sites));
  const plane to = dense_plane(sample::u16, samples, sites);
  return [=] {
    for (size_t site = 0; site < sites; ++site) {
      const Eigen::Map<const words> source(from.as<uint16_t>() + site * samples, index(samples));
      const Eigen::Map<const vector> gain(gains.as<float>() + site * samples, index(samples));
      Eigen::Map<words> target(to.as<uint16_t>() + site * samples, index(samples));
      target = source.cast<float>().cwiseProduct(gain).cast<int32_t>().cast<uint16_t>();
    }
    keep(to.as<uint16_t>());
  };
}

constexpr eigen_variant jobs = {QO_BENCH_EIGEN_NAME,
                                product,
                                vector_product,
                                transpose,
                                factors,
                                normal_equations,
                                surface,
                                fit,
                                gain_tables,
                                correction};

}  // namespace

const eigen_variant& variant() { return jobs; }

}  // namespace bench::QO_BENCH_EIGEN_NAMESPACE
