#include "cmc_parser/fixed_point.h"
#include "cmc_parser/records/decoders.h"
#include "cmc_parser/records/lens_shading_records.h"

// Record 11, extended lens-shading grid:
//     8  u16  N, lights
//    10  u16  W
//    12  u16  H
//    14  N blocks: u16 aux, u16 light id, u16, u16 coords[2], four planes of u16[W H]
//     -  u16  gains[2], N times, version >= 101

namespace qo {
namespace {

constexpr uint64_t blocks_offset = 14;
constexpr uint64_t block_head_size = 10;
constexpr uint16_t table_fraction_bits = 12;

lens_shading_ptr<lens_shading_light_ext> build_set(const record_copy& record) {
  lens_shading_ptr<lens_shading_light_ext> set(c_new<lens_shading_set>());
  if (!set) return nullptr;
  memcpy(set.get(), record.bytes(), sizeof(record_header));
  const uint16_t light_count = record.read<uint16_t>(8);
  set->width = record.read<uint16_t>(10);
  set->height = record.read<uint16_t>(12);
  set_fixed_channel_map(*set);

  const uint64_t block_size = block_head_size + 4 * plane_size_of(*set);
  const uint64_t gains_offset = blocks_offset + block_size * light_count;
  const bool has_gains = set->version >= version_101;
  if (!record.holds_padded(gains_offset + (has_gains ? 4 * uint64_t{light_count} : 0)))
    return nullptr;
  set->lights_ext = c_new_array<lens_shading_light_ext>(light_count);
  if (set->lights_ext == nullptr) return nullptr;
  set->light_count = light_count;

  for (uint64_t i = 0; i < light_count; ++i) {
    lens_shading_light_ext& light = set->lights_ext[i];
    const uint64_t block = blocks_offset + block_size * i;
    light.aux = record.read<uint16_t>(block);
    light.light_id = record.read<uint16_t>(block + 2);
    light.coords[0] = from_16_16(record.read<uint16_t>(block + 6));
    light.coords[1] = from_16_16(record.read<uint16_t>(block + 8));
    light.fraction_bits = table_fraction_bits;
    if (has_gains) {
      light.gains[0] = from_8_8(record.read<uint16_t>(gains_offset + 4 * i));
      light.gains[1] = from_8_8(record.read<uint16_t>(gains_offset + 4 * i + 2));
    }
    if (!copy_tables(*set, record.bytes() + block + block_head_size, light)) return nullptr;
  }
  return set;
}

}  // namespace

uint32_t decode_extended_grid(record_copy record, parsed_cmc& cmc, const calibration*) {
  // The first record wins, whichever kind it was.
  if (cmc.lens_shading_ext == nullptr) cmc.lens_shading_ext = build_set(record).release();
  return QO_CMC_OK;
}

}  // namespace qo
