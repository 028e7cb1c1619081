#include "cmc_parser/missing_destination.h"

#include "qo_log.h"

namespace qo {

void log_null_destination() {
  constexpr int log_level = 0;
  qo_log(log_level, "memcpy_s: nullptr received\n");
}

}  // namespace qo
