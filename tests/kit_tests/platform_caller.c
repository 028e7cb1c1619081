#include "platform_caller.h"

#include <stdlib.h>

#include "qo_log.h"
#include "qo_vexb_parser.h"

void call_log(int level, size_t first, size_t second) {
  qo_log(level, "count(%zu) of %zu\n", first, second);
}

uint32_t call_parse_record(void* record) { return qo_vexb_parse_record(record); }

uint32_t call_nvm_parse(const qo_blob* image, calibration** result) {
  return qo_nvm_parse(image, result);
}

void call_nvm_deinit(calibration* handle) { qo_nvm_deinit(handle); }

void* call_malloc(size_t size) { return malloc(size); }
void* call_calloc(size_t count, size_t size) { return calloc(count, size); }
void* call_realloc(void* block, size_t size) { return realloc(block, size); }
void call_free(void* block) { free(block); }
