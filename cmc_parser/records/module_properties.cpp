// Record kind 2: module properties.

#include "cmc_parser/records/decoders.h"

#include <array>

#include "base/c_heap.h"

namespace qo {
namespace {

/// Bytes that a record of this version fills, its header included.
[[nodiscard]] uint16_t bytes_filled(uint8_t version) {
  if (version < version_100) return 0;
  if (version == version_100) return 16;
  if (version == version_101) return 18;
  if (version == version_102) return 34;
  return sizeof(module_properties_record);
}

}  // namespace

void release_module_properties(parsed_cmc& cmc) { c_release(cmc.module_properties); }

decode_result decode_module_properties(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.module_properties);
  release_module_properties(cmc);
  module_properties_record* const properties = c_new<module_properties_record>();
  cmc.module_properties = properties;
  if (properties == nullptr) return record.drop(reason::out_of_memory);
  const uint8_t version = record.version();
  const uint16_t filled = bytes_filled(version);
  // What does not fit leaves a slot whose fields are all 0.
  if (filled == 0) return record.filled_without(reason::version_without_layout);
  if (!record.require_padded(filled)) return record.filled_without(reason::fields_lost);

  memcpy(properties, record.bytes(), filled);
  // Readers expect the places that later versions added to carry the older value.
  if (version == version_100) properties->value_16 = properties->value_12;
  if (version < version_103) properties->value_34 = properties->value_12;
  return record.filled();
}

}  // namespace qo
