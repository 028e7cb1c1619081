#include "tests/tools/findings/failing_heap.h"

#include <limits>

extern "C" {
void* real_malloc(size_t size) __asm__("__real_malloc");
void* real_calloc(size_t count, size_t size) __asm__("__real_calloc");
void* failing_malloc(size_t size) __asm__("__wrap_malloc");
void* failing_calloc(size_t count, size_t size) __asm__("__wrap_calloc");
}

namespace failing_heap {
namespace {

constexpr size_t never = std::numeric_limits<size_t>::max();
size_t left = never;
bool failed = false;

bool fails() {
  if (left == never || left-- != 0) return false;
  left = never;
  failed = true;
  return true;
}

}  // namespace

void fail_after(size_t successes) {
  left = successes;
  failed = false;
}

bool stop() {
  left = never;
  return failed;
}

}  // namespace failing_heap

void* failing_malloc(size_t size) { return failing_heap::fails() ? nullptr : real_malloc(size); }

void* failing_calloc(size_t count, size_t size) {
  return failing_heap::fails() ? nullptr : real_calloc(count, size);
}
