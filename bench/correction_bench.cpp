// The correction of lens-shading tables by gain tables, four sites to a light.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "bench/eigen_peer.h"
#include "bench/families.h"
#include "bench/image_task.h"
#include "qo_cmc/lsc.h"

namespace bench {
namespace {

constexpr size_t sites = 4;
/// Cell and plane order 2: the planes of a gain table are the sites, one by one.
constexpr uint32_t cell = 2;

/// The product toward zero, saturated at 32 bits, its low 16 bits.
uint16_t corrected(uint16_t value, float gain) {
  const float product = float(value) * gain;
  if (product != product) return 0;
  if (product >= 0x1p31f) return uint16_t(INT32_MAX & 0xffff);
  if (product < -0x1p31f) return 0;
  return uint16_t(uint32_t(int32_t(product)));
}

/// Every light has its gain table; a call reads the sources and rewrites the targets.
struct lens_shading {
  lens_shading(size_t light_count, const image_size& size)
      : samples(size.samples()),
        source_values(with_noise(dense_plane(sample::u16, samples, sites * light_count))),
        gain_values(with_noise(dense_plane(sample::f32, samples, sites * light_count))),
        target_values(dense_plane(sample::u16, samples, sites * light_count)),
        expected(dense_plane(sample::u16, samples, sites * light_count)),
        to(light_count),
        from(light_count),
        gain_pointers(light_count) {
    for (size_t light = 0; light < light_count; ++light) {
      gain_pointers[light] = gain_values.as<float>() + light * sites * samples;
      from[light].aux = uint16_t(light + 1);
      for (size_t site = 0; site < sites; ++site) {
        const size_t first = (light * sites + site) * samples;
        from[light].tables[site / 2][site % 2] = source_values.as<uint16_t>() + first;
        to[light].tables[site / 2][site % 2] = target_values.as<uint16_t>() + first;
      }
    }
    for (lens_shading_set* set : {&target, &source}) {
      set->light_count = uint16_t(light_count);
      set->width = uint16_t(size.width);
      set->height = uint16_t(size.height);
    }
    target.lights = to.data();
    source.lights_ext = from.data();
    gains = {uint8_t(light_count), gain_pointers.data()};
  }

  void correct_plainly() const {
    const auto* const values = source_values.as<uint16_t>();
    const auto* const factors = gain_values.as<float>();
    auto* const results = expected.as<uint16_t>();
    const size_t count = samples * expected.height;
    for (size_t i = 0; i < count; ++i) results[i] = corrected(values[i], factors[i]);
  }

  size_t samples;
  plane source_values, gain_values, target_values, expected;
  std::vector<lens_shading_light> to;
  std::vector<lens_shading_light_ext> from;
  std::vector<float*> gain_pointers;
  lens_shading_set target = {}, source = {};
  computed_upscale_lsc_tables gains = {};
};

void fill(contest& race, size_t lights, const image_size& size) {
  const auto set = std::make_shared<lens_shading>(lights, size);
  race.ours([set] {
    ratio_based_sample_to_sample_correction(&set->target, &set->source, &set->gains, cell, cell);
  });
  race.scalar([set] { set->correct_plainly(); });
  race.compare(set->target_values, set->expected);
  for_each_eigen([&](const eigen_variant& eigen) {
    race.peer(eigen.name, eigen.correction(sites * lights, size.samples()));
  });
  race.bound_by_bytes(set->source_values.bytes() + set->gain_values.bytes() +
                      set->target_values.bytes());
}

}  // namespace

void add_correction_rows(rows& all) {
  struct lit {
    size_t lights;
    image_size size;
  };
  for (const lit& each : {lit{5, {65, 49}}, lit{1, {2000, 1500}}})
    all.push_back({.name = "correction of " + std::to_string(each.lights) + " x 4 tables " +
                           std::to_string(each.size.width) + " x " +
                           std::to_string(each.size.height),
                   .samples = each.lights * sites * each.size.samples(),
                   .avx512 = 1.15,
                   .avx2 = 1.08,
                   .rival = "",
                   .fill = [each](contest& race) { fill(race, each.lights, each.size); }});
}

}  // namespace bench
