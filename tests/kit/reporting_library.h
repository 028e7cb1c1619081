/// The library with what it knows of its own work, and does not export: the same objects in a
/// shared library of the same name, so that the ledger and the fake platform see it.
#pragma once

#include <optional>

#include "cmc_parser/others_record.h"
#include "cmc_parser/parse_report.h"

namespace kit {

#define QO_REPORTED [[nodiscard]] __attribute__((visibility("default")))

QO_REPORTED qo::decode_result decode_record(void* record, parsed_cmc* cmc,
                                            const calibration* module);
QO_REPORTED parsed_cmc* parse_container(const qo_blob* container, const qo_blob* nvm,
                                        qo::parse_report* report);
QO_REPORTED std::optional<qo::others_result> read_others(const qo_blob* container, parsed_cmc* cmc);

#undef QO_REPORTED

}  // namespace kit
