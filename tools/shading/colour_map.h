/// The colours of the heat maps.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace shading {

struct rgb {
  uint8_t red, green, blue;
  friend bool operator==(const rgb&, const rgb&) = default;
};

inline constexpr size_t colour_count = 256;

/// From dark violet over blue and green to light yellow, in even steps to the eye. Entry i has, for
/// t = i / 255, the Oklab coordinates
///
///     L = 0.28 + 0.65 t    a = 0.094 cos h    b = 0.094 sin h    h = 295 - 195 t degrees
///
/// so that lightness and hue advance alike and the chroma stays; in sRGB, rounded to 8 bits.
extern const std::array<rgb, colour_count> colour_map;

/// The colour at 0 (the map's dark end) to 1 (its light end).
[[nodiscard]] rgb colour_at(double position);

/// Not in the map, nor near it.
inline constexpr rgb below_one_colour = {230, 0, 38};  ///< also a ratio that is not finite
inline constexpr rgb wrapped_colour = {255, 0, 212};

}  // namespace shading
