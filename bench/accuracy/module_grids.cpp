#include "bench/accuracy/module_grids.h"

#include "qo_cmc/lsc.h"
#include "qo_nvm.h"

namespace accuracy {

std::vector<std::vector<float>> gain_planes(builder method, const four_grids& raw, size_t width,
                                            size_t height, unsigned fraction_bits, size_t out_width,
                                            size_t out_height) {
  lsc_calibration_set set{};
  set.fraction_bits = static_cast<uint8_t>(fraction_bits);
  for (size_t channel = 0; channel < 4; ++channel)
    set.channel_tables[channel] = raw[channel].data();
  calibration module{};
  module.lsc_set_count = 1;
  module.lsc_grid_width = static_cast<uint8_t>(width);
  module.lsc_grid_height = static_cast<uint8_t>(height);
  module.lsc_sets = &set;

  const auto build = method == builder::polynomial ? compute_upscaled_lsc_tables_polynom4th
                                                   : compute_upscaled_lsc_tables_bicubic;
  computed_upscale_lsc_tables* const tables =
      build(static_cast<uint32_t>(out_width), static_cast<uint32_t>(out_height), &module, 0);
  std::vector<std::vector<float>> planes;
  if (tables == nullptr) return planes;
  const size_t samples = out_width * out_height;
  for (size_t channel = 0; channel < 4; ++channel) {
    const float* const plane = tables->gain_tables[0] + channel * samples;
    planes.emplace_back(plane, plane + samples);
  }
  deinit_computed_upscale_lsc_tables(tables);
  return planes;
}

std::vector<double> gains_of(const std::vector<uint16_t>& raw, unsigned fraction_bits) {
  std::vector<double> gains;
  for (const uint16_t value : raw)
    gains.push_back(value / static_cast<double>(1u << fraction_bits) + 1);
  return gains;
}

}  // namespace accuracy
