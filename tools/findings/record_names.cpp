#include "tools/findings/record_names.h"

#include "cmc_parser/records/kinds.h"

namespace findings {

const char* name_of_kind(uint16_t id) {
  switch (id) {
#define QO_KIND_NAME(kind, name) \
  case kind:                     \
    return #name;
    QO_RECORD_KINDS(QO_KIND_NAME)
#undef QO_KIND_NAME
    case others_kind:
      return "others";
    default:
      return "";
  }
}

}  // namespace findings
