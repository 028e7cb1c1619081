#include "tools/sample/sample_module.h"

#include <algorithm>
#include <array>

#include "tools/sample/lens_model.h"
#include "writer/container_writer.h"
#include "writer/nvm_writer.h"
#include "writer/records.h"

namespace {

using writer::bytes;

// The tables of the tuning data, and the module's own grids.
constexpr uint16_t table_width = 65;
constexpr uint16_t table_height = 49;
constexpr uint8_t grid_width = 17;
constexpr uint8_t grid_height = 13;

constexpr uint16_t cfa_layout = 3;
constexpr std::array<cell_colour, 4> cell_sites = {cell_colour::green_1, cell_colour::first,
                                                   cell_colour::second, cell_colour::green_2};
constexpr uint16_t plane_order = 2;
constexpr std::array<cell_colour, 4> module_planes = {cell_colour::first, cell_colour::green_1,
                                                      cell_colour::green_2, cell_colour::second};
constexpr uint16_t mirrored_left_to_right = 1;

struct light_source {
  uint32_t id;
  float white_gains[2];
  float chromaticity[2];
  double first_shift, second_shift;  // of the corner's gain, against the module's calibration
  uint8_t fraction_bits;             // of the module's grids under this light
};
constexpr std::array<light_source, 3> lights = {{
    {1, {1.9375f, 1.4375f}, {0.3127f, 0.3290f}, 0.00, 0.00, 10},   // daylight
    {2, {1.6250f, 1.8125f}, {0.3805f, 0.3769f}, 0.02, -0.015, 7},  // fluorescent
    {3, {1.1875f, 2.4375f}, {0.4476f, 0.4074f}, 0.06, -0.04, 12},  // tungsten
}};

/// How much more gain a light asks for than the calibration of the module gives.
double light_ratio(const light_source& light, cell_colour colour, sensor_point point) {
  const double r2 = distance_squared(designed_lens, point);
  if (colour == cell_colour::first) return 1.0 + light.first_shift * r2;
  if (colour == cell_colour::second) return 1.0 + light.second_shift * r2;
  return 1.0;
}

uint16_t fixed_point(double value, unsigned fraction_bits, double most) {
  return static_cast<uint16_t>(std::clamp(value * (1u << fraction_bits) + 0.5, 0.0, most));
}

constexpr unsigned table_fraction_bits = 12;

sensor_point point_of(size_t index, uint16_t width, uint16_t height) {
  return grid_point(static_cast<unsigned>(index / width), static_cast<unsigned>(index % width),
                    width, height);
}

/// Tables for the lens as designed: what a module without calibration gets.
writer::sample_source whole_gains(uint16_t width, uint16_t height) {
  return [width, height](size_t light, size_t plane, size_t index) {
    const sensor_point point = point_of(index, width, height);
    const double gain = lens_gain(designed_lens, cell_sites[plane], point) *
                        light_ratio(lights[light], cell_sites[plane], point);
    return fixed_point(gain, table_fraction_bits, 65535.0);
  };
}

/// Tables of only the lights: the calibration of a module is multiplied onto these.
writer::sample_source light_gains(uint16_t width, uint16_t height) {
  return [width, height](size_t light, size_t plane, size_t index) {
    const sensor_point point = point_of(index, width, height);
    return fixed_point(light_ratio(lights[light], cell_sites[plane], point), table_fraction_bits,
                       65535.0);
  };
}

/// `first_aux` is what the kind stores for the module's first set.
std::vector<writer::light_head> light_heads(uint16_t first_aux) {
  std::vector<writer::light_head> heads;
  heads.reserve(lights.size());
  for (const light_source& light : lights) {
    heads.push_back({.light_id = light.id,
                     .aux = static_cast<uint16_t>(first_aux + heads.size()),
                     .gains = {light.white_gains[0], light.white_gains[1]},
                     .coords = {light.chromaticity[0], light.chromaticity[1]},
                     .integer_bits = 16 - table_fraction_bits});
  }
  return heads;
}

writer::fixed_grid_fields coarse_tables(writer::sample_source sample) {
  return {.lights = lights.size(),
          .width = grid_width,
          .height = grid_height,
          .version = 101,
          .heads = light_heads(1),
          .sample = std::move(sample)};
}

writer::mapped_grid_fields fine_tables(uint16_t first_aux, writer::sample_source sample) {
  return {.lights = lights.size(),
          .width = table_width,
          .height = table_height,
          .heads = light_heads(first_aux),
          .sample = std::move(sample)};
}

/// A map of the pixels' sensitivity, around 1000, a little lower to the right and below.
std::vector<uint32_t> sensitivity_map(int level) {
  std::vector<uint32_t> map;
  for (int row = 0; row < grid_height; ++row)
    for (int column = 0; column < grid_width; ++column)
      map.push_back(static_cast<uint32_t>(level - 3 * column - 2 * row + column * row % 5));
  return map;
}

/// The records of kinds 1 to 21, but for the lens-shading tables.
std::vector<bytes> records_kept() {
  const writer::general_fields general = {.name = "sample module",
                                          .pairs = {{"sensor", "4000 x 3000, 1.4 um"},
                                                    {"lens", "f/2.0, 74 degrees"},
                                                    {"tuning", "sample 1"}}};
  return {writer::record_1(general),
          writer::record_2({.value_12 = 1023, .cfa_layout = cfa_layout}),
          writer::plain_record(64, {.size = 40}),
          writer::record_3(),
          writer::record_5(),
          writer::record_6(),
          writer::record_7(),
          writer::record_8({.size = 48}),
          writer::record_9(),
          writer::record_13({.count = 64}),
          writer::record_14(),
          writer::record_15(),
          writer::record_16({.count = 9}),
          writer::record_17({.plane_order = plane_order, .orientation = mirrored_left_to_right}),
          writer::record_18({.count = 4}),
          writer::record_19(),
          writer::record_20(),
          writer::record_21()};
}

/// The records of kinds from 22 on, but for the lens-shading tables and kind 34.
std::vector<bytes> records_converted() {
  return {
      writer::record_22({.width = 5, .height = 4, .grid_entries = 3, .items = 2}),
      writer::record_23(),
      writer::record_24(),
      writer::plain_record(300, {.size = 24}),
      writer::record_25({.version = 101}),
      writer::record_26(),
      writer::record_27({.width = grid_width, .height = grid_height}),
      writer::record_29({.width = grid_width, .height = grid_height}),
      writer::record_30(
          {.items = 4, .width = grid_width, .height = grid_height, .grid = sensitivity_map(1000)}),
      writer::record_31({.count = 3}),
      writer::record_32(),
      writer::record_35(),
      writer::record_36({.count = 12})};
}

bytes to_multiple_of_8(const bytes& record) {
  return writer::resized(record, (record.size() + 7) / 8 * 8);
}

}  // namespace

std::vector<uint8_t> sample_container(record_34_choice record_34) {
  writer::container container;
  const auto add = [&container](const bytes& record) { container.add(to_multiple_of_8(record)); };
  for (const bytes& record : records_kept()) add(record);
  add(writer::record_10(coarse_tables(whole_gains(grid_width, grid_height))));
  for (const bytes& record : records_converted()) add(record);
  add(writer::record_28(fine_tables(0, whole_gains(table_width, table_height))));
  add(writer::record_33(fine_tables(0, light_gains(table_width, table_height))));
  add(writer::record_11(coarse_tables(light_gains(grid_width, grid_height))));
  if (record_34 == record_34_choice::stored) add(writer::record_34());
  add(writer::record_722());
  add(writer::plain_record(1000, {.size = 64}));
  return container.image();
}

std::vector<uint8_t> sample_nvm() {
  writer::nvm_fields fields = {.columns = grid_width, .rows = grid_height, .sets = {}};
  for (const light_source& light : lights) {
    const unsigned bits = light.fraction_bits;
    const auto element = [bits](size_t channel, size_t index) {
      sensor_point point = point_of(index, grid_width, grid_height);
      point.u = -point.u;  // the grids are stored mirrored
      const double gain = lens_gain(glued_lens, module_planes[channel], point);
      return fixed_point(gain - 1.0, bits, bits > 8 ? 65535.0 : 255.0);
    };
    fields.sets.push_back({.fraction_bits = light.fraction_bits, .element = element});
  }
  fields.grid = writer::nvm_grid{
      .width = grid_width, .height = grid_height, .shift = 0, .values = sensitivity_map(1040)};
  return writer::nvm_image(fields).vector();
}
