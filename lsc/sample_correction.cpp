// ratio_based_sample_to_sample_correction(): lens-shading tables times the gain planes of one
// camera module.

#include "lsc/sample_correction.h"

#include <cassert>
#include <cstddef>
#include <cstring>

#include "base/float_to_int.h"
#include "base/load.h"
#include "lsc/byte_range.h"
#include "lsc/colour_cells.h"
#include "qo_cmc/status.h"
#include "rows/row_table.h"

namespace qo {
namespace {

/// source[i] * gains[i]. Contract: no clamp, the low 16 bits are what counts.
[[nodiscard]] uint32_t product_at(const uint16_t* source, const float* gains, size_t i) {
  return truncate_for_low_16(static_cast<float>(load<uint16_t>(source, i * sizeof *source)) *
                             load<float>(gains, i * sizeof *gains));
}

void store_sample(uint32_t product, uint16_t* target, size_t i) {
  const auto sample = static_cast<uint16_t>(product);
  memcpy(reinterpret_cast<uint8_t*>(target) + i * sizeof sample, &sample, sizeof sample);
}

/// The rule itself. Samples and gains go through memcpy: a compiler takes it that no store of a
/// sample changes a gain, and tables may stand at odd addresses.
void scale_in_order(const uint16_t* source, const float* gains, uint16_t* target, size_t count) {
  for (size_t i = 0; i < count; ++i) store_sample(product_at(source, gains, i), target, i);
}

/// target[i] = source[i] * gains[i], for i ascending.
/// Contract: whatever overlaps what, sample i and its gain are loaded after the two bytes of
/// target[i - 1] are stored.
void scale_table(const uint16_t* source, const float* gains, uint16_t* target, size_t count) {
  const byte_range written = bytes_of(target, count);
  const bool no_load_sees_a_store =
      (target == source || !overlap(written, bytes_of(source, count))) &&
      !overlap(written, bytes_of(gains, count));
  if (no_load_sees_a_store) {
    rows().gains.scale(source, gains, target, count);
  } else {
    scale_in_order(source, gains, target, count);
  }
}

/// Copies what stands before the tables.
void copy_leading_fields(const lens_shading_light_ext& source, lens_shading_light& target) {
  target.light_id = source.light_id;
  for (size_t i = 0; i < 2; ++i) {
    target.gains[i] = source.gains[i];
    target.coords[i] = source.coords[i];
  }
  target.fraction_bits = source.fraction_bits;
}

/// The four planes of one gain table, by colour.
class colour_planes {
 public:
  colour_planes(float* table, const plane_numbers& numbers, size_t plane_samples)
      : table_(table), numbers_(numbers), plane_samples_(plane_samples) {}

  [[nodiscard]] float* operator[](colour site) const {
    assert(site != colour::no);
    return table_ + numbers_.of[static_cast<size_t>(site)] * plane_samples_;
  }

 private:
  float* table_;
  const plane_numbers& numbers_;
  size_t plane_samples_;
};

/// Whether samples of this site are multiplied.
[[nodiscard]] bool is_scaled(const colour_cell& cell, size_t row, size_t column,
                             const lens_shading_light_ext& source,
                             const lens_shading_light& target) {
  return cell.at(row, column) != colour::no && source.tables[row][column] != nullptr &&
         target.tables[row][column] != nullptr;
}

[[nodiscard]] bool has_scaled_site(const colour_cell& cell, const lens_shading_light_ext& source,
                                   const lens_shading_light& target) {
  for (size_t row = 0; row < cell.side; ++row)
    for (size_t column = 0; column < cell.side; ++column)
      if (is_scaled(cell, row, column, source, target)) return true;
  return false;
}

void correct_tables(const colour_cell& cell, const colour_planes& planes,
                    const lens_shading_light_ext& source, lens_shading_light& target,
                    size_t count) {
  for (size_t row = 0; row < cell.side; ++row)
    for (size_t column = 0; column < cell.side; ++column)
      if (is_scaled(cell, row, column, source, target))
        scale_table(source.tables[row][column], planes[cell.at(row, column)],
                    target.tables[row][column], count);
}

[[nodiscard]] uint32_t table_samples(const lens_shading_set& set) {
  return uint32_t{set.width} * set.height;
}

/// Whether the source has fewer lights, or fewer samples in a table, than the target.
[[nodiscard]] bool is_smaller(const lens_shading_set& source, const lens_shading_set& target) {
  return source.light_count < target.light_count || table_samples(source) < table_samples(target);
}

}  // namespace

correction_result correct_samples(lens_shading_set* target, const lens_shading_set* source,
                                  computed_upscale_lsc_tables* gains, uint32_t cfa_layout,
                                  uint32_t plane_order, averaged_greens greens) {
  constexpr correction_result missing = {QO_CMC_INVALID_SIZE, correction_fault::missing_argument};
  if (target == nullptr || source == nullptr || gains == nullptr) return missing;
  if (target->light_count == 0) return {};
  if (target->lights == nullptr || source->lights_ext == nullptr || gains->gain_tables == nullptr)
    return missing;
  if (is_smaller(*source, *target)) return {QO_CMC_INVALID, correction_fault::source_too_small};
  const size_t samples = table_samples(*target);

  const plane_numbers numbers = find_plane_numbers(plane_order);
  const colour_cell cell = find_colour_cell(cfa_layout);
  for (uint16_t index = 0; index < target->light_count; ++index) {
    const lens_shading_light_ext& from = source->lights_ext[index];
    lens_shading_light& to = target->lights[index];
    if (from.aux == 0 || from.aux > gains->table_count)
      return {QO_CMC_INVALID, correction_fault::gain_table_missing, index};
    float* const table = gains->gain_tables[from.aux - 1];
    if (table == nullptr) return {QO_CMC_INVALID_SIZE, correction_fault::gain_table_missing, index};
    // The codes are tested after the light's table, whose faults come first.
    if (!numbers.known) return {QO_CMC_INVALID, correction_fault::plane_order_unknown, index};
    if (cell.side == 0) return {QO_CMC_INVALID, correction_fault::cfa_layout_unknown, index};

    const colour_planes planes(table, numbers, samples);
    // Contract: in place, for each light. A table that serves two lights is averaged twice, which
    // changes nothing more.
    if (cell.side == 4 &&
        (greens == averaged_greens::of_every_light || has_scaled_site(cell, from, to)))
      rows().gains.average(planes[colour::G1], planes[colour::G2], samples);
    copy_leading_fields(from, to);
    correct_tables(cell, planes, from, to, samples);
  }
  return {.lights = target->light_count};
}

set_choice sets_that_scale(const lens_shading_set& target, const lens_shading_set& source,
                           uint32_t cfa_layout) {
  set_choice chosen;
  if (is_smaller(source, target)) return chosen;
  const colour_cell cell = find_colour_cell(cfa_layout);
  for (uint16_t index = 0; index < target.light_count; ++index)
    if (has_scaled_site(cell, source.lights_ext[index], target.lights[index]))
      chosen.add_named(source.lights_ext[index].aux);
  return chosen;
}

}  // namespace qo

uint64_t ratio_based_sample_to_sample_correction(lens_shading_set* target,
                                                 const lens_shading_set* source,
                                                 computed_upscale_lsc_tables* gains,
                                                 uint32_t cfa_layout, uint32_t plane_order) {
  return qo::correct_samples(target, source, gains, cfa_layout, plane_order,
                             qo::averaged_greens::of_every_light)
      .code;
}
