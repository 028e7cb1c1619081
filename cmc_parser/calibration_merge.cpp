#include "cmc_parser/calibration_merge.h"

#include <algorithm>
#include <iterator>

#include "base/load.h"
#include "cmc_parser/records/kept_layouts.h"
#include "qo_cmc/lsc.h"

namespace qo {
namespace {

[[nodiscard]] bool has_table(const lens_shading_light& light) {
  return std::any_of(std::begin(light.tables), std::end(light.tables), [](const auto& row) {
    return std::any_of(std::begin(row), std::end(row), [](const uint16_t* table) { return table; });
  });
}

/// False for a set without lights, and for one without tables whose grid no data backs: gain planes
/// of that size would be built for nothing.
[[nodiscard]] bool is_worth_rebuilding(const lens_shading_set& set) {
  if (set.light_count == 0) return false;
  if (std::any_of(set.lights, set.lights + set.light_count, has_table)) return true;
  return sizeof(uint16_t) * set.width * set.height <= set.size;
}

}  // namespace

void merge_calibration(parsed_cmc& cmc, const calibration& module) {
  if (cmc.lens_shading == nullptr || cmc.lens_shading_ext == nullptr) return;
  if (cmc.module_properties == nullptr || cmc.record_17.record == nullptr) return;
  lens_shading_set& target = *cmc.lens_shading;
  if (!is_worth_rebuilding(target)) return;

  const record_header* const record_17 = cmc.record_17.record;
  const uint16_t orientation = load<uint16_t>(record_17, record_17_layout::orientation);
  const uint16_t plane_order = load<uint16_t>(record_17, record_17_layout::plane_order);
  computed_upscale_lsc_tables* const gains =
      compute_upscaled_lsc_tables_polynom4th(target.width, target.height, &module, orientation);
  if (gains == nullptr) return;
  // A correction that stops half-way leaves the lights before that corrected, on purpose.
  (void)ratio_based_sample_to_sample_correction(&target, cmc.lens_shading_ext, gains,
                                                cmc.module_properties->cfa_layout, plane_order);
  deinit_computed_upscale_lsc_tables(gains);
}

}  // namespace qo
