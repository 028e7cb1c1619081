// Included by one source for each instruction set, which defines QO_BENCH_ROWS, its namespace, and
// QO_BENCH_VECTOR_BYTES.

#include <cstring>

#include "bench/vector_operations.h"

#if defined(__x86_64__)
#define QO_BENCH_IN_REGISTER(value) "+x"(value)
#else
#define QO_BENCH_IN_REGISTER(value) "+w"(value)
#endif

namespace bench::QO_BENCH_ROWS {
namespace {

using floats = float __attribute__((vector_size(QO_BENCH_VECTOR_BYTES)));
using words = unsigned __attribute__((vector_size(QO_BENCH_VECTOR_BYTES)));
constexpr size_t lanes = QO_BENCH_VECTOR_BYTES / sizeof(float);
/// Products and additions in flight of each sort: with the factor they fill 15 of 16 registers.
constexpr size_t chains = 7;

}  // namespace

void operate(size_t operations) {
  floats factor = floats{} + 1.0f;
  floats p0 = factor, p1 = factor, p2 = factor, p3 = factor, p4 = factor, p5 = factor, p6 = factor;
  floats s0 = factor, s1 = factor, s2 = factor, s3 = factor, s4 = factor, s5 = factor, s6 = factor;
  // The compiler must neither know the factor nor merge two steps.
  asm volatile("" : QO_BENCH_IN_REGISTER(factor));
  for (size_t done = 0; done < operations; done += 2 * chains * lanes) {
    p0 *= factor, p1 *= factor, p2 *= factor, p3 *= factor, p4 *= factor, p5 *= factor;
    p6 *= factor;
    s0 += factor, s1 += factor, s2 += factor, s3 += factor, s4 += factor, s5 += factor;
    s6 += factor;
    asm volatile(""
                 : QO_BENCH_IN_REGISTER(p0), QO_BENCH_IN_REGISTER(p1), QO_BENCH_IN_REGISTER(p2),
                   QO_BENCH_IN_REGISTER(p3), QO_BENCH_IN_REGISTER(p4), QO_BENCH_IN_REGISTER(p5),
                   QO_BENCH_IN_REGISTER(p6));
    asm volatile(""
                 : QO_BENCH_IN_REGISTER(s0), QO_BENCH_IN_REGISTER(s1), QO_BENCH_IN_REGISTER(s2),
                   QO_BENCH_IN_REGISTER(s3), QO_BENCH_IN_REGISTER(s4), QO_BENCH_IN_REGISTER(s5),
                   QO_BENCH_IN_REGISTER(s6));
  }
}

unsigned sum(const void* bytes, size_t size) {
  const char* next = static_cast<const char*>(bytes);
  words sums[4] = {};
  size_t left = size;
  for (; left >= sizeof sums; left -= sizeof sums, next += sizeof sums) {
    for (size_t i = 0; i < 4; ++i) {
      words loaded;
      std::memcpy(&loaded, next + i * sizeof loaded, sizeof loaded);
      sums[i] += loaded;
    }
  }
  const words both = (sums[0] + sums[1]) + (sums[2] + sums[3]);
  unsigned total = 0;
  for (size_t i = 0; i < lanes; ++i) total += both[i];
  for (; left >= sizeof total; left -= sizeof total, next += sizeof total) {
    unsigned word;
    std::memcpy(&word, next, sizeof word);
    total += word;
  }
  return total;
}

}  // namespace bench::QO_BENCH_ROWS
