/// What a number or a missing value means, for people.
#pragma once

#include <string>
#include <string_view>

#include "tools/document/json_value.h"

namespace document {

/// The part of a path that a note depends on: the slot and the names inside, without indices, as
/// "record_19.entries.value_0".
[[nodiscard]] std::string without_indices(std::string_view path);
/// A note beside a value: its unit, the number that fixed point means; empty when there is none.
[[nodiscard]] std::string note_for(const std::string& field, const json& value);
/// What stands for null.
[[nodiscard]] std::string note_for_null(const std::string& field);

}  // namespace document
