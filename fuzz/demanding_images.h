/// Containers and NVM images, 64 KiB together at most, that ask for as much as they can: heap,
/// time, and what no data backs.
#pragma once

#include <vector>

#include "fuzz/image_parts.h"

namespace fuzz {

[[nodiscard]] std::vector<image_parts> demanding_images();

}  // namespace fuzz
