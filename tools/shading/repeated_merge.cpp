#include "tools/shading/repeated_merge.h"

#include <fmt/format.h>

#include "base/float_to_int.h"
#include "base/load.h"
#include "cmc_parser/records/kept_layouts.h"
#include "qo_nvm.h"

namespace shading {
namespace {

struct calibration_deleter {
  void operator()(calibration* module) const { qo_nvm_deinit(module); }
};
using calibration_ptr = std::unique_ptr<calibration, calibration_deleter>;

[[nodiscard]] calibration_ptr read_calibration(std::span<const uint8_t> nvm) {
  calibration* module = nullptr;
  const qo_blob image = {nvm.data(), static_cast<uint32_t>(nvm.size())};
  // Its status says nothing that the handle does not.
  (void)qo_nvm_parse(&image, &module);
  return calibration_ptr(module);
}

[[nodiscard]] size_t samples_of(const lens_shading_set& set) {
  return size_t{set.width} * set.height;
}

}  // namespace

repeated_merge::repeated_merge(const parsed_cmc& unmerged, std::span<const uint8_t> nvm)
    : cmc_(unmerged) {
  why_not_ = prepare(nvm);
  if (!why_not_.empty()) gains_.reset();
}

std::string repeated_merge::prepare(std::span<const uint8_t> nvm) {
  if (nvm.empty()) return "the NVM image is empty";
  const calibration_ptr module = read_calibration(nvm);
  if (module == nullptr) return "the NVM library refuses the image";
  const lens_shading_set* const target = cmc_.lens_shading;
  const lens_shading_set* const source = cmc_.lens_shading_ext;
  if (target == nullptr || target->light_count == 0) return "there is no light to correct";
  if (source == nullptr) return "no record 11 or 33 gives tables for the module's gains";
  if (cmc_.module_properties == nullptr) return "record 2 is missing";
  const record_header* const record_17 = cmc_.record_17.record;
  if (record_17 == nullptr) return "record 17 is missing";
  samples_ = samples_of(*target);
  if (samples_ == 0) return "the tables have no samples";
  if (source->light_count < target->light_count || samples_of(*source) < samples_)
    return fmt::format(
        "the module's tables are {} x {} for {} lights, the others {} x {} for {} lights",
        source->width, source->height, source->light_count, target->width, target->height,
        target->light_count);

  const auto orientation = qo::load<uint16_t>(record_17, qo::record_17_layout::orientation);
  const auto order = qo::load<uint16_t>(record_17, qo::record_17_layout::plane_order);
  const uint16_t layout = cmc_.module_properties->cfa_layout;
  planes_ = qo::find_plane_numbers(order);
  cell_ = qo::find_colour_cell(layout);
  if (!planes_.known) return fmt::format("plane order {} of record 17 is unknown", order);
  if (cell_.side == 0) return fmt::format("colour-filter layout {} of record 2 is unknown", layout);
  gains_.reset(compute_upscaled_lsc_tables_polynom4th(target->width, target->height, module.get(),
                                                      orientation));
  if (gains_ == nullptr)
    return fmt::format("no gain planes can be computed from the module's grids (orientation {})",
                       orientation);
  return {};
}

std::string repeated_merge::refusal_of_light(const lens_shading_light_ext& source) const {
  if (source.aux == 0 || source.aux > gains_->table_count)
    return fmt::format("calibration set {} of light {} does not exist: the module has {}",
                       source.aux, source.light_id, gains_->table_count);
  return {};
}

bool repeated_merge::next_light() {
  if (!why_not_.empty()) return false;
  const lens_shading_light_ext& source = cmc_.lens_shading_ext->lights_ext[next_++];
  why_not_ = refusal_of_light(source);
  if (!why_not_.empty()) return false;
  source_ = &source;
  table_ = gains_->gain_tables[source.aux - 1];
  if (cell_.side == 4) average_greens();
  return true;
}

/// In place, and once for each light that uses the table, as the correction does.
void repeated_merge::average_greens() {
  float* const first = plane_of(qo::colour::G1);
  float* const second = plane_of(qo::colour::G2);
  for (size_t i = 0; i < samples_; ++i) {
    const float mean = (first[i] + second[i]) * 0.5f;
    first[i] = mean;
    second[i] = mean;
  }
}

unsigned repeated_merge::fraction_bits() const { return source_->fraction_bits; }

float* repeated_merge::plane_of(qo::colour which) const {
  return table_ + planes_.of[static_cast<size_t>(which)] * samples_;
}

const uint16_t* repeated_merge::source_of(size_t row, size_t column) const {
  if (row >= cell_.side || column >= cell_.side) return nullptr;
  if (cell_.at(row, column) == qo::colour::no) return nullptr;
  return source_->tables[row][column];
}

site_products repeated_merge::products_of(size_t row, size_t column) const {
  const uint16_t* const source = source_of(row, column);
  if (source == nullptr) return {};
  const float* const gain = plane_of(cell_.at(row, column));
  site_products result;
  result.gain.assign(gain, gain + samples_);
  result.product.resize(samples_);
  result.wrapped.resize(samples_);
  for (size_t i = 0; i < samples_; ++i) {
    const int32_t product = qo::truncate_to_i32(static_cast<float>(source[i]) * gain[i]);
    result.product[i] = static_cast<uint16_t>(product);
    result.wrapped[i] = product < 0 || product > 0xffff;
  }
  return result;
}

}  // namespace shading
