/*
 * Stand-in for the container library's record decoder.
 *
 * Kinds 9 and 32 have nothing to decode. Kinds 31 and 34 store the places of their arrays as u64
 * byte counts from the start of the record; decoding turns them into addresses. A place of 0 says
 * that there is no array and stays 0.
 *
 *   kind 31    8  u32  n                    kind 34    8  u32  n
 *             16  u64  place of n entries             16  u64  place of n blocks
 *                      of 72 bytes                             of 40 bytes
 *
 *   block      8  u32  a                              16  u64  place of a entries of 32 bytes
 *             12  u32  b                              24  u64  place of b entries of 8 bytes
 *                                                     32  u64  place of 8 bytes
 *
 * A record may hold anything and stand at any alignment. Everything is checked before the first
 * byte is written, so that a refused record stays as it is.
 */
#include "qo_vexb_parser.h"

#include <assert.h>
#include <stdbool.h>
#include <stddef.h>
#include <string.h>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ && sizeof(void*) == sizeof(uint64_t),
              "places become addresses where they stand");

enum { decoded = 0, refused_kind = 16, refused_layout = 17 };

enum {
  header_size = 8,
  count_at = 8,
  place_at = 16,
  fixed_size = 24, /* of kinds 31 and 34, up to and including the place */
  float_entry_size = 72,
  block_size = 40,
};

static uint16_t load_u16(const uint8_t* from) {
  uint16_t value;
  memcpy(&value, from, sizeof value);
  return value;
}

static uint32_t load_u32(const uint8_t* from) {
  uint32_t value;
  memcpy(&value, from, sizeof value);
  return value;
}

static uint64_t load_u64(const uint8_t* from) {
  uint64_t value;
  memcpy(&value, from, sizeof value);
  return value;
}

/*
 * Whether `count` elements stand at `place` inside the record and after its fixed part, which
 * would otherwise change under the hands of the decoder. Place 0 holds exactly no elements.
 */
static bool holds(uint64_t size, uint64_t place, uint32_t count, uint32_t element_size) {
  if (place == 0) return count == 0;
  return place >= fixed_size && place <= size && (uint64_t)count * element_size <= size - place;
}

static void turn_into_address(const uint8_t* record, uint8_t* place) {
  const uint64_t offset = load_u64(place);
  if (offset == 0) return;
  const uint64_t address = (uint64_t)(uintptr_t)(record + offset);
  memcpy(place, &address, sizeof address);
}

static uint32_t decode_float_entries(uint8_t* record, uint32_t size) {
  if (size < fixed_size) return refused_layout;
  if (!holds(size, load_u64(record + place_at), load_u32(record + count_at), float_entry_size))
    return refused_layout;
  turn_into_address(record, record + place_at);
  return decoded;
}

/* The three places in a block, the counts that go with them, and the sizes of their elements. */
static const struct {
  size_t place_at, count_at; /* count_at 0: a single element, if there is a place */
  uint32_t element_size;
} block_arrays[] = {{16, 8, 32}, {24, 12, 8}, {32, 0, 8}};

static bool block_fits(const uint8_t* block, uint32_t size) {
  for (size_t i = 0; i < sizeof block_arrays / sizeof block_arrays[0]; ++i) {
    const uint64_t place = load_u64(block + block_arrays[i].place_at);
    const uint32_t count =
        block_arrays[i].count_at != 0 ? load_u32(block + block_arrays[i].count_at) : place != 0;
    if (!holds(size, place, count, block_arrays[i].element_size)) return false;
  }
  return true;
}

static uint32_t decode_blocks(uint8_t* record, uint32_t size) {
  if (size < fixed_size) return refused_layout;
  const uint32_t count = load_u32(record + count_at);
  const uint64_t place = load_u64(record + place_at);
  if (!holds(size, place, count, block_size)) return refused_layout;
  uint8_t* const blocks = record + place;
  for (size_t i = 0; i < count; ++i)
    if (!block_fits(blocks + i * block_size, size)) return refused_layout;

  for (size_t i = 0; i < count; ++i)
    for (size_t k = 0; k < sizeof block_arrays / sizeof block_arrays[0]; ++k)
      turn_into_address(record, blocks + i * block_size + block_arrays[k].place_at);
  turn_into_address(record, record + place_at);
  return decoded;
}

uint32_t qo_vexb_parse_record(void* record) {
  if (record == NULL) return refused_layout;
  uint8_t* const bytes = record;
  const uint32_t size = load_u32(bytes);
  if (size < header_size) return refused_layout;
  switch (load_u16(bytes + 6)) {
    case 9:
    case 32:
      return decoded;
    case 31:
      return decode_float_entries(bytes, size);
    case 34:
      return decode_blocks(bytes, size);
    default:
      return refused_kind;
  }
}
