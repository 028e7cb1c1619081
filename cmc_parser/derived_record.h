/// Record 34 for containers that carry none.
#pragma once

#include "cmc_parser/reason.h"
#include "qo_cmc/parsed_cmc.h"

namespace qo {

struct derivation_result {
  bool derived = false;       ///< the slot holds a derived record
  reason why = reason::none;  ///< what it lacks, or why there is none though it has sources
};

/// Fills an empty `record_34` from records 19 and 20, in one block and in the form in which the
/// container library leaves a record 34. Without either record, or without memory, it stays empty.
[[nodiscard]] derivation_result synthesise_record_34(parsed_cmc& cmc);

}  // namespace qo
