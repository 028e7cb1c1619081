// Record kind 11: extended lens-shading grid. It feeds lens_shading_ext.

#include "cmc_parser/records/decoders.h"

#include "cmc_parser/records/fixed_map_lights.h"

// Record 11, extended lens-shading grid:
//     8  u16  N, lights
//    10  u16  W
//    12  u16  H
//    14  N blocks: u16 aux, u16 light id, u16, u16 coords[2], four planes of u16[W H]
//     -  u16  gains[2], N times, version >= 101

namespace qo {
namespace {

constexpr extent blocks_offset = 14;
constexpr extent aux_size = 2;

/// Null for a record that is too short, which it remembers then, and without memory.
[[nodiscard]] lens_shading_ptr<lens_shading_light_ext> build_set(record_copy& record) {
  lens_shading_ptr<lens_shading_light_ext> set(c_new<lens_shading_set>());
  if (set == nullptr) return nullptr;
  memcpy(set.get(), record.bytes(), sizeof(record_header));
  const uint16_t light_count = record.read<uint16_t>(8);
  set->width = record.read<uint16_t>(10);
  set->height = record.read<uint16_t>(12);
  set_fixed_channel_map(*set);

  const extent block_size = aux_size + fixed_map_light_size(plane_size_of(*set));
  const extent blocks_end = blocks_offset + block_size * light_count;
  std::optional<extent> gains_offset;
  if (set->version >= version_101) gains_offset = blocks_end;
  const extent end = gains_offset ? *gains_offset + light_gains_size * light_count : blocks_end;
  if (!record.require_padded(end)) return nullptr;
  set->lights_ext = c_new_array<lens_shading_light_ext>(light_count);
  if (set->lights_ext == nullptr) return nullptr;
  set->light_count = light_count;
  for (uint16_t i = 0; i < light_count; ++i)
    set->lights_ext[i].aux = record.read<uint16_t>(blocks_offset + block_size * i);
  if (!read_fixed_map_lights<lens_shading_light_ext>(record, blocks_offset + aux_size, block_size,
                                                     gains_offset, *set))
    return nullptr;
  return set;
}

}  // namespace

decode_result decode_extended_grid(record_copy record, parsed_cmc& cmc, const calibration*) {
  // The first record wins, whichever kind it was.
  if (cmc.lens_shading_ext != nullptr) return record.drop(reason::record_superseded);
  cmc.lens_shading_ext = build_set(record).release();
  if (cmc.lens_shading_ext != nullptr) return record.filled();
  return record.lacks_an_end() ? record.drop_as_too_short() : record.drop(reason::out_of_memory);
}

}  // namespace qo
