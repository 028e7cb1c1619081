// Gain planes: products with tables, means, minima, quotients.

#include "rows/gain_rows.h"

#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

/// `Lanes` samples as numbers. GCC widens by halves that it puts together again.
template <size_t Lanes>
[[nodiscard]] inline __attribute__((always_inline)) vector_n<int32_t, Lanes> widened(
    const uint16_t* samples) {
  const auto narrow = load_vector<vector_n<uint16_t, Lanes>>(samples);
#if defined(__AVX2__)
  if constexpr (Lanes == 8)
    return same_bits<vector_n<int32_t, 8>>(_mm256_cvtepu16_epi32(same_bits<__m128i>(narrow)));
#if defined(__AVX512F__)
  if constexpr (Lanes == 16)
    return same_bits<vector_n<int32_t, 16>>(_mm512_cvtepu16_epi32(same_bits<__m256i>(narrow)));
#endif
#endif
  return __builtin_convertvector(narrow, vector_n<int32_t, Lanes>);
}

/// `Lanes` samples from `i` on times their gains.
template <size_t Lanes>
[[nodiscard]] inline __attribute__((always_inline)) vector_n<float, Lanes> products(
    const uint16_t* source, const float* gains, size_t i) {
  const auto values = __builtin_convertvector(widened<Lanes>(source + i), vector_n<float, Lanes>);
  return values * load_vector<vector_n<float, Lanes>>(gains + i);
}

/// What they become, each in the low half of a lane.
template <size_t Lanes>
[[nodiscard]] inline __attribute__((always_inline)) vector_n<int32_t, Lanes> scaled(
    const uint16_t* source, const float* gains, size_t i) {
  return truncate_lanes_for_low_16<Lanes>(products<Lanes>(source, gains, i));
}

/// The low halves of all lanes of both, in order.
[[nodiscard]] inline __attribute__((always_inline)) vector<uint16_t> low_halves(
    const vector<int32_t>& low, const vector<int32_t>& high) {
  const auto a = same_bits<vector<uint16_t>>(low);
  const auto b = same_bits<vector<uint16_t>>(high);
#if QO_VECTOR_BYTES == 64
  return shuffled<0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30, 32, 34, 36, 38, 40, 42,
                  44, 46, 48, 50, 52, 54, 56, 58, 60, 62>(a, b);
#elif QO_VECTOR_BYTES == 32
  return shuffled<0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30>(a, b);
#else
  return shuffled<0, 2, 4, 6, 8, 10, 12, 14>(a, b);
#endif
}

template <size_t Lanes>
inline __attribute__((always_inline)) void scale_block(const uint16_t* source, const float* gains,
                                                       uint16_t* target, size_t i) {
  store_vector(target + i,
               __builtin_convertvector(scaled<Lanes>(source, gains, i), vector_n<uint16_t, Lanes>));
}

/// Samples to the next one that begins a register, or `count`; 0 where none does.
[[nodiscard]] size_t samples_to_alignment(const uint16_t* target, size_t count) {
  const auto address = reinterpret_cast<uintptr_t>(target);
  const size_t samples = (0 - address) % QO_VECTOR_BYTES / sizeof *target;
  return samples < count ? samples : count;
}

#if defined(__AVX2__)
[[nodiscard]] inline __attribute__((always_inline)) bool any_negative(
    const vector<int32_t>& values) {
#if QO_VECTOR_BYTES == 64
  return _mm512_movepi32_mask(same_bits<__m512i>(values)) != 0;
#else
  return _mm256_movemask_ps(same_bits<__m256>(values)) != 0;
#endif
}

/// Scales four registers of samples. What is out of range truncates to a negative number, and gains
/// of lenses give no others: mostly one look at all signs is enough.
inline __attribute__((always_inline)) void scale_four(const uint16_t* source, const float* gains,
                                                      uint16_t* target, size_t i) {
  constexpr size_t lanes = lanes_of<float>;
  vector<float> product[4];
  vector<int32_t> result[4];
#pragma GCC unroll 4
  for (size_t r = 0; r < 4; ++r) {
    product[r] = products<lanes>(source, gains, i + r * lanes);
    result[r] = truncate_or_lowest<lanes>(product[r]);
  }
  if (any_negative((result[0] | result[1]) | (result[2] | result[3]))) {
#pragma GCC unroll 4
    for (size_t r = 0; r < 4; ++r) result[r] = truncate_lanes_for_low_16<lanes>(product[r]);
  }
  store_vector(target + i, low_halves(result[0], result[1]));
  store_vector(target + i + 2 * lanes, low_halves(result[2], result[3]));
}
#endif

void scale(const uint16_t* source, const float* gains, uint16_t* target, size_t count) {
  // No vector is moved back to be whole: in place, its samples would be scaled twice. Stores that
  // cross cache lines cost most where everything is near, so the first whole one is aligned.
  constexpr size_t lanes = lanes_of<float>;
  size_t i = 0;
  if (count >= 8 * lanes) {
    const size_t first = samples_to_alignment(target, count);
    for (; first - i >= 4; i += 4) scale_block<4>(source, gains, target, i);
    for (; i < first; ++i) scale_block<1>(source, gains, target, i);
  }
#if defined(__AVX2__)
  for (; count - i >= 4 * lanes; i += 4 * lanes) scale_four(source, gains, target, i);
#endif
  for (; count - i >= 2 * lanes; i += 2 * lanes) {
    const auto low = scaled<lanes>(source, gains, i);
    const auto high = scaled<lanes>(source, gains, i + lanes);
    store_vector(target + i, low_halves(low, high));
  }
  for (; count - i >= 4; i += 4) scale_block<4>(source, gains, target, i);
  for (; i < count; ++i) scale_block<1>(source, gains, target, i);
}

void average(float* a, float* b, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const float mean = (a[i] + b[i]) * 0.5f;
    a[i] = mean;
    b[i] = mean;
  }
}

/// The rule itself.
[[nodiscard]] float minimum_in_order(const float* values, size_t count) {
  float least = values[0];
  for (size_t i = 1; i < count; ++i) least = least < values[i] ? least : values[i];
  return least;
}

/// Without a NaN the order decides nothing but the sign of a zero, which the callers do not see:
/// several minima run side by side. A NaN that is met sends everything back to the rule.
float minimum(const float* values, size_t count) {
  using lanes = vector<float>;
  constexpr size_t width = lanes_of<float>;
  constexpr size_t chains = 4;
  if (count < chains * width) return minimum_in_order(values, count);
  lanes least[chains];
  for (size_t c = 0; c < chains; ++c) least[c] = load_vector<lanes>(values + c * width);
  vector<int32_t> has_nan = {};
  size_t i = 0;
  for (; count - i >= chains * width; i += chains * width) {
#pragma GCC unroll 4
    for (size_t c = 0; c < chains; ++c) {
      const lanes v = load_vector<lanes>(values + i + c * width);
      has_nan |= v != v;
      least[c] = least[c] < v ? least[c] : v;
    }
  }
  for (size_t lane = 0; lane < width; ++lane)
    if (has_nan[lane] != 0) return minimum_in_order(values, count);
  float result = least[0][0];
  for (size_t c = 0; c < chains; ++c)
    for (size_t lane = 0; lane < width; ++lane)
      result = result < least[c][lane] ? result : least[c][lane];
  // One at a time, so that a NaN here keeps its place in the order.
  for (; i < count; ++i) result = result < values[i] ? result : values[i];
  return result;
}

void normalise(float* values, float divisor, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const float quotient = values[i] / divisor;
    values[i] = quotient > 1.0f ? quotient : 1.0f;
  }
}

}  // namespace

extern const gain_rows gains;
constinit const gain_rows gains = {scale, average, minimum, normalise};

}  // namespace qo::QO_ROWS_NS
