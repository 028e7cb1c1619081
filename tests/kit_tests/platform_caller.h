/* Calls of the platform's functions from within a shared library. */
#ifndef PLATFORM_CALLER_H
#define PLATFORM_CALLER_H

#include <stddef.h>

#include "qo_nvm.h"

#ifdef __cplusplus
extern "C" {
#endif

void call_log(int level, size_t first, size_t second);
uint32_t call_parse_record(void* record);
uint32_t call_nvm_parse(const qo_blob* image, calibration** result);
void call_nvm_deinit(calibration* handle);

/* Blocks of this library's heap. */
void* call_malloc(size_t size);
void* call_calloc(size_t count, size_t size);
void* call_realloc(void* block, size_t size);
void call_free(void* block);

#ifdef __cplusplus
}
#endif

#endif
