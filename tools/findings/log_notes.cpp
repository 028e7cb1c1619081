#include "tools/findings/log_notes.h"

#include <cstdarg>
#include <cstdio>
#include <new>
#include <utility>

#include "qo_log.h"

namespace findings {
namespace {

thread_local log_notes* collecting = nullptr;

[[nodiscard]] std::string formatted(const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int length = vsnprintf(nullptr, 0, format, again);
  va_end(again);
  if (length < 0) return format;
  std::string text(static_cast<size_t>(length) + 1, '\0');
  (void)vsnprintf(text.data(), text.size(), format, arguments);
  text.pop_back();  // the terminator
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

}  // namespace

log_notes::log_notes() : outer_(std::exchange(collecting, this)) {}
log_notes::~log_notes() { collecting = outer_; }

std::vector<log_note> log_notes::take() { return std::exchange(notes_, {}); }

void log_notes::add(log_note note) { notes_.push_back(std::move(note)); }

}  // namespace findings

void qo_log(int level, const char* format, ...) {
  if (findings::collecting == nullptr) return;
  va_list arguments;
  va_start(arguments, format);
  try {
    findings::collecting->add({level, findings::formatted(format, arguments)});
  } catch (const std::bad_alloc&) {
    // The library that calls cannot be thrown through; a message is what can be done without.
  }
  va_end(arguments);
}
