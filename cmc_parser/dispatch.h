/// From a record to the decoder of its kind.
#pragma once

#include "cmc_parser/decode_result.h"
#include "qo_cmc/parser.h"

namespace qo {

/// cmc_parse(), with all that it knows of the record and not only its code.
[[nodiscard]] decode_result decode_record(void* record, parsed_cmc* cmc, const calibration* module);

}  // namespace qo
