/// The layout of each kind of record.
#pragma once

#include "cmc_parser/records/kinds.h"
#include "tools/layout/record_map.h"

namespace layout {

using body_map = void(record_map& map);

#define QO_DECLARE_MAP(id, name) body_map map_##name;
QO_RECORD_KINDS(QO_DECLARE_MAP)
#undef QO_DECLARE_MAP
body_map map_others;

}  // namespace layout
