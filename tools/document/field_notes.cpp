#include "tools/document/field_notes.h"

#include <algorithm>

#include "tools/document/number_array.h"
#include "tools/findings/record_names.h"

namespace document {
namespace {

struct unit {
  const char* field;
  int fraction_bits;
};

// Fields in fixed point.
constexpr unit fixed_point_fields[] = {
    {"lsc_grid.blocks.coords", 16},    {"lsc_grid.light_gains", 8},
    {"record_19.entries.value_0", 16}, {"record_19.entries.value_4", 16},
    {"record_19.tail.value_0", 16},    {"record_20.tail.value_0", 16},
};

struct missing {
  const char* field;
  const char* note;
};

constexpr missing missing_fields[] = {
    {"module_properties.header", "none: the record fills nothing"},
    {"module_properties.value_16", "not stored, reads as value_12"},
    {"module_properties.bytes_18", "not stored, reads as zeros"},
    {"module_properties.value_34", "not stored, reads as value_12"},
    {"lsc_grid.blocks", "in lens_shading"},
    {"record_13.record", "none: the record is too short"},
    {"record_13.params", "not stored, reads as its default (0, 1, 250, 1000)"},
    {"record_26.groups", "not stored, each reads as bytes 8 to 15 and four times 1.0"},
    {"record_30.head.size", "not told: the grid may be the module's"},
};

[[nodiscard]] bool ends_with(const std::string& text, std::string_view end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

std::string without_indices(std::string_view path) {
  std::string field;
  bool inside = false;
  for (const char character : path) {
    if (character == '[') inside = true;
    if (!inside) field += character;
    if (character == ']') inside = false;
  }
  return field;
}

std::string note_for(const std::string& field, const json& value) {
  if (ends_with(field, ".size") && value.is_number()) return "bytes";
  if (ends_with(field, ".coords") && field.compare(0, 12, "lens_shading") == 0)
    return "coordinates, 0 to 1";
  if (!value.is_number_integer()) return "";
  if (ends_with(field, ".built_from")) return "kind of the record";
  const uint64_t number = value.is_number_unsigned() ? value.get<uint64_t>() : 0;
  if (ends_with(field, ".id") && number <= UINT16_MAX)
    return findings::name_of_kind(static_cast<uint16_t>(number));
  if (ends_with(field, ".fraction_bits") && number <= 16)
    return "1.0 is " + std::to_string(1u << number);
  for (const unit& one : fixed_point_fields)
    if (field == one.field)
      return number_text(static_cast<double>(number) / (1u << one.fraction_bits), 9) + " with " +
             std::to_string(one.fraction_bits) + " fraction bits";
  return "";
}

std::string note_for_null(const std::string& field) {
  for (const missing& one : missing_fields)
    if (field == one.field) return one.note;
  return "none";
}

}  // namespace document
