#include "cmc_parser/calibration_merge.h"

#include <algorithm>
#include <iterator>

#include "base/load.h"
#include "cmc_parser/records/kept_layouts.h"
#include "lsc/chosen_gain_tables.h"
#include "lsc/sample_correction.h"

namespace qo {
namespace {

[[nodiscard]] bool has_table(const lens_shading_light& light) {
  return std::any_of(std::begin(light.tables), std::end(light.tables), [](const auto& row) {
    return std::any_of(std::begin(row), std::end(row), [](const uint16_t* table) { return table; });
  });
}

/// Why a set is not worth rebuilding: it has no lights, or no tables and a grid that no data backs,
/// so that gain planes of that size would be built for nothing.
[[nodiscard]] reason why_not_rebuilt(const lens_shading_set& set) {
  if (set.light_count == 0) return reason::merge_without_lights;
  if (std::any_of(set.lights, set.lights + set.light_count, has_table)) return reason::none;
  return sizeof(uint16_t) * set.width * set.height <= set.size ? reason::none
                                                               : reason::merge_without_tables;
}

/// Why there is nothing to compute gains for.
[[nodiscard]] reason why_not_started(const parsed_cmc& cmc) {
  if (cmc.lens_shading == nullptr) return reason::merge_without_lens_shading;
  if (cmc.lens_shading_ext == nullptr) return reason::merge_without_extended_set;
  if (cmc.module_properties == nullptr) return reason::merge_without_properties;
  if (cmc.record_17.record == nullptr) return reason::merge_without_record_17;
  return why_not_rebuilt(*cmc.lens_shading);
}

[[nodiscard]] reason reason_of(correction_fault fault) {
  switch (fault) {
    case correction_fault::none:
      return reason::none;
    case correction_fault::source_too_small:
      return reason::extended_set_too_small;
    case correction_fault::missing_argument:
    case correction_fault::gain_table_missing:
      return reason::gain_table_missing;
    case correction_fault::plane_order_unknown:
      return reason::plane_order_unknown;
    case correction_fault::cfa_layout_unknown:
      break;
  }
  return reason::cfa_layout_unknown;
}

}  // namespace

merge_result merge_calibration(parsed_cmc& cmc, const calibration& module) {
  const reason refusal = why_not_started(cmc);
  if (refusal != reason::none) return {refusal};
  lens_shading_set& target = *cmc.lens_shading;
  const lens_shading_set& source = *cmc.lens_shading_ext;
  const uint16_t cfa_layout = cmc.module_properties->cfa_layout;
  const record_header* const record_17 = cmc.record_17.record;
  const uint16_t orientation = load<uint16_t>(record_17, record_17_layout::orientation);
  const uint16_t plane_order = load<uint16_t>(record_17, record_17_layout::plane_order);
  // Every set is built before the first light is corrected, since one that cannot be stops the
  // merge. Those that nothing is multiplied by do not stay: a small file may hold 255 sets.
  const chosen_gain_tables gains =
      build_polynomial_tables(target.width, target.height, module, orientation,
                              sets_that_scale(target, source, cfa_layout));
  if (gains.get() == nullptr) return {reason::gains_not_computed};
  // A correction that stops half-way leaves the lights before that corrected, on purpose.
  const correction_result corrected = correct_samples(
      &target, &source, gains.get(), cfa_layout, plane_order, averaged_greens::of_scaled_sites);
  return {reason_of(corrected.fault), corrected.lights};
}

}  // namespace qo
