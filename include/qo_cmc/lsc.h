/**
 * @file
 * Lens-shading calibration: small matrix algebra, the quartic surface fit, the builders of gain
 * tables for one camera module, and the correction of lens-shading tables by them.
 *
 * Numbers are IEEE single precision. Sums run in ascending index order in one accumulator that
 * starts at 0, and no product is fused with the sum after it, so every processor gives the same
 * bits (the sign and payload of a NaN excepted).
 *
 * Matrices: element (row i, column j) stands at base + i * stride1 + j * stride2. Both strides are
 * in bytes and signed: a packed matrix of n columns has strides 4 n and 4, its transpose 4 and 4 n,
 * and a negative stride walks backwards from the base. An element may stand at any byte address.
 * The width is the number of columns, the height the number of rows. A vector has only the element
 * stride. A result must not overlap a source, unless its function says so.
 *
 * Unless a function says otherwise all arrays are the caller's, no pointer is kept, working memory
 * is released before the return, and concurrent calls are safe as long as no call writes what
 * another one uses. A status is one of the QO_CMC_ values of status.h.
 *
 * How far results are from the formulas is said under "Accuracy"; docs/accuracy.md of the source
 * has the measurements.
 */
#ifndef QO_CMC_LSC_H
#define QO_CMC_LSC_H

#include <stdint.h>

#include "lens_shading.h"
#include "status.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/** The NVM library's calibration object, see qo_nvm.h of that library. */
typedef struct calibration calibration;

/**
 * Gain planes for each calibration set, 16 bytes. The size of the planes is not stored: whoever
 * reads them keeps the out_width and out_height (their low 16 bits) that the builder was given.
 */
typedef struct computed_upscale_lsc_tables {
  uint8_t table_count; /**< blocks, one for each calibration set */
  /**
   * `table_count` blocks of four planes of out_height x out_width floats, one after the other:
   * plane c (of channel c) starts at float c * out_width * out_height, dense row-major.
   */
  float** gain_tables;
} computed_upscale_lsc_tables;

/* ---- Small matrix algebra ---- */

/**
 * Transposes a matrix: dst(j, i) = src(i, j), written row by row of the source.
 *
 * @param[in]  src            height x width elements
 * @param[in]  src_stride1, src_stride2  bytes from a row of `src` to the next, and from a column to
 *                            the next; may be negative
 * @param[in]  width, height  columns and rows of `src`; below 1: there is nothing to transpose
 * @param[out] dst            width x height elements
 * @param[in]  dst_stride1, dst_stride2  bytes from a row of `dst` to the next, and from a column to
 *                            the next; may be negative
 * @return in the order of the tests:
 *         - QO_CMC_OK (0): there is nothing to transpose; no pointer is looked at
 *         - QO_CMC_INVALID_SIZE (32): `src` or `dst` is null; nothing is written
 *         - QO_CMC_OK (0): done
 *
 * Allocates nothing.
 */
uint32_t transpose_m(const float* src, int32_t src_stride1, int32_t src_stride2, int32_t width,
                     int32_t height, float* dst, int32_t dst_stride1, int32_t dst_stride2);

/**
 * Multiplies two matrices:
 *
 *     dst(i, j) = sum over k of src1(i, k) * src2(k, j),  k = 0 ... src1_width - 1
 *
 * Accuracy: relative to the sum of the terms' sizes a sum of 1000 terms errs by up to 1e-5, one of
 * a million equal terms by 1 %. Cut long sums, and add their parts in double precision.
 *
 * @param[in]  src1  src1_height x src1_width elements
 * @param[in]  src1_stride1, src1_stride2  bytes from a row of `src1` to the next, and from a column
 *                   to the next; may be negative
 * @param[in]  src1_width, src1_height     columns and rows of `src1`
 * @param[in]  src2  src2_height x src2_width elements
 * @param[in]  src2_stride1, src2_stride2  bytes from a row of `src2` to the next, and from a column
 *                   to the next; may be negative
 * @param[in]  src2_width, src2_height     columns and rows of `src2`; src2_height is src1_width
 * @param[out] dst   src1_height x src2_width elements, written row by row
 * @param[in]  dst_stride1, dst_stride2    bytes from a row of `dst` to the next, and from a column
 *                   to the next; may be negative
 * @return in the order of the tests:
 *         - QO_CMC_INVALID_SIZE (32): src1_width differs from src2_height; nothing is written
 *         - QO_CMC_OK (0): the product is empty, src1_height or src2_width being below 1; no
 *           pointer is looked at
 *         - QO_CMC_INVALID_SIZE (32): a pointer is null; nothing is written
 *         - QO_CMC_OK (0): done
 *
 * With src1_width below 1 every element of a product that is not empty is 0. Allocates nothing, and
 * takes src1_height src2_width src1_width products.
 */
uint32_t mul_mm(const float* src1, int32_t src1_stride1, int32_t src1_stride2, int32_t src1_width,
                int32_t src1_height, const float* src2, int32_t src2_stride1, int32_t src2_stride2,
                int32_t src2_width, int32_t src2_height, float* dst, int32_t dst_stride1,
                int32_t dst_stride2);

/**
 * Multiplies a matrix by a vector:
 *
 *     dst[i] = sum over k of src1(i, k) * src2[k],  k = 0 ... src1_width - 1
 *
 * Accuracy: as for mul_mm().
 *
 * @param[in]  src1         src1_height x src1_width elements
 * @param[in]  src1_stride1, src1_stride2  bytes from a row of `src1` to the next, and from a column
 *                          to the next; may be negative
 * @param[in]  src1_width, src1_height     columns and rows of `src1`
 * @param[in]  src2         src2_length elements
 * @param[in]  src2_stride  bytes from an element of `src2` to the next; may be negative
 * @param[in]  src2_length  elements of `src2`, which is src1_width
 * @param[out] dst          src1_height elements
 * @param[in]  dst_stride   bytes from an element of `dst` to the next; may be negative
 * @return in the order of the tests:
 *         - QO_CMC_INVALID_SIZE (32): src1_width differs from src2_length; nothing is written
 *         - QO_CMC_OK (0): the product is empty, src1_height being below 1; no pointer is looked at
 *         - QO_CMC_INVALID_SIZE (32): a pointer is null; nothing is written
 *         - QO_CMC_OK (0): done
 *
 * With src1_width below 1 every element of a product that is not empty is 0. Allocates nothing, and
 * takes src1_height src1_width products.
 */
uint32_t mul_mv(const float* src1, int32_t src1_stride1, int32_t src1_stride2, int32_t src1_width,
                int32_t src1_height, const float* src2, int32_t src2_stride, int32_t src2_length,
                float* dst, int32_t dst_stride);

/**
 * Factorises an N x N matrix by Doolittle's method without pivoting: src = L U, with L unit lower
 * triangular and U upper triangular.
 *
 * Both factors share the result: below the diagonal stands L (its unit diagonal is implied), on and
 * above it U. For k = 0 ... N - 1 in turn, row k of U is what the earlier steps left of the
 * matrix's row k, column k of L is what they left of its column k divided by U(k, k), and
 * L(i, k) * U(k, j) is subtracted from every element right of and below (k, k).
 *
 * The source is copied as 4 N N contiguous bytes from `src`, and the copy is addressed with the
 * source's strides: so the source is packed, row by row (strides 4 N and 4) or column by column
 * (4 and 4 N).
 *
 * Accuracy: without row exchanges a small pivot costs as many digits as it is small; for the matrix
 * (p, 0.9; 0.7, 0.3) a solution errs by 0.05 % with p = 0.0001, and is lost with p = 1e-8.
 * A condition of 1e6 leaves one to three digits. Factorise matrices whose diagonal outweighs the
 * rest of each row, or order the rows beforehand.
 *
 * @param[in]  src           N x N elements, or null for a matrix of zeros; not read when N is below
 *                           1
 * @param[in]  src_stride1, src_stride2  bytes from a row of `src` to the next, and from a column to
 *                           the next; neither may lead out of the 4 N N bytes
 * @param[out] dst_index     N values: 0, 1, ... N - 1, since rows are never exchanged
 * @param[out] dst           N x N elements; may overlap the source in any way, since the source is
 *                           copied first. With N below 1 its first four bytes are written, each
 *                           with the low byte of N * N
 * @param[in]  dst_stride1, dst_stride2  bytes from a row of `dst` to the next, and from a column to
 *                           the next; may be negative
 * @param[in]  width_height  N
 * @return in the order of the tests:
 *         - QO_CMC_NO_MEMORY (4): the working copy exceeds 2^31 - 1 bytes; nothing is written
 *         - QO_CMC_INVALID_SIZE (32): `dst` or `dst_index` is null, or N is at least 1 and the
 *           source's strides lead out of the 4 N N bytes; nothing is written
 *         - QO_CMC_NO_MEMORY (4): the working copy cannot be allocated; nothing is written
 *         - QO_CMC_OK (0): done; a zero pivot is not detected and leaves infinities and NaNs
 *
 * Works on a copy of 4 N N bytes, in N N N / 3 products.
 */
uint32_t lu_decomposition_m(const float* src, int32_t src_stride1, int32_t src_stride2,
                            int32_t* dst_index, float* dst, int32_t dst_stride1,
                            int32_t dst_stride2, int32_t width_height);

/**
 * Prepares the least-squares fit of a quartic surface over a grid: the design matrix A, its
 * transpose, and the factors of the normal matrix transpose(A) A (Doolittle, as for
 * lu_decomposition_m()).
 *
 * Row (y - 1) * width + (x - 1) of A belongs to the grid sample in column x and row y, both counted
 * from 1, and holds the monomials
 *
 *     1, x, y, x^2, xy, y^2, x^3, x^2 y, x y^2, y^3, x^4, x^3 y, x^2 y^2, x y^3, y^4
 *
 * Accuracy: the coordinates are not scaled, so that the normal matrix has a condition of some 1e10
 * on 7 x 7 samples and 1e14 on 33 x 33, which single precision cannot hold. What that does to the
 * surface is said at compute_upscaled_lsc_tables_polynom4th().
 *
 * @param[in,out] design  width * height rows of `term_count` packed floats. The first 15 columns
 *                        are written; later ones are read as the caller has filled them
 * @param[out] design_t   `term_count` rows of width * height packed floats
 * @param[out] lu         `term_count` rows of `term_count` packed floats
 * @param[out] dst_index  `term_count` values: 0, 1, ... term_count - 1
 * @param[in]  width, height  size of the grid; with a side of 0 the normal matrix is zero
 * @param[in]  term_count     15, or more to carry columns of the caller's own
 * @return in the order of the tests:
 *         - QO_CMC_STEP_FAILED (2): `term_count` is below 15, a matrix row of width * height floats
 *           or the normal matrix exceeds 2^31 - 1 bytes, or a pointer is null; nothing is written
 *         - QO_CMC_NO_MEMORY (4): the normal matrix cannot be allocated; nothing is written
 *         - QO_CMC_STEP_FAILED (2): the factorisation finds no memory; `design` and `design_t` are
 *           written
 *         - QO_CMC_OK (0): done; a singular normal matrix (fewer than five columns or rows) is not
 *           detected
 *
 * Takes 8 term_count term_count bytes of working memory; as many products as the grid has samples
 * times term_count term_count; and, also with an empty grid, term_count^3 / 3 for the factors.
 */
uint32_t lu_decomposition(float* design, float* design_t, float* lu, int32_t* dst_index,
                          uint16_t width, uint16_t height, uint16_t term_count);

/* ---- Polynomial surface ---- */

/**
 * Fits a quartic surface to each of four grids by least squares and samples it at another size:
 * solves L U c = transpose(A) b for every grid b, by forward and back substitution, and calls
 * do_polynomial_upscale() with the coefficients c.
 *
 * Accuracy: see compute_upscaled_lsc_tables_polynom4th().
 *
 * @param[in]  design_t     transpose(A) of lu_decomposition(): `term_count` packed rows of
 *                          grid_width * grid_height floats
 * @param[in]  lu           the factors of lu_decomposition(): `term_count` packed rows
 * @param[in]  dst_index    not read, may be null
 * @param[in]  source       four grids of grid_height x grid_width floats, dense row-major
 * @param[out] destination  four planes of out_height x out_width floats, dense row-major, none
 *                          overlapping a source
 * @param[in]  grid_width, grid_height  size of the grids
 * @param[in]  out_width, out_height    size of the planes
 * @param[in]  term_count   the one that lu_decomposition() was given: 15. Coefficients above are
 *                          not sampled; those that a smaller count leaves out are 0
 * @return in the order of the tests:
 *         - QO_CMC_STEP_FAILED (2): a grid exceeds 2^31 - 1 bytes; nothing is written
 *         - QO_CMC_OK (0): an output side is 0; no pointer is looked at
 *         - QO_CMC_STEP_FAILED (2): a pointer other than `dst_index` is null; nothing is written
 *         - QO_CMC_STEP_FAILED (2): an allocation failed; the planes of earlier channels are
 *           written
 *         - QO_CMC_OK (0): done; a singular fit is not detected and leaves infinities and NaNs
 *
 * Takes 24 max(term_count, 15) bytes of working memory, and time in proportion to the planes'
 * samples, to term_count times those of the grids, and to term_count term_count.
 */
uint32_t lsc_polynomial_upscale_float(const float* design_t, const float* lu,
                                      const int32_t* dst_index, const float* const source[4],
                                      float* const destination[4], uint16_t grid_width,
                                      uint16_t grid_height, uint16_t out_width, uint16_t out_height,
                                      uint16_t term_count);

/**
 * Samples a quartic surface:
 *
 *     destination(r, k) = c0 + c1 x + c2 y + c3 x^2 + c4 xy + c5 y^2 + c6 x^3 + c7 x^2 y
 *                         + c8 x y^2 + c9 y^3 + c10 x^4 + c11 x^3 y + c12 x^2 y^2 + c13 x y^3
 *                         + c14 y^4
 *     x = 1 + k * (grid_width - 1) / (out_width - 1)
 *     y = 1 + r * (grid_height - 1) / (out_height - 1)
 *
 * so that the corner samples of the output fall on the corner samples of the grid. The terms are
 * added per power of x: ((((c0 + c2 y) + c5 y^2) + c9 y^3) + c14 y^4) first, then those of x to
 * x^4.
 *
 * @param[out] destination   out_height x out_width floats, dense row-major
 * @param[in]  coefficients  c0 to c14, always 15
 * @param[in]  grid_width, grid_height  size of the grid that the surface was fitted to
 * @param[in]  out_width, out_height    size of the plane. A side of 1 makes every sample a NaN: its
 *                                      step has the denominator 0
 *
 * Does nothing when an output side is 0 or a pointer is null. Allocates nothing.
 */
void do_polynomial_upscale(float* destination, const float* coefficients, uint16_t grid_width,
                           uint16_t grid_height, uint16_t out_width, uint16_t out_height);

/* ---- Gain tables of one camera module ---- */

/**
 * Builds gain tables from the module's calibration with the quartic surface: each coarse grid is
 * turned into gains, mirrored, fitted, sampled at the output size and divided by its minimum.
 *
 *     gain = raw / 2^fraction_bits + 1      (raw: u8 up to 8 fraction bits, u16 from 9 on; the
 *                                            exponent modulo 32)
 *     table sample = max(surface / m, 1)    (m: smallest sample of its plane)
 *
 * m is a running minimum from the plane's first sample, m = m < v ? m : v, so a NaN replaces it and
 * the sample after the NaN replaces the NaN. A NaN quotient becomes 1.
 *
 * A grid of fewer than five columns or rows does not determine the surface, and rounding decides
 * whether every minimum is above 0, that is whether there is a result. With a side of 1 or 2 there
 * was none in any trial. With a side of 3 or 4 it depends on the pair of sides. Of 800 smooth grids
 * for each pair up to 20, half of them with a little noise, each at seven output sizes, the call
 * gave null (columns x rows)
 *
 *     always     3 x 3, 3 x 6, 3 x 12, 6 x 3, 4 x 5, 4 x 10, 4 x 20, 5 x 4, 10 x 4
 *     at times   3 x 7, 3 x 8, 3 x 11, 3 x 13 to 3 x 16, 7 x 3 to 9 x 3, 12 x 3 to 15 x 3, 17 x 3,
 *                18 x 3, 20 x 4
 *     never      all other pairs
 *
 * Grids of random values give null more often, and can from five columns and rows on too: their
 * surface may dip to 0.
 *
 * Accuracy: the fit is formed in single precision on raw grid coordinates. Against the same fit in
 * double precision gains err, by a plane's worst sample in the middle of all trials and at most, by
 *
 *     both sides 5 to 10    0.02 %, 0.12 %      both sides 25 to 37     1.0 %, 2.4 %
 *     both sides 11 to 20   0.2 %, 0.8 %        both sides 41 to 73     1.1 %, 3.2 %
 *     both sides 21 to 24   1.2 %, 2.2 %        both sides 80 and more  useless: 13 %, 676 %
 *
 * where a result is no sign that it is right. Grids that are constant come out as 1 to within
 * 0.03 % up to 10 samples a side, 0.2 % at 17 x 13, 0.7 % at 33 x 25. Give it grids of 5 to 10
 * samples a side: every second, third, ... sample of a larger one, or take
 * compute_upscaled_lsc_tables_bicubic().
 *
 * @param[in] out_width, out_height  size of the gain planes; the low 16 bits count
 * @param[in] module       the module's calibration; only read. Grids of u16 stand at even addresses
 * @param[in] orientation  how the grids are mirrored: 0 as stored, 1 left to right, 2 top to
 *                         bottom, 3 both. With any other code the grids stay zero and the call
 *                         fails when there is a set
 * @return the tables, one block for each calibration set, every sample at least 1, which the caller
 *         releases with deinit_computed_upscale_lsc_tables(); or null when an output or grid side
 *         is 0, `module` is null, its sets or one of their grids is null although the
 *         set count is not 0, a minimum is not above 0 (so also with an output side of 1), or an
 *         allocation fails. Nothing is kept then
 *
 * Heap: what the caller gets takes 16 bytes for each sample of a plane and set, 8 for each set, and
 * 16; beside it the call works with 136 bytes for each sample of the grid, and 3 KiB. Time: the
 * grid is prepared once, with 225 products a sample; each set takes time in proportion to the
 * samples of grid and plane.
 */
computed_upscale_lsc_tables* compute_upscaled_lsc_tables_polynom4th(uint32_t out_width,
                                                                    uint32_t out_height,
                                                                    const calibration* module,
                                                                    uint32_t orientation);

/**
 * Builds gain tables from the module's calibration with bicubic interpolation: each coarse grid is
 * enlarged as by image_bicubic_upscale_uint8_to_float() or, from 9 fraction bits on,
 * image_bicubic_upscale_uint16_to_float(), turned into gains and mirrored. Nothing is normalised.
 *
 *     table sample = interpolated raw / 2^fraction_bits + 1      (the exponent modulo 32)
 *
 * An interpolated raw value may lie below 0, its gain then lies below 1.
 *
 * Contract: the conversion takes the plane's sides modulo 256, w8 and h8. It converts w8 * h8
 * samples, which stand row by row of length w8 at the start of the interpolated plane and of the
 * table plane; samples after them are 0. Sides up to 255 are converted whole. A side that is a
 * multiple of 256 converts nothing: 256 x 256 succeeds, and every sample is 0.
 *
 * Accuracy: up to 255 a side gains err by 0.00002 % at most. The grid's noise stays in the table,
 * where the quartic fit would smooth it.
 *
 * @param[in] out_width, out_height  size of the gain planes; the low 16 bits count
 * @param[in] module       the module's calibration; only read. Grids of u16 stand at even addresses
 * @param[in] orientation  how the output is mirrored: 0 not at all, 1 left to right, 2 top to
 *                         bottom, 3 both. With any other code every sample is 0
 * @return the tables, one block for each calibration set, which the caller releases with
 *         deinit_computed_upscale_lsc_tables(); or null when an output side is 0, `module` or
 *         its sets are null, a grid is null, the upscaler refuses the sizes while there is a set
 *         (a grid side below 2, or an output side below the grid's), or an allocation fails.
 *         Nothing is kept then
 *
 * Heap: what the caller gets takes 16 bytes for each sample of a plane and set, 8 for each set, and
 * 16; beside it the call works with 16 bytes for each sample of a plane, and the upscaler's working
 * memory. Time in proportion to the planes' samples and the sets.
 */
computed_upscale_lsc_tables* compute_upscaled_lsc_tables_bicubic(uint32_t out_width,
                                                                 uint32_t out_height,
                                                                 const calibration* module,
                                                                 uint32_t orientation);

/**
 * Releases gain tables: every block, the array of blocks and the record.
 *
 * @param[in] tables  a result of one of the two builders, or null. Its `gain_tables` may be null
 */
void deinit_computed_upscale_lsc_tables(computed_upscale_lsc_tables* tables);

/* ---- Correction of lens-shading tables ---- */

/**
 * Rewrites lens-shading tables for one camera module: every table of `target` becomes the table of
 * `source` times the gain plane of its colour.
 *
 *     target[i] = low 16 bits of trunc(source[i] * gain[i])
 *
 * The product is single precision and truncated toward zero to a signed 32-bit value; beyond its
 * range it saturates, and a NaN gives 0. Contract: there is no clamp to 16 bits, a product of 65536
 * or more wraps. Scaling a table is as if, for each i ascending, source[i] and gain[i] are loaded
 * and then the two bytes of target[i] are stored, whatever overlaps what.
 *
 * Light by light, with gain table number `aux` (counted from 1) of the source light: the leading
 * fields `light_id`, `gains`, `coords` and `fraction_bits` are copied, then every site of the
 * colour-filter cell is rewritten that has a colour, a target table and a source table. With a cell
 * of 4 x 4 sites both green planes of the gain table are first replaced by their mean,
 * (G1 + G2) * 0.5, in place. With a cell of 2 x 2 sites tables other than [0][0], [0][1], [1][0]
 * and [1][1] are untouched.
 *
 * The codes 0 to 3 name cells of 2 x 2 sites, G1 and G2 being the greens, C1 and C2 the others:
 *
 *     0: G2 C2   1: C2 G2   2: C1 G1   3: G1 C1
 *        C1 G1      G1 C1      G2 C2      C2 G2
 *
 * and 256 to 263 cells of 4 x 4 sites, in which a site without a colour (`--`) is untouched:
 *
 *     256: C1 G2 C2 G2   257: G2 C2 G2 C1   258: C2 G2 C1 G2   259: G2 C1 G2 C2
 *          G1 -- G1 --        -- G1 -- G1        G1 -- G1 --        -- G1 -- G1
 *          C2 G2 C1 G2        G2 C1 G2 C2        C1 G2 C2 G2        G2 C2 G2 C1
 *          G1 -- G1 --        -- G1 -- G1        G1 -- G1 --        -- G1 -- G1
 *
 *     260: G1 -- G1 --   261: -- G1 -- G1   262: G1 -- G1 --   263: -- G1 -- G1
 *          C2 G2 C1 G2        G2 C1 G2 C2        C1 G2 C2 G2        G2 C2 G2 C1
 *          G1 -- G1 --        -- G1 -- G1        G1 -- G1 --        -- G1 -- G1
 *          C1 G2 C2 G2        G2 C2 G2 C1        C2 G2 C1 G2        G2 C1 G2 C2
 *
 * Accuracy: truncation leaves tables half an LSB low in the mean.
 *
 * @param[in,out] target  `lens_shading`: `lights` of 152 bytes, whose tables have width x height
 *                        samples
 * @param[in]     source  `lens_shading_ext`: `lights_ext` of 160 bytes, whose tables have
 *                        width x height samples of its own, and count from the first one
 * @param[in,out] gains   tables of at least the target's width x height samples a plane; their
 *                        green planes change with a cell of 4 x 4 sites
 * @param[in] cfa_layout   the sensor's cell: 0 to 3, or 256 to 263
 * @param[in] plane_order  0 to 3: the four planes of a gain table are the sites of this cell of
 *                         2 x 2, row by row
 * @return in the order of the tests:
 *         - QO_CMC_INVALID_SIZE (32): `target`, `source` or `gains` is null; nothing is touched
 *         - QO_CMC_OK (0): the target has no lights; nothing is touched
 *         - QO_CMC_INVALID_SIZE (32): the lights of a set or `gain_tables` are null; nothing is
 *           touched
 *         - QO_CMC_INVALID (8): the source has fewer lights than the target or fewer samples in a
 *           table; nothing is touched
 *         - QO_CMC_INVALID (8): `aux` of a light is 0 or above `table_count`; lights before it are
 *           rewritten
 *         - QO_CMC_INVALID_SIZE (32): the gain table of a light is null; lights before it are
 *           rewritten
 *         - QO_CMC_INVALID (8): `plane_order` or `cfa_layout` is none of the above; nothing is
 *           touched
 *         - QO_CMC_OK (0): done
 *
 * Allocates nothing. Time in proportion to the samples that are rewritten; with a cell of 4 x 4
 * sites also to lights times samples of a table, since greens are averaged for each light, with
 * tables or without.
 */
uint64_t ratio_based_sample_to_sample_correction(lens_shading_set* target,
                                                 const lens_shading_set* source,
                                                 computed_upscale_lsc_tables* gains,
                                                 uint32_t cfa_layout, uint32_t plane_order);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
