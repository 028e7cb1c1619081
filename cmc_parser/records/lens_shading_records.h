/// What the decoders of the lens-shading kinds share: sets with either form of light entry.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>

#include "base/c_heap.h"
#include "cmc_parser/extent.h"
#include "qo_cmc/lens_shading.h"

namespace qo {

/// The entries of a set whose slot holds lights of this form.
template <typename Light>
[[nodiscard]] Light*& lights_of(lens_shading_set& set);
template <>
[[nodiscard]] inline lens_shading_light*& lights_of<lens_shading_light>(lens_shading_set& set) {
  return set.lights;
}
template <>
[[nodiscard]] inline lens_shading_light_ext*& lights_of<lens_shading_light_ext>(
    lens_shading_set& set) {
  return set.lights_ext;
}

/// Releases a set, its entries and all their tables. Null, and sets built in part, are accepted.
/// Contract: light by light the tables go column by column, before the entries and the set.
template <typename Light>
void free_lens_shading_set(lens_shading_set* set) {
  if (set == nullptr) return;
  if (Light* const lights = lights_of<Light>(*set); lights != nullptr) {
    for (uint16_t light = 0; light < set->light_count; ++light)
      for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 4; ++row)
          if (uint16_t* const table = lights[light].tables[row][column]; table != nullptr)
            free(table);
    free(lights);
  }
  free(set);
}

template <typename Light>
using lens_shading_ptr = std::unique_ptr<lens_shading_set, deleter<free_lens_shading_set<Light>>>;

/// Samples of one table.
[[nodiscard]] inline extent samples_of(const lens_shading_set& set) {
  return extent(set.width) * set.height;
}

/// Bytes of one plane of samples in a record.
[[nodiscard]] inline extent plane_size_of(const lens_shading_set& set) {
  return size_of<uint16_t> * samples_of(set);
}

/// Number of planes that each light of a record carries: one more than the map's largest index.
[[nodiscard]] inline uint8_t planes_of(const lens_shading_set& set) {
  int largest = -1;
  for (const auto& row : set.channel_map)
    for (const int8_t plane : row)
      if (plane > largest) largest = plane;
  return static_cast<uint8_t>(largest + 1);
}

/// Gives each site that the map fills a table of its own with its plane's samples; false without
/// memory. `planes` holds planes_of(set) planes; sites may share one.
template <typename Light>
[[nodiscard]] bool copy_tables(const lens_shading_set& set, const uint8_t* planes, Light& light) {
  const uint64_t plane_size = plane_size_of(set).value();
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 4; ++column) {
      const int8_t plane = set.channel_map[row][column];
      if (plane < 0) continue;
      const uint8_t* const samples = planes + plane_size * static_cast<uint64_t>(plane);
      uint16_t*& table = light.tables[row][column];
      table = c_copy_array<uint16_t>(samples, samples_of(set).value());
      if (table == nullptr) return false;
    }
  }
  return true;
}

}  // namespace qo
