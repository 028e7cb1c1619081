/**
 * @file
 * The parsed CMC: one structure of slots, one or more for each kind of CMC record.
 *
 * Ownership. A slot named `record` holds the library's private copy of a record, byte for byte as
 * in the container unless the slot says otherwise; pointers documented as "into the copy", or by a
 * place such as copy + 16, live exactly as long as it does. Other pointers own a block of their own
 * unless they say otherwise. Everything is released by qo_cmc_parser_deinit(), except `others`.
 * Nothing points into the container or the NVM image.
 *
 * Empty slots are all zero bytes (but for record_13.params and record_16.payload). The pointers
 * that belong to one kept copy are set together, or null together; which of them a version leaves
 * null stands beside them. Which record of a kind wins: for `lens_shading` built from kind 10,
 * `lens_shading_ext` from kind 11 and `record_31` from kind 3 the first; otherwise the last.
 *
 * Contract: a record that the container library decodes in place (9, 31, 32 and 34) keeps the
 * header as that library left it. Its `size` is that library's word, and may be less than the block
 * holds, or more.
 *
 * Layout: little-endian, 64-bit pointers. A copy starts at an address that is aligned for every
 * type, but a pointer into it is aligned only as its offset is. Such a pointer is one to bytes,
 * except in the tables of records 31 and 34, and its comment says how far it is aligned. Where that
 * can be less than an element needs, the element is not read through the pointer, but with a
 * function of unaligned.h, as the slot's comment says. Blocks that a slot owns are aligned for
 * their type.
 *
 * Members whose meaning is not fixed are named for their place: `value_12` is the value at byte 12
 * of the record or entry, `bytes_18` the bytes from byte 18 on, unless the comment gives another
 * place. Kinds without a structure say which fields of the copy the library itself reads.
 */
#ifndef QO_CMC_PARSED_CMC_H
#define QO_CMC_PARSED_CMC_H

#include <stdint.h>

#include "lens_shading.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Start of every record in a container and of every kept copy. */
typedef struct record_header {
  uint32_t size;    /**< bytes of the record, this header included */
  uint8_t version;  /**< layout of the body: 100 the base layout, 101 to 103 add fields */
  uint8_t reserved; /**< not interpreted */
  uint16_t id;      /**< record kind */
} record_header;

/** Key and value of one pair of record 1, NUL-terminated, into the copy. */
typedef struct string_pair {
  const char* key;   /**< at any address, as text is */
  const char* value; /**< directly after the key's terminator */
} string_pair;

/**
 * Record 2: the start of the record, as far as its version fills it (16, 18, 34 or 36 bytes), the
 * rest zero. In versions below 103 the value at byte 12 fills places that later versions store:
 * byte 34, and in version 100 byte 16 too.
 */
typedef struct module_properties_record {
  record_header header; /**< record bytes 0 to 7 */
  uint8_t bytes_8[4];   /**< record bytes 8 to 11 */
  uint16_t value_12;    /**< record byte 12, u16 */
  uint16_t cfa_layout;  /**< colour-filter arrangement of the sensor: 0 to 3, or 256 to 263 */
  uint16_t value_16;    /**< record byte 16, u16, from version 101 */
  /** Record bytes 18 to 33, from version 102; aligned to 2 bytes, see unaligned.h. */
  uint8_t bytes_18[16];
  uint16_t value_34; /**< record byte 34, u16, from version 103 */
} module_properties_record;

/** One entry of the sub-table of record 15. */
typedef struct record_15_entry {
  uint64_t value_0;       /**< entry byte 0, u64 */
  uint32_t value_8;       /**< entry byte 8, u32; its upper half counts both arrays' elements */
  uint32_t padding_12;    /**< 0 */
  uint16_t* array_first;  /**< owned */
  uint16_t* array_second; /**< owned */
} record_15_entry;

/** Sub-table of record 15. */
typedef struct record_15_sub_table {
  uint16_t count;           /**< number of entries */
  record_15_entry* entries; /**< `count` entries */
} record_15_sub_table;

/** One tagged pair of value rows in the grid of record 22; both halves hold width x height values.
 */
typedef struct record_22_grid_entry {
  uint16_t tag;          /**< entry byte 0, u16 */
  uint32_t* first_half;  /**< entry 0 owns the buffer that holds the halves of all entries */
  uint32_t* second_half; /**< into the same buffer, after the first half */
} record_22_grid_entry;

/** One entry of the list of record 22. */
typedef struct record_22_list_entry {
  float value_0;    /**< entry byte 0, f32 */
  float value_4;    /**< entry byte 4, f32 */
  uint32_t value_8; /**< entry byte 8, u32 */
  uint32_t count;   /**< number of values */
  uint32_t* values; /**< `count` values, owned */
} record_22_list_entry;

/** Sizes of the parts of record 22 that are kept as bytes. */
enum {
  record_22_item_size = 1040,    /**< bytes of an item, and of the block after the items */
  record_22_list_tail_size = 24, /**< bytes of an entry of the trailing table */
};

/** Record 22, converted. Parts that a version lacks, or that do not fit the record, are empty. */
typedef struct record_22_content {
  uint32_t value_8;     /**< record byte 8, u32 */
  int16_t width;        /**< columns of every half of the grid; record byte 12 */
  int16_t height;       /**< rows of every half of the grid; record byte 14 */
  uint32_t value_16;    /**< record byte 16, u32 */
  uint16_t grid_count;  /**< number of grid entries; record byte 20 */
  uint32_t value_items; /**< from version 101: the value in front of the item count */
  /** From version 101: as stored, but 0 when the items do not fit; below 1 there are none. */
  int32_t item_count;
  uint8_t block[1024];        /**< from version 101 */
  uint8_t block_tail[16];     /**< bytes 512 to 527 of the block, once more */
  record_22_grid_entry* grid; /**< `grid_count` entries; null when there are none */
  uint8_t* items;             /**< item_count x 1040 bytes; null when there are none */
  uint32_t value_list;        /**< from version 102: the value in front of the list count */
  int32_t list_count;         /**< from version 102: as stored, also when `list` is null */
  record_22_list_entry* list; /**< `list_count` entries, or null */
  uint8_t* list_tail;         /**< list_count x 24 bytes, or null */
} record_22_content;

/** One entry of record 24. */
typedef struct record_24_entry {
  uint16_t value_0;    /**< entry byte 0, u16 */
  uint16_t count;      /**< number of values; entry byte 2 */
  uint8_t bytes_4[12]; /**< entry bytes 4 to 15; aligned to 4 bytes, see unaligned.h */
  uint32_t* values;    /**< `count` values, owned */
} record_24_entry;

/** Record 24, converted. */
typedef struct record_24_content {
  uint8_t head[14];         /**< first bytes of the record, header included */
  uint16_t count;           /**< number of entries; record byte 14 */
  record_24_entry* entries; /**< `count` entries; null when there are none */
} record_24_content;

/** One entry of record 25; its addresses are into the copy, and unaligned.h reads what is there. */
typedef struct record_25_entry {
  const uint8_t* start;     /**< the entry: 20 bytes, from version 101 24; aligned to 4 bytes */
  uint8_t block_first[16];  /**< the 16 bytes after those of `start` */
  uint8_t block_second[16]; /**< the 16 bytes after these */
  uint32_t value;           /**< the u32 after these */
  uint32_t padding_44;      /**< 0 */
  /** As many 36-byte items as the record's u16 at byte 10 says; aligned to 4 bytes. */
  const uint8_t* items;
} record_25_entry;

/** One group of record 26. */
typedef struct record_26_group {
  uint8_t bytes_0[8]; /**< group bytes 0 to 7 */
  float values[4];    /**< group bytes 8 to 23, four f32 */
} record_26_group;

/**
 * Record 26, converted: its first 16 bytes and two groups. A record below version 101, or of fewer
 * than 64 bytes, has none: both are then its bytes 8 to 15 and four times 1.0.
 */
typedef struct record_26_content {
  uint8_t head[16];          /**< first bytes of the record, header included */
  record_26_group groups[2]; /**< record bytes 16 to 39 and 40 to 63 */
} record_26_content;

/** One entry of record 27. */
typedef struct record_27_entry {
  uint8_t* head;    /**< 20 bytes, owned */
  uint16_t* planes; /**< room for three planes of the record's grid, owned; unused planes are 0 */
} record_27_entry;

/** Record 27, converted; it owns the record copy. */
typedef struct record_27_content {
  record_header* record;    /**< the copy, owned; its u16 at byte 24 is the number of entries */
  record_27_entry* entries; /**< as many as that number says, owned */
  /**
   * Into the copy: 16 bytes an entry, from version 101, else null; aligned to 2 bytes, unaligned.h
   * reads them.
   */
  const uint8_t* tail;
} record_27_content;

/** Record 29, converted: four planes of floats. */
typedef struct record_29_content {
  uint8_t head[12];  /**< first bytes of the record, header included */
  uint16_t width;    /**< columns of every plane; record byte 12 */
  uint16_t height;   /**< rows of every plane; record byte 14 */
  uint32_t value_16; /**< record byte 16, u32 */
  float* planes[4]; /**< width x height values each; the first address owns the block of all four */
} record_29_content;

/**
 * Record 30, converted. Members up to `trailing_columns` stand as bytes 0 to 29 of the record, but
 * for the grid size, which becomes the calibration grid's where that one counts.
 */
typedef struct record_30_content {
  uint8_t head[16];          /**< record bytes 0 to 15, header included */
  uint16_t item_count;       /**< number of items; record byte 16 */
  uint8_t bytes_18[4];       /**< record bytes 18 to 21; aligned to 2 bytes, see unaligned.h */
  uint16_t grid_width;       /**< columns of the grid; record byte 22 */
  uint16_t grid_height;      /**< rows of the grid; record byte 24 */
  uint16_t trailing_rows;    /**< record byte 26 */
  uint16_t trailing_columns; /**< record byte 28 */
  uint8_t padding_30[2];     /**< 0 */
  /** item_count x 6 bytes, or null; an item is aligned to 2 bytes, and unaligned.h reads it. */
  uint8_t* items;
  uint32_t* grid;     /**< grid_width x grid_height values at least, or null */
  uint32_t* trailing; /**< trailing_rows x trailing_columns values, or null */
} record_30_content;

/** Record 35 in the order of its first reader: arrays A, B and C. All are owned. */
typedef struct record_35_first {
  record_header header; /**< record bytes 0 to 7 */
  uint8_t value_8;      /**< record byte 8, u8 */
  uint32_t value_12;    /**< record byte 9, u32: not at its place in the record */
  uint8_t count;        /**< record byte 13 */
  uint32_t* array_a;    /**< count + 1 values */
  uint16_t* array_b;    /**< count + 1 values */
  uint16_t* array_c;    /**< count values */
} record_35_first;

/** Record 35 in the order of its second reader: arrays B, A and D. All are owned. */
typedef struct record_35_second {
  record_header header; /**< record bytes 0 to 7 */
  uint8_t value_8;      /**< record byte 8, u8 */
  uint32_t value_12;    /**< record byte 9, u32: not at its place in the record */
  uint8_t count;        /**< record byte 13 */
  uint16_t* array_b;    /**< count + 1 values */
  uint32_t* array_a;    /**< count + 1 values */
  uint32_t* array_d;    /**< count values */
} record_35_second;

/** Record 31 once decoded: what `record_31` points to; qo_cmc_read_record_31() copies it. */
typedef struct record_31_table {
  record_header header; /**< record bytes 0 to 7 */
  uint32_t count;       /**< number of entries; record byte 8 */
  uint32_t padding_12;  /**< record byte 12, u32; 0 when built from record 3 */
  /**
   * `count` entries, inside the record's own block: wherever the record has them, at any address
   * when the container library decoded it: qo_cmc_read_record_31_entry() reads one. Built from
   * record 3 an entry is its first word unchanged, the second as a number, then at 2, 3, 6 and 7
   * four gains; the rest is 0.
   */
  const float (*entries)[18];
} record_31_table;

/** One entry of the first array of a block of record 34. */
typedef struct record_34_long_entry {
  float value_0;         /**< entry byte 0, f32; from record 19 a 16.16 number */
  float value_4;         /**< entry byte 4, f32; from record 19 a 16.16 number */
  uint32_t values_8[3];  /**< entry bytes 8 to 19, three u32 */
  uint16_t values_20[4]; /**< entry bytes 20 to 27, four u16 */
  uint32_t padding_28;   /**< entry byte 28, u32; 0 when synthesised */
} record_34_long_entry;

/** One entry of the second array of a block of record 34. */
typedef struct record_34_short_entry {
  float value_0;    /**< entry byte 0, f32; from records 19 and 20 a 16.16 number */
  uint32_t value_4; /**< entry byte 4, u32 */
} record_34_short_entry;

/**
 * One block of record 34; an address is null when its array is absent. In a record that the
 * container library decoded the arrays stand wherever the record has them, at any address; in a
 * synthesised one they are aligned. qo_cmc_read_record_34_block() copies the block,
 * qo_cmc_read_record_34_long_entry() and qo_cmc_read_record_34_short_entry() an entry, and
 * qo_cmc_read_u16() reads a value of the tail.
 */
typedef struct record_34_block {
  uint32_t kind;    /**< synthesised: 0 from record 19, 1 from record 20 */
  uint32_t value_4; /**< synthesised kind 0: record 19's u16 at byte 8; kind 1: its form, 2 or 3 */
  uint32_t long_count;                  /**< number of long entries */
  uint32_t short_count;                 /**< number of short entries */
  record_34_long_entry* long_entries;   /**< at any address once decoded, or null */
  record_34_short_entry* short_entries; /**< at any address once decoded, or null */
  uint16_t* tail;                       /**< four values, at any address once decoded, or null */
} record_34_block;

/**
 * Record 34 once decoded: what `record_34` points to; qo_cmc_read_record_34() copies it. Everything
 * is inside the record's block.
 */
typedef struct record_34_table {
  record_header header;    /**< record bytes 0 to 7 */
  uint32_t block_count;    /**< at most 4 */
  uint32_t padding_12;     /**< record byte 12, u32; 0 when synthesised */
  record_34_block* blocks; /**< at any address when the container library decoded the record */
  uint64_t padding_24;     /**< synthesised: 0; in a decoded record its own byte 24 */
} record_34_table;

/** Record 36, converted. */
typedef struct record_36_content {
  record_header header;  /**< record bytes 0 to 7 */
  uint8_t value_8;       /**< record byte 8, u8 */
  uint8_t bytes_9[4];    /**< record bytes 9 to 12; at an odd address, see unaligned.h */
  uint8_t count;         /**< record byte 13 */
  uint8_t padding_14[2]; /**< 0 */
  uint16_t* array_16;    /**< `count` values, owned */
  uint32_t* array_32;    /**< `count` values, owned */
} record_36_content;

/** Values of a container's record 722. */
typedef struct others_block {
  uint32_t others_value;      /**< record byte 8, u32 */
  uint32_t others_count;      /**< entries that count, at most 8 */
  uint64_t others_entries[8]; /**< the record's values from byte 16 on; the rest 0 */
} others_block;

/** The parsed CMC: 62 slots of 8 bytes. */
typedef struct parsed_cmc {
  /** Record 1: module name and, from version 101, key and value strings. */
  struct {
    record_header* record; /**< the copy */
    const char* name;      /**< NUL-terminated, into the copy */
    uint16_t pair_count;   /**< number of pairs */
    uint8_t padding[6];    /**< 0 */
    string_pair* pairs; /**< `pair_count` pairs, owned; null up to version 100 or without memory */
  } general;
  module_properties_record* module_properties; /**< record 2 */
  void* unused_6;                              /**< filled by no record */
  void* unused_7;                              /**< filled by no record */
  record_header* record_5;                     /**< the copy, of 16 bytes at least */
  /** Record 6: four u8 counts at byte 12, then as many u16 as they sum to. */
  struct {
    record_header* record;  /**< the copy */
    const uint8_t* payload; /**< copy + 16: the u16 values; aligned for every type */
  } record_6;
  record_header* record_7; /**< the copy, of 16 bytes at least */
  record_header* record_8; /**< the copy, of any size */
  record_header* record_9; /**< decoded in place by the container library, whose word `size` is */
  /** Record 10 as it is; `lens_shading` is built from the same record. */
  struct {
    record_header* record;      /**< the copy */
    const uint8_t* blocks;      /**< copy + 16: the first light's block; aligned for every type */
    const uint8_t* first_table; /**< copy + 24: its first table of u16; aligned to 8 bytes */
    const uint8_t* light_gains; /**< two u16 a light, from version 101, or null; aligned to 8 */
  } lsc_grid;
  /** Record 13: a u16 count at byte 70, then that many u16, and from version 101 parameters. */
  struct {
    record_header* record; /**< the copy */
    uint16_t* values;   /**< as many as the record's u16 at byte 70, owned; null without memory */
    uint16_t params[4]; /**< 0, 1, 250 and 1000 where the record has none, or is malformed */
  } record_13;
  /**
   * Record 14: u16 first, last and step at bytes 8, 10 and 12, then items of 8 bytes, which
   * unaligned.h reads.
   */
  struct {
    record_header* record;  /**< the copy */
    const uint8_t* payload; /**< copy + 14: the items; aligned to 2 bytes */
  } record_14;
  /**
   * Record 15: u16 a and b at bytes 8 and 10, three sections of a items and one of b, which
   * unaligned.h reads.
   */
  struct {
    record_header* record;          /**< the copy */
    const uint8_t* body;            /**< copy + 12: a items of 8 bytes; aligned to 4 bytes */
    const uint8_t* section_1;       /**< body + 8 a: a items of 8 bytes; aligned to 4 bytes */
    const uint8_t* section_2;       /**< body + 16 a: a items of 8 bytes; aligned to 4 bytes */
    const uint8_t* section_3;       /**< body + 24 a: b items of 8 bytes; aligned to 4 bytes */
    record_15_sub_table* sub_table; /**< owned; null when the record has none */
    /** The record's two counts. */
    struct {
      uint16_t a;       /**< items in `body`, `section_1` and `section_2` each; record byte 8 */
      uint16_t b;       /**< items in `section_3`; record byte 10 */
      uint32_t padding; /**< 0 */
    } counts;           /**< 0 when `record` is null */
  } record_15;
  /**
   * Record 16: a u16 count at byte 12, then that many items of 4 bytes, which qo_cmc_read_u32()
   * reads. Contract: `payload` is also set when the record failed its size check and `record` is
   * null.
   */
  struct {
    record_header* record;  /**< the copy */
    const uint8_t* payload; /**< copy + 14: the items; aligned to 2 bytes */
  } record_16;
  /**
   * Record 17: u16 `plane_order` and `orientation` of the module's grids at bytes 10 and 12.
   * unaligned.h reads the payload.
   */
  struct {
    record_header* record;  /**< the copy */
    const uint8_t* payload; /**< copy + 14 from version 101 on, else null; aligned to 2 bytes */
  } record_17;
  /** Record 18: a u16 count at byte 8, then that many entries, which unaligned.h reads. */
  struct {
    record_header* record;  /**< the copy */
    const uint8_t* entries; /**< copy + 10: 84 bytes an entry; aligned to 2 bytes */
    const uint8_t* tail;    /**< after the entries, from version 101, or null; aligned to 2 bytes */
  } record_18;
  /**
   * Record 19: a u16 at byte 8, u16 counts of the entries and of the tail at bytes 12 and 14.
   * unaligned.h reads both.
   */
  struct {
    record_header* record;  /**< the copy */
    const uint8_t* entries; /**< copy + 16: 28 bytes an entry; aligned to 4 bytes */
    const uint8_t* tail;    /**< after the entries: 8 bytes an entry; aligned to 4 bytes */
  } record_19;
  /**
   * Record 20: u16 at bytes 8 and 10, u8 at 12 and 13, from version 102 a u16 form of the list (1:
   * entries) at byte 14 and their u16 count at byte 16. In versions up to 100 byte 13 of the copy
   * is 8, whatever the record holds there. unaligned.h reads payload and tail.
   */
  struct {
    record_header* record; /**< the copy */
    /** copy + 14 from version 102 and 20 bytes on, else null; aligned to 2 bytes. */
    const uint8_t* payload;
    /** copy + 20: 8 bytes an entry, or null when they do not fit; aligned to 4 bytes. */
    const uint8_t* tail;
  } record_20;
  /** Record 22, converted. Contract: its copy is lost when there is no memory for its items. */
  record_22_content* record_22;
  record_header* record_23;     /**< the copy, of 24 bytes at least */
  record_24_content* record_24; /**< record 24, converted */
  record_header* record_21;     /**< the copy, of 16 bytes at least */
  /**
   * Record 25: u16 number of entries at byte 8 and j, of items in each, at byte 10. unaligned.h
   * reads the payload.
   */
  struct {
    record_header* record;    /**< the copy */
    const uint8_t* payload;   /**< copy + 12: j values of 4 bytes; aligned to 4 bytes */
    record_25_entry* entries; /**< one for each of the record's, owned; null without memory */
  } record_25;
  record_26_content* record_26; /**< record 26, converted */
  record_27_content* record_27; /**< record 27, converted */
  record_30_content* record_30; /**< record 30, converted */
  record_29_content* record_29; /**< record 29, converted */
  /** From record 28, or built from record 10: then `size` is 176 w h lights + 32, `id` 28. */
  lens_shading_set* lens_shading;
  /**
   * A record_31_table: decoded in place by the container library, whose word `size` then is, or
   * built from record 3.
   */
  record_header* record_31;
  record_header* record_32; /**< decoded in place by the container library, whose word `size` is */
  lens_shading_set* lens_shading_ext; /**< from record 11 or 33 */
  /**
   * A record_34_table: decoded in place by the container library, whose word `size` then is, or
   * synthesised. Contract: a second record of this kind replaces the first without releasing it.
   */
  record_header* record_34;
  /** Record 35, converted in two orders; both are set, or null, together. */
  struct {
    record_35_first* first;   /**< owned */
    record_35_second* second; /**< owned */
  } record_35;
  record_36_content* record_36; /**< record 36, converted */
  others_block* others;         /**< from qo_vexb_others_parser_init(); released by the client */
} parsed_cmc;

#ifdef __cplusplus
}
#endif

#endif
