/**
 * @file
 * The module calibration that libqo_nvm.so reads from a camera module's NVM image.
 *
 * The object is that library's own; only the fields that the CMC library reads are named, at their
 * places.
 */
#ifndef QO_NVM_H
#define QO_NVM_H

#include <stdint.h>

#include "qo_cmc/parser.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Lens-shading calibration under one light source: four coarse grids of fixed-point gains. */
typedef struct lsc_calibration_set {
  /** Fractional bits of the raw gains. Up to 8 the grids hold u8 elements, from 9 on u16. */
  uint8_t fraction_bits;
  uint8_t unread_1[7];
  /** One grid a colour channel: lsc_grid_width x lsc_grid_height elements, dense row-major. */
  const void* channel_tables[4];
} lsc_calibration_set;

/** The grid that record 30 blends with its own centre value. */
typedef struct calibration_grid {
  uint8_t unread_0[16];
  uint8_t width;
  uint8_t height;
  uint8_t shift; /**< fractional bits of the values */
  uint8_t unread_19[5];
  const uint32_t* values; /**< width x height values, dense row-major; may be null */
} calibration_grid;

/** What one NVM image holds, as far as it is read. */
struct calibration {
  uint8_t unread_0[40];
  uint8_t lsc_set_count;
  uint8_t unread_41[23];
  uint8_t lsc_grid_width;
  uint8_t lsc_grid_height;
  uint8_t unread_66[6];
  const lsc_calibration_set* lsc_sets; /**< `lsc_set_count` sets */
  uint8_t unread_80[32];
  uint8_t grid_present; /**< nonzero when `grid` counts */
  uint8_t unread_113[7];
  const calibration_grid* grid;
};

/**
 * Reads an NVM image.
 *
 * @param[in]  image   the image; not referenced after the call
 * @param[out] result  must point to a null handle; receives the calibration object on success and
 *                     is untouched otherwise
 * @return 0 on success
 */
uint32_t qo_nvm_parse(const qo_blob* image, calibration** result);

/**
 * Releases a calibration object and everything it points to.
 *
 * @param[in] handle  a result of qo_nvm_parse(), not null
 */
void qo_nvm_deinit(calibration* handle);

#ifdef __cplusplus
}
#endif

#endif
