/* The parent's own log. */
void qo_log(int level, const char* format, ...);
void qo_log(int level, const char* format, ...) {
  (void)level;
  (void)format;
}
