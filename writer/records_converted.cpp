// Kinds of which the parsed CMC holds a converted form: 3, 22, 24 to 27, 29, 30, 35 and 36.
#include <algorithm>

#include "writer/records.h"

namespace writer {
namespace {

bytes padded(uint16_t id, uint8_t version, const bytes& body) {
  return record(id, version, body, {.reserved = reserved_byte});
}

bytes exact(uint16_t id, uint8_t version, const bytes& body) {
  return record(id, version, body, {.padded = false, .reserved = reserved_byte});
}

}  // namespace

bytes record_3(const record_3_fields& fields) {
  bytes body;
  body.u32(static_cast<uint32_t>(fields.entries.size()));
  for (const record_3_entry& entry : fields.entries) {
    body.u32(entry.word).u32(entry.value_16_16);
    for (const uint16_t value : entry.values_8_8) body.u16(value);
  }
  return padded(3, fields.version, body.raw(filler_bytes(fields.filler).run(4)));
}

bytes record_22(const record_22_fields& fields) {
  filler_bytes filler(fields.filler);
  const size_t points = static_cast<size_t>(std::max(fields.width * fields.height, 0));
  bytes body;
  body.u32(filler.u32()).i16(fields.width).i16(fields.height).u32(filler.u32());
  body.u16(fields.grid_entries);
  for (size_t i = 0; i < fields.grid_entries; ++i) body.raw(filler.run(2 + 8 * points));
  if (fields.version >= 101) {
    body.u32(filler.u32()).i32(fields.items).raw(filler.run(size_t{1040} * (fields.items + 1u)));
  }
  if (fields.version >= 102) {
    body.u32(filler.u32()).i32(static_cast<int32_t>(fields.list_counts.size()));
    for (const uint32_t count : fields.list_counts) {
      body.f32(filler.f32()).f32(filler.f32()).u32(filler.u32()).u32(count);
      body.raw(filler.run(size_t{4} * count));
    }
    body.raw(filler.run(24 * fields.list_counts.size()));
  }
  return exact(22, fields.version, body);
}

bytes record_24(const record_24_fields& fields) {
  filler_bytes filler(fields.filler);
  bytes body = filler.run(6);
  body.u16(static_cast<uint16_t>(fields.counts.size()));
  for (const uint16_t count : fields.counts)
    body.u16(filler.u16()).u16(count).raw(filler.run(12)).raw(filler.run(size_t{4} * count));
  return exact(24, fields.version, body);
}

bytes record_25(const record_25_fields& fields) {
  filler_bytes filler(fields.filler);
  bytes body;
  body.u16(fields.entries).u16(fields.items).raw(filler.run(size_t{4} * fields.items));
  const size_t skipped = fields.version > 100 ? 24 : 20;
  for (size_t i = 0; i < fields.entries; ++i)
    body.raw(filler.run(skipped + 36 + size_t{36} * fields.items));
  return exact(25, fields.version, body);
}

bytes record_26(const record_26_fields& fields) {
  filler_bytes filler(fields.filler);
  bytes body = filler.run(8);
  for (int group = 0; fields.version >= 101 && group < 2; ++group) {
    body.raw(filler.run(8));
    for (int i = 0; i < 4; ++i) body.f32(filler.f32());
  }
  return padded(26, fields.version, body);
}

bytes record_27(const record_27_fields& fields) {
  filler_bytes filler(fields.filler);
  bytes body = filler.run(16);
  body.u16(fields.entries).u16(fields.planes).u16(fields.width).u16(fields.height);
  const size_t plane_bytes = size_t{2} * fields.width * fields.height;
  for (size_t i = 0; i < fields.entries; ++i)
    body.raw(filler.run(20 + plane_bytes * fields.planes));
  if (fields.version < 101) return exact(27, fields.version, body);
  return padded(27, fields.version, body.raw(filler.run(size_t{16} * fields.entries)));
}

bytes record_29(const record_29_fields& fields) {
  filler_bytes filler(fields.filler);
  bytes body = filler.run(4);
  body.u16(fields.width).u16(fields.height).u32(filler.u32());
  const size_t values = size_t{4} * fields.width * fields.height;
  for (size_t i = 0; i < values; ++i) body.f32(filler.f32());
  return padded(29, fields.version, body.zeros_to_size(56 - record_header_size));
}

bytes record_30(const record_30_fields& fields) {
  filler_bytes filler(fields.filler);
  const size_t points = size_t{fields.width} * fields.height;
  bytes body = filler.run(8);
  body.u16(fields.items).raw(filler.run(4)).u16(fields.width).u16(fields.height);
  body.u16(fields.trailing_rows).u16(fields.trailing_columns);
  body.raw(filler.run(size_t{6} * fields.items));
  const size_t checked_end = body.size() + 4 * points;
  for (size_t i = 0; fields.version <= 101 && i < points; ++i) {
    if (fields.version == 101)
      body.u32(i < fields.grid.size() ? fields.grid[i] : filler.u32());
    else
      body.u16(i < fields.grid.size() ? static_cast<uint16_t>(fields.grid[i]) : filler.u16());
  }
  body.raw(filler.run(size_t{4} * fields.trailing_rows * fields.trailing_columns));
  // The check takes 4 bytes a value also where the grid has 2 or none.
  return padded(30, fields.version, body.zeros_to_size(std::max(checked_end, size_t{24})));
}

bytes record_35(const record_35_fields& fields) {
  filler_bytes filler(fields.filler);
  bytes body = filler.run(5);
  body.u8(fields.count).raw(filler.run(6 * (fields.count + size_t{1}) + size_t{6} * fields.count));
  return exact(35, fields.version, body);
}

bytes record_36(const record_36_fields& fields) {
  filler_bytes filler(fields.filler);
  bytes body = filler.run(5);
  body.u8(fields.count).raw(filler.run(size_t{6} * fields.count));
  return exact(36, fields.version, body);
}

}  // namespace writer
