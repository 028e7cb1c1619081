#include "base/c_heap.h"
#include "cmc_parser/records/decoders.h"

// Record 13:
//    70  u16  count
//    72  u16  values[count]
//     -  u16  parameter 0, version >= 101
//     -  u16  parameters 1 to 3, version >= 102

namespace qo {
namespace {

constexpr uint64_t values_offset = 72;
constexpr uint16_t default_params[4] = {0, 1, 250, 1000};

}  // namespace

void release_record_13(parsed_cmc& cmc) {
  free(cmc.record_13.record);
  free(cmc.record_13.values);
  cmc.record_13 = {};
}

uint32_t decode_record_13(record_copy record, parsed_cmc& cmc, const calibration*) {
  release_record_13(cmc);
  auto& slot = cmc.record_13;
  memcpy(slot.params, default_params, sizeof slot.params);
  const uint16_t count = record.read<uint16_t>(70);
  const uint64_t params_offset = values_offset + sizeof(uint16_t) * uint64_t{count};
  if (!record.holds_padded(params_offset)) {
    record.leak();
    return QO_CMC_OK;
  }

  slot.values = c_copy_array<uint16_t>(record.bytes() + values_offset, count);
  if (record.version() >= version_101 && record.holds_padded(params_offset + 2))
    slot.params[0] = record.read<uint16_t>(params_offset);
  if (record.version() >= version_102 && record.holds_padded(params_offset + 8))
    memcpy(slot.params + 1, record.bytes() + params_offset + 2, 3 * sizeof(uint16_t));
  slot.record = record.keep();
  return QO_CMC_OK;
}

}  // namespace qo
