/// Kinds 31 and 34, whose arrays stand at places that the record names and the container library
/// turns into addresses.
#pragma once

#include "qo_cmc/parsed_cmc.h"
#include "tools/document/json_value.h"

namespace document {

/// @param built_from  31, or 3 when the table was built from that kind
[[nodiscard]] json record_31_value(const record_header& table, uint16_t built_from);
/// @param derived  the library made the table of records 19 and 20
[[nodiscard]] json record_34_value(const record_header& table, bool derived);

}  // namespace document
