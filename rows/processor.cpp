// The processor is asked directly: the compilers' own query runs a constructor when the library is
// loaded.

#include "rows/processor.h"

#if defined(__x86_64__)

#include <cpuid.h>

#include <cstdint>

namespace qo {
namespace {

struct cpuid_words {
  uint32_t eax = 0;
  uint32_t ebx = 0;
  uint32_t ecx = 0;
  uint32_t edx = 0;
};

/// All zero where the processor does not know the leaf.
[[nodiscard]] cpuid_words cpuid(uint32_t leaf) {
  cpuid_words words;
  if (__get_cpuid_count(leaf, 0, &words.eax, &words.ebx, &words.ecx, &words.edx) == 0) return {};
  return words;
}

[[nodiscard]] constexpr bool has_all(uint32_t word, uint32_t bits) { return (word & bits) == bits; }

/// Whether the operating system saves the registers that `state` names (XCR0, by XGETBV).
[[nodiscard]] bool saves(uint32_t state) {
  if (!has_all(cpuid(1).ecx, bit_OSXSAVE)) return false;
  uint32_t low = 0;
  uint32_t high = 0;
  __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return has_all(low, state);
}

constexpr uint32_t ymm_state = 0x06;   // SSE and AVX
constexpr uint32_t zmm_state = 0xe0;   // opmask, upper halves, upper sixteen
constexpr uint32_t extended_leaf = 7;  // structured extended features

}  // namespace

bool has_avx2() {
  return saves(ymm_state) && has_all(cpuid(1).ecx, bit_AVX) &&
         has_all(cpuid(extended_leaf).ebx, bit_AVX2);
}

bool has_avx512() {
  const cpuid_words extended = cpuid(extended_leaf);
  return has_avx2() && saves(zmm_state) &&
         has_all(extended.ebx, bit_AVX512F | bit_AVX512BW | bit_AVX512DQ | bit_AVX512VL) &&
         has_all(extended.ecx, bit_AVX512VBMI);
}

}  // namespace qo

#else

namespace qo {

bool has_avx2() { return false; }
bool has_avx512() { return false; }

}  // namespace qo

#endif
