// qo_cmc_parser_init() and qo_cmc_parser_init_v1(): a container from its image to its slots.

#include "qo_cmc/parser.h"

#include "base/c_heap.h"
#include "cmc_parser/calibration_merge.h"
#include "cmc_parser/container.h"
#include "cmc_parser/derived_record.h"
#include "qo_nvm.h"

namespace qo {
namespace {

/// Kinds up to this one are CMC records; others belong to other readers of the container.
constexpr uint16_t last_cmc_kind = 63;

/// The module's calibration, or null without an image or when the NVM library refuses it. Its
/// status says nothing that the handle does not.
[[nodiscard]] calibration* read_calibration(const qo_blob* nvm) {
  calibration* module = nullptr;
  if (nvm != nullptr && nvm->data != nullptr && nvm->size != 0) (void)qo_nvm_parse(nvm, &module);
  return module;
}

/// Decodes a private copy of one record. A copy that there is no memory for skips the record.
void decode_copy_of(const record_view& record, parsed_cmc& cmc, const calibration* module) {
  uint8_t* const copy = c_copy_array<uint8_t>(record.bytes, record.size);
  if (copy == nullptr) return;
  if (cmc_parse(copy, &cmc, module) != QO_CMC_OK) free(copy);
}

}  // namespace
}  // namespace qo

parsed_cmc* qo_cmc_parser_init(const qo_blob* container) {
  return qo_cmc_parser_init_v1(container, nullptr);
}

parsed_cmc* qo_cmc_parser_init_v1(const qo_blob* container, const qo_blob* nvm) {
  if (container == nullptr || container->data == nullptr || !qo::is_valid_container(*container))
    return nullptr;
  parsed_cmc* const cmc = qo::c_new<parsed_cmc>();
  if (cmc == nullptr) return nullptr;

  calibration* const module = qo::read_calibration(nvm);
  qo::record_walk walk(static_cast<const uint8_t*>(container->data), container->size);
  while (const std::optional<qo::record_view> record = walk.next())
    if (record->id <= qo::last_cmc_kind) qo::decode_copy_of(*record, *cmc, module);
  if (module != nullptr) {
    qo::merge_calibration(*cmc, *module);
    qo_nvm_deinit(module);
  }
  qo::synthesise_record_34(*cmc);
  return cmc;
}
