// Kinds 10, 11, 28 and 33: lens-shading tables.

#include "tools/layout/record_layouts.h"

namespace layout {
namespace {

void map_planes(record_map& map, const std::string& light, uint64_t planes, uint64_t samples) {
  for (uint64_t plane = 0; plane < planes && !map.ended(); ++plane)
    map.array<uint16_t>(indexed(light + ".planes", plane), samples);
}

/// Kinds 10 and 11: four planes a light, and the gains of all lights at the end.
void map_fixed_lights(record_map& map, uint16_t lights, uint64_t samples, bool with_aux) {
  for (uint64_t i = 0; i < lights && !map.ended(); ++i) {
    const std::string light = indexed("lights", i);
    if (with_aux) map.field<uint16_t>(light + ".aux");
    map.field<uint16_t>(light + ".light_id");
    map.gap(2);
    map.array<uint16_t>(light + ".coords", 2);
    map_planes(map, light, 4, samples);
  }
  if (map.version() < 101) return;
  for (uint64_t i = 0; i < lights && !map.ended(); ++i)
    map.array<uint16_t>(indexed("lights", i) + ".gains", 2);
}

/// Kinds 28 and 33: as many planes a light as the channel map asks for.
void map_mapped_lights(record_map& map, bool with_aux) {
  int largest = -1;
  for (uint64_t site = 0; site < 16; ++site) {
    const int8_t plane = map.field<int8_t>(indexed(indexed("channel_map", site / 4), site % 4));
    if (plane > largest) largest = plane;
  }
  const uint16_t lights = map.field<uint16_t>("light_count");
  map.gap(2);
  const uint64_t width = map.field<uint16_t>("width");
  const uint64_t samples = width * map.field<uint16_t>("height");
  for (uint64_t i = 0; i < lights && !map.ended(); ++i) {
    const std::string light = indexed("lights", i);
    if (with_aux) {
      map.field<uint16_t>(light + ".light_id");
      map.field<uint16_t>(light + ".aux_less_1");
    } else {
      map.field<uint32_t>(light + ".light_id");
    }
    map.array<float>(light + ".gains", 2);
    map.array<float>(light + ".coords", 2);
    map.field<uint16_t>(light + ".integer_bits");
    map_planes(map, light, static_cast<uint64_t>(largest) + 1, samples);
  }
}

}  // namespace

void map_lsc_grid(record_map& map) {
  map.gap(2);
  const uint16_t lights = map.field<uint16_t>("light_count");
  const uint64_t width = map.field<uint16_t>("width");
  map_fixed_lights(map, lights, width * map.field<uint16_t>("height"), false);
}

void map_extended_grid(record_map& map) {
  const uint16_t lights = map.field<uint16_t>("light_count");
  const uint64_t width = map.field<uint16_t>("width");
  map_fixed_lights(map, lights, width * map.field<uint16_t>("height"), true);
}

void map_mapped_grid(record_map& map) { map_mapped_lights(map, false); }
void map_mapped_grid_ext(record_map& map) { map_mapped_lights(map, true); }

}  // namespace layout
