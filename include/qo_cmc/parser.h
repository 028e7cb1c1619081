/**
 * @file
 * Entry points of the camera-module characterization (CMC) parser.
 *
 * A client calls qo_cmc_parser_init() or qo_cmc_parser_init_v1() once for a container, reads the
 * slots of the parsed CMC directly, may attach the others block with qo_vexb_others_parser_init(),
 * and calls qo_cmc_parser_deinit() once. The library keeps no state between calls: independent
 * calls may run on different threads, but one parsed CMC must not be torn down, or extended, while
 * another thread uses it.
 *
 * Containers and NVM images may hold any bytes: a malformed one is refused, or leaves slots empty,
 * and never reaches outside its memory.
 */
#ifndef QO_CMC_PARSER_H
#define QO_CMC_PARSER_H

#include <stdint.h>

#include "parsed_cmc.h"
#include "status.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What is declared here is exported, however the rest of the library is compiled. */
#pragma GCC visibility push(default)

/** A byte image of the caller's: a `vexb` container or an NVM image. It is only read. */
typedef struct qo_blob {
  const void* data; /**< first byte, at any alignment; null when there is no image */
  uint32_t size;    /**< bytes at `data` */
} qo_blob;

/** The NVM library's calibration object, see qo_nvm.h of that library. */
typedef struct calibration calibration;

/**
 * Parses a container without module calibration: qo_cmc_parser_init_v1() with a null `nvm`.
 *
 * @param[in] container  the container; its `size` must equal the total size that it declares. It is
 *                       not referenced after the call
 * @return the parsed CMC, which the caller releases with qo_cmc_parser_deinit(); or null when
 *         `container` or its `data` is null, its size is below 24 or differs from the total size,
 *         neither checksum holds, or the parsed CMC cannot be allocated. A record that is
 *         malformed, or for which there is no memory, leaves its slot empty and is no failure
 */
parsed_cmc* qo_cmc_parser_init(const qo_blob* container);

/**
 * Validates a `vexb` container, decodes its CMC records into the slots of a new parsed CMC,
 * rebuilds the lens-shading tables for the module whose NVM image is given, and synthesises
 * record 34 from records 19 and 20 when the container carries none.
 *
 * The container is a 24-byte header of u32 words (total size in bytes at byte 4, checksum at
 * byte 20), then records back to back, each starting with a record_header. Two checksums are
 * accepted: the wrapping sum of all whole words except the checksum word, or of the whole words
 * from byte 24 on. Trailing bytes that fill no word count in neither.
 *
 * Records of kind 0 to 63 are decoded in container order; others are stepped over. The walk stops
 * at a record that is smaller than its header or that runs past the total size; what was decoded
 * before it stays.
 *
 * @param[in] container  the container; its `size` must equal the total size that it declares
 * @param[in] nvm        the module's NVM image; null, or one with null `data` or `size` 0, means
 *                       that there is none. An image that the NVM library refuses counts as none.
 * @return the parsed CMC, which the caller releases with qo_cmc_parser_deinit(); or null when
 *         `container` or its `data` is null, its size is below 24 or differs from the total size,
 *         neither checksum holds, or the parsed CMC cannot be allocated. A record that is
 *         malformed, or for which there is no memory, leaves its slot empty and is no failure.
 *
 * Neither image is referenced after the call.
 *
 * Heap. At any time at most 24 bytes for each byte of the container and 4 KiB are in use, and, with
 * a record 20, another 8 x 65535 bytes for the derived record. An NVM image adds the size of its
 * calibration grid, and, while tables are rebuilt, 5 KiB and 136 bytes for each sample of a grid of
 * its calibration sets. The number of these sets adds nothing: gain planes stay only for those that
 * tables of a light are multiplied by.
 *
 * These are bytes as requested. What the allocator adds to each block comes on top: there are at
 * most three blocks for every four bytes of the container, and 64. With glibc, where a block has a
 * header of 8 bytes and takes a multiple of 16, 32 at least, 36 bytes for each byte of the
 * container stand in place of 24, whole pages for blocks of 128 KiB and more apart.
 *
 * Time. In proportion to the container's size, but for what is made of an NVM image: every record
 * 30, though only the last one stays, takes a grid as large as the calibration grid, 255 x 255 at
 * most, and in version 101 blends it, so that a container of 64 KiB may do it 1637 times; and the
 * rebuild works on four planes of width x height samples for each calibration set.
 */
parsed_cmc* qo_cmc_parser_init_v1(const qo_blob* container, const qo_blob* nvm);

/**
 * Releases a parsed CMC and everything it owns, except the block in its `others` slot.
 *
 * @param[in] cmc  a result of qo_cmc_parser_init() or qo_cmc_parser_init_v1(), or null
 */
void qo_cmc_parser_deinit(parsed_cmc* cmc);

/**
 * Copies the values of a container's first record of kind 722 into a new others_block and stores
 * it in `cmc->others`.
 *
 * The block is the client's: it is released with `free`, by neither qo_cmc_parser_deinit() nor a
 * second call of this function, which replaces the pointer. The checksum is not tested again; the
 * container should be one that qo_cmc_parser_init() has accepted.
 *
 * @param[in]     container  the container; at most the smaller of its `size` and its total size is
 *                           read
 * @param[in,out] cmc        the parsed CMC. Its slot becomes null when the block cannot be
 *                           allocated. It is untouched when an argument or `data` is null, the
 *                           container has 24 bytes or fewer, no record 722 comes before the end or
 *                           before a record that is smaller than its header or runs past the end,
 *                           or record 722 is too short for its values.
 */
void qo_vexb_others_parser_init(const qo_blob* container, parsed_cmc* cmc);

/**
 * Decodes one CMC record into its slot.
 *
 * @param[in]     record       the record: a C-heap block of exactly `size` bytes that starts with a
 *                             record_header. QO_CMC_OK (0) hands it over (kept by the slot, or
 *                             released); after any other result the caller releases it
 * @param[in,out] cmc          the parsed CMC to fill
 * @param[in]     module       the module calibration that record 30 blends in, or null; only read,
 *                             and not referenced after the call
 * @return one of
 *         - QO_CMC_OK (0): handled, also when the record was malformed and its slot is left empty
 *         - QO_CMC_INVALID (8): `record` or `cmc` is null, `size` is below 8, the kind has no
 *           decoder (0, 4, 12 and above 36), or a record 24 is malformed
 *         - QO_CMC_NO_MEMORY (4): no memory for a record 24
 *         - any value but 0 that qo_vexb_parse_record() returned for kinds 9, 31, 32 and 34
 *
 * Contract: a kind that keeps its copy (1, 5, 6, 7, 10, 13, 15 to 21, 23) answers QO_CMC_OK (0) to
 * a record that fails its size check and neither stores nor releases it. Nor are the first of two
 * records 34 and the copy of a record 22 without memory for its items ever released.
 *
 * Heap. Whatever its counts say, a record makes the library hold at most 24 times its `size` and
 * 2 KiB, the record itself included; beside a calibration grid of w x h values, record 30 may take
 * 4 w h bytes more. These are bytes as requested, as for qo_cmc_parser_init_v1(): with glibc's
 * blocks 36 times stand in place of 24.
 */
uint32_t cmc_parse(void* record, parsed_cmc* cmc, const calibration* module);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
