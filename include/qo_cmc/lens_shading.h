/**
 * @file
 * Lens-shading tables as the parsed CMC holds them: one set per slot, one entry per light source,
 * one table of u16 gains per site of the colour-filter cell.
 */
#ifndef QO_CMC_LENS_SHADING_H
#define QO_CMC_LENS_SHADING_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * One light source of `parsed_cmc.lens_shading`, 152 bytes. Where tables are rebuilt for a module,
 * the members before `tables` become those of the same light in `parsed_cmc.lens_shading_ext`.
 */
typedef struct lens_shading_light {
  uint32_t light_id; /**< number of the light source, as the record gives it */
  float gains[2];    /**< two numbers; 0 when record 10 has none */
  float coords[2];   /**< two numbers; from record 10 each a u16 / 65536 */
  /** Fractional bits of the table samples: 12 from record 10, 16 less a u16 from record 28. */
  uint16_t fraction_bits;
  /**
   * tables[r][c] belongs to row r, column c of the colour-filter cell: width x height samples,
   * dense row-major, owned; null where `channel_map` holds a negative index.
   */
  uint16_t* tables[4][4];
} lens_shading_light;

/** One light source of `parsed_cmc.lens_shading_ext`, 160 bytes: a light and one value more. */
typedef struct lens_shading_light_ext {
  uint32_t light_id; /**< number of the light source, as the record gives it */
  float gains[2];    /**< two numbers; 0 when record 11 has none */
  float coords[2];   /**< two numbers; from record 11 each a u16 / 65536 */
  /** Fractional bits of the table samples: 12 from record 11, 16 less a u16 from record 33. */
  uint16_t fraction_bits;
  /**
   * tables[r][c] belongs to row r, column c of the colour-filter cell: width x height samples,
   * dense row-major, owned; null where `channel_map` holds a negative index.
   */
  uint16_t* tables[4][4];
  uint16_t aux; /**< 1-based number of the calibration set that belongs to the light; 0: none */
} lens_shading_light_ext;

/** Lens-shading tables of one slot, 40 bytes. */
typedef struct lens_shading_set {
  uint32_t size;    /**< of the record that the set was built from; see parsed_cmc for kind 10 */
  uint8_t version;  /**< layout version of that record; from record 10 always 100 */
  uint8_t reserved; /**< byte 5 of that record, not interpreted; from record 10 always 0 */
  uint16_t id;      /**< kind of that record; from record 10 always 28 */
  /** Plane index of each site of the colour-filter cell in the record, row-major; negative: none.
   */
  int8_t channel_map[4][4];
  uint16_t light_count; /**< number of light sources */
  uint16_t width;       /**< columns of every table */
  uint16_t height;      /**< rows of every table */
  union {
    lens_shading_light* lights;         /**< in `lens_shading`: `light_count` entries, owned */
    lens_shading_light_ext* lights_ext; /**< in `lens_shading_ext`: the same, of the longer form */
  };
} lens_shading_set;

#ifdef __cplusplus
}
#endif

#endif
