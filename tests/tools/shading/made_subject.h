/// Subjects of a test's own, without a container.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tools/shading/shading.h"

/// One light with one channel and 8 fraction bits: 256 is a gain of 1.0. Without `after` there is
/// no module.
inline shading::subject made_subject(uint16_t width, uint16_t height, std::vector<uint16_t> before,
                                     std::vector<uint16_t> after = {}) {
  shading::plane_pair channel;
  channel.channel = "C1";
  channel.sites = "(0, 0)";
  channel.before = std::move(before);
  channel.after = std::move(after);
  shading::subject about;
  about.file = "made.vexb";
  about.module_name = "made";
  about.valid = true;
  about.width = width;
  about.height = height;
  about.has_module = !channel.after.empty();
  about.module_state = "Made.";
  about.lights.push_back({.light_id = 7,
                          .fraction_bits_before = 8,
                          .fraction_bits_after = 8,
                          .channels = {std::move(channel)},
                          .not_corrected = {}});
  return about;
}

inline shading::plane_pair& only_channel(shading::subject& about) {
  return about.lights.at(0).channels.at(0);
}
