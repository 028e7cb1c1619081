#include "fuzz/image_pair.h"

#include <algorithm>

#include "writer/container_writer.h"

namespace fuzz {

constexpr size_t length_size = sizeof(uint32_t);

image_pair split(const uint8_t* data, size_t size) {
  if (size < length_size) return {};
  const uint32_t declared = writer::bytes({data, data + length_size}).u32_at(0);
  const uint8_t* const nvm = data + length_size;
  const uint8_t* const container = nvm + std::min<size_t>(declared, size - length_size);
  return {{nvm, container}, {container, data + size}};
}

std::vector<uint8_t> joined(const image_pair& pair) {
  return writer::bytes()
      .u32(static_cast<uint32_t>(pair.nvm.size()))
      .raw(pair.nvm.data(), pair.nvm.size())
      .raw(pair.container.data(), pair.container.size())
      .vector();
}

}  // namespace fuzz
