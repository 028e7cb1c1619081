/// Containers, and NVM images for them, whose lens shading is drawn in tests.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "writer/records.h"

struct shading_case {
  std::string name;
  std::vector<uint8_t> container;
  std::optional<std::vector<uint8_t>> nvm;
};

/// Records 2, 17, 28 and 33 and a module's calibration for them, all of one choice.
struct module_fields {
  std::string name = "module";
  std::optional<uint16_t> cfa_layout = 3;
  uint16_t plane_order = 2;
  uint16_t lights = 1;
  uint16_t width = 9;
  uint16_t height = 7;
  std::vector<int8_t> channel_map = {0, 1, -1, -1, 2, 3, -1, -1};
  writer::sample_source before = {};           ///< 4096 when there is none
  writer::sample_source source = {};           ///< the same
  std::vector<writer::light_head> heads = {};  ///< in both records; 12 fraction bits without
};
[[nodiscard]] std::vector<uint8_t> module_container(const module_fields& fields);

/// A module whose gains rise from 1 in the middle of a grid of 9 x 7 to `1 + rise / 256` or so in
/// the corners, for each channel alike.
[[nodiscard]] std::vector<uint8_t> module_nvm(uint8_t rise = 60);

/// The sample and what is hard to show, each with its outputs' name.
[[nodiscard]] std::vector<shading_case> every_shading_case();
