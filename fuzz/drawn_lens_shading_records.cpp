// Kinds 10, 11, 28 and 33: lens-shading tables.

#include "fuzz/drawn_record.h"
#include "writer/records.h"

namespace fuzz {
namespace {

using writer::bytes;

/// A sample of its place, so that a table that is read from another one's place shows.
uint16_t sample_of(uint32_t start, size_t light, size_t plane, size_t index) {
  return static_cast<uint16_t>(start + light * 7919 + plane * 104729 + index * 37);
}

float drawn_float(input_reader& in) {
  const uint32_t bits = in.u32();
  float value;
  memcpy(&value, &bits, sizeof value);
  return value;
}

bool is_same(float a, float b) { return memcmp(&a, &b, sizeof a) == 0; }

template <typename Fields>
void draw_sizes(input_reader& in, Fields& fields) {
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.lights = in.up_to(3);
  fields.width = in.up_to(4);
  fields.height = in.up_to(4);
  const uint32_t start = in.u32();
  fields.sample = [start](size_t light, size_t plane, size_t index) {
    return sample_of(start, light, plane, index);
  };
}

/// What every form of a light has: the tables of the sites, and numbers that the record stores.
template <typename Fields, typename Light>
void require_light(const lens_shading_set& set, const Light& held, const Fields& fields,
                   size_t light) {
  const size_t samples = size_t{fields.width} * fields.height;
  for (size_t site = 0; site < 16; ++site) {
    const int8_t plane = set.channel_map[site / 4][site % 4];
    const uint16_t* const table = held.tables[site / 4][site % 4];
    require((table != nullptr) == (plane >= 0));
    for (size_t i = 0; plane >= 0 && i < samples; ++i)
      require(table[i] == fields.sample(light, static_cast<size_t>(plane), i));
  }
}

template <typename Fields>
void require_sizes(const lens_shading_set* set, const Fields& fields) {
  require(set != nullptr && set->light_count == fields.lights);
  require(set->width == fields.width && set->height == fields.height);
}

/// Kinds 28 and 33: numbers come back as they are written.
template <typename Light>
void require_mapped(const lens_shading_set* set, const Light* lights,
                    const writer::mapped_grid_fields& fields, const bytes& record) {
  require_sizes(set, fields);
  require_bytes(set, record, 0, 8);
  require_bytes(set->channel_map, record, 8, 16);
  for (size_t i = 0; i < fields.lights; ++i) {
    const writer::light_head& head = fields.heads[i];
    const Light& held = lights[i];
    for (size_t k = 0; k < 2; ++k)
      require(is_same(held.gains[k], head.gains[k]) && is_same(held.coords[k], head.coords[k]));
    require(held.fraction_bits == static_cast<uint16_t>(16 - head.integer_bits));
    require_light(*set, held, fields, i);
  }
}

writer::mapped_grid_fields draw_mapped(input_reader& in) {
  writer::mapped_grid_fields fields;
  draw_sizes(in, fields);
  fields.channel_map.clear();
  for (size_t site = 0; site < 16; ++site)
    fields.channel_map.push_back(static_cast<int8_t>(in.up_to(4) - 1));
  for (size_t i = 0; i < fields.lights; ++i)
    fields.heads.push_back({in.u32(),
                            in.u16(),
                            {drawn_float(in), drawn_float(in)},
                            {drawn_float(in), drawn_float(in)},
                            in.u16()});
  return fields;
}

drawn_record draw_28(input_reader& in) {
  const writer::mapped_grid_fields fields = draw_mapped(in);
  const bytes content = writer::record_28(fields);
  return {content, {{28, false, [fields, content](const parsed_cmc& cmc) {
                       const lens_shading_set* const set = cmc.lens_shading;
                       require(set != nullptr);
                       require_mapped(set, set->lights, fields, content);
                       for (size_t i = 0; i < fields.lights; ++i)
                         require(set->lights[i].light_id == fields.heads[i].light_id);
                     }}}};
}

drawn_record draw_33(input_reader& in) {
  const writer::mapped_grid_fields fields = draw_mapped(in);
  const bytes content = writer::record_33(fields);
  return {content, {{33, false, [fields, content](const parsed_cmc& cmc) {
                       const lens_shading_set* const set = cmc.lens_shading_ext;
                       require(set != nullptr);
                       require_mapped(set, set->lights_ext, fields, content);
                       for (size_t i = 0; i < fields.lights; ++i) {
                         const writer::light_head& head = fields.heads[i];
                         const lens_shading_light_ext& light = set->lights_ext[i];
                         require(light.light_id == static_cast<uint16_t>(head.light_id));
                         require(light.aux == static_cast<uint16_t>(head.aux + 1));
                       }
                     }}}};
}

/// Numbers that the fixed-point forms of records 10 and 11 hold.
writer::fixed_grid_fields draw_fixed(input_reader& in) {
  writer::fixed_grid_fields fields;
  draw_sizes(in, fields);
  for (size_t i = 0; i < fields.lights; ++i)
    fields.heads.push_back({in.u16(),
                            in.u16(),
                            {in.u16() / 256.0f, in.u16() / 256.0f},
                            {in.u16() / 65536.0f, in.u16() / 65536.0f},
                            0});
  return fields;
}

template <typename Light>
void require_fixed(const lens_shading_set* set, const Light* lights,
                   const writer::fixed_grid_fields& fields) {
  require_sizes(set, fields);
  for (size_t i = 0; i < fields.lights; ++i) {
    const writer::light_head& head = fields.heads[i];
    const Light& held = lights[i];
    require(held.light_id == head.light_id && held.fraction_bits == 12);
    for (size_t k = 0; k < 2; ++k) {
      require(is_same(held.gains[k], fields.version >= 101 ? head.gains[k] : 0.0f));
      require(is_same(held.coords[k], head.coords[k]));
    }
    require_light(*set, held, fields, i);
  }
}

drawn_record draw_10(input_reader& in) {
  const writer::fixed_grid_fields fields = draw_fixed(in);
  const bytes content = writer::record_10(fields);
  const auto copy = [fields, content](const parsed_cmc& cmc) {
    require_copy(cmc.lsc_grid.record, content);
    require_place(cmc.lsc_grid.blocks, cmc.lsc_grid.record, 16);
    require_place(cmc.lsc_grid.first_table, cmc.lsc_grid.record, 24);
    const size_t block = 8 * (1 + size_t{fields.width} * fields.height);
    if (fields.version >= 101)
      require_place(cmc.lsc_grid.light_gains, cmc.lsc_grid.record, 16 + fields.lights * block);
    else
      require(cmc.lsc_grid.light_gains == nullptr);
  };
  const auto tables = [fields](const parsed_cmc& cmc) {
    require(cmc.lens_shading != nullptr);
    require_fixed(cmc.lens_shading, cmc.lens_shading->lights, fields);
  };
  return {content, {{10, false, copy}, {28, true, tables}}};
}

drawn_record draw_11(input_reader& in) {
  const writer::fixed_grid_fields fields = draw_fixed(in);
  const auto tables = [fields](const parsed_cmc& cmc) {
    require(cmc.lens_shading_ext != nullptr);
    require_fixed(cmc.lens_shading_ext, cmc.lens_shading_ext->lights_ext, fields);
    for (size_t i = 0; i < fields.lights; ++i)
      require(cmc.lens_shading_ext->lights_ext[i].aux == fields.heads[i].aux);
  };
  return {writer::record_11(fields), {{33, true, tables}}};
}

constexpr draw draws[] = {draw_10, draw_11, draw_28, draw_33};

}  // namespace

const std::span<const draw> lens_shading_draws = draws;

}  // namespace fuzz
