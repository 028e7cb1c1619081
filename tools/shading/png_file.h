/// Pixels as a PNG file.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "tools/shading/colour_map.h"

namespace shading {

/// The same bytes for the same pixels: 8 bits a channel, no time, no texts. Throws
/// std::runtime_error for a side of 0 or when libpng gives up.
[[nodiscard]] std::vector<uint8_t> png_file_of(std::span<const rgb> pixels, uint32_t width,
                                               uint32_t height);

}  // namespace shading
