/**
 * @file
 * Readers for elements that the slots of a parsed CMC lead to at unaligned addresses.
 *
 * A kept copy is aligned for every type, but what stands in it is aligned only as its place in the
 * record is. To read it there through a pointer of its type is undefined: some processors fault,
 * and compilers may take the pointer's type for a promise of alignment, even in a memcpy from it.
 * The functions here copy bytes from any address; compilers make one load of it where they can.
 *
 *     aligned to   what is read with them
 *     4 bytes      record_15.body, section_1, section_2 and section_3; record_19.entries and tail;
 *                  record_20.tail; record_24: bytes_4 of its entries; record_25.payload, start and
 *                  items of its entries
 *     2 bytes      module_properties->bytes_18; record_14.payload; record_16.payload;
 *                  record_17.payload; record_18.entries and tail; record_20.payload;
 *                  record_27->tail; record_30->items and bytes_18
 *     1 byte       record_36->bytes_9; the entries of record_31; the blocks of record_34, and the
 *                  arrays that they lead to
 *
 * They serve as well for the fields of a kept copy that no slot names, and for a container that
 * stands at any address. The third item of record 16, for instance, whose count says that it is
 * there:
 *
 *     if (qo_cmc_read_u16(cmc->record_16.record, 12) > 2)
 *       item = qo_cmc_read_u32(cmc->record_16.payload, 4 * 2);
 *
 * Nothing is checked here: no pointer may be null, and what is read must lie in the record. Nothing
 * is allocated or written but the result, so that concurrent calls are safe.
 */
#ifndef QO_CMC_UNALIGNED_H
#define QO_CMC_UNALIGNED_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "parsed_cmc.h"

/* ---- Values ---- */

/**
 * Copies bytes from any address. What stands there need not have the pointer's type, nor fit it.
 *
 * @param[out] to      `count` bytes of the caller's, not overlapping those that are read
 * @param[in]  from    the address that `offset` counts from, at any alignment
 * @param[in]  offset  bytes from there to the first that is copied
 * @param[in]  count   bytes to copy
 */
static inline void qo_cmc_read_bytes(void* to, const void* from, size_t offset, size_t count) {
#ifdef __cplusplus
  const uint8_t* const bytes = static_cast<const uint8_t*>(from);
#else
  const uint8_t* const bytes = (const uint8_t*)from;
#endif
  memcpy(to, bytes + offset, count);
}

/**
 * Reads an unsigned 16-bit value from any address.
 *
 * @param[in] from    a kept copy, or an address into one
 * @param[in] offset  bytes from there to the value
 * @return the value
 */
static inline uint16_t qo_cmc_read_u16(const void* from, size_t offset) {
  uint16_t value;
  qo_cmc_read_bytes(&value, from, offset, sizeof value);
  return value;
}

/**
 * Reads a signed 16-bit value from any address.
 *
 * @param[in] from    a kept copy, or an address into one
 * @param[in] offset  bytes from there to the value
 * @return the value
 */
static inline int16_t qo_cmc_read_i16(const void* from, size_t offset) {
  int16_t value;
  qo_cmc_read_bytes(&value, from, offset, sizeof value);
  return value;
}

/**
 * Reads an unsigned 32-bit value from any address.
 *
 * @param[in] from    a kept copy, or an address into one
 * @param[in] offset  bytes from there to the value
 * @return the value
 */
static inline uint32_t qo_cmc_read_u32(const void* from, size_t offset) {
  uint32_t value;
  qo_cmc_read_bytes(&value, from, offset, sizeof value);
  return value;
}

/**
 * Reads a signed 32-bit value from any address.
 *
 * @param[in] from    a kept copy, or an address into one
 * @param[in] offset  bytes from there to the value
 * @return the value
 */
static inline int32_t qo_cmc_read_i32(const void* from, size_t offset) {
  int32_t value;
  qo_cmc_read_bytes(&value, from, offset, sizeof value);
  return value;
}

/**
 * Reads an unsigned 64-bit value from any address.
 *
 * @param[in] from    a kept copy, or an address into one
 * @param[in] offset  bytes from there to the value
 * @return the value
 */
static inline uint64_t qo_cmc_read_u64(const void* from, size_t offset) {
  uint64_t value;
  qo_cmc_read_bytes(&value, from, offset, sizeof value);
  return value;
}

/**
 * Reads a single-precision number from any address, NaNs with their bits.
 *
 * @param[in] from    a kept copy, or an address into one
 * @param[in] offset  bytes from there to the number
 * @return the number
 */
static inline float qo_cmc_read_f32(const void* from, size_t offset) {
  float value;
  qo_cmc_read_bytes(&value, from, offset, sizeof value);
  return value;
}

/* ---- Record 31 ---- */

/**
 * Reads the head of a decoded record 31.
 *
 * @param[in] record  the slot `record_31`, whose block holds 24 bytes at least
 * @return the head. Its entries stay where they are, and live as long as the slot
 */
static inline record_31_table qo_cmc_read_record_31(const record_header* record) {
  record_31_table table;
  qo_cmc_read_bytes(&table, record, 0, sizeof table);
  return table;
}

/**
 * Reads one entry of a decoded record 31.
 *
 * @param[in]  table   a result of qo_cmc_read_record_31()
 * @param[in]  index   the entry, below the table's `count`
 * @param[out] values  its 18 numbers
 */
static inline void qo_cmc_read_record_31_entry(const record_31_table* table, uint32_t index,
                                               float values[18]) {
  qo_cmc_read_bytes(values, table->entries, index * (18 * sizeof *values), 18 * sizeof *values);
}

/* ---- Record 34 ---- */

/**
 * Reads the head of a decoded or synthesised record 34.
 *
 * @param[in] record  the slot `record_34`, whose block holds 24 bytes at least
 * @return the head. Its blocks stay where they are, and live as long as the slot. `padding_24`,
 *         which a short record lacks, is not read, but 0
 */
static inline record_34_table qo_cmc_read_record_34(const record_header* record) {
  record_34_table table;
  qo_cmc_read_bytes(&table, record, 0, offsetof(record_34_table, padding_24));
  table.padding_24 = 0;
  return table;
}

/**
 * Reads one block of record 34.
 *
 * @param[in] table  a result of qo_cmc_read_record_34()
 * @param[in] index  the block, below the table's `block_count`
 * @return the block. Its arrays stay where they are, and live as long as the slot; the four values
 *         of `tail`, where it is not null, are read with qo_cmc_read_u16()
 */
static inline record_34_block qo_cmc_read_record_34_block(const record_34_table* table,
                                                          uint32_t index) {
  record_34_block block;
  qo_cmc_read_bytes(&block, table->blocks, index * sizeof block, sizeof block);
  return block;
}

/**
 * Reads one long entry of a block of record 34.
 *
 * @param[in] block  a result of qo_cmc_read_record_34_block(), with long entries
 * @param[in] index  the entry, below the block's `long_count`
 * @return the entry
 */
static inline record_34_long_entry qo_cmc_read_record_34_long_entry(const record_34_block* block,
                                                                    uint32_t index) {
  record_34_long_entry entry;
  qo_cmc_read_bytes(&entry, block->long_entries, index * sizeof entry, sizeof entry);
  return entry;
}

/**
 * Reads one short entry of a block of record 34.
 *
 * @param[in] block  a result of qo_cmc_read_record_34_block(), with short entries
 * @param[in] index  the entry, below the block's `short_count`
 * @return the entry
 */
static inline record_34_short_entry qo_cmc_read_record_34_short_entry(const record_34_block* block,
                                                                      uint32_t index) {
  record_34_short_entry entry;
  qo_cmc_read_bytes(&entry, block->short_entries, index * sizeof entry, sizeof entry);
  return entry;
}

#endif
