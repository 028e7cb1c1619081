// Record kind 29: four planes of floats.

#include "cmc_parser/records/decoders.h"

#include "base/c_heap.h"

// Record 29:
//    12  u16  w
//    14  u16  h
//    16  u32  value
//    20  f32  four planes of w h values

namespace qo {
namespace {

constexpr extent planes_offset = 20;
constexpr extent minimum_size = 56;

}  // namespace

void release_record_29(parsed_cmc& cmc) {
  if (cmc.record_29 != nullptr) free(cmc.record_29->planes[0]);
  c_release(cmc.record_29);
}

decode_result decode_record_29(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.record_29);
  release_record_29(cmc);
  if (!record.require(minimum_size)) return record.drop_as_too_short();
  const extent plane_values = extent(record.read<uint16_t>(12)) * record.read<uint16_t>(14);
  const extent planes_size = 4 * size_of<float> * plane_values;
  if (plane_values == 0) return record.drop(reason::plane_empty);
  // The layout asks for 4 bytes more than the planes take.
  if (!record.require(planes_size + 24)) return record.drop_as_too_short();

  heap_array<float> values(
      c_copy_array<float>(record.at(planes_offset), (4 * plane_values).value()));
  if (values == nullptr) return record.drop(reason::out_of_memory);
  record_29_content* const content = c_new<record_29_content>();
  if (content == nullptr) return record.drop(reason::out_of_memory);
  memcpy(content, record.bytes(), planes_offset.value());
  for (uint64_t k = 0; k < 4; ++k) content->planes[k] = values.get() + plane_values.value() * k;
  values.release();  // the first plane owns it
  cmc.record_29 = content;
  return record.filled();
}

}  // namespace qo
