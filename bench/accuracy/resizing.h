/// Sizes of planes, and from which to which a routine goes.
#pragma once

#include <cstddef>
#include <string>

#include "bench/accuracy/page.h"

namespace accuracy {

struct size {
  size_t width;
  size_t height;

  [[nodiscard]] size_t samples() const { return width * height; }
};

struct resizing {
  size in;
  size out;

  [[nodiscard]] std::string name() const {
    return arrow(sides(in.width, in.height), sides(out.width, out.height));
  }
};

}  // namespace accuracy
