/// The others block, for whoever wants to know what became of its record.
#pragma once

#include <optional>

#include "cmc_parser/container.h"
#include "cmc_parser/decode_result.h"

namespace qo {

/// What became of the first record 722 of a container.
struct others_result {
  record_view record;
  decode_result result;
};

/// qo_vexb_others_parser_init() with all that it knows; nothing for a container without the record.
[[nodiscard]] std::optional<others_result> read_others(const qo_blob* container, parsed_cmc* cmc);

}  // namespace qo
