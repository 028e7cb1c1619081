/// An input that holds a container, and what goes with it:
///     -    bytes that choose the target's way; missing ones are 0
///     u32  bytes of the NVM image; what exceeds the input counts as its end
///     -    the NVM image
///     -    the container
/// A target says in `form` how many bytes choose, and whether it takes an NVM image; where it takes
/// none its length is left out too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace fuzz {

struct input_form {
  size_t choices = 0;
  bool has_nvm = false;
};

/// Of this executable's target, which defines it beside its entry.
extern const input_form form;

struct image_parts {
  std::vector<uint8_t> choices;  ///< as many as the form says
  std::vector<uint8_t> nvm;
  std::vector<uint8_t> container;
};

/// Any bytes are an input: what is missing is empty.
[[nodiscard]] image_parts split(const uint8_t* data, size_t size);
[[nodiscard]] std::vector<uint8_t> joined(const image_parts& parts);

}  // namespace fuzz
