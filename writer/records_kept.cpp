// Kinds whose copy the parsed CMC keeps, those that the container library decodes, and kind 722.
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

bytes record_1(const general_fields& fields) {
  bytes body = filler_bytes(fields.filler).run(16);
  body.c_string(fields.name);
  if (fields.version >= 101) {
    body.u16(static_cast<uint16_t>(fields.pairs.size()));
    for (const auto& [key, value] : fields.pairs) body.c_string(key).c_string(value);
  }
  return exact(1, fields.version, body);
}

bytes record_2(const module_properties_fields& fields) {
  size_t end = 36;
  if (fields.version <= 100) end = 16;
  if (fields.version == 101) end = 18;
  if (fields.version == 102) end = 34;
  filler_bytes filler(fields.filler);
  bytes body = filler.run(4);
  body.u16(fields.value_12).u16(fields.cfa_layout).raw(filler.run(end - 16));
  return padded(2, fields.version, body);
}

bytes plain_record(uint16_t id, const plain_fields& fields) {
  return exact(id, fields.version,
               filler_bytes(fields.filler + id).run(fields.size - record_header_size));
}

bytes record_5(const plain_fields& fields) { return plain_record(5, fields); }
bytes record_7(const plain_fields& fields) { return plain_record(7, fields); }
bytes record_8(const plain_fields& fields) { return plain_record(8, fields); }
bytes record_9(const plain_fields& fields) { return plain_record(9, fields); }
bytes record_21(const plain_fields& fields) { return plain_record(21, fields); }
bytes record_23(const plain_fields& fields) { return plain_record(23, fields); }
bytes record_32(const plain_fields& fields) { return plain_record(32, fields); }

bytes record_6(const record_6_fields& fields) {
  filler_bytes filler(fields.filler);
  bytes body = filler.run(4);
  size_t values = 0;
  for (const uint8_t count : fields.counts) {
    body.u8(count);
    values += count;
  }
  return padded(6, fields.version, body.raw(filler.run(2 * values)));
}

bytes record_13(const record_13_fields& fields) {
  filler_bytes filler(fields.filler);
  bytes body = filler.run(62);
  body.u16(fields.count).raw(filler.run(size_t{2} * fields.count));
  if (fields.version >= 101) body.u16(fields.params[0]);
  if (fields.version >= 102) body.u16(fields.params[1]).u16(fields.params[2]).u16(fields.params[3]);
  return padded(13, fields.version, body);
}

bytes record_14(const record_14_fields& fields) {
  const size_t entries = fields.step != 0 && fields.last >= fields.first
                             ? size_t(fields.last - fields.first) / fields.step
                             : 0;
  bytes body;
  body.u16(fields.first).u16(fields.last).u16(fields.step);
  return exact(14, fields.version, body.raw(filler_bytes(fields.filler).run(8 * entries + 10)));
}

bytes record_15(const record_15_fields& fields) {
  filler_bytes filler(fields.filler);
  bytes body;
  body.u16(fields.a).u16(fields.b);
  body.raw(filler.run(8 * (size_t{3} * fields.a + fields.b)));
  body.u16(static_cast<uint16_t>(fields.entry_counts.size()));
  for (const uint16_t count : fields.entry_counts)
    body.raw(filler.run(10)).u16(count).raw(filler.run(size_t{4} * count));
  return padded(15, fields.version, body);
}

bytes record_16(const record_16_fields& fields) {
  filler_bytes filler(fields.filler);
  bytes body = filler.run(4);
  return padded(16, fields.version,
                body.u16(fields.count).raw(filler.run(size_t{4} * fields.count)));
}

bytes record_17(const record_17_fields& fields) {
  filler_bytes filler(fields.filler);
  bytes body = filler.run(2);
  body.u16(fields.plane_order).u16(fields.orientation).raw(filler.run(fields.payload_bytes));
  return padded(17, fields.version, body);
}

bytes record_18(const record_18_fields& fields) {
  filler_bytes filler(fields.filler);
  bytes body;
  body.u16(fields.count).raw(filler.run(size_t{84} * fields.count));
  if (fields.version >= 101) body.raw(filler.run(fields.tail_bytes));
  return padded(18, fields.version, body);
}

bytes record_19(const record_19_fields& fields) {
  bytes body;
  body.u16(fields.parameter).raw(filler_bytes(fields.filler).run(2));
  body.u16(static_cast<uint16_t>(fields.entries.size()));
  body.u16(static_cast<uint16_t>(fields.pairs.size()));
  for (const record_19_entry& entry : fields.entries) {
    body.u32(entry.first_16_16).u32(entry.second_16_16);
    for (const uint32_t word : entry.words) body.u32(word);
    for (const uint16_t half : entry.halves) body.u16(half);
  }
  for (const fixed_pair& pair : fields.pairs) body.u32(pair.value_16_16).u32(pair.word);
  return padded(19, fields.version, body);
}

bytes record_20(const record_20_fields& fields) {
  filler_bytes filler(fields.filler);
  bytes body;
  body.u16(fields.value_8).u16(fields.value_10).u8(fields.value_12).u8(fields.value_13);
  if (fields.version < 102) return padded(20, fields.version, body.raw(filler.run(2)));
  body.u16(fields.form).u16(static_cast<uint16_t>(fields.pairs.size())).raw(filler.run(2));
  for (const fixed_pair& pair : fields.pairs) body.u32(pair.value_16_16).u32(pair.word);
  return padded(20, fields.version, body);
}

bytes record_31(const record_31_fields& fields) {
  filler_bytes filler(fields.filler);
  bytes body;
  body.u32(fields.count).u32(0).u64(24);
  for (size_t i = 0; i < size_t{18} * fields.count; ++i) body.f32(filler.f32());
  return padded(31, fields.version, body);
}

bytes record_34(const record_34_fields& fields) {
  filler_bytes filler(fields.filler);
  size_t place = 32 + 40 * fields.blocks.size();
  const auto next_place = [&place](size_t array_bytes) {
    const size_t start = place;
    place += array_bytes;
    return array_bytes != 0 ? start : 0;
  };
  bytes body, arrays;
  body.u32(static_cast<uint32_t>(fields.blocks.size())).u32(0).u64(32).u64(0);
  for (const record_34_block& block : fields.blocks) {
    body.u32(block.kind).u32(block.parameter).u32(block.long_entries).u32(block.pairs);
    body.u64(next_place(size_t{32} * block.long_entries));
    body.u64(next_place(size_t{8} * block.pairs));
    body.u64(next_place(block.tail ? 8 : 0));
    for (uint32_t i = 0; i < block.long_entries; ++i)
      arrays.f32(filler.f32()).f32(filler.f32()).raw(filler.run(20)).zeros(4);
    for (uint32_t i = 0; i < block.pairs; ++i) arrays.f32(filler.f32()).raw(filler.run(4));
    if (block.tail) arrays.raw(filler.run(8));
  }
  return padded(34, fields.version, body.raw(arrays));
}

bytes record_722(const record_722_fields& fields) {
  bytes body;
  body.u32(fields.value).u32(static_cast<uint32_t>(fields.values.size()));
  for (const uint64_t value : fields.values) body.u64(value);
  return padded(722, fields.version, body);
}

}  // namespace writer
