// Kinds 31, 32 and 34, which the container library decodes: arrays stand at places that the record
// gives, as the stand-in reads them. With the stack's own library they may mean something else.

#include "tools/layout/record_layouts.h"

namespace layout {

void map_record_31(record_map& map) {
  const uint32_t count = map.field<uint32_t>("count");
  map.field<uint32_t>("padding_12");
  const uint64_t place = map.field<uint64_t>("entries_place");
  if (place == 0) return;
  map.go_to(place);
  for (uint64_t i = 0; i < count && !map.ended(); ++i) map.array<float>(indexed("entries", i), 18);
}

void map_record_32(record_map& map) { map.bytes("bytes_8", map.left()); }

void map_record_34(record_map& map) {
  const uint32_t blocks = map.field<uint32_t>("block_count");
  map.field<uint32_t>("padding_12");
  const uint64_t place = map.field<uint64_t>("blocks_place");
  if (place == 0 || place > UINT32_MAX) return;
  constexpr uint64_t block_size = 40;
  for (uint64_t i = 0; i < blocks; ++i) {
    map.go_to(place + block_size * i);
    if (map.left() < block_size) return;
    const std::string block = indexed("blocks", i);
    map.field<uint32_t>(block + ".kind");
    map.field<uint32_t>(block + ".value_4");
    const uint32_t long_count = map.field<uint32_t>(block + ".long_count");
    const uint32_t short_count = map.field<uint32_t>(block + ".short_count");
    const uint64_t long_place = map.field<uint64_t>(block + ".long_entries_place");
    const uint64_t short_place = map.field<uint64_t>(block + ".short_entries_place");
    const uint64_t tail_place = map.field<uint64_t>(block + ".tail_place");
    if (long_place != 0) {
      map.go_to(long_place);
      map.bytes(block + ".long_entries", uint64_t{32} * long_count);
    }
    if (short_place != 0) {
      map.go_to(short_place);
      map.bytes(block + ".short_entries", uint64_t{8} * short_count);
    }
    if (tail_place != 0) {
      map.go_to(tail_place);
      map.array<uint16_t>(block + ".tail", 4);
    }
  }
}

}  // namespace layout
