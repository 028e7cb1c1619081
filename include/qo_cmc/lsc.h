/**
 * @file
 * Lens-shading calibration: small matrix algebra, the quartic surface fit, the builders of gain
 * tables for one camera module, and the correction of lens-shading tables by them.
 */
#ifndef QO_CMC_LSC_H
#define QO_CMC_LSC_H

#include <stdint.h>

#include "lens_shading.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The NVM library's calibration object, see qo_nvm.h of that library. */
typedef struct calibration calibration;

/** Gain planes for each calibration set, 16 bytes. */
typedef struct computed_upscale_lsc_tables {
  uint8_t table_count;
  /**
   * `table_count` blocks of four planes of out width x out height floats, one behind the other:
   * plane c (of channel c) starts at float c * out width * out height, dense row-major.
   */
  float** gain_tables;
} computed_upscale_lsc_tables;

#ifdef __cplusplus
}
#endif

#endif
