// compute_upscaled_lsc_tables_polynom4th(): gain tables of one camera module by the quartic
// surface.

#include "qo_cmc/lsc.h"

#include <utility>

#include "base/powers_of_two.h"
#include "lsc/chosen_gain_tables.h"
#include "lsc/plane_minimum.h"
#include "lsc/quartic_surface.h"
#include "qo_cmc/status.h"
#include "qo_nvm.h"

namespace qo {
namespace {

/// Working storage of one call, for a grid of width x height samples.
struct surface_workspace {
  surface_workspace(uint8_t grid_width, uint8_t grid_height)
      : width(grid_width),
        height(grid_height),
        design(c_new_array<float>(samples() * surface_terms)),
        design_t(c_new_array<float>(samples() * surface_terms)),
        lu(c_new_array<float>(size_t{surface_terms} * surface_terms)),
        index(c_new_array<int32_t>(surface_terms)) {
    for (heap_array<float>& grid : grids) grid.reset(c_new_array<float>(samples()));
  }

  [[nodiscard]] size_t samples() const { return size_t{width} * height; }

  [[nodiscard]] bool is_complete() const {
    for (const heap_array<float>& grid : grids)
      if (grid == nullptr) return false;
    return design != nullptr && design_t != nullptr && lu != nullptr && index != nullptr;
  }

  uint8_t width;
  uint8_t height;
  heap_array<float> design;
  heap_array<float> design_t;
  heap_array<float> lu;
  heap_array<int32_t> index;
  heap_array<float> grids[planes_per_block];
};

/// Fills the four grids with the gains of one calibration set. An unknown orientation leaves them
/// zero, and the minimum of the fitted planes then refuses the set.
void load_gains(const lsc_calibration_set& set, uint32_t orientation, surface_workspace& work) {
  const float divisor = unsigned_power_of_two(set.fraction_bits);
  for (size_t channel = 0; channel < planes_per_block; ++channel) {
    const void* const raw = set.channel_tables[channel];
    float* const gains = work.grids[channel].get();
    if (has_wide_elements(set.fraction_bits)) {
      place_gains(static_cast<const uint16_t*>(raw), work.width, work.height, divisor, orientation,
                  gains);
    } else {
      place_gains(static_cast<const uint8_t*>(raw), work.width, work.height, divisor, orientation,
                  gains);
    }
  }
}

/// Fits the four grids and fills a block with their normalised planes.
[[nodiscard]] bool fill_block(const surface_workspace& work, float* block, uint16_t out_width,
                              uint16_t out_height) {
  const size_t plane_samples = size_t{out_width} * out_height;
  const float* grids[planes_per_block];
  float* planes[planes_per_block];
  for (size_t channel = 0; channel < planes_per_block; ++channel) {
    grids[channel] = work.grids[channel].get();
    planes[channel] = block + channel * plane_samples;
  }
  if (lsc_polynomial_upscale_float(work.design_t.get(), work.lu.get(), work.index.get(), grids,
                                   planes, work.width, work.height, out_width, out_height,
                                   surface_terms) != QO_CMC_OK)
    return false;
  for (float* const plane : planes)
    if (!normalise_to_minimum(plane, plane_samples)) return false;
  return true;
}

struct built_tables {
  gain_tables_ptr tables;    ///< null when a set cannot be built; entries that are not chosen are
  heap_array<float> others;  ///< what the sets that are not chosen are built in; null without any
};

/// Where a set is built, or null when there is no memory.
[[nodiscard]] float* block_for(uint8_t set, const set_choice& chosen, size_t plane_samples,
                               built_tables& built) {
  if (chosen.has(set)) return add_gain_block(*built.tables, set, plane_samples);
  if (built.others == nullptr) built.others = new_gain_block(plane_samples);
  return built.others.get();
}

[[nodiscard]] built_tables build_polynomial(uint16_t out_width, uint16_t out_height,
                                            const calibration& module, uint32_t orientation,
                                            const set_choice& chosen) {
  if (out_width == 0 || out_height == 0) return {};
  if (module.lsc_grid_width == 0 || module.lsc_grid_height == 0) return {};
  if (!has_all_grids(module)) return {};
  surface_workspace work(module.lsc_grid_width, module.lsc_grid_height);
  built_tables built = {new_gain_tables(module.lsc_set_count), nullptr};
  if (!work.is_complete() || built.tables == nullptr) return {};

  // The factors depend only on the grid's size and serve every set and channel.
  if (lu_decomposition(work.design.get(), work.design_t.get(), work.lu.get(), work.index.get(),
                       work.width, work.height, surface_terms) != QO_CMC_OK)
    return {};
  const size_t plane_samples = size_t{out_width} * out_height;
  for (uint8_t set = 0; set < module.lsc_set_count; ++set) {
    float* const block = block_for(set, chosen, plane_samples, built);
    if (block == nullptr) return {};
    load_gains(module.lsc_sets[set], orientation, work);
    if (!fill_block(work, block, out_width, out_height)) return {};
  }
  return built;
}

}  // namespace

chosen_gain_tables build_polynomial_tables(uint16_t out_width, uint16_t out_height,
                                           const calibration& module, uint32_t orientation,
                                           const set_choice& chosen) {
  built_tables built = build_polynomial(out_width, out_height, module, orientation, chosen);
  return {std::move(built.tables), std::move(built.others)};
}

}  // namespace qo

computed_upscale_lsc_tables* compute_upscaled_lsc_tables_polynom4th(uint32_t out_width,
                                                                    uint32_t out_height,
                                                                    const calibration* module,
                                                                    uint32_t orientation) {
  if (module == nullptr) return nullptr;
  // Contract: the low 16 bits count.
  return qo::build_polynomial(static_cast<uint16_t>(out_width), static_cast<uint16_t>(out_height),
                              *module, orientation, qo::set_choice::all())
      .tables.release();
}
