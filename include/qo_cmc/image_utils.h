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

/* What is declared here is exported, however the rest of the library is compiled. */
#pragma GCC visibility push(default)

/** A pair of signed 32-bit values, passed by value: columns, then rows. */
struct size_pair_i32 {
  int32_t x;
  int32_t y;
};

/* ---- Border extrapolation and bicubic upscale to float ---- */

/**
 * Extrapolates one border cell of a buffer of floats: writes *cell from its neighbours inward.
 *
 *   mode                    value; s is `stride`, c[k] the float k places from `cell`
 *   0, 1  top, bottom       2 c[+s] - c[+2s],  2 c[-s] - c[-2s]
 *   2, 3  left, right       2 c[+1] - c[+2],   2 c[-1] - c[-2]
 *   4, 5  top left, right   the mean of the values of 0 and 2, of 0 and 3
 *   6, 7  bottom left, right  the mean of the values of 1 and 2, of 1 and 3
 *   else                    0
 *
 * Single precision; 2 a is a + a, a mean is (((2 v1 - v2) + 2 h1) - h2) * 0.5 with v1, v2 the cells
 * above or below, h1, h2 those beside.
 *
 * @param[in,out] cell  the cell, inside the caller's buffer; null: nothing is done
 * @param[in] stride    floats from one row of the buffer to the next
 * @param[in] mode      0 to 7; any other writes 0
 *
 * Reads the two or four cells that the mode names. Allocates nothing.
 */
void interpolate_gain_value(float* cell, uint16_t stride, uint32_t mode);

/**
 * Enlarges planes of 8-bit samples to float planes by bicubic interpolation (the Catmull-Rom
 * spline, that is cubic convolution with a = -1/2).
 *
 *   dst(y, x) = sum over m, n of a[m][n] ty^m tx^n,  held to -255 ... 65535; a NaN becomes -255
 *   Y = y sy,  j = trunc(Y),  ty = Y - j,  sy = (in_h - 1) / (out_h - 1)
 *   X = x sx,  i = trunc(X),  tx = X - i,  sx = (in_w - 1) / (out_w - 1)
 *   a[m][n] = sum over r, c of M[m][r] M[n][c] P(j - 1 + r, i - 1 + c),  r, c = 0 ... 3
 *
 *        |  0     1     0     0   |
 *   M =  | -0.5   0     0.5   0   |
 *        |  1    -2.5   2    -0.5 |
 *        | -0.5   1.5  -1.5   0.5 |
 *
 * P is the source plane, continued as create_extrapolated_buffer_for_bicubic_u16() does it. The
 * mapping is corner-aligned: the first and last output samples fall on the first and last source
 * samples. A sample that falls on a source sample equals it.
 *
 * Single precision throughout, in this order: the sums of a[m][n] ascend over r, then c; then
 * R_m = ((a[m][0] + a[m][1] tx) + a[m][2] tx^2) + a[m][3] tx^3, and the value is
 * ((R_0 + R_1 ty) + R_2 ty^2) + R_3 ty^3, with t^2 = t t and t^3 = t^2 t.
 *
 * @param[in]  src_planes  `n_planes` planes of in_h x in_w samples
 * @param[out] dst_planes  `n_planes` planes of out_h x out_w floats, in units of the source, none
 *                         overlapping a source
 * @param[in]  in_w, in_h    columns and rows of a source plane, each 2 to 65532
 * @param[in]  out_w, out_h  columns and rows of an output plane, none below its source's
 * @param[in]  n_planes      number of planes
 * @return, in the order of the tests:
 *         32 a side of the source is below 2 or above 65532, or an output side below its source's;
 *         0 there are no planes, no pointer is looked at;
 *         32 an array or a plane in it is null;
 *         4 the working memory of (in_w + 3) (in_h + 3) + 4 out_w floats cannot be allocated;
 *         0 done.
 *         With 32 and 4 nothing is written
 */
uint32_t image_bicubic_upscale_uint8_to_float(const uint8_t* const* src_planes,
                                              float* const* dst_planes, uint16_t in_w,
                                              uint16_t in_h, uint16_t out_w, uint16_t out_h,
                                              uint16_t n_planes);

/**
 * Enlarges planes of 16-bit samples to float planes: image_bicubic_upscale_uint8_to_float() in
 * every other respect. Where the surface leaves the range -255 ... 65535, as beside steep edges,
 * it is cut off there.
 *
 * @param[in]  src_planes  `n_planes` planes of in_h x in_w samples
 * @param[out] dst_planes  `n_planes` planes of out_h x out_w floats, none overlapping a source
 * @param[in]  in_w, in_h, out_w, out_h, n_planes  as there
 * @return as there
 */
uint32_t image_bicubic_upscale_uint16_to_float(const uint16_t* const* src_planes,
                                               float* const* dst_planes, uint16_t in_w,
                                               uint16_t in_h, uint16_t out_w, uint16_t out_h,
                                               uint16_t n_planes);

/* ---- Bicubic resize to 16 bit ---- */

/**
 * Copies a plane into a buffer of floats and continues it linearly on all sides, as the bicubic
 * functions need it: by one row above and one column to the left, two rows below and two columns to
 * the right.
 *
 *   buffer(r + 1, c + 1) = src(r, c)
 *
 * The border cells get the values of interpolate_gain_value(), in this order: with each row of
 * samples its cell to the left and its two cells to the right; the row above, from mode 0, then its
 * corners, the left one first; column by column the two cells below; the two corners at the bottom
 * left, the upper one first; the four at the bottom right, row by row. A cell farther out continues
 * the cells before it.
 *
 * @param[in]  src     h x w samples
 * @param[out] buffer  (h + 3) x (w + 3) floats, dense row-major, not overlapping `src`
 * @param[in]  w, h    columns and rows of `src`, each 1 to 65532. With a side of 1 the buffer is
 *                     cleared first, so that cells which are read before they are written count
 *                     as 0
 *
 * Does nothing when a side is out of range or a pointer is null. Allocates nothing.
 */
void create_extrapolated_buffer_for_bicubic_u16(const uint16_t* src, float* buffer, uint16_t w,
                                                uint16_t h);

/**
 * Resizes a float plane to 16-bit samples with 10 fractional bits by bicubic interpolation (the
 * Catmull-Rom spline), at any ratio: a smaller output takes points of the surface.
 *
 *   dst(i, k) = low 16 bits of trunc(1024 S(y, x)),
 *   y = i / (out_h - 1) * (in_h - 1),  x = k / (out_w - 1) * (in_w - 1)
 *
 * Corner-aligned, single precision, divided before multiplied; an output side of 1 takes position
 * 0. S runs the spline through p0 ... p3,
 *
 *   p1 + t/2 ((p2 - p0) + t ((2 p0 - 5 p1 + 4 p2 - p3) + t (3 (p1 - p2) + p3 - p0))),
 *
 * along the rows floor(y) - 1 ... floor(y) + 2 of the source with t = x - floor(x), then through
 * the four row values with t = y - floor(y). The source is continued on all sides as
 * create_extrapolated_buffer_for_bicubic_u16() does it. Each of the five splines is formed in
 * double precision and rounded to float; along the rows p2 - p0 and p1 - p2 are single precision.
 *
 * Contract: the product 1024 S is truncated toward zero to a signed 32-bit value; beyond its range
 * it saturates, and a NaN gives 0. There is no clamp to 16 bits: -1 becomes 65535, 65536 becomes 0.
 *
 * @param[in]  src  in_h x in_w floats; 1.0 gives 1024
 * @param[in]  in_h, in_w    rows and columns of `src`, each 1 to 65532: rows come first. With a
 * side of 1 border cells that are read before they are written count as 0
 * @param[out] dst  out_h x out_w samples, not overlapping `src`
 * @param[in]  out_h, out_w  rows and columns of `dst`
 * @return, in the order of the tests:
 *         32 in_h or in_w is 0 or above 65532;
 *         0 out_h or out_w is 0, no pointer is looked at;
 *         32 a pointer is null;
 *         4 the working memory of (in_h + 3) (in_w + 3) floats cannot be allocated;
 *         0 done.
 *         With 32 and 4 nothing is written
 */
uint32_t bicubic_resize_32f_to_u16p10(const float* src, uint16_t in_h, uint16_t in_w, uint16_t* dst,
                                      uint16_t out_h, uint16_t out_w);

/**
 * Resizes a plane of 16-bit samples with any number of fractional bits to 16-bit samples with 10:
 * bicubic_resize_32f_to_u16p10() of the plane src / 2^in_frac_bits, except that an output side of 1
 * is refused.
 *
 * @param[in]  src  in_h x in_w samples
 * @param[in]  in_h, in_w    rows and columns of `src`, as there
 * @param[in]  in_frac_bits  fractional bits of the samples, modulo 32: with 10, 1024 gives 1024.
 *                           Contract: 2^31 is the negative number that a signed 32-bit shift makes
 * @param[out] dst  out_h x out_w samples, not overlapping `src`
 * @param[in]  out_h, out_w  rows and columns of `dst`
 * @return, in the order of the tests: 32 out_h or out_w is 1, nothing is allocated or written; the
 *         rest as there
 */
uint32_t bicubic_resize_u16_to_u16(const uint16_t* src, uint16_t in_h, uint16_t in_w,
                                   uint16_t in_frac_bits, uint16_t* dst, uint16_t out_h,
                                   uint16_t out_w);

/* ---- Nearest neighbour ---- */

/* ---- Two-dimensional array resize, bilinear ---- */

/* ---- Area downscale to 16 bit ---- */

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
