// Stands beside the library's objects in a shared library.

#include "tests/kit/reporting_library.h"

#include "cmc_parser/dispatch.h"

namespace kit {

qo::decode_result decode_record(void* record, parsed_cmc* cmc, const calibration* module) {
  return qo::decode_record(record, cmc, module);
}

parsed_cmc* parse_container(const qo_blob* container, const qo_blob* nvm,
                            qo::parse_report* report) {
  return qo::parse_container(container, nvm, report);
}

std::optional<qo::others_result> read_others(const qo_blob* container, parsed_cmc* cmc) {
  return qo::read_others(container, cmc);
}

}  // namespace kit
