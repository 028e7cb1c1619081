/**
 * @file
 * Resampling of two-dimensional grids and images.
 *
 * A plane is a dense row-major array: sample (row r, column c) of a plane of width w stands at
 * index r * w + c. Several planes are passed as an array of plane pointers and their number. All
 * arrays are the caller's; no function keeps a pointer. Every function may run on several threads
 * at once, and gives the same bits on every processor (the sign and payload of a NaN excepted).
 */
#ifndef QO_CMC_IMAGE_UTILS_H
#define QO_CMC_IMAGE_UTILS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A pair of signed 32-bit values, passed by value: columns, then rows. */
struct size_pair_i32 {
  int32_t x;
  int32_t y;
};

/* ---- Border extrapolation and bicubic upscale to float ---- */

/* ---- Bicubic resize to 16 bit ---- */

/* ---- Nearest neighbour ---- */

/* ---- Two-dimensional array resize, bilinear ---- */

/* ---- Area downscale to 16 bit ---- */

#ifdef __cplusplus
}
#endif

#endif
