// Kinds whose slot is a copy of the record: 5 to 9, 13 to 21, 23, and 25 and 27, whose entries are
// addresses into it.

#include "tools/layout/record_layouts.h"

namespace layout {

void map_record_5(record_map& map) { map.bytes("bytes_8", map.left()); }
void map_record_7(record_map& map) { map.bytes("bytes_8", map.left()); }
void map_record_8(record_map& map) { map.bytes("bytes_8", map.left()); }
void map_record_9(record_map& map) { map.bytes("bytes_8", map.left()); }
void map_record_21(record_map& map) { map.bytes("bytes_8", map.left()); }
void map_record_23(record_map& map) { map.bytes("bytes_8", map.left()); }

void map_record_6(record_map& map) {
  map.bytes("bytes_8", 4);
  uint64_t values = 0;
  for (uint64_t i = 0; i < 4; ++i) values += map.field<uint8_t>(indexed("counts", i));
  map.array<uint16_t>("values", values);
}

void map_record_13(record_map& map) {
  map.bytes("bytes_8", 62);
  map.array<uint16_t>("values", map.field<uint16_t>("count"));
  if (map.version() >= 101) map.field<uint16_t>("params[0]");
  if (map.version() >= 102) map.array<uint16_t>("params[1 to 3]", 3);
}

void map_record_14(record_map& map) {
  map.field<uint16_t>("first");
  map.field<uint16_t>("last");
  map.field<uint16_t>("step");
  // How many of them count is not fixed; all of them are kept.
  for (uint64_t i = 0; map.left() >= 8; ++i) map.bytes(indexed("items", i), 8);
}

void map_record_15(record_map& map) {
  const uint16_t a = map.field<uint16_t>("a");
  const uint16_t b = map.field<uint16_t>("b");
  map.bytes("body", uint64_t{8} * a);
  map.bytes("section_1", uint64_t{8} * a);
  map.bytes("section_2", uint64_t{8} * a);
  map.bytes("section_3", uint64_t{8} * b);
  if (map.ended()) return;
  const uint16_t entries = map.field<uint16_t>("sub_table.count");
  for (uint64_t i = 0; i < entries && !map.ended(); ++i) {
    const std::string entry = indexed("sub_table.entries", i);
    map.field<uint64_t>(entry + ".value_0");
    const uint32_t value_8 = map.field<uint32_t>(entry + ".value_8");
    map.array<uint16_t>(entry + ".array_first", value_8 >> 16);
    map.array<uint16_t>(entry + ".array_second", value_8 >> 16);
  }
}

void map_record_16(record_map& map) {
  map.bytes("bytes_8", 4);
  const uint16_t count = map.field<uint16_t>("count");
  for (uint64_t i = 0; i < count && !map.ended(); ++i) map.bytes(indexed("items", i), 4);
}

void map_record_17(record_map& map) {
  map.bytes("bytes_8", 2);
  map.field<uint16_t>("plane_order");
  map.field<uint16_t>("orientation");
  if (map.version() >= 101) map.bytes("payload", map.left());
}

void map_record_18(record_map& map) {
  const uint16_t count = map.field<uint16_t>("count");
  for (uint64_t i = 0; i < count && !map.ended(); ++i) map.bytes(indexed("entries", i), 84);
  if (map.version() >= 101) map.bytes("tail", map.left());
}

void map_record_19(record_map& map) {
  map.field<uint16_t>("parameter");
  map.bytes("bytes_10", 2);
  const uint16_t entries = map.field<uint16_t>("entry_count");
  const uint16_t tail = map.field<uint16_t>("tail_count");
  for (uint64_t i = 0; i < entries && !map.ended(); ++i) {
    const std::string entry = indexed("entries", i);
    map.field<uint32_t>(entry + ".value_0");
    map.field<uint32_t>(entry + ".value_4");
    map.array<uint32_t>(entry + ".values_8", 3);
    map.array<uint16_t>(entry + ".values_20", 4);
  }
  for (uint64_t i = 0; i < tail && !map.ended(); ++i) {
    const std::string entry = indexed("tail", i);
    map.field<uint32_t>(entry + ".value_0");
    map.field<uint32_t>(entry + ".value_4");
  }
}

void map_record_20(record_map& map) {
  map.field<uint16_t>("value_8");
  map.field<uint16_t>("value_10");
  map.field<uint8_t>("value_12");
  map.field<uint8_t>("value_13");
  if (map.version() < 102) return;
  map.field<uint16_t>("list");
  const uint16_t count = map.field<uint16_t>("list_count");
  map.gap(2);
  for (uint64_t i = 0; i < count && !map.ended(); ++i) {
    const std::string entry = indexed("entries", i);
    map.field<uint32_t>(entry + ".value_0");
    map.field<uint32_t>(entry + ".value_4");
  }
}

void map_record_25(record_map& map) {
  const uint16_t entries = map.field<uint16_t>("entry_count");
  const uint16_t items = map.field<uint16_t>("item_count");
  map.array<uint32_t>("payload", items);
  for (uint64_t i = 0; i < entries && !map.ended(); ++i) {
    const std::string entry = indexed("entries", i);
    map.bytes(entry + ".start", map.version() > 100 ? 24 : 20);
    map.bytes(entry + ".block_first", 16);
    map.bytes(entry + ".block_second", 16);
    map.field<uint32_t>(entry + ".value");
    for (uint64_t k = 0; k < items && !map.ended(); ++k)
      map.bytes(indexed(entry + ".items", k), 36);
  }
}

void map_record_27(record_map& map) {
  map.bytes("bytes_8", 16);
  const uint16_t entries = map.field<uint16_t>("count");
  const uint16_t planes = map.field<uint16_t>("planes_of_entry");
  const uint64_t width = map.field<uint16_t>("width");
  const uint64_t samples = width * map.field<uint16_t>("height");
  for (uint64_t i = 0; i < entries && !map.ended(); ++i) {
    const std::string entry = indexed("entries", i);
    map.bytes(entry + ".head", 20);
    for (uint64_t k = 0; k < planes && !map.ended(); ++k)
      map.array<uint16_t>(indexed(entry + ".planes", k), samples);
  }
  if (map.version() < 101) return;
  for (uint64_t i = 0; i < entries && !map.ended(); ++i) map.bytes(indexed("tail", i), 16);
}

}  // namespace layout
