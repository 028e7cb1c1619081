/// Vectors of samples picked out of a window: a load and a permutation instead of a load for each.
///
/// For row kernels only. Each instruction set names, for a sample type, the ways it has, the best
/// first: how many samples are picked at once, and how many the window holds.
#pragma once

#include "rows/intrinsics.h"
#include "rows/lanes.h"

#if defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace qo::QO_ROWS_NS {
namespace {

/// Picks `Count` samples out of `Window` consecutive ones.
template <size_t Count, size_t Window>
struct way {
  static constexpr size_t count = Count;
  static constexpr size_t window = Window;
};

template <typename... Ways>
struct ways {};

template <typename Sample>
struct ways_of;

#if defined(__AVX512VBMI__)

template <>
struct ways_of<uint32_t> {
  using type = ways<way<16, 16>, way<16, 32>, way<8, 16>, way<8, 32>>;
};
template <>
struct ways_of<uint16_t> {
  using type = ways<way<32, 32>, way<32, 64>, way<16, 64>>;
};

/// As many lanes of `lanes` as there are, in a whole register.
template <typename Lanes>
[[nodiscard]] inline __attribute__((always_inline)) __m512i whole_register(const Lanes& lanes) {
  if constexpr (sizeof(Lanes) == 64)
    return same_bits<__m512i>(lanes);
  else
    return _mm512_castsi256_si512(same_bits<__m256i>(lanes));
}

/// window[lanes[i]] in lane i.
template <typename Way, typename Sample>
[[nodiscard]] inline __attribute__((always_inline)) vector_n<Sample, Way::count> pick(
    const Sample* window, const vector_n<Sample, Way::count>& lanes) {
  constexpr size_t register_lanes = 64 / sizeof(Sample);
  const __m512i index = whole_register(lanes);
  const __m512i first = load_vector<__m512i>(window);
  __m512i picked;
  if constexpr (Way::window == register_lanes) {
    picked = sizeof(Sample) == 4 ? _mm512_permutexvar_epi32(index, first)
                                 : _mm512_permutexvar_epi16(index, first);
  } else {
    static_assert(Way::window == 2 * register_lanes);
    const __m512i second = load_vector<__m512i>(window + register_lanes);
    picked = sizeof(Sample) == 4 ? _mm512_permutex2var_epi32(first, index, second)
                                 : _mm512_permutex2var_epi16(first, index, second);
  }
  return load_vector<vector_n<Sample, Way::count>>(&picked);
}

#elif defined(__AVX2__)

template <>
struct ways_of<uint32_t> {
  using type = ways<way<8, 8>, way<8, 16>>;
};
template <>
struct ways_of<uint16_t> {
  using type = ways<way<8, 8>, way<8, 16>>;
};

template <typename Way>
[[nodiscard]] inline __attribute__((always_inline)) vector_n<uint32_t, 8> pick(
    const uint32_t* window, const vector_n<uint32_t, 8>& lanes) {
  const auto index = same_bits<__m256i>(lanes);
  const __m256i first = _mm256_permutevar8x32_epi32(load_vector<__m256i>(window), index);
  if constexpr (Way::window == 8) {
    return same_bits<vector_n<uint32_t, 8>>(first);
  } else {
    // The permutation looks at the low three bits of an index, the blend at the sign.
    const __m256i second = _mm256_permutevar8x32_epi32(load_vector<__m256i>(window + 8), index);
    return same_bits<vector_n<uint32_t, 8>>(
        _mm256_blendv_ps(_mm256_castsi256_ps(first), _mm256_castsi256_ps(second),
                         _mm256_castsi256_ps(_mm256_slli_epi32(index, 28))));
  }
}

template <typename Way>
[[nodiscard]] inline __attribute__((always_inline)) vector_n<uint16_t, 8> pick(
    const uint16_t* window, const vector_n<uint16_t, 8>& lanes) {
  // Both bytes of each sample.
  const auto bytes = same_bits<__m128i>(lanes * uint16_t{0x0202} + uint16_t{0x0100});
  const auto first = load_vector<__m128i>(window);
  if constexpr (Way::window == 8) {
    return same_bits<vector_n<uint16_t, 8>>(_mm_shuffle_epi8(first, bytes));
  } else {
    // A byte whose index has bit 7 set becomes 0: those of the other half of the window.
    const __m128i in_first = _mm_add_epi8(bytes, _mm_set1_epi8(0x70));
    const __m128i in_second = _mm_sub_epi8(bytes, _mm_set1_epi8(0x10));
    const auto second = load_vector<__m128i>(window + 8);
    return same_bits<vector_n<uint16_t, 8>>(
        _mm_or_si128(_mm_shuffle_epi8(first, in_first), _mm_shuffle_epi8(second, in_second)));
  }
}

#elif defined(__aarch64__)

template <>
struct ways_of<uint32_t> {
  // A wider window takes more instructions than its four samples.
  using type = ways<way<4, 4>>;
};
template <>
struct ways_of<uint16_t> {
  using type = ways<way<8, 8>, way<8, 16>, way<8, 32>>;
};

template <typename Way, typename Sample>
[[nodiscard]] inline __attribute__((always_inline)) vector_n<Sample, Way::count> pick(
    const Sample* window, const vector_n<Sample, Way::count>& lanes) {
  // All bytes of each sample.
  constexpr Sample all = static_cast<Sample>(sizeof(Sample) == 4 ? 0x04040404 : 0x0202);
  constexpr Sample each = static_cast<Sample>(sizeof(Sample) == 4 ? 0x03020100 : 0x0100);
  const vector_n<Sample, Way::count> scaled = lanes * all + each;
  const auto index = same_bits<uint8x16_t>(scaled);
  uint8x16_t picked;
  if constexpr (Way::window == Way::count)
    picked = vqtbl1q_u8(load_vector<uint8x16_t>(window), index);
  else if constexpr (Way::window == 2 * Way::count)
    picked = vqtbl2q_u8(load_vector<uint8x16x2_t>(window), index);
  else
    picked = vqtbl4q_u8(load_vector<uint8x16x4_t>(window), index);
  return same_bits<vector_n<Sample, Way::count>>(picked);
}

#else

template <typename Sample>
struct ways_of {
  using type = ways<>;
};

#endif

/// Whether every vector's picks lie in one window. The last vector is moved back to be whole.
template <typename Way, typename Index>
[[nodiscard]] bool suits(const Index* columns, size_t count) {
  if (count < Way::count) return false;
  const auto fits = [=](size_t at) {
    return static_cast<size_t>(columns[at + Way::count - 1] - columns[at]) < Way::window;
  };
  const size_t last_vector = count - Way::count;
  for (size_t at = 0; at < last_vector; at += Way::count)
    if (!fits(at)) return false;
  return fits(last_vector);
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
