#include "tools/shading/repeated_merge.h"

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
  const lens_shading_set* const target = cmc_.lens_shading;
  const lens_shading_set* const source = cmc_.lens_shading_ext;
  const record_header* const record_17 = cmc_.record_17.record;
  if (target == nullptr || source == nullptr) return;
  if (cmc_.module_properties == nullptr || record_17 == nullptr) return;
  samples_ = samples_of(*target);
  if (source->light_count < target->light_count || samples_of(*source) < samples_) return;
  const calibration_ptr module = read_calibration(nvm);
  if (module == nullptr) return;

  const auto orientation = qo::load<uint16_t>(record_17, qo::record_17_layout::orientation);
  planes_ =
      qo::find_plane_numbers(qo::load<uint16_t>(record_17, qo::record_17_layout::plane_order));
  cell_ = qo::find_colour_cell(cmc_.module_properties->cfa_layout);
  if (!planes_.known || cell_.side == 0) return;
  gains_.reset(compute_upscaled_lsc_tables_polynom4th(target->width, target->height, module.get(),
                                                      orientation));
}

bool repeated_merge::next_light() {
  source_ = nullptr;
  if (gains_ == nullptr || next_ >= cmc_.lens_shading->light_count) return false;
  const lens_shading_light_ext& source = cmc_.lens_shading_ext->lights_ext[next_++];
  if (source.aux == 0 || source.aux > gains_->table_count) {
    gains_.reset();  // no later light is looked at
    return false;
  }
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

float* repeated_merge::plane_of(qo::colour which) const {
  return table_ + planes_.of[static_cast<size_t>(which)] * samples_;
}

const uint16_t* repeated_merge::source_of(size_t row, size_t column) const {
  if (source_ == nullptr || row >= cell_.side || column >= cell_.side) return nullptr;
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
