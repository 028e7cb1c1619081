#include "bench/accuracy/shading_surfaces.h"

#include <algorithm>

namespace accuracy {
namespace {

// The corners of a sensor of 4 : 3 lie at a distance of 1 from its centre.
struct place {
  double x;
  double y;
  [[nodiscard]] double r2() const { return x * x + y * y; }
};

[[nodiscard]] place place_at(double u, double v, double centre_u, double centre_v) {
  return {1.6 * (u - centre_u), 1.2 * (v - centre_v)};
}

[[nodiscard]] double radial(double u, double v) {
  const double fall = 1 + 0.7 * place_at(u, v, 0.5, 0.5).r2();
  return 1.05 * fall * fall;
}

[[nodiscard]] double decentred(double u, double v) {
  const double fall = 1 + 0.7 * place_at(u, v, 0.54, 0.47).r2();
  return 1.05 * fall * fall;
}

[[nodiscard]] double tilted(double u, double v) {
  const place at = place_at(u, v, 0.5, 0.5);
  const double fall = 1 + 0.4 * at.r2();
  return 1.08 * fall * fall * (1 + 0.08 * at.x - 0.05 * at.y);
}

[[nodiscard]] double vignetted(double u, double v) {
  const double r2 = place_at(u, v, 0.49, 0.51).r2();
  return 1.05 * (1 + 0.8 * r2 + 0.3 * r2 * r2 * r2);
}

}  // namespace

const shading_surface shading_surfaces[shading_surface_count] = {
    {"radial", "1.05 (1 + 0.7 r^2)^2", radial},
    {"decentred", "the same around 54 %, 47 % of the sides", decentred},
    {"tilted", "1.08 (1 + 0.4 r^2)^2 (1 + 0.08 x - 0.05 y)", tilted},
    {"vignetted", "1.05 (1 + 0.8 r^2 + 0.3 r^6) around 49 %, 51 %", vignetted},
};

std::vector<uint16_t> raw_grid(const shading_surface& surface, size_t width, size_t height,
                               unsigned fraction_bits, unsigned noise, seeded& random) {
  std::vector<uint16_t> raw;
  for (size_t row = 0; row < height; ++row)
    for (size_t column = 0; column < width; ++column) {
      const double u = static_cast<double>(column) / static_cast<double>(width - 1);
      const double v = static_cast<double>(row) / static_cast<double>(height - 1);
      const double exact = (surface.gain(u, v) - 1) * static_cast<double>(1u << fraction_bits);
      const double shift =
          static_cast<double>(random.below(2 * noise + 1)) - static_cast<double>(noise);
      raw.push_back(static_cast<uint16_t>(std::clamp(exact + shift + 0.5, 0.0, 65535.0)));
    }
  return raw;
}

}  // namespace accuracy
