// Kinds of which the slot holds a converted form: 1 to 3, 22, 24, 26, 29, 30, 35, 36, and the
// others record.

#include "tools/layout/record_layouts.h"

namespace layout {

void map_general(record_map& map) {
  map.bytes("bytes_8", 16);
  map.text("name");
  if (map.version() < 101) return;
  const uint16_t pairs = map.field<uint16_t>("pair_count");
  for (uint64_t i = 0; i < pairs && !map.ended(); ++i) {
    map.text(indexed("pairs", i) + ".key");
    map.text(indexed("pairs", i) + ".value");
  }
}

void map_module_properties(record_map& map) {
  if (map.version() < 100) return;
  map.bytes("bytes_8", 4);
  map.field<uint16_t>("value_12");
  map.field<uint16_t>("cfa_layout");
  if (map.version() >= 101) map.field<uint16_t>("value_16");
  if (map.version() >= 102) map.bytes("bytes_18", 16);
  if (map.version() >= 103) map.field<uint16_t>("value_34");
}

void map_record_3(record_map& map) {
  const uint32_t count = map.field<uint32_t>("count");
  for (uint64_t i = 0; i < count && !map.ended(); ++i) {
    const std::string entry = indexed("entries", i);
    map.field<uint32_t>(entry + ".word");
    map.field<uint32_t>(entry + ".value_16_16");
    map.array<uint16_t>(entry + ".values_8_8", 4);
  }
}

void map_record_22(record_map& map) {
  map.field<uint32_t>("value_8");
  const int16_t width = map.field<int16_t>("width");
  const int16_t height = map.field<int16_t>("height");
  map.field<uint32_t>("value_16");
  const uint16_t entries = map.field<uint16_t>("grid_count");
  const int64_t points = int64_t{width} * height;
  if (entries != 0 && points < 0) return;
  for (uint64_t i = 0; i < entries && !map.ended(); ++i) {
    const std::string entry = indexed("grid", i);
    map.field<uint16_t>(entry + ".tag");
    map.array<uint32_t>(entry + ".first_half", static_cast<uint64_t>(points));
    map.array<uint32_t>(entry + ".second_half", static_cast<uint64_t>(points));
  }
  if (map.version() < 101) return;
  map.field<uint32_t>("value_items");
  const int32_t items = map.field<int32_t>("item_count");
  for (int64_t i = 0; i < items && !map.ended(); ++i)
    map.bytes(indexed("items", static_cast<uint64_t>(i)), 1040);
  map.bytes("block", 1024);
  map.gap(16);
  if (map.version() < 102) return;
  map.field<uint32_t>("value_list");
  const int32_t list = map.field<int32_t>("list_count");
  for (int64_t i = 0; i < list && !map.ended(); ++i) {
    const std::string entry = indexed("list", static_cast<uint64_t>(i));
    map.field<float>(entry + ".value_0");
    map.field<float>(entry + ".value_4");
    map.field<uint32_t>(entry + ".value_8");
    map.array<uint32_t>(entry + ".values", map.field<uint32_t>(entry + ".count"));
  }
  for (int64_t i = 0; i < list && !map.ended(); ++i)
    map.bytes(indexed("list_tail", static_cast<uint64_t>(i)), 24);
}

void map_record_24(record_map& map) {
  map.bytes("bytes_8", 6);
  const uint16_t entries = map.field<uint16_t>("count");
  for (uint64_t i = 0; i < entries && !map.ended(); ++i) {
    const std::string entry = indexed("entries", i);
    map.field<uint16_t>(entry + ".value_0");
    const uint16_t values = map.field<uint16_t>(entry + ".count");
    map.bytes(entry + ".bytes_4", 12);
    map.array<uint32_t>(entry + ".values", values);
  }
}

void map_record_26(record_map& map) {
  map.bytes("bytes_8", 8);
  if (map.version() < 101) return;
  for (uint64_t i = 0; i < 2 && !map.ended(); ++i) {
    map.bytes(indexed("groups", i) + ".bytes_0", 8);
    map.array<float>(indexed("groups", i) + ".values", 4);
  }
}

void map_record_29(record_map& map) {
  map.bytes("bytes_8", 4);
  const uint64_t width = map.field<uint16_t>("width");
  const uint64_t values = width * map.field<uint16_t>("height");
  map.field<uint32_t>("value_16");
  for (uint64_t k = 0; k < 4; ++k) map.array<float>(indexed("planes", k), values);
}

void map_record_30(record_map& map) {
  map.bytes("bytes_8", 8);
  const uint16_t items = map.field<uint16_t>("item_count");
  map.bytes("bytes_18", 4);
  const uint64_t width = map.field<uint16_t>("grid_width");
  const uint64_t values = width * map.field<uint16_t>("grid_height");
  const uint64_t rows = map.field<uint16_t>("trailing_rows");
  const uint64_t columns = map.field<uint16_t>("trailing_columns");
  for (uint64_t i = 0; i < items && !map.ended(); ++i) map.bytes(indexed("items", i), 6);
  if (map.version() <= 100) map.array<uint16_t>("grid", values);
  if (map.version() == 101) map.array<uint32_t>("grid", values);
  map.array<uint32_t>("trailing", rows * columns);
}

void map_record_35(record_map& map) {
  map.field<uint8_t>("value_8");
  map.field<uint32_t>("value_12");
  const uint64_t count = map.field<uint8_t>("count");
  map.array<uint32_t>("array_a", count + 1);
  map.array<uint16_t>("array_b", count + 1);
  map.array<uint16_t>("array_c", count);
  map.array<uint32_t>("array_d", count);
}

void map_record_36(record_map& map) {
  map.field<uint8_t>("value_8");
  map.bytes("bytes_9", 4);
  const uint64_t count = map.field<uint8_t>("count");
  map.array<uint16_t>("array_16", count);
  map.array<uint32_t>("array_32", count);
}

void map_others(record_map& map) {
  map.field<uint32_t>("others_value");
  map.array<uint64_t>("others_entries", map.field<uint32_t>("others_count"));
}

}  // namespace layout
