/**
 * @file
 * Resampling of two-dimensional grids and images.
 *
 * A plane is a dense row-major array: sample (row r, column c) of a plane of width w stands at
 * index r * w + c. Several planes are passed as an array of plane pointers and their number. All
 * arrays are the caller's; no function keeps a pointer. Every function may run on several threads
 * at once, and gives the same bits on every processor (the sign and payload of a NaN excepted).
 *
 * A function that returns a value returns one of the status codes of status.h.
 *
 * How far results are from the formulas is said under "Accuracy"; docs/accuracy.md of the source
 * has the measurements.
 */
#ifndef QO_CMC_IMAGE_UTILS_H
#define QO_CMC_IMAGE_UTILS_H

#include <stdint.h>

#include "status.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What is declared here is exported, however the rest of the library is compiled. */
#pragma GCC visibility push(default)

/** A pair of signed 32-bit values, passed by value: columns, then rows. */
struct size_pair_i32 {
  int32_t x; /**< columns */
  int32_t y; /**< rows */
};

/* ---- Border extrapolation and bicubic upscale to float ---- */

/**
 * Extrapolates one border cell of a buffer of floats: writes *cell from its neighbours inward.
 *
 *     mode                      value; s is `stride`, c[k] the float k places from `cell`
 *     0, 1  top, bottom         2 c[+s] - c[+2s],  2 c[-s] - c[-2s]
 *     2, 3  left, right         2 c[+1] - c[+2],   2 c[-1] - c[-2]
 *     4, 5  top left, right     the mean of the values of 0 and 2, of 0 and 3
 *     6, 7  bottom left, right  the mean of the values of 1 and 2, of 1 and 3
 *     else                      0
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
 *     dst(y, x) = sum over m, n of a[m][n] ty^m tx^n,  clamped to -255 ... 65535
 *     Y = y sy,  j = trunc(Y),  ty = Y - j,  sy = (in_h - 1) / (out_h - 1)
 *     X = x sx,  i = trunc(X),  tx = X - i,  sx = (in_w - 1) / (out_w - 1)
 *     a[m][n] = sum over r, c of M[m][r] M[n][c] P(j - 1 + r, i - 1 + c),  r, c = 0 ... 3
 *
 *          |  0     1     0     0   |
 *     M =  | -0.5   0     0.5   0   |
 *          |  1    -2.5   2    -0.5 |
 *          | -0.5   1.5  -1.5   0.5 |
 *
 * P is the source plane, continued as create_extrapolated_buffer_for_bicubic_u16() does it. The
 * mapping is corner-aligned: the first and last output samples fall on the first and last source
 * samples. A sample that falls on a source sample equals it. Integer samples cannot give a NaN.
 *
 * Single precision throughout, in this order: the sums of a[m][n] ascend over r, then c; then
 * R_m = ((a[m][0] + a[m][1] tx) + a[m][2] tx^2) + a[m][3] tx^3, and the value is
 * ((R_0 + R_1 ty) + R_2 ty^2) + R_3 ty^3, with t^2 = t t and t^3 = t^2 t.
 *
 * Accuracy: noise over the whole range errs by up to 0.0004 from 33 x 25 to 640 x 480 samples, by
 * up to 0.008 from 320 x 240.
 *
 * @param[in]  src_planes    `n_planes` planes of in_h x in_w samples
 * @param[out] dst_planes    `n_planes` planes of out_h x out_w floats, in units of the source, none
 *                           overlapping a source
 * @param[in]  in_w, in_h    columns and rows of a source plane, each 2 to 65532
 * @param[in]  out_w, out_h  columns and rows of an output plane: out_w at least in_w, out_h at
 *                           least in_h
 * @param[in]  n_planes      number of planes
 * @return in the order of the tests:
 *         - QO_CMC_INVALID_SIZE (32): a side of the source is below 2 or above 65532, or an output
 *           side is below its source's; nothing is written
 *         - QO_CMC_OK (0): there are no planes; no pointer is looked at
 *         - QO_CMC_INVALID_SIZE (32): an array or a plane in it is null; nothing is written
 *         - QO_CMC_NO_MEMORY (4): the working memory of 4 (in_w + 3) + out_w floats cannot be
 *           allocated; nothing is written
 *         - QO_CMC_OK (0): done
 */
uint32_t image_bicubic_upscale_uint8_to_float(const uint8_t* const* src_planes,
                                              float* const* dst_planes, uint16_t in_w,
                                              uint16_t in_h, uint16_t out_w, uint16_t out_h,
                                              uint16_t n_planes);

/**
 * Enlarges planes of 16-bit samples to float planes by bicubic interpolation: the formula and the
 * order of image_bicubic_upscale_uint8_to_float(), corner-aligned, single precision, clamped to
 * -255 ... 65535. Where the surface leaves that range, as beside steep edges, it is cut off there.
 * Integer samples cannot give a NaN.
 *
 * Accuracy: noise over the whole range errs by up to 0.1 from 33 x 25 to 640 x 480 samples, by up
 * to 2 from 320 x 240: positions are rounded, the more the farther from the first sample.
 *
 * @param[in]  src_planes    `n_planes` planes of in_h x in_w samples
 * @param[out] dst_planes    `n_planes` planes of out_h x out_w floats, in units of the source, none
 *                           overlapping a source
 * @param[in]  in_w, in_h    columns and rows of a source plane, each 2 to 65532
 * @param[in]  out_w, out_h  columns and rows of an output plane: out_w at least in_w, out_h at
 *                           least in_h
 * @param[in]  n_planes      number of planes
 * @return in the order of the tests:
 *         - QO_CMC_INVALID_SIZE (32): a side of the source is below 2 or above 65532, or an output
 *           side is below its source's; nothing is written
 *         - QO_CMC_OK (0): there are no planes; no pointer is looked at
 *         - QO_CMC_INVALID_SIZE (32): an array or a plane in it is null; nothing is written
 *         - QO_CMC_NO_MEMORY (4): the working memory of 4 (in_w + 3) + out_w floats cannot be
 *           allocated; nothing is written
 *         - QO_CMC_OK (0): done
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
 *     buffer(r + 1, c + 1) = src(r, c)
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
 *     dst(i, k) = low 16 bits of trunc(1024 S(y, x))
 *     y = i / (out_h - 1) * (in_h - 1),  x = k / (out_w - 1) * (in_w - 1)
 *
 * Corner-aligned, single precision, divided before multiplied: so also at equal sizes a position
 * can fall a rounding short of its sample. An output side of 1 takes position 0. S runs the spline
 * through p0 ... p3,
 *
 *     p1 + t/2 ((p2 - p0) + t ((2 p0 - 5 p1 + 4 p2 - p3) + t (3 (p1 - p2) + p3 - p0))),
 *
 * along the rows floor(y) - 1 ... floor(y) + 2 of the source with t = x - floor(x), then through
 * the four row values with t = y - floor(y). The source is continued on all sides as
 * create_extrapolated_buffer_for_bicubic_u16() does it. Each of the five splines is formed in
 * double precision and rounded to float; along the rows p2 - p0 and p1 - p2 are single precision.
 *
 * Contract: the product 1024 S is truncated toward zero to a signed 32-bit value; beyond its range
 * it saturates, and a NaN gives 0. There is no clamp to 16 bits: -1 becomes 65535, 65536 becomes 0.
 *
 * Accuracy: truncation leaves means half an LSB low, and at equal sizes 2 to 5 % of the outputs one
 * LSB below their source. Add 0.5 / 1024 to the source, and results are rounded half up. Do not
 * reduce with it: what lies between the points that are taken is lost; take an area mean.
 *
 * @param[in]  src           in_h x in_w floats; 1.0 gives 1024
 * @param[in]  in_h, in_w    rows and columns of `src`, each 1 to 65532: rows come first. With a
 *                           side of 1, border cells that are read before they are written count
 *                           as 0
 * @param[out] dst           out_h x out_w samples, not overlapping `src`
 * @param[in]  out_h, out_w  rows and columns of `dst`
 * @return in the order of the tests:
 *         - QO_CMC_INVALID_SIZE (32): in_h or in_w is 0 or above 65532; nothing is written
 *         - QO_CMC_OK (0): out_h or out_w is 0; no pointer is looked at
 *         - QO_CMC_INVALID_SIZE (32): a pointer is null; nothing is written
 *         - QO_CMC_NO_MEMORY (4): the working memory of 4 (in_w + 3) floats cannot be allocated;
 *           nothing is written
 *         - QO_CMC_OK (0): done
 */
uint32_t bicubic_resize_32f_to_u16p10(const float* src, uint16_t in_h, uint16_t in_w, uint16_t* dst,
                                      uint16_t out_h, uint16_t out_w);

/**
 * Resizes a plane of 16-bit samples with any number of fractional bits to 16-bit samples with 10:
 * the result of bicubic_resize_32f_to_u16p10() for the plane src / 2^in_frac_bits, except that an
 * output side of 1 is refused. The low 16 bits of the truncated value are stored, without a clamp.
 *
 * Accuracy: as there. Where half an LSB matters convert to float, and add 0.5 / 1024.
 *
 * @param[in]  src           in_h x in_w samples
 * @param[in]  in_h, in_w    rows and columns of `src`, each 1 to 65532: rows come first. With a
 *                           side of 1, border cells that are read before they are written count
 *                           as 0
 * @param[in]  in_frac_bits  fractional bits of the samples, modulo 32: with 10, 1024 gives 1024.
 *                           Contract: 2^31 is the negative number that a signed 32-bit shift makes
 * @param[out] dst           out_h x out_w samples, not overlapping `src`
 * @param[in]  out_h, out_w  rows and columns of `dst`, neither of them 1
 * @return in the order of the tests:
 *         - QO_CMC_INVALID_SIZE (32): out_h or out_w is 1; nothing is allocated or written
 *         - QO_CMC_INVALID_SIZE (32): in_h or in_w is 0 or above 65532; nothing is written
 *         - QO_CMC_OK (0): out_h or out_w is 0; no pointer is looked at
 *         - QO_CMC_INVALID_SIZE (32): a pointer is null; nothing is written
 *         - QO_CMC_NO_MEMORY (4): the working memory of 4 (in_w + 3) floats cannot be allocated;
 *           nothing is written
 *         - QO_CMC_OK (0): done
 */
uint32_t bicubic_resize_u16_to_u16(const uint16_t* src, uint16_t in_h, uint16_t in_w,
                                   uint16_t in_frac_bits, uint16_t* dst, uint16_t out_h,
                                   uint16_t out_w);

/* ---- Nearest neighbour ---- */

/**
 * Scales a plane of 32-bit samples to any size by copying samples, left-aligned, in fixed point
 * with 16 fractional bits:
 *
 *     dst(y, x) = src((y step_y) >> 16, (x step_x) >> 16)
 *     step_x = (in_w << 16) / out_w + 1,  step_y = (in_h << 16) / out_h + 1,  divisions truncated
 *
 * Output 0 takes source sample 0. Contract: the added 1 biases the mapping forward. Along an axis
 * of up to 256 outputs each still takes sample floor(x in_w / out_w). From 257 outputs on some can
 * take the sample after that one: in enlargements (1 to 257, 64 to 2049), where it can lie after
 * the plane, and in reductions (258 to 257). Equal sides up to 65536 still copy. A row past the
 * last is the last; a column past the end of its row is the next row's, and after the plane its
 * last sample. All is formed in 64 bits: sides of 32768 and more are exact.
 *
 * Accuracy: from smaller widths to 640 columns 0.1 % of the outputs take the sample after theirs,
 * to 4000 columns 1.4 %; the last column is the next row's first in 0.5 % and 3 % of the pairs of
 * widths. Where that matters in an enlargement, write the last column from the source's last.
 *
 * @param[in]  src           in_h x in_w samples
 * @param[in]  in_w, in_h    columns and rows of `src`, each at least 1
 * @param[out] dst           out_h x out_w samples, not overlapping `src`
 * @param[in]  out_w, out_h  columns and rows of `dst`, each at least 1
 * @return one of
 *         - QO_CMC_INVALID_SIZE (32): a side is below 1 or a pointer is null; nothing is written
 *         - QO_CMC_OK (0): done
 *
 * Allocates nothing.
 */
uint32_t image_nearest_neighbor_scale_uint32(const uint32_t* src, int32_t in_w, int32_t in_h,
                                             uint32_t* dst, int32_t out_w, int32_t out_h);

/**
 * Scales a plane of 16-bit samples by copying samples. An output sample takes the source sample in
 * which its far edge lies:
 *
 *     dst(y, x) = src(index(y + 1, in_h / out_h), index(x + 1, in_w / out_w))
 *     index(k, s) = ceil(k s) - 1,  s and k s in single precision
 *
 * Contract: despite the name the output may be smaller. Where k s is rounded up past the source (3
 * to 21 samples, say), a row past the last is the last; a column past the end of its row is the
 * next row's first, and after the plane its last sample.
 *
 * Accuracy: the last column is the next row's first at 5 % of all pairs of widths up to 4096, and
 * at 53 % of those with a factor of 7; factors of 2 to 6, 8 and 10 are free of it up to 640 source
 * columns. It is so where out_w (in_w / out_w) in single precision is above in_w. Write the last
 * column once more then, from the source's last one.
 *
 * @param[in]  src           in_h x in_w samples
 * @param[out] dst           out_h x out_w samples, not overlapping `src`
 * @param[in]  in_w, in_h    columns and rows of `src`, each at least 2
 * @param[in]  out_w, out_h  columns and rows of `dst`, each at least 2
 * @return one of
 *         - QO_CMC_INVALID_SIZE (32): a side is below 2 or, tested after that, a pointer is null;
 *           nothing is written
 *         - QO_CMC_OK (0): done
 *
 * Allocates nothing.
 */
uint32_t image_upscale_nearest_neighbor_uint16(const uint16_t* src, uint16_t* dst, uint16_t in_w,
                                               uint16_t in_h, uint16_t out_w, uint16_t out_h);

/**
 * Scales a plane of signed 32-bit samples by copying samples, or by taking maxima.
 *
 *     use_max 0:  dst(y, x) = src(row(y), col(x)), the 32 bits unchanged
 *     otherwise:  dst(y, x) = the largest of 0 and src(r, c), compared as signed values, over
 *                 row(y - 1) < r <= row(y) and col(x - 1) < c <= col(x); row(-1) = col(-1) = 0
 *     row(y) = index(y + 1, in_h / out_h),  col(x) = index(x + 1, in_w / out_w)
 *     index(k, s) = ceil(k s) - 1,  s and k s in single precision
 *
 * Larger outputs are accepted too. Where k s is rounded up past the source, a row past the last is
 * the last; a column past the end of its row is the next row's first, and after the plane its last
 * sample.
 *
 * Accuracy: the last column is so at 5 % of all pairs of widths; see
 * image_upscale_nearest_neighbor_uint16().
 *
 * Contract: row 0 and column 0 of the source are in no maximum, since every block begins one past
 * the index before it, the first ones one past 0. A block that is empty, or has only negative
 * samples, gives 0.
 *
 * @param[in]  src           in_h x in_w samples
 * @param[out] dst           out_h x out_w samples, not overlapping `src`
 * @param[in]  in_w, in_h    columns and rows of `src`, each at least 2
 * @param[in]  out_w, out_h  columns and rows of `dst`, each at least 2
 * @param[in]  use_max       0 copies, any other value takes maxima
 * @return one of
 *         - QO_CMC_INVALID_SIZE (32): a side is below 2 or, tested after that, a pointer is null;
 *           nothing is written
 *         - QO_CMC_OK (0): done
 *
 * Allocates nothing.
 */
uint32_t image_downscale_nearest_neighbor_int32(const int32_t* src, uint32_t* dst, uint16_t in_w,
                                                uint16_t in_h, uint16_t out_w, uint16_t out_h,
                                                uint8_t use_max);

/* ---- Two-dimensional array resize, bilinear ---- */

/**
 * Resizes an array of 16-bit samples by bilinear interpolation in fixed point with F = 8 fractional
 * bits, corner-aligned:
 *
 *     dst(y, x) = ((src(r, c) u0 + src(r, c + 1) u1) v0 +
 *                  (src(r + 1, c) u0 + src(r + 1, c + 1) u1) v1 + 2^(2F - 1)) >> 2F
 *     X = x step_x,  c = (X - 1) >> F, or 0 for X = 0,  u1 = X - (c << F),  u0 = 2^F - u1
 *     Y = y step_y,  r = (Y - 1) >> F, or 0 for Y = 0,  v1 = Y - (r << F),  v0 = 2^F - v1
 *     step_x = ((in_w - 1) << F) / (out_w - 1),  step_y = ((in_h - 1) << F) / (out_h - 1)
 *
 * All is unsigned and modulo 2^32, divisions are truncated, the result rounds half up. Output 0
 * falls on source sample 0, the last output on the last source sample or before it, by what the
 * truncated step loses in out_w - 1 steps. With more than 2^F times as many intervals as the source
 * has the step is 0, and every output is the first sample.
 * Contract: a position on a sample is the far end of the cell before it, so nothing after the last
 * sample is read. Contract: with 2^24 + 1 samples to a side and more the step wraps.
 *
 * Accuracy: the last output falls short of the last source sample by ((in - 1) 2^F mod (out - 1)) /
 * 2^F source samples, up to (out - 2) / 2^F: 0 from 17 to 65 or 33 to 129, 1 from 17 to 640, 2 from
 * 33 to 640. On lens-shading gains that makes 3 % from 33 x 25 to 128 x 96 samples, and 19 % to
 * 640 x 480. Where the remainder is not 0 convert to float and take resize_2d_array_float().
 *
 * @param[in]  src           in_h x in_w samples, dense row-major
 * @param[in]  in_w, in_h    columns and rows of `src`, each above 1 as a signed value
 * @param[out] dst           out_h x out_w samples, dense row-major, not overlapping `src`
 * @param[in]  out_w, out_h  columns and rows of `dst`, each above 1 as a signed value
 * @return one of
 *         - QO_CMC_INVALID_SIZE (32): a size is out of range or, tested after that, a pointer is
 *           null; nothing is written
 *         - QO_CMC_OK (0): done
 *
 * Allocates nothing.
 */
uint32_t resize_2d_array_uint16(const uint16_t* src, uint32_t in_w, int32_t in_h, uint16_t* dst,
                                uint32_t out_w, uint32_t out_h);

/**
 * Resizes an array of 8-bit samples by bilinear interpolation in fixed point: the formula of
 * resize_2d_array_uint16(), with F = 8 fractional bits, corner-aligned, rounding half up.
 * Contract: with 2^24 + 1 samples to a side and more the step wraps.
 *
 * Accuracy: as there, up to (out - 2) / 256 source samples are lost at the far edge.
 *
 * @param[in]  src           in_h x in_w samples, dense row-major
 * @param[in]  in_w, in_h    columns and rows of `src`, each above 1 as a signed value
 * @param[out] dst           out_h x out_w samples, dense row-major, not overlapping `src`
 * @param[in]  out_w, out_h  columns and rows of `dst`, each above 1 as a signed value
 * @return one of
 *         - QO_CMC_INVALID_SIZE (32): a size is out of range or, tested after that, a pointer is
 *           null; nothing is written
 *         - QO_CMC_OK (0): done
 *
 * Allocates nothing.
 */
uint32_t resize_2d_array_uint8(const uint8_t* src, uint32_t in_w, int32_t in_h, uint8_t* dst,
                               uint32_t out_w, uint32_t out_h);

/**
 * Resizes an array of 32-bit samples by bilinear interpolation in fixed point: the formula of
 * resize_2d_array_uint16(), with F = 12 fractional bits, corner-aligned, rounding half up.
 *
 * Contract: the products and sums are formed modulo 2^32 here too, so results are exact only for
 * samples below 256, and wrap with larger ones. The step wraps with 2^20 + 1 samples to a side and
 * more.
 *
 * Accuracy: up to (out - 2) / 4096 source samples are lost at the far edge.
 *
 * @param[in]  src           in_h x in_w samples, dense row-major
 * @param[in]  in_w, in_h    columns and rows of `src`, each above 1 as a signed value
 * @param[out] dst           out_h x out_w samples, dense row-major, not overlapping `src`
 * @param[in]  out_w, out_h  columns and rows of `dst`, each above 1 as a signed value
 * @return one of
 *         - QO_CMC_INVALID_SIZE (32): a size is out of range or, tested after that, a pointer is
 *           null; nothing is written
 *         - QO_CMC_OK (0): done
 *
 * Allocates nothing.
 */
uint32_t resize_2d_array_uint32(const uint32_t* src, uint32_t in_w, int32_t in_h, uint32_t* dst,
                                uint32_t out_w, uint32_t out_h);

/**
 * Resizes an array of 16-bit samples into one channel of an interleaved array, by the formula of
 * resize_2d_array_uint16() with F = 8 fractional bits. Output (y, x) is written to
 * dst[(y out_w + x) dst_step]; what lies between stays untouched.
 * Contract: with 2^24 + 1 samples to a side and more the step of the source positions wraps.
 *
 * Accuracy: as there, up to (out - 2) / 256 source samples are lost at the far edge.
 *
 * @param[in]  src           in_h x in_w samples, dense row-major
 * @param[in]  in_w, in_h    columns and rows of `src`, each above 1 as a signed value
 * @param[out] dst           (out_h out_w - 1) dst_step + 1 elements at least, not overlapping `src`
 * @param[in]  out_w, out_h  columns and rows of the output, each above 1 as a signed value
 * @param[in]  dst_step      elements from one output to the next, above 0; 1 is the dense array
 * @return one of
 *         - QO_CMC_INVALID_SIZE (32): a size or the step is out of range or, tested after that, a
 *           pointer is null; nothing is written
 *         - QO_CMC_OK (0): done
 *
 * Allocates nothing.
 */
uint32_t resize_2d_array_uint16_v1(const uint16_t* src, uint32_t in_w, int32_t in_h, uint16_t* dst,
                                   uint32_t out_w, uint32_t out_h, int32_t dst_step);

/**
 * Resizes an array of 8-bit samples into one channel of an interleaved array, by the formula of
 * resize_2d_array_uint16() with F = 8 fractional bits. Output (y, x) is written to
 * dst[(y out_w + x) dst_step]; what lies between stays untouched.
 * Contract: with 2^24 + 1 samples to a side and more the step of the source positions wraps.
 *
 * Accuracy: as there, up to (out - 2) / 256 source samples are lost at the far edge.
 *
 * @param[in]  src           in_h x in_w samples, dense row-major
 * @param[in]  in_w, in_h    columns and rows of `src`, each above 1 as a signed value
 * @param[out] dst           (out_h out_w - 1) dst_step + 1 elements at least, not overlapping `src`
 * @param[in]  out_w, out_h  columns and rows of the output, each above 1 as a signed value
 * @param[in]  dst_step      elements from one output to the next, above 0; 1 is the dense array
 * @return one of
 *         - QO_CMC_INVALID_SIZE (32): a size or the step is out of range or, tested after that, a
 *           pointer is null; nothing is written
 *         - QO_CMC_OK (0): done
 *
 * Allocates nothing.
 */
uint32_t resize_2d_array_uint8_v1(const uint8_t* src, uint32_t in_w, int32_t in_h, uint8_t* dst,
                                  uint32_t out_w, uint32_t out_h, int32_t dst_step);

/**
 * Resizes an array of floats by bilinear interpolation in single precision, corner-aligned:
 *
 *     dst(y, x) = fx s11 fy + ((s01 fx (1 - fy) + s00 (1 - fx) (1 - fy)) + (1 - fx) s10 fy)
 *     s00 = src(r0, c0),  s01 = src(r0, c1),  s10 = src(r1, c0),  s11 = src(r1, c1)
 *     Y = y sy,  r0 = low 16 bits of trunc(Y),  fy = Y - r0,  sy = (in_h - 1) / (out_h - 1)
 *     X = x sx,  c0 = low 16 bits of trunc(X),  fx = X - c0,  sx = (in_w - 1) / (out_w - 1)
 *     r1 = r0 + 1, in the last row r0;  c1 = c0 + 1, in the last column c0
 *
 * Products run from left to right. trunc saturates as a signed 32-bit value. Contract: of the
 * widths only the low 16 bits count, also as row lengths; with more than 65536 source rows the row
 * index starts over while fy keeps the whole distance.
 *
 * Accuracy: positions are rounded; noise from 0 to 1 errs by up to 0.000003 from 64 x 48 to 640 x
 * 480 samples, by up to 0.00006 from 640 x 480, by up to 0.001 from 16000 columns.
 *
 * @param[in]  src           in_h x in_w floats, dense row-major, in_w modulo 65536
 * @param[in]  in_w, in_h    columns (low 16 bits at least 2) and rows (at least 2) of `src`
 * @param[out] dst           out_h x out_w floats, dense row-major, out_w modulo 65536, not
 *                           overlapping `src`
 * @param[in]  out_w, out_h  columns (low 16 bits at least 2) and rows (at least 2 as a signed
 *                           value) of `dst`
 * @return one of
 *         - QO_CMC_INVALID_SIZE (32): a size is out of range or, tested after that, a pointer is
 *           null; nothing is written
 *         - QO_CMC_OK (0): done
 *
 * Allocates nothing.
 */
uint32_t resize_2d_array_float(const float* src, uint32_t in_w, int32_t in_h, float* dst,
                               uint32_t out_w, uint32_t out_h);

/**
 * Resizes a region of an array of 16-bit samples: the formula of resize_2d_array_uint16() with
 * F = 8 fractional bits and
 *
 *     rw = in_w - (left + right),  step_x = ((rw - 1) << 8) / (out_w - 1),  X = (left + x) step_x
 *     rh = in_h - (top + bottom),  step_y = ((rh - 1) << 8) / (out_h - 1),  Y = (top + y) step_y
 *
 * and the whole `in_w` as the row length; region, steps, positions and weights are modulo 2^32.
 *
 * Contract: the origin is scaled by the step, so the sampled region starts at column
 * left step_x / 256 of the source, which is `left` only at equal sizes. Contract: margins that
 * exceed the array, or are negative, are not refused, they wrap. Where either leads past the array,
 * source sample (r, c) is still the one at r in_w + c, and after the array its last sample.
 * Without margins the result is that of resize_2d_array_uint16().
 *
 * Accuracy: from 65 columns cut by 16 on both sides, columns 16 to 48 are meant; 65 outputs sample
 * columns 8 to 40, 17 outputs columns 32 to 64. Unless region and output are equally large, copy
 * the region into an array of its own and resize that.
 *
 * @param[in]  src           in_h x in_w samples, dense row-major
 * @param[in]  in_w, in_h    columns and rows of `src`, each at least 1
 * @param[in]  crop_origin   {left, top}: columns and rows cut off before the region
 * @param[in]  crop_end      {right, bottom}: columns and rows cut off after it
 * @param[out] dst           out_h x out_w samples, dense row-major, not overlapping `src`
 * @param[in]  out_w, out_h  columns and rows of `dst`, each at least 2, unsigned
 * @return one of
 *         - QO_CMC_INVALID_SIZE (32): a side of the region or the output is below 2 (unsigned), a
 *           side of the array is 0 or, tested after that, a pointer is null; nothing is written
 *         - QO_CMC_OK (0): done
 *
 * Allocates nothing.
 */
uint32_t crop_resize_2d_array_uint16(const uint16_t* src, uint32_t in_w, uint32_t in_h,
                                     struct size_pair_i32 crop_origin,
                                     struct size_pair_i32 crop_end, uint16_t* dst, uint32_t out_w,
                                     uint32_t out_h);

/* ---- Area downscale to 16 bit ---- */

/**
 * Reduces float planes, or one region of them, to 16-bit samples with 10 fractional bits, by area
 * averaging: an output sample is the mean of the source area that it covers.
 *
 *     dst(r, c) = low 16 bits of trunc((n sum + 2^-11) 1024),  n = 1 / (sx sy)
 *     sx = w / out_w,  sy = h / out_h
 *
 * sum is over the samples that meet rows r sy ... (r + 1) sy and columns c sx ... (c + 1) sx of the
 * region, times their weights. Along an axis output k reaches to E = min((k + 1) s, side), `side`
 * being the plane's. Its first sample is the floor of E', the E of output k - 1 (0 for k = 0), with
 * weight 1 - (E' - floor(E')). Its last sample is floor(E) with weight E - floor(E) or, when E is
 * whole, the sample before that with weight 1. Samples between have weight 1; a sample that is both
 * first and last has the weight of the first. A sample's weight is its column's times its row's.
 * Single precision, one accumulator, rows outer, columns inner, ascending.
 *
 * Contract: no clamp to 16 bits, the low bits of the truncated value are stored; out of the signed
 * 32-bit range it saturates, a NaN gives 0. Contract: positions are clamped to the side of the
 * whole plane, also in a region; rounding can thus lead past the region's far edge (14 to 13
 * samples, say). There a row past the plane's last is the last; a column past the end of its row is
 * the next row's, and after the plane its last sample.
 *
 * Accuracy: the sum loses digits as it grows. Up to 10,000 samples an output, constants from 1.1 to
 * 2.9 come out right; at 22,500 the constant 1.7 is 0.8 LSB low, at 1.8 million 30 LSB high. Reduce
 * in two steps where an output would cover more than some thousand samples.
 *
 * @param[in]  src_planes    `n_planes` planes of in_h x in_w floats; 1.0 gives 1024
 * @param[out] dst_planes    `n_planes` planes of out_h x out_w samples, none overlapping a source
 * @param[in]  in_w, in_h    columns and rows of a source plane
 * @param[in]  out_w, out_h  columns and rows of an output plane: out_w at least 3 and below in_w,
 *                           out_h at least 3 and below in_h
 * @param[in]  n_planes      number of planes
 * @param[in]  roi           four values: first column x, first row y, width w, height h of the
 *                           region; null: the whole plane. The region may be smaller than the
 *                           output, where the formula is followed literally, or empty, which
 *                           gives 0
 * @return in the order of the tests:
 *         - QO_CMC_INVALID_SIZE (32): an output side is not below the source's, or is below 3; the
 *           region begins or ends outside the plane; nothing is written
 *         - QO_CMC_OK (0): there are no planes; no plane pointer is looked at
 *         - QO_CMC_INVALID_SIZE (32): an array or a plane in it is null; nothing is written
 *         - QO_CMC_OK (0): done
 *
 * Allocates nothing.
 */
uint32_t image_downscale_32f_to_u16p10(const float* const* src_planes, uint16_t* const* dst_planes,
                                       uint16_t in_w, uint16_t in_h, uint16_t out_w, uint16_t out_h,
                                       uint16_t n_planes, const uint16_t* roi);

/**
 * Reduces 16-bit planes with any number of fractional bits, or one region of them, to 16-bit planes
 * with any number, by area averaging: the sum and the n of image_downscale_32f_to_u16p10(), and
 *
 *     dst(r, c) = low 16 bits of trunc((n sum / 2^in_frac_bits + 2^-11) 2^out_frac_bits),
 *
 * the division being a product with the rounded reciprocal. Single precision.
 *
 * Contract: the rounding term stays 2^-11, so results are rounded half up only with 10 fractional
 * bits of output. Contract: no clamp to 16 bits, the low bits of the truncated value are stored;
 * out of the signed 32-bit range it saturates, a NaN gives 0. Contract: positions are clamped to
 * the side of the whole plane, also in a region, so rounding can lead past the region's far edge.
 * There a row past the plane's last is the last; a column past the end of its row is the next
 * row's, and after the plane its last sample.
 *
 * Accuracy: means are off by 2^(out_frac_bits - 11) - 0.5 LSB: -0.4 with 8 bits, +1.5 with 12, +7.5
 * with 14. Where fewer than 10 bits are wanted ask for 10 and round those; where more are wanted
 * subtract 2^(out_frac_bits - 11), which leaves the truncated mean. The sum loses digits as in
 * image_downscale_32f_to_u16p10().
 *
 * @param[in]  src_planes     `n_planes` planes of in_h x in_w samples
 * @param[out] dst_planes     `n_planes` planes of out_h x out_w samples, none overlapping a source
 * @param[in]  in_w, in_h     columns and rows of a source plane
 * @param[in]  in_frac_bits   fractional bits of the source samples, modulo 32. Contract: 2^31 is
 *                            the negative number that a signed 32-bit shift makes
 * @param[in]  out_w, out_h   columns and rows of an output plane: out_w at least 3 and below in_w,
 *                            out_h at least 3 and below in_h
 * @param[in]  out_frac_bits  fractional bits of the output samples, modulo 32. Contract: 2^31 is
 *                            the negative number that a signed 32-bit shift makes
 * @param[in]  n_planes       number of planes
 * @param[in]  roi            four values: first column x, first row y, width w, height h of the
 *                            region; null: the whole plane. The region may be smaller than the
 *                            output, where the formula is followed literally, or empty, which
 *                            gives 0
 * @return in the order of the tests:
 *         - QO_CMC_INVALID_SIZE (32): an output side is not below the source's, or is below 3; the
 *           region begins or ends outside the plane; nothing is written
 *         - QO_CMC_OK (0): there are no planes; no plane pointer is looked at
 *         - QO_CMC_INVALID_SIZE (32): an array or a plane in it is null; nothing is written
 *         - QO_CMC_OK (0): done
 *
 * Allocates nothing.
 */
uint32_t image_downscale_u16_to_u16(const uint16_t* const* src_planes, uint16_t* const* dst_planes,
                                    uint16_t in_w, uint16_t in_h, uint16_t in_frac_bits,
                                    uint16_t out_w, uint16_t out_h, uint16_t out_frac_bits,
                                    uint16_t n_planes, const uint16_t* roi);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
