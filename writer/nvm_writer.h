/// Writes NVM images as the stand-in of the NVM library reads them (docs/nvm_image.md).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "writer/container_writer.h"

namespace writer {

/// One lens-shading set; elements are u8 up to 8 fractional bits and u16 from 9 on.
struct nvm_set {
  uint8_t fraction_bits = 10;
  /// The element of one channel at `index` (row-major); filler when there is none.
  std::function<uint16_t(size_t channel, size_t index)> element{};
};

/// The grid that record 30 blends in.
struct nvm_grid {
  uint8_t width = 9;
  uint8_t height = 7;
  uint8_t shift = 10;
  std::vector<uint32_t> values{};  ///< missing ones are made up
  bool has_values = true;
};

struct nvm_fields {
  uint8_t columns = 17;
  uint8_t rows = 13;
  std::vector<nvm_set> sets = {{.fraction_bits = 10}, {.fraction_bits = 8}};
  std::optional<nvm_grid> grid{};
  uint32_t filler = 50;
};

bytes nvm_image(const nvm_fields& fields = {});

/// Bytes in front of an image's sets.
inline constexpr size_t nvm_header_size = 20;

/// Writes the true size and checksum into an image of 12 bytes or more that was altered.
void seal_nvm_image(bytes& image);

}  // namespace writer
