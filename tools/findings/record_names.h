/// What the kinds of records are called.
#pragma once

#include <cstdint>

namespace findings {

/// The kind whose records fill the others block.
inline constexpr uint16_t others_kind = 722;

/// "general", "module_properties", "record_3", "lsc_grid", ..., "others"; "" for an unknown kind.
[[nodiscard]] const char* name_of_kind(uint16_t id);

}  // namespace findings
