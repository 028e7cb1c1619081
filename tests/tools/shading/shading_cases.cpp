#include "tests/tools/shading/shading_cases.h"

#include "tools/sample/sample_module.h"
#include "writer/container_writer.h"
#include "writer/nvm_writer.h"

namespace {

constexpr uint16_t one_q12 = 4096;

uint16_t constant(size_t, size_t, size_t) { return one_q12; }

std::vector<writer::light_head> plain_heads(uint16_t lights) {
  std::vector<writer::light_head> heads;
  for (uint16_t light = 0; light < lights; ++light) {
    writer::light_head head = writer::default_light_head(light);
    head.aux = 0;  // the first set, as record 33 stores it
    head.integer_bits = 4;
    heads.push_back(head);
  }
  return heads;
}

constexpr uint16_t large_width = 600;
constexpr uint16_t large_height = 460;

/// A bowl that is lowest to the right of the middle and above it, with one sample that is 0.
uint16_t large_sample(size_t, size_t plane, size_t index) {
  if (index == 100 * large_width + 77) return 0;
  const double u = static_cast<double>(index % large_width) / 300 - 1.2;
  const double v = static_cast<double>(index / large_width) / 230 - 0.9;
  return static_cast<uint16_t>(4096 + 2000 * (u * u + v * v) + 200.0 * static_cast<double>(plane));
}

/// A cell of 4 x 4 sites whose colours all have planes: 16 of them, each with its own samples.
module_fields all_sites_differ() {
  module_fields fields = {.name = "sixteen sites", .cfa_layout = 256, .channel_map = {}};
  for (int8_t plane = 0; plane < 16; ++plane) fields.channel_map.push_back(plane);
  fields.before = [](size_t, size_t plane, size_t index) {
    return static_cast<uint16_t>(4096 + 100 * plane + 10 * index);
  };
  return fields;
}

}  // namespace

std::vector<uint8_t> module_container(const module_fields& fields) {
  const std::vector<writer::light_head> heads =
      fields.heads.empty() ? plain_heads(fields.lights) : fields.heads;
  const auto grid = [&](const writer::sample_source& sample) {
    return writer::mapped_grid_fields{.lights = fields.lights,
                                      .width = fields.width,
                                      .height = fields.height,
                                      .channel_map = fields.channel_map,
                                      .heads = heads,
                                      .sample = sample ? sample : constant};
  };
  writer::container container;
  container.add(writer::record_1({.name = fields.name}));
  if (fields.cfa_layout) container.add(writer::record_2({.cfa_layout = *fields.cfa_layout}));
  container.add(writer::record_17({.plane_order = fields.plane_order}));
  container.add(writer::record_28(grid(fields.before)));
  container.add(writer::record_33(grid(fields.source)));
  return container.image();
}

std::vector<uint8_t> module_nvm(uint8_t rise) {
  constexpr uint8_t columns = 9;
  constexpr uint8_t rows = 7;
  const auto element = [rise](size_t, size_t index) {
    const auto column = static_cast<int>(index % columns);
    const auto row = static_cast<int>(index / columns);
    const int distance = (column - 4) * (column - 4) + (row - 3) * (row - 3);  // 25 in a corner
    return static_cast<uint16_t>(rise * distance / 25);
  };
  return writer::nvm_image(
             {.columns = columns, .rows = rows, .sets = {{.fraction_bits = 8, .element = element}}})
      .vector();
}

std::vector<shading_case> every_shading_case() {
  std::vector<shading_case> cases;
  cases.push_back({"sample", sample_container(), sample_nvm()});
  cases.push_back({"sample_without_nvm", sample_container(), std::nullopt});
  cases.push_back({"refused_nvm", sample_container(), std::vector<uint8_t>{1, 2, 3}});
  cases.push_back({"not_valid", {'t', 'e', 'x', 't'}, std::nullopt});
  cases.push_back({"no_tables", writer::container().add(writer::record_2()).image(), {}});
  cases.push_back(
      {"hostile_name",
       module_container({.name = "<script>alert(1)</script>&\"'\x1b[31m\xff\xc2\x9b", .lights = 2}),
       module_nvm()});
  cases.push_back(
      {"wrapped",
       module_container({.source = [](size_t, size_t, size_t) -> uint16_t { return 60000; }}),
       module_nvm(200)});
  cases.push_back({"below_one",
                   module_container({.before =
                                         [](size_t, size_t plane, size_t index) {
                                           return static_cast<uint16_t>(
                                               index == plane ? 0 : 4000 + 50 * index);
                                         }}),
                   module_nvm()});
  cases.push_back(
      {"without_record_2", module_container({.cfa_layout = std::nullopt}), module_nvm()});
  cases.push_back({"sixteen_sites", module_container(all_sites_differ()), module_nvm()});
  cases.push_back({"one_sample", module_container({.width = 1, .height = 1}), module_nvm()});
  cases.push_back({"no_samples", module_container({.width = 0, .height = 5}), module_nvm()});
  cases.push_back({"one_row", module_container({.width = 3000, .height = 1}), std::nullopt});
  cases.push_back(
      {"large_grid",
       module_container({.width = large_width, .height = large_height, .before = large_sample}),
       module_nvm()});
  cases.push_back({"restless",
                   module_container({.width = 64,
                                     .height = 48,
                                     .before =
                                         [](size_t light, size_t plane, size_t index) {
                                           return static_cast<uint16_t>(
                                               (light * 77 + plane * 31 + index) * 40503u);
                                         }}),
                   module_nvm()});
  cases.push_back({"many_lights", module_container({.lights = 400}), module_nvm()});
  return cases;
}
