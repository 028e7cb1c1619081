// compute_upscaled_lsc_tables_polynom4th(): gain tables of one camera module by the quartic
// surface.

#include "qo_cmc/lsc.h"

#include "base/powers_of_two.h"
#include "lsc/gain_tables.h"
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

[[nodiscard]] gain_tables_ptr build_polynomial(uint16_t out_width, uint16_t out_height,
                                               const calibration& module, uint32_t orientation) {
  surface_workspace work(module.lsc_grid_width, module.lsc_grid_height);
  gain_tables_ptr tables = new_gain_tables(module.lsc_set_count);
  if (!work.is_complete() || tables == nullptr) return nullptr;

  // The factors depend only on the grid's size and serve every set and channel.
  if (lu_decomposition(work.design.get(), work.design_t.get(), work.lu.get(), work.index.get(),
                       work.width, work.height, surface_terms) != QO_CMC_OK)
    return nullptr;
  for (uint8_t set = 0; set < module.lsc_set_count; ++set) {
    float* const block = add_gain_block(*tables, set, size_t{out_width} * out_height);
    if (block == nullptr) return nullptr;
    load_gains(module.lsc_sets[set], orientation, work);
    if (!fill_block(work, block, out_width, out_height)) return nullptr;
  }
  return tables;
}

}  // namespace
}  // namespace qo

computed_upscale_lsc_tables* compute_upscaled_lsc_tables_polynom4th(uint32_t out_width,
                                                                    uint32_t out_height,
                                                                    const calibration* module,
                                                                    uint32_t orientation) {
  // Contract: the low 16 bits count.
  const uint16_t width = static_cast<uint16_t>(out_width);
  const uint16_t height = static_cast<uint16_t>(out_height);
  if (width == 0 || height == 0 || module == nullptr) return nullptr;
  if (module->lsc_grid_width == 0 || module->lsc_grid_height == 0) return nullptr;
  if (!qo::has_all_grids(*module)) return nullptr;
  return qo::build_polynomial(width, height, *module, orientation).release();
}
