/// The single values of a document.
#pragma once

#include <string>
#include <vector>

#include "tools/document/json_value.h"

namespace kit {

struct leaf {
  document::json::json_pointer pointer;
  std::string field;  ///< slot and names without indices: "record_19.entries.value_0"
};

inline void add_leaves(const document::json& value, const leaf& at, std::vector<leaf>& leaves) {
  if (!value.is_structured()) leaves.push_back(at);
  if (value.is_object())
    for (const auto& [key, inner] : value.items())
      add_leaves(inner, {at.pointer / key, at.field + (at.field.empty() ? "" : ".") + key}, leaves);
  if (value.is_array())
    for (size_t i = 0; i < value.size(); ++i)
      add_leaves(value[i], {at.pointer / i, at.field}, leaves);
}

/// All values below the slots that are not null.
inline std::vector<leaf> leaves_of(const document::json& slots) {
  std::vector<leaf> leaves;
  for (const auto& [slot, value] : slots.items())
    if (!value.is_null()) add_leaves(value, {document::json::json_pointer() / slot, slot}, leaves);
  return leaves;
}

/// Paths at which two documents differ; where they differ in form, the path of that.
inline void add_differing(const document::json& a, const document::json& b,
                          const document::json::json_pointer& at, std::vector<std::string>& paths) {
  if (a.is_structured() && a.type() == b.type() && a.size() == b.size()) {
    for (auto x = a.begin(), y = b.begin(); x != a.end(); ++x, ++y)
      add_differing(*x, *y, a.is_object() ? at / x.key() : at / static_cast<size_t>(x - a.begin()),
                    paths);
  } else if (a.dump() != b.dump()) {
    paths.push_back(at.to_string());
  }
}
inline std::vector<std::string> differing_leaves(const document::json& a, const document::json& b) {
  std::vector<std::string> paths;
  add_differing(a, b, document::json::json_pointer(), paths);
  return paths;
}

/// Whether a field is text of the file.
inline bool is_text(const std::string& field) {
  return field == "general.name" || field == "general.pairs.key" || field == "general.pairs.value";
}

}  // namespace kit
