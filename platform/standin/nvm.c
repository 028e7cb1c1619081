/* Stand-in for the NVM library. */
#include "qo_nvm.h"

#include <stdlib.h>

uint32_t qo_nvm_parse(const qo_blob* image, calibration** result) {
  (void)image;
  (void)result;
  return 1;
}

void qo_nvm_deinit(calibration* handle) { free(handle); }
