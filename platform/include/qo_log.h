/**
 * @file
 * Logging of the stack, from libqo_log.so.
 */
#ifndef QO_LOG_H
#define QO_LOG_H

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Writes one message.
 *
 * @param[in] level   severity, 0 the most severe
 * @param[in] format  printf-style format with its line end, then its arguments
 */
void qo_log(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

#ifdef __cplusplus
}
#endif

#endif
