/// What record kinds 10 and 11 share: lights of four planes under a map that no record carries.
#pragma once

#include <optional>

#include "cmc_parser/fixed_point.h"
#include "cmc_parser/record_copy.h"
#include "cmc_parser/records/lens_shading_records.h"

namespace qo {

// A light in the record:
//     0  u16  light id
//     4  u16  coords[2]
//     8  four planes of u16[W H]
//
// The gains of all lights, u16[2] each, stand after the last light.
inline constexpr extent fixed_map_light_head_size = 8;
inline constexpr extent fixed_map_planes = 4;
inline constexpr extent light_gains_size = 4;

/// Bytes that a light takes in the record.
[[nodiscard]] inline extent fixed_map_light_size(extent plane_size) {
  return fixed_map_light_head_size + fixed_map_planes * plane_size;
}

/// A 2 x 2 cell with planes 0 to 3 in raster order.
inline void set_fixed_channel_map(lens_shading_set& set) {
  memset(set.channel_map, -1, sizeof set.channel_map);
  set.channel_map[0][0] = 0;
  set.channel_map[0][1] = 1;
  set.channel_map[1][0] = 2;
  set.channel_map[1][1] = 3;
}

/// Reads the light at `offset`, and its gains where there are any, which both lie inside the
/// record; false without memory for a table.
template <typename Light>
[[nodiscard]] bool read_fixed_map_light(const record_copy& record, extent offset,
                                        std::optional<extent> gains_offset,
                                        const lens_shading_set& set, Light& light) {
  constexpr uint16_t table_fraction_bits = 12;
  light.light_id = record.read<uint16_t>(offset);
  light.coords[0] = from_16_16(record.read<uint16_t>(offset + 4));
  light.coords[1] = from_16_16(record.read<uint16_t>(offset + 6));
  light.fraction_bits = table_fraction_bits;
  if (gains_offset) {
    light.gains[0] = from_8_8(record.read<uint16_t>(*gains_offset));
    light.gains[1] = from_8_8(record.read<uint16_t>(*gains_offset + 2));
  }
  return copy_tables(set, record.at(offset + fixed_map_light_head_size), light);
}

/// Reads all lights of a set: the first at `lights_offset`, each `stride` bytes after the one
/// before it, and their gains at `gains_offset`; false without memory.
template <typename Light>
[[nodiscard]] bool read_fixed_map_lights(const record_copy& record, extent lights_offset,
                                         extent stride, std::optional<extent> gains_offset,
                                         lens_shading_set& set) {
  for (uint16_t i = 0; i < set.light_count; ++i) {
    std::optional<extent> gains;
    if (gains_offset) gains = *gains_offset + light_gains_size * i;
    if (!read_fixed_map_light(record, lights_offset + stride * i, gains, set,
                              lights_of<Light>(set)[i]))
      return false;
  }
  return true;
}

}  // namespace qo
