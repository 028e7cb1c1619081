/// Sides of planes as a numeric input holds them: small ones mostly, so that inputs run fast, and
/// every now and then large or very wide ones.
#pragma once

#include <algorithm>
#include <cstdint>

#include "fuzz/input_reader.h"

namespace fuzz {

inline constexpr uint32_t most_samples = 16384;

/// u16: up to 0xbfff a side from 0 to 31, up to 0xdfff one from 0 to 255, up to 0xffef one from 0
/// to 8175, and from there on the field itself.
[[nodiscard]] constexpr uint32_t side_of(uint16_t field) {
  if (field < 0xc000) return field & 0x1fu;
  if (field < 0xe000) return field & 0xffu;
  if (field < 0xfff0) return field & 0x1fffu;
  return field;
}

/// The field of a side that has one.
[[nodiscard]] constexpr uint16_t side_field(uint32_t side) {
  if (side < 0x20) return static_cast<uint16_t>(side);
  if (side < 0x100) return static_cast<uint16_t>(0xc000 | side);
  if (side < 0x1ff0) return static_cast<uint16_t>(0xe000 | side);
  return static_cast<uint16_t>(side);
}

struct plane_sides {
  uint32_t width;
  uint32_t height;
  [[nodiscard]] size_t samples() const { return size_t{width} * height; }
};

/// Two fields, width and height; the height is cut so that the plane has no more than `most`
/// samples.
[[nodiscard]] inline plane_sides read_plane_sides(input_reader& fields,
                                                  uint32_t most = most_samples) {
  const uint32_t width = side_of(fields.u16());
  const uint32_t height = side_of(fields.u16());
  return {width, width == 0 ? height : std::min(height, std::max(most / width, 1u))};
}

}  // namespace fuzz
