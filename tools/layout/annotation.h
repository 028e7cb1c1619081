/// What each byte of a container is.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace layout {

/// Neighbouring bytes that are one thing: a field, an array, or a gap that nothing reads.
struct span {
  uint64_t offset;    ///< from the container's start
  uint64_t size;      ///< at least 1
  std::string name;   ///< "lsc_grid.lights[0].coords"; of a gap what is known about it
  std::string value;  ///< for people; empty where the bytes say it all. Text is as in the file
  bool gap;
};

/// Names every byte once, in ascending order and without a hole; with `only_kind` only the bytes of
/// that kind's records. A field that its record is too short for is named as far as it goes. The
/// bytes may be any.
[[nodiscard]] std::vector<span> annotate(std::span<const uint8_t> container,
                                         std::optional<uint16_t> only_kind);

}  // namespace layout
