// Kinds 10, 11, 28 and 33: one block of planes a light.
#include <algorithm>

#include "writer/records.h"

namespace writer {
namespace {

uint16_t fixed_point(float value, float scale) {
  return static_cast<uint16_t>(static_cast<uint32_t>(value * scale));
}

light_head head_of(const std::vector<light_head>& heads, size_t light) {
  return light < heads.size() ? heads[light] : default_light_head(light);
}

template <typename Fields>
void append_planes(bytes& body, const Fields& fields, size_t light, size_t planes,
                   filler_bytes& filler) {
  const size_t samples = size_t{fields.width} * fields.height;
  for (size_t plane = 0; plane < planes; ++plane)
    for (size_t i = 0; i < samples; ++i)
      body.u16(fields.sample ? fields.sample(light, plane, i) : filler.u16());
}

void append_gains(bytes& body, const fixed_grid_fields& fields) {
  if (fields.version < 101) return;
  for (size_t light = 0; light < fields.lights; ++light)
    for (const float gain : head_of(fields.heads, light).gains) body.u16(fixed_point(gain, 256));
}

bytes mapped_grid(uint16_t id, const mapped_grid_fields& fields) {
  std::vector<int8_t> map = fields.channel_map;
  map.resize(16, -1);
  const size_t planes =
      static_cast<size_t>(std::max(*std::max_element(map.begin(), map.end()) + 1, 0));
  filler_bytes filler(fields.filler);
  bytes body;
  for (const int8_t index : map) body.i8(index);
  body.u16(fields.lights).u16(filler.u16()).u16(fields.width).u16(fields.height);
  for (size_t light = 0; light < fields.lights; ++light) {
    light_head head = head_of(fields.heads, light);
    // The decoded number of a light's set is the stored one plus 1.
    if (id == 33 && light >= fields.heads.size()) --head.aux;
    if (id == 28) body.u32(head.light_id);
    if (id == 33) body.u16(static_cast<uint16_t>(head.light_id)).u16(head.aux);
    body.f32(head.gains[0]).f32(head.gains[1]).f32(head.coords[0]).f32(head.coords[1]);
    body.u16(head.integer_bits);
    append_planes(body, fields, light, planes, filler);
  }
  return record(id, fields.version, body, {.reserved = reserved_byte});
}

}  // namespace

light_head default_light_head(size_t light) {
  const auto n = static_cast<uint16_t>(light);
  const auto value = static_cast<float>(light);
  return {.light_id = 0x0a01u + 0x0101u * n,
          .aux = static_cast<uint16_t>(n + 1),
          .gains = {1.0f + value / 8, 0.5f + value / 16},
          .coords = {(value + 1) / 32, (value + 1) / 64},
          .integer_bits = static_cast<uint16_t>(4 + n % 4)};
}

bytes record_10(const fixed_grid_fields& fields) {
  filler_bytes filler(fields.filler);
  bytes body;
  body.u16(filler.u16()).u16(fields.lights).u16(fields.width).u16(fields.height);
  for (size_t light = 0; light < fields.lights; ++light) {
    const light_head head = head_of(fields.heads, light);
    body.u16(static_cast<uint16_t>(head.light_id)).u16(filler.u16());
    for (const float coord : head.coords) body.u16(fixed_point(coord, 65536));
    append_planes(body, fields, light, 4, filler);
  }
  append_gains(body, fields);
  return record(10, fields.version, body, {.reserved = reserved_byte});
}

bytes record_11(const fixed_grid_fields& fields) {
  filler_bytes filler(fields.filler);
  bytes body;
  body.u16(fields.lights).u16(fields.width).u16(fields.height);
  for (size_t light = 0; light < fields.lights; ++light) {
    const light_head head = head_of(fields.heads, light);
    body.u16(head.aux).u16(static_cast<uint16_t>(head.light_id)).u16(filler.u16());
    for (const float coord : head.coords) body.u16(fixed_point(coord, 65536));
    append_planes(body, fields, light, 4, filler);
  }
  append_gains(body, fields);
  return record(11, fields.version, body, {.reserved = reserved_byte});
}

bytes record_28(const mapped_grid_fields& fields) { return mapped_grid(28, fields); }
bytes record_33(const mapped_grid_fields& fields) { return mapped_grid(33, fields); }

}  // namespace writer
