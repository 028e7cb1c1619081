/*
 * Stand-in for the NVM library. The image is a format of its own, drawn in docs/nvm_image.md:
 *
 *    0  u32  magic              12  u16  format             16  u8   rows of the tables
 *    4  u32  total size         14  u8   number of sets     17  u8   1: a grid follows the sets
 *    8  u32  checksum           15  u8   columns            18  u16  0
 *
 *   20  sets   u8 fraction_bits, 3 bytes 0, four tables
 *    -  grid   u8 width, u8 height, u8 shift, u8 1 when values follow, width x height u32
 */
#include "qo_nvm.h"

#include <assert.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "tables are copied as they stand");
static_assert(offsetof(struct calibration, lsc_set_count) == 40, "fixed for every reader");
static_assert(offsetof(struct calibration, lsc_grid_width) == 64, "fixed for every reader");
static_assert(offsetof(struct calibration, lsc_grid_height) == 65, "fixed for every reader");
static_assert(offsetof(struct calibration, lsc_sets) == 72, "fixed for every reader");
static_assert(offsetof(struct calibration, grid_present) == 112, "fixed for every reader");
static_assert(offsetof(struct calibration, grid) == 120, "fixed for every reader");
static_assert(sizeof(lsc_calibration_set) == 40, "fixed for every reader");
static_assert(offsetof(lsc_calibration_set, channel_tables) == 8, "fixed for every reader");
static_assert(offsetof(calibration_grid, width) == 16, "fixed for every reader");
static_assert(offsetof(calibration_grid, height) == 17, "fixed for every reader");
static_assert(offsetof(calibration_grid, shift) == 18, "fixed for every reader");
static_assert(offsetof(calibration_grid, values) == 24, "fixed for every reader");

enum { parsed = 0, refused_image = 1, no_memory = 2 };

enum {
  image_magic = 0x4d564e51, /* "QNVM" */
  image_format = 1,
  header_size = 20,
  checksum_from = 12,
  set_head_size = 4,
  grid_head_size = 4,
  channels = 4,
  most_fraction_bits = 16,
  most_shift = 31,
};

/* What a handle points to: the fields that others read, then what only this library knows. */
struct module_calibration {
  calibration shared; /* first: its address is the handle */
  lsc_calibration_set* sets;
  calibration_grid* grid;
};

struct image_view {
  const uint8_t* data;
  uint32_t size;
  uint8_t set_count, columns, rows;
  bool has_grid;
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

/* FNV-1a, 32 bits. */
static uint32_t checksum_of(const uint8_t* data, size_t size) {
  uint32_t sum = 2166136261u;
  for (size_t i = 0; i < size; ++i) sum = (sum ^ data[i]) * 16777619u;
  return sum;
}

/* Bytes of one table. At most 2 x 255 x 255: sums of them do not wrap. */
static uint32_t table_size(const struct image_view* image, uint8_t fraction_bits) {
  return (uint32_t)image->columns * image->rows * (fraction_bits > 8 ? 2 : 1);
}

/* Bytes of a set. */
static uint32_t set_size(const struct image_view* image, uint8_t fraction_bits) {
  return set_head_size + channels * table_size(image, fraction_bits);
}

/* The offset after the sets, or 0 when they are malformed. */
static uint32_t check_sets(const struct image_view* image) {
  uint32_t offset = header_size;
  for (unsigned i = 0; i < image->set_count; ++i) {
    if (image->size - offset < set_head_size) return 0;
    const uint8_t* const set = image->data + offset;
    if (set[0] > most_fraction_bits || set[1] != 0 || set[2] != 0 || set[3] != 0) return 0;
    const uint32_t whole = set_size(image, set[0]);
    if (image->size - offset < whole) return 0;
    offset += whole;
  }
  return offset;
}

/* The offset after the grid, or 0 when it is malformed. */
static uint32_t check_grid(const struct image_view* image, uint32_t offset) {
  if (image->size - offset < grid_head_size) return 0;
  const uint8_t* const grid = image->data + offset;
  const uint32_t points = (uint32_t)grid[0] * grid[1];
  if (grid[2] > most_shift || grid[3] > 1) return 0;
  if (grid[3] == 0) return offset + grid_head_size;
  if (points == 0 || image->size - offset - grid_head_size < 4 * points) return 0;
  return offset + grid_head_size + 4 * points;
}

static bool check_image(const qo_blob* blob, struct image_view* image) {
  const uint8_t* const data = blob->data;
  if (data == NULL || blob->size < header_size) return false;
  if (load_u32(data) != image_magic || load_u32(data + 4) != blob->size) return false;
  if (load_u32(data + 8) != checksum_of(data + checksum_from, blob->size - checksum_from))
    return false;
  if (load_u16(data + 12) != image_format || data[17] > 1 || load_u16(data + 18) != 0) return false;
  *image = (struct image_view){data, blob->size, data[14], data[15], data[16], data[17] != 0};
  /* Sets without samples would be objects that no data backs. */
  if (image->set_count != 0 && (image->columns == 0 || image->rows == 0)) return false;
  uint32_t end = check_sets(image);
  if (end != 0 && image->has_grid) end = check_grid(image, end);
  return end == image->size;
}

static void* copy_of(const void* data, size_t size) {
  void* const copy = malloc(size);
  if (copy != NULL) memcpy(copy, data, size);
  return copy;
}

/* Also of an object that is half built. */
static void release(struct module_calibration* object) {
  for (unsigned i = 0; i < object->shared.lsc_set_count; ++i)
    for (unsigned channel = 0; channel < channels; ++channel)
      free((void*)object->sets[i].channel_tables[channel]);
  free(object->sets);
  if (object->grid != NULL) free((void*)object->grid->values);
  free(object->grid);
  free(object);
}

/* Both builders leave what they could make in the object. */
static bool build_sets(const struct image_view* image, struct module_calibration* object,
                       const uint8_t** end) {
  const uint8_t* set = image->data + header_size;
  if (image->set_count != 0) {
    object->sets = calloc(image->set_count, sizeof *object->sets);
    if (object->sets == NULL) return false;
    object->shared.lsc_sets = object->sets;
  }
  for (unsigned i = 0; i < image->set_count; ++i) {
    lsc_calibration_set* const built = &object->sets[i];
    const uint32_t bytes = table_size(image, set[0]);
    built->fraction_bits = set[0];
    object->shared.lsc_set_count = (uint8_t)(i + 1);
    for (unsigned channel = 0; channel < channels; ++channel) {
      built->channel_tables[channel] = copy_of(set + set_head_size + channel * bytes, bytes);
      if (built->channel_tables[channel] == NULL) return false;
    }
    set += set_size(image, set[0]);
  }
  object->shared.lsc_grid_width = image->columns;
  object->shared.lsc_grid_height = image->rows;
  *end = set;
  return true;
}

static bool build_grid(const uint8_t* from, struct module_calibration* object) {
  object->grid = calloc(1, sizeof *object->grid);
  if (object->grid == NULL) return false;
  object->shared.grid = object->grid;
  object->grid->width = from[0];
  object->grid->height = from[1];
  object->grid->shift = from[2];
  if (from[3] != 0) {
    object->grid->values = copy_of(from + grid_head_size, (size_t)4 * from[0] * from[1]);
    if (object->grid->values == NULL) return false;
  }
  object->shared.grid_present = 1;
  return true;
}

uint32_t qo_nvm_parse(const qo_blob* image, calibration** result) {
  struct image_view view;
  if (image == NULL || result == NULL || !check_image(image, &view)) return refused_image;
  struct module_calibration* const object = calloc(1, sizeof *object);
  if (object == NULL) return no_memory;
  const uint8_t* end_of_sets = NULL;
  if (!build_sets(&view, object, &end_of_sets) ||
      (view.has_grid && !build_grid(end_of_sets, object))) {
    release(object);
    return no_memory;
  }
  *result = &object->shared;
  return parsed;
}

void qo_nvm_deinit(calibration* handle) {
  if (handle != NULL) release((struct module_calibration*)handle);
}
