#pragma once
#include <string>
#include <vector>

#include "tools/findings/inspection.h"

namespace shading {
struct plane_pair {
  std::string channel;
  std::vector<uint16_t> before, after;
  std::vector<float> gain;
  bool wrapped_known;
};
struct light_panels {
  uint32_t light_id;
  unsigned fraction_bits_before, fraction_bits_after;
  std::vector<plane_pair> channels;
};
struct subject {
  std::string file, module_name;
  uint16_t width, height;
  bool has_module;
  std::vector<light_panels> lights;
  std::vector<std::pair<std::string, std::string>> summary;
  std::vector<findings::finding> found;
};
inline subject collect(const std::string& file, std::span<const uint8_t>,
                       std::optional<std::span<const uint8_t>>) {
  return {file, "", 0, 0, false, {}, {}, {}};
}
inline std::string html_page(const subject&) { return "<html></html>"; }
inline std::vector<uint8_t> png_picture(const subject&) { return {1}; }
inline std::string csv_table(const subject&) { return "\n"; }
}  // namespace shading
