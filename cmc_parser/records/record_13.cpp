// Record kind 13: values and parameters.

#include "cmc_parser/records/decoders.h"

#include "base/c_heap.h"

// Record 13:
//    70  u16  count
//    72  u16  values[count]
//     -  u16  parameter 0, version >= 101
//     -  u16  parameters 1 to 3, version >= 102

namespace qo {
namespace {

constexpr extent values_offset = 72;
constexpr uint16_t default_params[4] = {0, 1, 250, 1000};

}  // namespace

void release_record_13(parsed_cmc& cmc) {
  // Contract: the copy goes before the values.
  free(cmc.record_13.record);
  free(cmc.record_13.values);
  cmc.record_13 = {};
}

decode_result decode_record_13(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.record_13.record);
  release_record_13(cmc);
  auto& slot = cmc.record_13;
  memcpy(slot.params, default_params, sizeof slot.params);
  const uint16_t count = record.read<uint16_t>(70);
  const extent params_offset = values_offset + size_of<uint16_t> * count;
  if (!record.require_padded(params_offset)) return record.leak_as_too_short();

  slot.values = c_copy_array<uint16_t>(record.at(values_offset), count);
  if (slot.values == nullptr) record.lose(reason::part_out_of_memory);
  if (record.version() >= version_101) {
    if (record.require_padded(params_offset + 2))
      slot.params[0] = record.read<uint16_t>(params_offset);
    else
      record.lose(reason::parameters_defaulted);
  }
  if (record.version() >= version_102) {
    if (record.require_padded(params_offset + 8))
      memcpy(slot.params + 1, record.at(params_offset + 2), 3 * sizeof(uint16_t));
    else
      record.lose(reason::parameters_defaulted);
  }
  slot.record = record.keep();
  return record.filled();
}

}  // namespace qo
