// Gain tables of a module, and lens-shading tables corrected by them.

#include <algorithm>
#include <array>
#include <string>

#include "qo_cmc/lsc.h"
#include "tests/bits/items.h"
#include "tests/bits/plane_sizes.h"
#include "tests/kit/module_calibration.h"

namespace bits {
namespace {

using builder = computed_upscale_lsc_tables* (*)(uint32_t, uint32_t, const calibration*, uint32_t);

/// Every number of fraction bits up to one past 32, every orientation and a code that is none.
void tables(results& all, const std::string& name, builder build) {
  digest& seen = all.add(name);
  noise random(name);
  const auto one = [&](uint32_t out_w, uint32_t out_h, uint32_t fraction_bits,
                       uint32_t orientation) {
    const auto sets = static_cast<uint8_t>(random.from_to(1, 2));
    // High enough for a surface that stays above 0, and with all bits at times.
    const bool smooth = random.below(4) != 0;
    const kit::module_calibration::raw_rule raw = [&](size_t, size_t channel, size_t row,
                                                      size_t column) {
      return smooth ? static_cast<uint32_t>(60 + 3 * row + 2 * column + channel) + random.below(4)
                    : random.word();
    };
    const auto grid_w = static_cast<uint8_t>(random.from_to(2, std::min(out_w, 20u)));
    const auto grid_h = static_cast<uint8_t>(random.from_to(2, std::min(out_h, 16u)));
    kit::module_calibration module(sets, grid_w, grid_h, static_cast<uint8_t>(fraction_bits), raw);
    computed_upscale_lsc_tables* const built = build(out_w, out_h, &module.object(), orientation);
    seen.status(built != nullptr);
    if (built == nullptr) return;
    seen.status(built->table_count);
    for (size_t set = 0; set < built->table_count; ++set)
      seen.samples(std::span<const float>(built->gain_tables[set], size_t{4} * out_w * out_h));
    deinit_computed_upscale_lsc_tables(built);
  };
  for (uint32_t w = 2; w <= most_columns; ++w) {
    const uint32_t h = random.from_to(5, 9);
    one(w, h, w % 34, random.below(5));
  }
  // Sides of the bicubic tables count modulo 256.
  one(255, 5, 10, 0);
  one(256, 5, 10, 1);
  one(300, 5, 10, 2);
  one(5, 259, 7, 3);
}

/// Two lens-shading sets and gain tables, drawn anew.
class correction {
 public:
  correction(noise& random, nature kind, uint16_t width, uint16_t height)
      : samples_(size_t{width} * height),
        from_(random.plane<uint16_t>(lights * sites * samples_, nature::any_bits)),
        to_(unwritten<uint16_t>(from_.size())),
        gains_(random.plane<float>(tables * 4 * samples_, kind)) {
    for (lens_shading_set* const set : {&target_, &source_}) {
      set->light_count = lights;
      set->width = width;
      set->height = height;
    }
    target_.lights = target_lights_.data();
    source_.lights_ext = source_lights_.data();
    for (size_t light = 0; light < lights; ++light) {
      lens_shading_light_ext& source = source_lights_[light];
      source.light_id = random.word();
      source.gains[0] = random.sample<float>(kind);
      source.coords[1] = random.sample<float>(kind);
      source.fraction_bits = static_cast<uint16_t>(random.below(17));
      source.aux = static_cast<uint16_t>(1 + light % tables);
      for (size_t site = 0; site < sites; ++site) {
        const size_t first = (light * sites + site) * samples_;
        source.tables[site / 4][site % 4] = from_.data() + first;
        target_lights_[light].tables[site / 4][site % 4] = to_.data() + first;
      }
    }
    for (size_t table = 0; table < tables; ++table)
      table_pointers_[table] = gains_.data() + table * 4 * samples_;
  }
  correction(const correction&) = delete;

  void run(uint32_t cfa_layout, uint32_t plane_order, digest& seen) {
    computed_upscale_lsc_tables gains = {tables, table_pointers_.data()};
    seen.status(ratio_based_sample_to_sample_correction(&target_, &source_, &gains, cfa_layout,
                                                        plane_order));
    for (const lens_shading_light& light : target_lights_) {
      seen.status(light.light_id);
      seen.status(light.fraction_bits);
      seen.samples(std::span<const float>(light.gains));
      seen.samples(std::span<const float>(light.coords));
    }
    seen.samples(to_);
    seen.computed(gains_);
  }

 private:
  static constexpr uint16_t lights = 3, sites = 16;
  static constexpr uint8_t tables = 2;

  size_t samples_;
  std::vector<uint16_t> from_, to_;
  std::vector<float> gains_;
  std::array<lens_shading_light, lights> target_lights_ = {};
  std::array<lens_shading_light_ext, lights> source_lights_ = {};
  std::array<float*, tables> table_pointers_ = {};
  lens_shading_set target_ = {}, source_ = {};
};

void corrections(results& all, nature kind) {
  const std::string name = "ratio_based_sample_to_sample_correction." + std::string(name_of(kind));
  digest& seen = all.add(name);
  noise random(name);
  // All cells, and a code above each kind of them.
  constexpr uint32_t layouts[] = {0, 1, 2, 3, 4, 256, 257, 258, 259, 260, 261, 262, 263, 264};
  uint16_t width = 0;
  for (const uint32_t layout : layouts) {
    for (uint32_t order = 0; order <= 4; ++order) {
      width = static_cast<uint16_t>(width % most_columns + 1);
      correction call(random, kind, width, static_cast<uint16_t>(random.from_to(1, 3)));
      call.run(layout, order, seen);
    }
  }
}

}  // namespace

void gain_items(results& all) {
  tables(all, "compute_upscaled_lsc_tables_polynom4th", compute_upscaled_lsc_tables_polynom4th);
  tables(all, "compute_upscaled_lsc_tables_bicubic", compute_upscaled_lsc_tables_bicubic);
  for (const nature kind : float_natures) corrections(all, kind);
}

}  // namespace bits
