#include "fuzz/image_parts.h"

#include <algorithm>

#include "writer/container_writer.h"

namespace fuzz {

constexpr size_t length_size = sizeof(uint32_t);

image_parts split(const uint8_t* data, size_t size) {
  const uint8_t* const end = data + size;
  const uint8_t* at = data + std::min(size, form.choices);
  image_parts parts;
  parts.choices.assign(data, at);
  parts.choices.resize(form.choices);
  if (form.has_nvm) {
    const size_t left = static_cast<size_t>(end - at);
    if (left < length_size) return parts;
    const uint32_t declared = writer::bytes({at, at + length_size}).u32_at(0);
    at += length_size;
    const uint8_t* const container = at + std::min<size_t>(declared, left - length_size);
    parts.nvm.assign(at, container);
    at = container;
  }
  parts.container.assign(at, end);
  return parts;
}

std::vector<uint8_t> joined(const image_parts& parts) {
  writer::bytes all(parts.choices);
  all.zeros_to_size(form.choices);
  if (form.has_nvm)
    all.u32(static_cast<uint32_t>(parts.nvm.size())).raw(parts.nvm.data(), parts.nvm.size());
  return all.raw(parts.container.data(), parts.container.size()).vector();
}

}  // namespace fuzz
