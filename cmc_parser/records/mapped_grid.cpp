// Record kinds 28 and 33: mapped lens-shading grids. They feed lens_shading and lens_shading_ext.

#include "cmc_parser/records/decoders.h"

#include "cmc_parser/missing_destination.h"
#include "cmc_parser/records/lens_shading_records.h"

// Records 28 and 33, mapped lens-shading grid:
//     8  i8   channel_map[4][4]
//    24  u16  N, lights
//    28  u16  W
//    30  u16  H
//    32  N blocks: 22-byte head, planes of u16[W H], one more than the map's largest index
//
// Head of record 28:  0 u32 light id, 4 f32 gains[2], 12 f32 coords[2], 20 u16 16 - fraction bits
// Head of record 33:  0 u16 light id, 2 u16 aux - 1, then as record 28 from byte 4 on

namespace qo {
namespace {

constexpr extent blocks_offset = 32;
constexpr extent block_head_size = 22;
constexpr uint16_t sample_bits = 16;

/// What both heads hold alike.
template <typename Light>
void read_common_head(const record_copy& record, extent block, Light& light) {
  memcpy(light.gains, record.at(block + 4), sizeof light.gains);
  memcpy(light.coords, record.at(block + 12), sizeof light.coords);
  light.fraction_bits = static_cast<uint16_t>(sample_bits - record.read<uint16_t>(block + 20));
}

void read_head(const record_copy& record, extent block, lens_shading_light& light) {
  light.light_id = record.read<uint32_t>(block);
  read_common_head(record, block, light);
}

void read_head(const record_copy& record, extent block, lens_shading_light_ext& light) {
  light.light_id = record.read<uint16_t>(block);
  light.aux = static_cast<uint16_t>(record.read<uint16_t>(block + 2) + 1);
  read_common_head(record, block, light);
}

enum class build_result { built, malformed, set_out_of_memory, part_out_of_memory };

template <typename Light>
[[nodiscard]] build_result build_set(record_copy& record, lens_shading_ptr<Light>& result) {
  if (!record.require(blocks_offset)) return build_result::malformed;
  lens_shading_ptr<Light> set(c_new<lens_shading_set>());
  if (set == nullptr) return build_result::set_out_of_memory;
  static_assert(offsetof(lens_shading_set, light_count) == 24);
  memcpy(set.get(), record.bytes(), offsetof(lens_shading_set, light_count));
  const uint16_t light_count = record.read<uint16_t>(24);
  set->width = record.read<uint16_t>(28);
  set->height = record.read<uint16_t>(30);

  const extent block_size = block_head_size + plane_size_of(*set) * planes_of(*set);
  if (!record.require_padded(blocks_offset + block_size * light_count))
    return build_result::malformed;
  Light* const lights = c_new_array<Light>(light_count);
  if (lights == nullptr) return build_result::part_out_of_memory;
  lights_of<Light>(*set) = lights;
  set->light_count = light_count;
  for (uint16_t i = 0; i < light_count; ++i) {
    const extent block = blocks_offset + block_size * i;
    read_head(record, block, lights[i]);
    if (!copy_tables(*set, record.at(block + block_head_size), lights[i]))
      return build_result::part_out_of_memory;
  }
  result = std::move(set);
  return build_result::built;
}

[[nodiscard]] decode_result result_of(const record_copy& record, build_result built) {
  switch (built) {
    case build_result::built:
      return record.filled();
    case build_result::malformed:
      return record.drop_as_too_short();
    case build_result::set_out_of_memory:
    case build_result::part_out_of_memory:
      break;
  }
  return record.drop(reason::out_of_memory);
}

}  // namespace

decode_result decode_mapped_grid(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.lens_shading);
  release_lens_shading(cmc);
  lens_shading_ptr<lens_shading_light> set;
  const build_result built = build_set<lens_shading_light>(record, set);
  // Contract: this kind logs a missing destination, record 33 does not.
  if (built == build_result::part_out_of_memory) log_null_destination();
  cmc.lens_shading = set.release();
  return result_of(record, built);
}

decode_result decode_mapped_grid_ext(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.lens_shading_ext);
  release_lens_shading_ext(cmc);
  lens_shading_ptr<lens_shading_light_ext> set;
  const build_result built = build_set<lens_shading_light_ext>(record, set);
  cmc.lens_shading_ext = set.release();
  return result_of(record, built);
}

}  // namespace qo
