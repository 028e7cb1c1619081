// Record kind 10: lens-shading grid. It feeds two slots, lsc_grid and lens_shading.

#include "cmc_parser/records/decoders.h"

#include "cmc_parser/records/fixed_map_lights.h"

// Record 10, lens-shading grid:
//    10  u16  N, lights
//    12  u16  W
//    14  u16  H
//    16  N blocks: u16 light id, u16, u16 coords[2], four planes of u16[W H]
//     -  u16  gains[2], N times, version >= 101

namespace qo {
namespace {

constexpr extent blocks_offset = 16;

/// A set that is labelled as a base-layout record of kind 28, whose slot it shares.
[[nodiscard]] lens_shading_ptr<lens_shading_light> build_set(const record_copy& record,
                                                             std::optional<extent> gains_offset) {
  lens_shading_ptr<lens_shading_light> set(c_new<lens_shading_set>());
  if (set == nullptr) return nullptr;
  set->light_count = record.read<uint16_t>(10);
  set->width = record.read<uint16_t>(12);
  set->height = record.read<uint16_t>(14);
  // Wraps in 32 bits, as the field does.
  set->size = 176u * set->width * set->height * set->light_count + 32u;
  set->version = version_100;
  set->id = 28;
  set_fixed_channel_map(*set);
  set->lights = c_new_array<lens_shading_light>(set->light_count);
  if (set->lights == nullptr) return nullptr;
  const extent block_size = fixed_map_light_size(plane_size_of(*set));
  if (!read_fixed_map_lights<lens_shading_light>(record, blocks_offset, block_size, gains_offset,
                                                 *set))
    return nullptr;
  return set;
}

/// An address that may lie past the end of a record without blocks.
[[nodiscard]] const uint8_t* address_at(const uint8_t* bytes, uintptr_t offset) {
  return reinterpret_cast<const uint8_t*>(reinterpret_cast<uintptr_t>(bytes) + offset);
}

}  // namespace

void release_lsc_grid(parsed_cmc& cmc) {
  free(cmc.lsc_grid.record);
  cmc.lsc_grid = {};
}

decode_result decode_lsc_grid(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.lsc_grid.record);
  release_lsc_grid(cmc);
  const uint16_t light_count = record.read<uint16_t>(10);
  const extent samples = extent(record.read<uint16_t>(12)) * record.read<uint16_t>(14);
  const extent block_size = fixed_map_light_size(size_of<uint16_t> * samples);
  const extent end = blocks_offset + block_size * light_count;
  if (!record.require(end)) return record.leak_as_too_short();
  std::optional<extent> gains_offset;
  if (record.version() >= version_101) {
    if (record.require_padded(end + light_gains_size * light_count))
      gains_offset = end;
    else
      record.lose(reason::gains_lost);
  }
  // The first record wins, whichever kind it was.
  if (cmc.lens_shading == nullptr) {
    cmc.lens_shading = build_set(record, gains_offset).release();
    if (cmc.lens_shading == nullptr) record.lose(reason::part_out_of_memory);
  } else {
    record.lose(reason::set_superseded);
  }
  cmc.lsc_grid.blocks = record.at(blocks_offset);
  cmc.lsc_grid.first_table =
      address_at(record.bytes(), (blocks_offset + fixed_map_light_head_size).value());
  cmc.lsc_grid.light_gains = gains_offset ? record.at(*gains_offset) : nullptr;
  cmc.lsc_grid.record = record.keep();
  return record.filled();
}

}  // namespace qo
