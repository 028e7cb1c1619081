// compute_upscaled_lsc_tables_bicubic(): gain tables of one camera module by bicubic interpolation.

#include "qo_cmc/lsc.h"

#include "base/powers_of_two.h"
#include "lsc/gain_tables.h"
#include "qo_cmc/image_utils.h"
#include "qo_cmc/status.h"
#include "qo_nvm.h"

namespace qo {
namespace {

/// Working storage of one call: the interpolated raw values of one set, every one of which the
/// upscaler writes.
struct interpolated_planes {
  interpolated_planes(uint16_t out_width, uint16_t out_height)
      : width(out_width), height(out_height) {
    for (heap_array<float>& plane : planes) plane.reset(c_new_array_to_fill<float>(samples()));
  }

  [[nodiscard]] size_t samples() const { return size_t{width} * height; }

  [[nodiscard]] bool is_complete() const {
    for (const heap_array<float>& plane : planes)
      if (plane == nullptr) return false;
    return true;
  }

  uint16_t width;
  uint16_t height;
  heap_array<float> planes[planes_per_block];
};

/// Enlarges the four grids of a set, whose size is the module's.
[[nodiscard]] bool interpolate(const lsc_calibration_set& set, const calibration& module,
                               const interpolated_planes& work) {
  float* planes[planes_per_block];
  const uint8_t* bytes[planes_per_block];
  const uint16_t* words[planes_per_block];
  for (size_t channel = 0; channel < planes_per_block; ++channel) {
    planes[channel] = work.planes[channel].get();
    bytes[channel] = static_cast<const uint8_t*>(set.channel_tables[channel]);
    words[channel] = static_cast<const uint16_t*>(set.channel_tables[channel]);
  }
  const uint32_t status = has_wide_elements(set.fraction_bits)
                              ? image_bicubic_upscale_uint16_to_float(
                                    words, planes, module.lsc_grid_width, module.lsc_grid_height,
                                    work.width, work.height, planes_per_block)
                              : image_bicubic_upscale_uint8_to_float(
                                    bytes, planes, module.lsc_grid_width, module.lsc_grid_height,
                                    work.width, work.height, planes_per_block);
  return status == QO_CMC_OK;
}

/// Turns the interpolated planes into the gains of a block, which is zeroed. An unknown orientation
/// leaves it so.
void convert_to_gains(const interpolated_planes& work, uint8_t fraction_bits, uint32_t orientation,
                      float* block) {
  // Contract: the sides are taken modulo 256, as row length too. Of larger planes only the first
  // samples are converted, packed at the shorter row length; the rest of the block stays 0.
  const uint8_t width = static_cast<uint8_t>(work.width);
  const uint8_t height = static_cast<uint8_t>(work.height);
  const float divisor = unsigned_power_of_two(fraction_bits);
  for (size_t channel = 0; channel < planes_per_block; ++channel)
    place_gains(work.planes[channel].get(), width, height, divisor, orientation,
                block + channel * work.samples());
}

[[nodiscard]] gain_tables_ptr build_bicubic(uint16_t out_width, uint16_t out_height,
                                            const calibration& module, uint32_t orientation) {
  const interpolated_planes work(out_width, out_height);
  if (!work.is_complete()) return nullptr;
  gain_tables_ptr tables = new_gain_tables(module.lsc_set_count);
  if (tables == nullptr) return nullptr;
  for (uint8_t index = 0; index < module.lsc_set_count; ++index) {
    const lsc_calibration_set& set = module.lsc_sets[index];
    float* const block = add_gain_block(*tables, index, work.samples());
    if (block == nullptr || !interpolate(set, module, work)) return nullptr;
    convert_to_gains(work, set.fraction_bits, orientation, block);
  }
  return tables;
}

}  // namespace
}  // namespace qo

computed_upscale_lsc_tables* compute_upscaled_lsc_tables_bicubic(uint32_t out_width,
                                                                 uint32_t out_height,
                                                                 const calibration* module,
                                                                 uint32_t orientation) {
  // Contract: the low 16 bits count.
  const uint16_t width = static_cast<uint16_t>(out_width);
  const uint16_t height = static_cast<uint16_t>(out_height);
  // Deliberate: unlike the polynomial builder this one refuses null sets also when there are none,
  // and leaves it to the upscaler to judge the grid's size.
  if (module == nullptr || module->lsc_sets == nullptr || width == 0 || height == 0) return nullptr;
  if (!qo::has_all_grids(*module)) return nullptr;
  return qo::build_bicubic(width, height, *module, orientation).release();
}
