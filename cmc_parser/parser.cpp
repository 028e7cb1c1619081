// qo_cmc_parser_init() and qo_cmc_parser_init_v1(): a container from its image to its slots.

#include "qo_cmc/parser.h"

#include "base/c_heap.h"
#include "cmc_parser/dispatch.h"
#include "cmc_parser/parse_report.h"
#include "qo_nvm.h"

namespace qo {
namespace {

/// Kinds up to this one are CMC records; others belong to other readers of the container.
constexpr uint16_t last_cmc_kind = 63;

/// The module's calibration, or null without an image or when the NVM library refuses it. Its
/// status says nothing that the handle does not.
[[nodiscard]] calibration* read_calibration(const qo_blob* nvm, parse_report* report) {
  if (nvm == nullptr) return nullptr;
  nvm_verdict verdict = {.why = reason::nvm_empty, .size = nvm->size};
  calibration* module = nullptr;
  if (nvm->data != nullptr && nvm->size != 0) {
    verdict.status = qo_nvm_parse(nvm, &module);
    verdict.why = module != nullptr ? reason::none : reason::nvm_refused;
  }
  if (report != nullptr) report->nvm(verdict);
  return module;
}

/// Decodes a private copy of one record. A copy that there is no memory for skips the record.
[[nodiscard]] decode_result decode_copy_of(const record_view& record, parsed_cmc& cmc,
                                           const calibration* module) {
  uint8_t* const copy = c_copy_array<uint8_t>(record.bytes, record.size);
  if (copy == nullptr) return {.why = reason::copy_out_of_memory};
  const decode_result result = decode_record(copy, &cmc, module);
  if (result.code != QO_CMC_OK) free(copy);
  return result;
}

void decode_records(record_walk walk, parsed_cmc& cmc, const calibration* module,
                    parse_report* report) {
  while (const std::optional<record_view> record = walk.next()) {
    decode_result result = {.why = reason::kind_foreign};
    if (record->id <= last_cmc_kind) result = decode_copy_of(*record, cmc, module);
    if (report != nullptr) report->record(*record, result, cmc);
  }
  if (report != nullptr) report->walk(walk.end());
}

}  // namespace

parsed_cmc* parse_container(const qo_blob* container, const qo_blob* nvm, parse_report* report) {
  container_verdict verdict = check_container(container);
  parsed_cmc* cmc = nullptr;
  if (verdict.why == reason::none) {
    cmc = c_new<parsed_cmc>();
    if (cmc == nullptr) verdict.why = reason::container_out_of_memory;
  }
  if (report != nullptr) report->container(verdict);
  if (cmc == nullptr) return nullptr;

  calibration* const module = read_calibration(nvm, report);
  decode_records({static_cast<const uint8_t*>(container->data), container->size}, *cmc, module,
                 report);
  if (module != nullptr) {
    const merge_result merged = merge_calibration(*cmc, *module);
    qo_nvm_deinit(module);
    if (report != nullptr) report->merge(merged);
  }
  const derivation_result derivation = synthesise_record_34(*cmc);
  if (report != nullptr) report->derivation(derivation);
  return cmc;
}

}  // namespace qo

parsed_cmc* qo_cmc_parser_init(const qo_blob* container) {
  return qo::parse_container(container, nullptr, nullptr);
}

parsed_cmc* qo_cmc_parser_init_v1(const qo_blob* container, const qo_blob* nvm) {
  return qo::parse_container(container, nvm, nullptr);
}
