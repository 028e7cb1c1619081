/// Which slots a kind of record fills.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/findings/inspection.h"

namespace qo_cmc {

/// By name; none for a kind without a slot. Kind 10 fills two.
[[nodiscard]] std::vector<std::string> slots_of_kind(uint16_t id);

/// The slots of the kind, null where a record of another kind filled them.
[[nodiscard]] nlohmann::ordered_json only_slots_of_kind(const nlohmann::ordered_json& slots,
                                                        uint16_t id, const findings::origins& from);

}  // namespace qo_cmc
