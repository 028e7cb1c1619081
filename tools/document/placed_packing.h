/// Records 3, 31 and 34 of their documents.
#pragma once

#include "tools/document/node.h"

namespace document {

/// Record 31, or record 3 where the table was built from that; then its numbers must be such that
/// record 3 can hold them.
[[nodiscard]] writer::bytes table_31_record(const node& table);
/// Record 34, which was not derived.
[[nodiscard]] writer::bytes table_34_record(const node& table);

}  // namespace document
