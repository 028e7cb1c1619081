/**
 * @file
 * The container library's generic record decoder, from libqo_vexb_parser.so.
 */
#ifndef QO_VEXB_PARSER_H
#define QO_VEXB_PARSER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Decodes one record in place: places inside the record become absolute addresses.
 *
 * @param[in,out] record  the record, writable, starting with its record header; it stays the
 *                        caller's
 * @return 0 decoded; any other value: the record is refused
 */
uint32_t qo_vexb_parse_record(void* record);

#ifdef __cplusplus
}
#endif

#endif
