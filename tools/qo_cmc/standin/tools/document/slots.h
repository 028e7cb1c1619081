#pragma once
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/findings/inspection.h"
#include "writer/container_writer.h"

namespace document {
using json = nlohmann::ordered_json;
inline json slots_of(const parsed_cmc& cmc, const findings::origins&) {
  json slots = json::object();
  slots["general"] =
      cmc.general.name != nullptr ? json(findings::escaped(cmc.general.name)) : json();
  slots["record_14"] = nullptr;
  return slots;
}
inline std::string text_of(const json& slots, bool) { return slots.dump(2) + "\n"; }
struct difference {
  std::string path, before, after;
};
inline std::vector<difference> differences(const json& a, const json& b) {
  if (a == b) return {};
  return {{"general.name", a.dump(), b.dump()}};
}
class error : public std::runtime_error {
  using runtime_error::runtime_error;
};
inline std::vector<uint8_t> pack(const json& slots, writer::checksum_rule rule) {
  if (!slots.is_object()) throw error("slots: not an object");
  return writer::container().rule(rule).image();
}
}  // namespace document
