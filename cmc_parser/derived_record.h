/// Record 34 for containers that carry none.
#pragma once

#include "qo_cmc/parsed_cmc.h"

namespace qo {

/// Fills an empty `record_34` from records 19 and 20, in one block and in the form in which the
/// container library leaves a record 34. Without either record, or without memory, it stays empty.
void synthesise_record_34(parsed_cmc& cmc);

}  // namespace qo
