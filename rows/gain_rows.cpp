// Gain planes: products with tables, means, minima, quotients.

#include "rows/gain_rows.h"

#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

/// `Lanes` samples from `i` on.
template <size_t Lanes>
inline __attribute__((always_inline)) void scale_block(const uint16_t* source, const float* gains,
                                                       uint16_t* target, size_t i) {
  const auto samples = load_vector<vector_n<uint16_t, Lanes>>(source + i);
  const auto values = __builtin_convertvector(
      __builtin_convertvector(samples, vector_n<int32_t, Lanes>), vector_n<float, Lanes>);
  const auto products = values * load_vector<vector_n<float, Lanes>>(gains + i);
  const auto truncated = truncate_lanes_for_low_16<Lanes>(products);
  store_vector(target + i, __builtin_convertvector(truncated, vector_n<uint16_t, Lanes>));
}

void scale(const uint16_t* source, const float* gains, uint16_t* target, size_t count) {
  // No vector is moved back to be whole: in place, its samples would be scaled twice.
  constexpr size_t lanes = lanes_of<float>;
  size_t i = 0;
  for (; count - i >= lanes; i += lanes) scale_block<lanes>(source, gains, target, i);
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
