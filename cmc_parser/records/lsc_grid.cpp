#include "cmc_parser/fixed_point.h"
#include "cmc_parser/records/decoders.h"
#include "cmc_parser/records/lens_shading_records.h"

// Record 10, lens-shading grid:
//    10  u16  N, lights
//    12  u16  W
//    14  u16  H
//    16  N blocks: u16 light id, u16, u16 coords[2], four planes of u16[W H]
//     -  u16  gains[2], N times, version >= 101

namespace qo {
namespace {

constexpr uint64_t blocks_offset = 16;
constexpr uint64_t block_head_size = 8;
constexpr uint16_t table_fraction_bits = 12;

/// A set that is labelled as a base-layout record of kind 28, whose slot it shares.
lens_shading_ptr<lens_shading_light> build_set(const record_copy& record, uint64_t gains_offset) {
  lens_shading_ptr<lens_shading_light> set(c_new<lens_shading_set>());
  if (!set) return nullptr;
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

  const uint64_t block_size = block_head_size + 4 * plane_size_of(*set);
  for (uint64_t i = 0; i < set->light_count; ++i) {
    lens_shading_light& light = set->lights[i];
    const uint64_t block = blocks_offset + block_size * i;
    light.fraction_bits = table_fraction_bits;
    light.light_id = record.read<uint16_t>(block);
    light.coords[0] = from_16_16(record.read<uint16_t>(block + 4));
    light.coords[1] = from_16_16(record.read<uint16_t>(block + 6));
    if (gains_offset != 0) {
      light.gains[0] = from_8_8(record.read<uint16_t>(gains_offset + 4 * i));
      light.gains[1] = from_8_8(record.read<uint16_t>(gains_offset + 4 * i + 2));
    }
    if (!copy_tables(*set, record.bytes() + block + block_head_size, light)) return nullptr;
  }
  return set;
}

/// An address that may lie past the end of a record without blocks.
const uint8_t* address_at(const uint8_t* bytes, uintptr_t offset) {
  return reinterpret_cast<const uint8_t*>(reinterpret_cast<uintptr_t>(bytes) + offset);
}

}  // namespace

void release_lsc_grid(parsed_cmc& cmc) {
  free(cmc.lsc_grid.record);
  cmc.lsc_grid = {};
}

uint32_t decode_lsc_grid(record_copy record, parsed_cmc& cmc, const calibration*) {
  release_lsc_grid(cmc);
  const uint64_t light_count = record.read<uint16_t>(10);
  const uint64_t samples = uint64_t{record.read<uint16_t>(12)} * record.read<uint16_t>(14);
  const uint64_t end = blocks_offset + block_head_size * light_count * (samples + 1);
  if (!record.holds(end)) {
    record.leak();
    return QO_CMC_OK;
  }
  const bool has_gains =
      record.version() >= version_101 && record.holds_padded(end + 4 * light_count);
  const uint64_t gains_offset = has_gains ? end : 0;
  // The first record wins, whichever kind it was.
  if (cmc.lens_shading == nullptr) cmc.lens_shading = build_set(record, gains_offset).release();
  cmc.lsc_grid.blocks = record.bytes() + blocks_offset;
  cmc.lsc_grid.first_table = address_at(record.bytes(), blocks_offset + block_head_size);
  cmc.lsc_grid.light_gains = has_gains ? record.bytes() + gains_offset : nullptr;
  cmc.lsc_grid.record = record.keep();
  return QO_CMC_OK;
}

}  // namespace qo
