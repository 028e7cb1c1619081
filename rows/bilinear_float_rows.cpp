// Bilinear resizing in single precision.

#include "rows/bilinear_float_rows.h"

#include "rows/lanes.h"

#if defined(__AVX2__)
#include "rows/register_window.inl.h"
#endif

namespace qo::QO_ROWS_NS {
namespace {

/// Works on single values and on vectors of them.
template <typename Value>
[[nodiscard]] inline __attribute__((always_inline)) Value blend(const Value& near_above,
                                                                const Value& far_above,
                                                                const Value& near_below,
                                                                const Value& far_below, float fy) {
  const float gy = 1.0f - fy;
  return far_below * fy + ((far_above * gy + near_above * gy) + near_below * fy);
}

#if defined(__AVX2__)

// By window, as described in bilinear_window.inl.h: a unit is half a register of outputs, and its
// register holds the near taps before the far ones.

using floats = vector<float>;
constexpr size_t window_samples = lanes_of<float>;
constexpr size_t unit_outputs = window_samples / 2;

/// Whether all taps lie in so many windows; of 0 windows, which are rows, they do.
[[nodiscard]] inline bool plan_windows(const bilinear_float_walk& walk, uint32_t windows,
                                       bilinear_float_columns& columns) {
  using numbers = vector_n<int32_t, unit_outputs>;
  using short_numbers = vector_n<uint16_t, unit_outputs>;
  using positions = vector_n<float, unit_outputs>;
  columns.walk = walk;
  columns.windows = windows;
  const auto last = static_cast<int32_t>(walk.extent - 1);
  const auto covered = static_cast<int32_t>(windows * window_samples);
  const int32_t last_start = windows == 0 || last < covered ? 0 : last + 1 - covered;
  numbers number;
  for (size_t i = 0; i < unit_outputs; ++i) number[i] = static_cast<int32_t>(walk.first + i);
  const size_t planned = (walk.count + window_samples - 1) / window_samples * window_samples;
  for (size_t done = 0, unit = 0; done < planned; done += unit_outputs, ++unit) {
    const positions position = __builtin_convertvector(number, positions) * walk.step;
    number += static_cast<int32_t>(unit_outputs);
    const numbers first = __builtin_convertvector(position, numbers);
    const positions fraction = position - __builtin_convertvector(first, positions);
    // Behind the last output positions may pass the row.
    const numbers near = first < last ? first : last - numbers{};
    const numbers far = near < last ? near + 1 : near;
    const int32_t start = near[0] < last_start ? near[0] : last_start;
    const size_t last_output =
        walk.count - 1 < done + unit_outputs ? walk.count - 1 - done : unit_outputs - 1;
    if (windows != 0 && done < walk.count && far[last_output] - start >= covered) return false;
    columns.starts[unit] = static_cast<uint16_t>(start);
    store_vector(columns.taps + 2 * done, __builtin_convertvector(near - start, short_numbers));
    store_vector(columns.taps + 2 * done + unit_outputs,
                 __builtin_convertvector(far - start, short_numbers));
    store_vector(columns.fractions + done, fraction);
  }
  return true;
}

void plan(const bilinear_float_walk& walk, bilinear_float_columns& columns) {
  // Positions are rounded: at a step of almost 2, or 4, they may still need more.
  if (walk.step <= 2.0f && plan_windows(walk, 1, columns)) return;
  if (walk.step <= 4.0f && plan_windows(walk, 2, columns)) return;
  (void)plan_windows(walk, 0, columns);
}

[[nodiscard]] __attribute__((noinline)) whole_register gathered_samples(const float* row,
                                                                        const uint16_t* taps) {
  floats samples;
  for (size_t i = 0; i < window_samples; ++i) samples[i] = row[taps[i]];
  return bits_as<whole_register>(samples);
}

/// The samples at a unit's taps.
template <uint32_t Windows>
[[nodiscard]] inline __attribute__((always_inline)) whole_register unit_samples(
    const bilinear_float_columns& columns, const float* row, size_t unit) {
  const uint16_t* const taps = columns.taps + unit * window_samples;
  if constexpr (Windows == 0) {
    return gathered_samples(row, taps);
  } else {
#if defined(__AVX512VBMI__)
    const __m512i numbers = _mm512_cvtepu16_epi32(load_vector<__m256i>(taps));
#else
    const __m256i numbers = _mm256_cvtepu16_epi32(load_vector<__m128i>(taps));
#endif
    return permuted_longs<Windows>(row + columns.starts[unit], numbers);
  }
}

/// The products of one register of outputs.
struct products {
  floats near;
  floats far;
};

template <uint32_t Windows>
[[nodiscard]] inline __attribute__((always_inline)) products products_at(
    const bilinear_float_columns& columns, const float* row, size_t index) {
  const whole_register a = unit_samples<Windows>(columns, row, 2 * index);
  const whole_register b = unit_samples<Windows>(columns, row, 2 * index + 1);
  const auto fx = load_vector<floats>(columns.fractions + index * window_samples);
  return {bits_as<floats>(lower_halves(a, b)) * (1.0f - fx),
          bits_as<floats>(upper_halves(a, b)) * fx};
}

template <uint32_t Windows>
void across_by_window(const bilinear_float_columns& columns, const float* row,
                      bilinear_float_row& blended) {
  const size_t count = columns.walk.count;  // nothing that is written changes it
  for (size_t i = 0; i * window_samples < count; ++i) {
    const products pair = products_at<Windows>(columns, row, i);
    store_vector(blended.near + i * window_samples, pair.near);
    store_vector(blended.far + i * window_samples, pair.far);
  }
}

using filled = filled_row<float, 2 * window_samples>;

[[nodiscard]] inline bool is_shorter_than_windows(const bilinear_float_columns& columns) {
  return columns.walk.extent < columns.windows * window_samples;
}

void across(const bilinear_float_columns& columns, const float* row, bilinear_float_row& blended) {
  if (columns.windows == 0) return across_by_window<0>(columns, row, blended);
  const auto by_window = columns.windows == 1 ? across_by_window<1> : across_by_window<2>;
  if (!is_shorter_than_windows(columns)) return by_window(columns, row, blended);
  const filled samples(row, columns.walk.extent);
  by_window(columns, samples.samples, blended);
}

template <typename UpperAt, typename LowerAt>
inline __attribute__((always_inline)) void blend_registers(UpperAt upper_at, LowerAt lower_at,
                                                           const bilinear_float_part& part) {
  const size_t count = part.count;
  for (size_t row = 0; row < part.rows; ++row) {
    const float fy = part.fy[row];
    float* const dst = part.dst + row * part.pitch;
    for (size_t i = 0; i * window_samples < count; ++i) {
      const products above = upper_at(i);
      const products below = lower_at(i);
      const floats blended = blend(above.near, above.far, below.near, below.far, fy);
      const size_t left = count - i * window_samples;
      if (left >= window_samples)
        store_vector(dst + i * window_samples, blended);
      else
        store_part(reinterpret_cast<uint8_t*>(dst + i * window_samples),
                   bits_as<whole_register>(blended), left * sizeof(float));
    }
  }
}

void down(const bilinear_float_row& upper, const bilinear_float_row& lower,
          const bilinear_float_part& part) {
  const auto products_of = [first = part.first](const bilinear_float_row& row) {
    return [&row, first](size_t i) {
      return products{load_vector<floats>(row.near + first + i * window_samples),
                      load_vector<floats>(row.far + first + i * window_samples)};
    };
  };
  blend_registers(products_of(upper), products_of(lower), part);
}

template <uint32_t Windows>
void across_and_down_by_window(const bilinear_float_columns& columns, const float* upper,
                               const float* lower, const bilinear_float_part& part) {
  const auto products_of = [&columns, first = part.first](const float* row) {
    return [&columns, first, row](size_t i) {
      return products_at<Windows>(columns, row, first / window_samples + i);
    };
  };
  blend_registers(products_of(upper), products_of(lower), part);
}

/// The rows of each register of outputs one after the other: what they share is formed once.
void enlarge_by_window(const bilinear_float_columns& columns, const float* upper,
                       const float* lower, const bilinear_float_part& whole) {
  const bilinear_float_part part = whole;  // nothing that is written changes it
  for (size_t i = 0; i * window_samples < part.count; ++i) {
    const size_t index = part.first / window_samples + i;
    const products above = products_at<1>(columns, upper, index);
    const products below = products_at<1>(columns, lower, index);
    const size_t left = part.count - i * window_samples;
    float* dst = part.dst + i * window_samples;
    for (size_t row = 0; row < part.rows; ++row, dst += part.pitch) {
      const floats blended = blend(above.near, above.far, below.near, below.far, part.fy[row]);
      if (left >= window_samples)
        store_vector(dst, blended);
      else
        store_part(reinterpret_cast<uint8_t*>(dst), bits_as<whole_register>(blended),
                   left * sizeof(float));
    }
  }
}

void across_and_down(const bilinear_float_columns& columns, const float* upper, const float* lower,
                     const bilinear_float_part& part) {
  if (columns.windows == 0) return across_and_down_by_window<0>(columns, upper, lower, part);
  const auto by_window = columns.windows == 2 ? across_and_down_by_window<2>
                         : part.rows == 1     ? across_and_down_by_window<1>
                                              : enlarge_by_window;
  if (!is_shorter_than_windows(columns)) return by_window(columns, upper, lower, part);
  const filled above(upper, columns.walk.extent);
  const filled below(lower, columns.walk.extent);
  by_window(columns, above.samples, below.samples, part);
}

constexpr bool is_across_fast = true;

#else

void plan(const bilinear_float_walk& walk, bilinear_float_columns& columns) {
  columns.walk = walk;
  for (uint32_t i = 0; i < walk.count; ++i) {
    const float position = static_cast<float>(walk.first + i) * walk.step;
    const auto near = static_cast<uint32_t>(static_cast<int32_t>(position));
    const float fraction = position - static_cast<float>(near);
    columns.taps[2 * i] = static_cast<uint16_t>(near);
    columns.taps[2 * i + 1] = static_cast<uint16_t>(near < walk.extent - 1 ? near + 1 : near);
    columns.fractions[i] = fraction;
  }
}

void across(const bilinear_float_columns& columns, const float* row, bilinear_float_row& products) {
  for (size_t i = 0; i < columns.walk.count; ++i) {
    products.near[i] = row[columns.taps[2 * i]] * (1.0f - columns.fractions[i]);
    products.far[i] = row[columns.taps[2 * i + 1]] * columns.fractions[i];
  }
}

__attribute__((noinline)) void blend_products(const bilinear_float_row& upper,
                                              const bilinear_float_row& lower, float fy,
                                              size_t first, size_t count, float* __restrict dst) {
  for (size_t i = 0; i < count; ++i)
    dst[i] = blend(upper.near[first + i], upper.far[first + i], lower.near[first + i],
                   lower.far[first + i], fy);
}

void down(const bilinear_float_row& upper, const bilinear_float_row& lower,
          const bilinear_float_part& part) {
  for (size_t row = 0; row < part.rows; ++row)
    blend_products(upper, lower, part.fy[row], part.first, part.count, part.dst + row * part.pitch);
}

__attribute__((noinline)) void blend_samples(const bilinear_float_columns& columns,
                                             const float* upper, const float* lower, float fy,
                                             size_t first, size_t count, float* __restrict dst) {
  for (size_t i = 0; i < count; ++i) {
    const size_t near = columns.taps[2 * (first + i)];
    const size_t far = columns.taps[2 * (first + i) + 1];
    const float fx = columns.fractions[first + i];
    const float gx = 1.0f - fx;
    dst[i] = blend(upper[near] * gx, upper[far] * fx, lower[near] * gx, lower[far] * fx, fy);
  }
}

void across_and_down(const bilinear_float_columns& columns, const float* upper, const float* lower,
                     const bilinear_float_part& part) {
  for (size_t row = 0; row < part.rows; ++row)
    blend_samples(columns, upper, lower, part.fy[row], part.first, part.count,
                  part.dst + row * part.pitch);
}

constexpr bool is_across_fast = false;

#endif

}  // namespace

extern const bilinear_float_rows bilinear_float;
constinit const bilinear_float_rows bilinear_float = {plan, across, down, across_and_down,
                                                      is_across_fast};

}  // namespace qo::QO_ROWS_NS
