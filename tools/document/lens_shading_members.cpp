#include "tools/document/lens_shading_members.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include "qo_cmc/parser.h"
#include "tools/document/kept_record_layouts.h"
#include "tools/document/layout_reader.h"

namespace document {
namespace {

[[nodiscard]] json header_of(const lens_shading_set& set, uint16_t built_from) {
  json value = {{"built_from", built_from},
                {"size", set.size},
                {"version", set.version},
                {"reserved", set.reserved},
                {"id", set.id}};
  json map = json::array();
  for (const auto& row : set.channel_map) map.push_back(json(row));
  value["channel_map"] = std::move(map);
  value["light_count"] = set.light_count;
  value["width"] = set.width;
  value["height"] = set.height;
  return value;
}

template <typename Light>
[[nodiscard]] json light_value(const lens_shading_set& set, const Light& light) {
  json value = {{"light_id", light.light_id}};
  value["gains"] = row_value<float>(light.gains, 2);
  value["coords"] = row_value<float>(light.coords, 2);
  value["fraction_bits"] = light.fraction_bits;
  json tables = json::array();
  for (const auto& row : light.tables) {
    json sites = json::array();
    for (const uint16_t* const table : row)
      sites.push_back(table != nullptr ? table_value<uint16_t>(table, set.height, set.width)
                                       : json(nullptr));
    tables.push_back(std::move(sites));
  }
  value["tables"] = std::move(tables);
  return value;
}

struct tear_down {
  void operator()(parsed_cmc* cmc) const { qo_cmc_parser_deinit(cmc); }
};

}  // namespace

json lens_shading_value(const lens_shading_set& set, uint16_t built_from) {
  json value = header_of(set, built_from);
  json lights = json::array();
  for (uint16_t i = 0; i < set.light_count; ++i) lights.push_back(light_value(set, set.lights[i]));
  value["lights"] = std::move(lights);
  return value;
}

json lens_shading_ext_value(const lens_shading_set& set, uint16_t built_from) {
  json value = header_of(set, built_from);
  json lights = json::array();
  for (uint16_t i = 0; i < set.light_count; ++i) {
    json light = light_value(set, set.lights_ext[i]);
    light["aux"] = set.lights_ext[i].aux;
    lights.push_back(std::move(light));
  }
  value["lights_ext"] = std::move(lights);
  return value;
}

bool lsc_grid_gives_lens_shading(const parsed_cmc& cmc) {
  if (cmc.lens_shading == nullptr || cmc.lsc_grid.record == nullptr) return false;
  const std::unique_ptr<parsed_cmc, tear_down> decoded(
      static_cast<parsed_cmc*>(calloc(1, sizeof(parsed_cmc))));
  const size_t size = cmc.lsc_grid.record->size;
  void* const copy = malloc(size);
  if (decoded == nullptr || copy == nullptr) {
    free(copy);
    throw std::bad_alloc();
  }
  memcpy(copy, cmc.lsc_grid.record, size);
  if (cmc_parse(copy, decoded.get(), nullptr) != QO_CMC_OK) {
    free(copy);
    return false;
  }
  return decoded->lens_shading != nullptr && lens_shading_value(*decoded->lens_shading, 10) ==
                                                 lens_shading_value(*cmc.lens_shading, 10);
}

json lsc_grid_value(const parsed_cmc& cmc, bool in_lens_shading) {
  layout_reader reader(reinterpret_cast<const uint8_t*>(cmc.lsc_grid.record),
                       cmc.lsc_grid.record->size);
  tell_lsc_grid(reader, in_lens_shading, cmc.lsc_grid.light_gains != nullptr);
  return reader.take();
}

}  // namespace document
