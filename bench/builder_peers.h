/// What the peers of the lens-shading builders are asked for.
#pragma once

#include <cstddef>

#include "bench/contest.h"
#include "bench/image_task.h"

namespace bench {

/// The coarse grids of a module: 16 bit, 10 of them fractional, four channels to a set.
struct module_grids {
  size_t width;
  size_t height;
  size_t sets;
};

[[nodiscard]] job opencv_gain_tables_job(const module_grids& grids, const image_size& out);

}  // namespace bench
