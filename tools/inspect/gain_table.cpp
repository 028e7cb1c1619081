#include "tools/inspect/gain_table.h"

#include <cmath>
#include <cstddef>
#include <cstdio>

namespace {

/// A point of the grid, in halves of its sides.
struct grid_point {
  const char* name;
  unsigned row_halves;
  unsigned column_halves;
};

constexpr grid_point points[] = {
    {"top left", 0, 0},    {"top", 0, 1},    {"top right", 0, 2},
    {"left", 1, 0},        {"centre", 1, 1}, {"right", 1, 2},
    {"bottom left", 2, 0}, {"bottom", 2, 1}, {"bottom right", 2, 2},
};

double gain_at(const lens_shading_set& set, const uint16_t* table, const grid_point& point) {
  const size_t row = size_t{set.height - 1u} * point.row_halves / 2;
  const size_t column = size_t{set.width - 1u} * point.column_halves / 2;
  return std::ldexp(static_cast<double>(table[row * set.width + column]),
                    -int{set.lights[0].fraction_bits});
}

bool is_comparable(const lens_shading_set& before, const lens_shading_set& after) {
  return before.light_count > 0 && after.light_count > 0 && before.width == after.width &&
         before.height == after.height && before.width > 0 && before.height > 0;
}

}  // namespace

void list_gains(const lens_shading_set& before, const lens_shading_set& after) {
  std::printf("\ngains of light %u, before and after the module's calibration, and their ratio\n",
              after.light_count > 0 ? after.lights[0].light_id : 0u);
  if (!is_comparable(before, after)) {
    std::printf("  the sets differ in shape: there is nothing to compare\n");
    return;
  }
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 4; ++column) {
      const uint16_t* const old_table = before.lights[0].tables[row][column];
      const uint16_t* const new_table = after.lights[0].tables[row][column];
      if (old_table == nullptr || new_table == nullptr) continue;
      std::printf("  site (%d, %d)        before     after     ratio\n", row, column);
      for (const grid_point& point : points) {
        const double old_gain = gain_at(before, old_table, point);
        const double new_gain = gain_at(after, new_table, point);
        std::printf("    %-14s %9.4f %9.4f %9.4f\n", point.name, old_gain, new_gain,
                    new_gain / old_gain);
      }
    }
  }
}
