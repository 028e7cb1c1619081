/// An input that holds a container and an NVM image:
///     0  u32  bytes of the NVM image; what exceeds the input counts as its end
///     4  -    the NVM image, then the container
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace fuzz {

struct image_pair {
  std::vector<uint8_t> nvm;
  std::vector<uint8_t> container;
};

/// Any bytes are a pair; less than four are two empty images.
[[nodiscard]] image_pair split(const uint8_t* data, size_t size);
[[nodiscard]] std::vector<uint8_t> joined(const image_pair& pair);

}  // namespace fuzz
