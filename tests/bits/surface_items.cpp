// The quartic surface: its fit to grids, and its samples.

#include <string>

#include "qo_cmc/lsc.h"
#include "tests/bits/items.h"
#include "tests/bits/plane_sizes.h"

namespace bits {
namespace {

constexpr uint16_t term_count = 15;

/// The matrices of a fit.
struct fit {
  fit(noise& random, uint16_t width, uint16_t height, uint16_t terms)
      : design(random.plane<float>(size_t{width} * height * terms, nature::tame)),
        design_t(unwritten<float>(design.size())),
        lu(unwritten<float>(size_t{terms} * terms)),
        index(unwritten<int32_t>(terms)),
        status(lu_decomposition(design.data(), design_t.data(), lu.data(), index.data(), width,
                                height, terms)) {}

  std::vector<float> design, design_t, lu;
  std::vector<int32_t> index;
  uint32_t status;
};

void fits(results& all) {
  const std::string name = "lu_decomposition";
  digest& seen = all.add(name);
  noise random(name);
  for (uint16_t w = 1; w <= 33; ++w) {
    const auto h = static_cast<uint16_t>(random.from_to(1, 24));
    const auto terms = static_cast<uint16_t>(random.from_to(term_count, term_count + 2));
    const fit made(random, w, h, terms);
    seen.status(made.status);
    seen.samples(made.design);
    seen.samples(made.design_t);
    seen.samples(made.index);
    seen.computed(made.lu);
  }
}

/// Grids of the given nature, fitted and sampled; small ones do not determine a surface.
void upscales(results& all, nature kind) {
  const std::string name = "lsc_polynomial_upscale_float." + std::string(name_of(kind));
  digest& seen = all.add(name);
  noise random(name);
  for (uint16_t w = 2; w <= most_columns; w = static_cast<uint16_t>(w + 2)) {
    const auto grid_w = static_cast<uint16_t>(random.from_to(2, 20));
    const auto grid_h = static_cast<uint16_t>(random.from_to(2, 16));
    const auto h = static_cast<uint16_t>(random.from_to(2, 9));
    const fit made(random, grid_w, grid_h, term_count);
    const size_t in = size_t{grid_w} * grid_h, out = size_t{w} * h;
    const auto grids = random.plane<float>(4 * in, kind);
    auto planes = unwritten<float>(4 * out);
    const float* from[4];
    float* to[4];
    for (size_t i = 0; i < 4; ++i) {
      from[i] = grids.data() + i * in;
      to[i] = planes.data() + i * out;
    }
    seen.status(lsc_polynomial_upscale_float(made.design_t.data(), made.lu.data(), nullptr, from,
                                             to, grid_w, grid_h, w, h, term_count));
    seen.computed(planes);
  }
}

void surfaces(results& all, nature kind) {
  const std::string name = "do_polynomial_upscale." + std::string(name_of(kind));
  digest& seen = all.add(name);
  noise random(name);
  std::vector<plane_sizes> sizes = sizes_of(random, ratio::any);
  sizes.insert(sizes.end(), {{17, 13, 1, 9}, {17, 13, 9, 1}, {65535, 65535, 131, 9}});
  for (const plane_sizes& s : sizes) {
    const auto coefficients = random.plane<float>(term_count, kind);
    auto to = unwritten<float>(s.out());
    do_polynomial_upscale(to.data(), coefficients.data(), s.in_w, s.in_h, s.out_w, s.out_h);
    seen.computed(to);
  }
}

}  // namespace

void surface_items(results& all) {
  fits(all);
  // One NaN in a grid is in all of its plane, so that any bits would be NaNs only.
  for (const nature kind :
       {nature::tame, nature::at_limits, nature::extreme, nature::tiny, nature::zeros})
    upscales(all, kind);
  for (const nature kind : float_natures) surfaces(all, kind);
}

}  // namespace bits
