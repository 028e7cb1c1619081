/// The objects of --json: one a line for each file.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/findings/inspection.h"

namespace qo_cmc {

using json = nlohmann::ordered_json;

/// Of the keys and what they mean; docs/inspector.md says when it changes.
inline constexpr int schema_version = 1;

/// A string, or {"bytes": "hex"} when the text is not UTF-8.
[[nodiscard]] json json_of_text(const std::string& text);

[[nodiscard]] json json_of(const std::vector<findings::finding>& found);
[[nodiscard]] json json_of(const std::vector<findings::record_row>& records);

/// What every object starts with: schema, file, valid, findings.
[[nodiscard]] json object_of(const std::string& file, const findings::inspection& seen);

/// The object in ASCII, which shows the same in every locale and on every terminal, and a line end.
[[nodiscard]] std::string line_of(const json& object);

}  // namespace qo_cmc
