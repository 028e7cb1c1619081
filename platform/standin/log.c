/* Stand-in for the stack's logging: messages go to stderr. */
#include "qo_log.h"

#include <stdarg.h>
#include <stdio.h>

void qo_log(int level, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  fprintf(stderr, "[%d] ", level);
  vfprintf(stderr, format, arguments);
  va_end(arguments);
}
