/// Reasons by name, in what tests print.
#pragma once

#include <ostream>

#include "cmc_parser/reason.h"

namespace kit {

struct named_reason {
  qo::reason why;
  const char* name;
};

/// Every reason but `none`.
#define QO_NAMED_REASON(name) {qo::reason::name, #name},
inline constexpr named_reason named_reasons[] = {QO_REASONS(QO_NAMED_REASON)};
#undef QO_NAMED_REASON

}  // namespace kit

namespace qo {

inline std::ostream& operator<<(std::ostream& out, reason why) {
  for (const kit::named_reason& each : kit::named_reasons)
    if (each.why == why) return out << each.name;
  return out << "none";
}

}  // namespace qo
