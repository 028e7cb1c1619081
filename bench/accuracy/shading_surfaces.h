/// Lens-shading surfaces on which errors are measured: gains from about 1.05 up, as formulas
/// without functions that differ between mathematics libraries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "bench/accuracy/seeded.h"

namespace accuracy {

struct shading_surface {
  const char* name;
  const char* formula;
  /// u and v from 0 to 1 across columns and rows
  double (*gain)(double u, double v);
};

inline constexpr size_t shading_surface_count = 4;
extern const shading_surface shading_surfaces[shading_surface_count];

/// A calibration grid: (gain - 1) 2^fraction_bits rounded, with `noise` to either side.
[[nodiscard]] std::vector<uint16_t> raw_grid(const shading_surface& surface, size_t width,
                                             size_t height, unsigned fraction_bits, unsigned noise,
                                             seeded& random);

}  // namespace accuracy
