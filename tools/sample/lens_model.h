/// The shading of a lens, and of the sensor behind it.
#pragma once

/// The four colours of a sensor's 2 x 2 cell.
enum class cell_colour { first, green_1, green_2, second };

/// Where a lens stands above its sensor: the place of its axis, in half widths and half heights of
/// the sensor, and how steeply the rays arrive in a corner.
struct lens_position {
  double axis_u, axis_v;
  double corner_tangent_squared;
};

/// The lens as it was designed, and as one module was glued.
inline constexpr lens_position designed_lens = {0.0, 0.0, 0.50};
inline constexpr lens_position glued_lens = {0.045, -0.030, 0.52};

/// A point of the sensor, -1 to 1 from left to right and from top to bottom.
struct sensor_point {
  double u, v;
};

/// The point that element (row, column) of a grid over the sensor stands for.
constexpr sensor_point grid_point(unsigned row, unsigned column, unsigned width, unsigned height) {
  return {2.0 * column / (width - 1.0) - 1.0, 2.0 * row / (height - 1.0) - 1.0};
}

/// Squared distance from the axis; 1 in the corner of a centred sensor of 4 : 3.
constexpr double distance_squared(const lens_position& lens, sensor_point point) {
  const double u = point.u - lens.axis_u;
  const double v = point.v - lens.axis_v;
  return (16.0 * u * u + 9.0 * v * v) / 25.0;
}

/// The gain that makes up for the shading: 1 / cos^4 of the angle of incidence, which is
/// (1 + tan^2)^2, times what the colour filters and the light's spectrum add.
constexpr double lens_gain(const lens_position& lens, cell_colour colour, sensor_point point) {
  const double r2 = distance_squared(lens, point);
  const double falloff = (1.0 + lens.corner_tangent_squared * r2);
  double filter = 1.0;
  switch (colour) {
    case cell_colour::first:  // long waves: cut off first where rays arrive steeply
      filter = 1.0 + 0.12 * r2;
      break;
    case cell_colour::green_1:  // the two greens lean towards opposite sides
      filter = 1.0 + 0.015 * point.u;
      break;
    case cell_colour::green_2:
      filter = 1.0 - 0.015 * point.u;
      break;
    case cell_colour::second:
      filter = 1.0 - 0.05 * r2;
      break;
  }
  return falloff * falloff * filter;
}
