#include "tools/qo_cmc/json_line.h"

#include <fmt/format.h>

namespace qo_cmc {
namespace {

bool is_utf8(const std::string& text) {
  try {
    (void)json(text).dump();
    return true;
  } catch (const json::type_error&) {
    return false;
  }
}

json json_of(const findings::record_reference& record) {
  return {{"index", record.index},
          {"offset", record.offset},
          {"id", record.id},
          {"version", record.version},
          {"size", record.size}};
}

json json_of(const findings::finding& each) {
  json object = {{"code", each.code},       {"severity", findings::word_of(each.how_bad)},
                 {"message", each.message}, {"offset", nullptr},
                 {"record", nullptr},       {"field", each.field}};
  if (each.offset) object["offset"] = *each.offset;
  if (each.record) object["record"] = json_of(*each.record);
  return object;
}

}  // namespace

json json_of_text(const std::string& text) {
  if (is_utf8(text)) return text;
  std::string hex;
  for (const char byte : text) hex += fmt::format("{:02x}", static_cast<unsigned char>(byte));
  return {{"bytes", hex}};
}

json json_of(const std::vector<findings::finding>& found) {
  json array = json::array();
  for (const findings::finding& each : found) array.push_back(json_of(each));
  return array;
}

json json_of(const std::vector<findings::record_row>& records) {
  json array = json::array();
  for (const findings::record_row& row : records)
    array.push_back({{"index", row.index},
                     {"offset", row.offset},
                     {"size", row.size},
                     {"id", row.id},
                     {"name", row.name},
                     {"version", row.version},
                     {"fate", row.fate}});
  return array;
}

json object_of(const std::string& file, const findings::inspection& seen) {
  return {{"schema", schema_version},
          {"file", json_of_text(file)},
          {"valid", seen.valid},
          {"findings", json_of(seen.found)}};
}

std::string line_of(const json& object) { return object.dump(-1, ' ', true) + '\n'; }

}  // namespace qo_cmc
