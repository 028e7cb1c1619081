// Putting finished samples where they go.

#include "rows/store_rows.h"

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "rows/intrinsics.h"
#include "rows/lanes.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace qo::QO_ROWS_NS {
namespace {

#if defined(__AVX512VBMI__)

/// How a register of samples spreads over `Step` registers: where each lane takes its sample from,
/// and which lanes are written.
template <size_t Step, typename Element>
struct spread_pattern {
  alignas(64) Element from[Step][lanes_of<Element>] = {};
  uint64_t written[Step] = {};

  constexpr spread_pattern() {
    constexpr size_t lanes = lanes_of<Element>;
    for (size_t place = 0; place < Step * lanes; ++place) {
      from[place / lanes][place % lanes] = static_cast<Element>(place / Step);
      if (place % Step == 0) written[place / lanes] |= uint64_t{1} << place % lanes;
    }
  }
};

[[nodiscard]] inline uint64_t first_bits(size_t count) {
  return count >= 64 ? ~uint64_t{0} : (uint64_t{1} << count) - 1;
}

[[nodiscard]] inline __attribute__((always_inline)) __m512i load_first(const uint8_t* from,
                                                                       size_t count) {
  return _mm512_maskz_loadu_epi8(first_bits(count), from);
}
[[nodiscard]] inline __attribute__((always_inline)) __m512i load_first(const uint16_t* from,
                                                                       size_t count) {
  return _mm512_maskz_loadu_epi16(static_cast<__mmask32>(first_bits(count)), from);
}

inline __attribute__((always_inline)) void store_lanes(uint8_t* to, uint64_t lanes, __m512i from,
                                                       __m512i samples) {
  _mm512_mask_storeu_epi8(to, lanes, _mm512_permutexvar_epi8(samples, from));
}
inline __attribute__((always_inline)) void store_lanes(uint16_t* to, uint64_t lanes, __m512i from,
                                                       __m512i samples) {
  _mm512_mask_storeu_epi16(to, static_cast<__mmask32>(lanes),
                           _mm512_permutexvar_epi16(samples, from));
}

template <size_t Step, typename Element>
void spread_registers(const Element* from, size_t count, Element* to) {
  static constexpr spread_pattern<Step, Element> pattern;
  constexpr size_t lanes = lanes_of<Element>;
  for (; count >= lanes; count -= lanes, from += lanes, to += Step * lanes) {
    const auto samples = load_vector<__m512i>(from);
    for (size_t part = 0; part < Step; ++part)
      store_lanes(to + part * lanes, pattern.written[part], samples,
                  load_vector<__m512i>(pattern.from[part]));
  }
  if (count == 0) return;
  const __m512i samples = load_first(from, count);
  const size_t end = (count - 1) * Step + 1;
  for (size_t part = 0; part < Step && part * lanes < end; ++part)
    store_lanes(to + part * lanes, pattern.written[part] & first_bits(end - part * lanes), samples,
                load_vector<__m512i>(pattern.from[part]));
}

#endif

template <typename Element>
void spread(const Element* from, size_t count, Element* to, size_t step) {
#if defined(__AVX512VBMI__)
  if (step == 2) return spread_registers<2>(from, count, to);
  if (step == 3) return spread_registers<3>(from, count, to);
  if (step == 4) return spread_registers<4>(from, count, to);
#endif
  // Samples are fetched a word at a time, the first in its low bits: of reads and writes of single
  // samples only the writes are left.
  constexpr size_t together = sizeof(uint64_t) / sizeof(Element);
  size_t i = 0;
  for (; count - i >= together; i += together) {
    uint64_t word;
    memcpy(&word, from + i, sizeof word);
    for (size_t j = 0; j < together; ++j) {
      *to = static_cast<Element>(word >> (8 * sizeof(Element) * j));
      to += step;
    }
  }
  for (; i < count; ++i, to += step) *to = from[i];
}

#if defined(__SSE2__)

using streamed = vector<uint8_t>;

inline __attribute__((always_inline)) void stream_vector(uint8_t* to, const uint8_t* from) {
#if defined(__AVX512VBMI__)
  _mm512_stream_si512(reinterpret_cast<__m512i*>(to), load_vector<__m512i>(from));
#elif defined(__AVX2__)
  _mm256_stream_si256(reinterpret_cast<__m256i*>(to), load_vector<__m256i>(from));
#else
  _mm_stream_si128(reinterpret_cast<__m128i*>(to), load_vector<__m128i>(from));
#endif
}

/// Only lines that are written as wholes go straight to memory.
void stream(const void* from, void* to, size_t bytes) {
  constexpr size_t line = 64;
  const auto* source = static_cast<const uint8_t*>(from);
  auto* target = static_cast<uint8_t*>(to);
  const size_t head = (line - reinterpret_cast<uintptr_t>(target) % line) % line;
  if (bytes < head + line) {
    memcpy(target, source, bytes);
    return;
  }
  memcpy(target, source, head);
  size_t done = head;
  for (; bytes - done >= line; done += line)
    for (size_t i = 0; i < line; i += sizeof(streamed))
      stream_vector(target + done + i, source + done + i);
  memcpy(target + done, source + done, bytes - done);
}

void settle() { _mm_sfence(); }

#else

void stream(const void* from, void* to, size_t bytes) { memcpy(to, from, bytes); }

void settle() {}

#endif

}  // namespace

extern const store_rows store;
constinit const store_rows store = {spread<uint8_t>, spread<uint16_t>, stream, settle};

}  // namespace qo::QO_ROWS_NS
