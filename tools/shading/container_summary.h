/// What the page says of the container beside its pictures.
#pragma once

#include "tools/findings/inspection.h"
#include "tools/shading/shading.h"

namespace shading {

/// Names and values in the order in which they are shown. `shown` is the inspection that the
/// findings are taken from, `unmerged` the one without a module.
[[nodiscard]] std::vector<std::pair<std::string, std::string>> summary_of(
    const subject& about, size_t container_size, const findings::inspection& shown,
    const findings::inspection& unmerged);

}  // namespace shading
