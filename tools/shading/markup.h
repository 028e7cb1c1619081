/// Text and pictures inside HTML and SVG.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "tools/shading/heat_map.h"

namespace shading {

/// The text for element content and quoted attributes. It is escaped UTF-8 already; what XML does
/// not allow at all becomes U+FFFD.
[[nodiscard]] std::string marked_up(std::string_view text);

[[nodiscard]] std::string base64_of(std::span<const uint8_t> bytes);

/// A `data:` address that holds the pixels.
[[nodiscard]] std::string data_address_of(const raster& pixels);

}  // namespace shading
