// Area averages. Lanes are output columns; each adds its own samples in their order.

#include "rows/area_rows.h"

#include "rows/area_halves.inl.h"
#include "rows/area_lanes.inl.h"
#include "rows/area_tiles.inl.h"
#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

// ---------------------------------------------------------------------------------- the plain rule

[[nodiscard]] inline float column_weight(const area_columns& columns, size_t column, uint32_t tap) {
  if (tap == 0) return columns.first_weights[column];
  return tap + 1u == columns.counts[column] ? columns.last_weights[column] : 1.0f;
}

template <typename Sample>
[[nodiscard]] inline float row_weight(const area_band<Sample>& band, uint32_t row) {
  if (row == 0) return band.first_weight;
  return row + 1 == band.count ? band.last_weight : 1.0f;
}

/// Samples from the band's first to the start of its row `row`.
template <typename Sample>
[[nodiscard]] inline size_t row_offset(const area_band<Sample>& band, uint32_t row) {
  return (row < band.last_row ? row : band.last_row) * band.row_step;
}

/// The rule itself, and what runs where a vector would read past the plane.
template <typename Sample>
[[nodiscard]] float weighted_sum(const area_columns& columns, const area_band<Sample>& band,
                                 size_t column) {
  float sum = 0.0f;
  for (uint32_t row = 0; row < band.count; ++row) {
    const size_t start = row_offset(band, row) + columns.starts[column];
    for (uint32_t tap = 0; tap < columns.counts[column]; ++tap) {
      const size_t at = start + tap < band.readable ? start + tap : band.readable - 1;
      sum += column_weight(columns, column, tap) * row_weight(band, row) *
             static_cast<float>(band.first[at]);
    }
  }
  return sum;
}

/// The plain sums of a group of columns. Rare, so it is kept out of the way.
template <typename Sample>
[[nodiscard]] __attribute__((noinline)) floats<lanes> plain_sums(const area_columns& columns,
                                                                 size_t column,
                                                                 const area_band<Sample>& band) {
  const size_t left = columns.count - column;
  floats<lanes> sums = {};
  for (size_t i = 0; i < (left < lanes ? left : lanes); ++i)
    sums[i] = weighted_sum(columns, band, column + i);
  return sums;
}

// -------------------------------------------------------------------------------------------- rows

/// The taps that some columns of a strip lack are the last two. Before the last three all weigh 1,
/// but tap 0, in every column.
constexpr uint32_t tail_taps = 3;

[[nodiscard]] inline uint32_t tail_of(const area_columns& columns) {
  return columns.taps > tail_taps ? columns.taps - tail_taps : 1;
}

/// Weights of the columns of a group: of tap 0, and of the taps of the tail. A tap that a column
/// lacks weighs 0.
class group_weights {
 public:
  inline __attribute__((always_inline)) group_weights(const area_columns& columns, size_t column)
      : first(load_vector<floats<lanes>>(columns.first_weights + column)) {
    using numbers = vector_n<int32_t, lanes>;
    const numbers counts = __builtin_convertvector(
        load_vector<vector_n<uint16_t, lanes>>(columns.counts + column), numbers);
    const auto last = load_vector<numbers>(columns.last_weights + column);
    constexpr int32_t one_bits = 0x3f800000;  // of 1.0f
    const numbers after_tail = counts - static_cast<int32_t>(tail_of(columns));
#pragma GCC unroll 3
    for (int32_t i = 0; i < static_cast<int32_t>(tail_taps); ++i)
      tail[i] = same_bits<floats<lanes>>(((after_tail > i + 1) & one_bits) |
                                         ((after_tail == i + 1) & last));
  }

  floats<lanes> first;
  floats<lanes> tail[tail_taps];
};

/// The weight that rows have but the first and the last of a band, as a type: a product with 1 is
/// what it was.
struct one {};

template <typename Weight>
[[nodiscard]] inline __attribute__((always_inline)) floats<lanes> product(floats<lanes> v,
                                                                          Weight row_weight) {
  if constexpr (__is_same(Weight, one))
    return v;
  else
    return v * row_weight;
}

/// Adds a tap that some columns may lack: what they have there counts for nothing, were it infinite
/// or no number.
template <typename Sample>
[[nodiscard]] inline __attribute__((always_inline)) floats<lanes> add_where_weighed(
    floats<lanes> sum, floats<lanes> weight, floats<lanes> sample) {
  const floats<lanes> term = weight * sample;
  if constexpr (sizeof(Sample) == 2) return sum + term;
  return sum + same_bits<floats<lanes>>(same_bits<vector_n<int32_t, lanes>>(term) & (weight != 0));
}

/// Adds what a row gives to columns of at most `Taps` taps.
template <size_t Taps, typename Sample, typename Tiles, typename Weight>
[[nodiscard]] inline __attribute__((always_inline)) floats<lanes> add_few_taps(
    floats<lanes> sum, const group_weights& weights, const Tiles& tiles, const Sample* row,
    Weight row_weight) {
  const tile<Sample> samples = tiles.template load<Taps>(row);
  sum += product(weights.first, row_weight) * samples.tap(0);
#pragma GCC unroll 3
  for (size_t i = 1; i < Taps; ++i) {
    const floats<lanes> weight = product(weights.tail[i - 1], row_weight);
    if (i + 2 < Taps)
      sum += weight * samples.tap(i);
    else
      sum = add_where_weighed<Sample>(sum, weight, samples.tap(i));
  }
  return sum;
}

/// Adds taps [from, to) of a tile, all of weight 1.
template <typename Sample, typename Weight>
[[nodiscard]] inline __attribute__((always_inline)) floats<lanes> add_inner_taps(
    floats<lanes> sum, const tile<Sample>& samples, size_t from, size_t to, Weight row_weight) {
#pragma GCC unroll 8
  for (size_t i = from; i < tile_taps<Sample>; ++i)
    if (i < to) sum += product(samples.tap(i), row_weight);
  return sum;
}

/// Adds what a row gives to columns of more than four taps.
template <typename Sample, typename Tiles, typename Weight>
[[nodiscard]] inline __attribute__((always_inline)) floats<lanes> add_many_taps(
    floats<lanes> sum, const group_weights& weights, const Tiles& tiles, size_t tail,
    const Sample* row, Weight row_weight) {
  constexpr size_t step = tile_taps<Sample>;
  const tile<Sample> head = tiles.template load<step>(row);
  sum += product(weights.first, row_weight) * head.tap(0);
  sum = add_inner_taps(sum, head, 1, tail, row_weight);
  size_t done = step;
  for (; done + step <= tail; done += step)
    sum = add_inner_taps(sum, tiles.template load<step>(row + done), 0, step, row_weight);
  if (done < tail)
    sum = add_inner_taps(sum, tiles.template load<step>(row + done), 0, tail - done, row_weight);
  const tile<Sample> last = tiles.template load<tail_taps>(row + tail);
  sum += product(weights.tail[0], row_weight) * last.tap(0);
  sum = add_where_weighed<Sample>(sum, product(weights.tail[1], row_weight), last.tap(1));
  return add_where_weighed<Sample>(sum, product(weights.tail[2], row_weight), last.tap(2));
}

/// The weighted sums of a group of columns of at most `Taps` taps, or of more than four for 0.
template <size_t Taps, typename Sample, typename Tiles>
[[nodiscard]] inline __attribute__((always_inline)) floats<lanes> sum_group(
    const area_columns& columns, size_t column, const area_band<Sample>& band) {
  const group_weights weights(columns, column);
  const Tiles tiles(columns, column);
  floats<lanes> sum = {};
  const auto add_row = [&](const Sample* row, auto weight) __attribute__((always_inline)) {
    if constexpr (Taps == 0)
      sum = add_many_taps(sum, weights, tiles, tail_of(columns), row, weight);
    else
      sum = add_few_taps<Taps>(sum, weights, tiles, row, weight);
  };
  for (uint32_t row = 0; row < band.count; ++row) {
    const Sample* const samples = band.first + row_offset(band, row);
    const float weight = row_weight(band, row);
    if (weight == 1.0f)
      add_row(samples, one());
    else
      add_row(samples, weight);
  }
  return sum;
}

/// The weighted sums of a group of columns. `readable` is what of the band's last row is in the
/// plane.
template <size_t Taps, typename Sample>
[[nodiscard]] inline __attribute__((always_inline)) floats<lanes> sum_of(
    const area_columns& columns, size_t column, const area_band<Sample>& band, size_t readable) {
#if defined(__AVX512VBMI__)
  if constexpr (Taps != 0)
    if (window_tiles<Sample>::hold(columns, column, readable))
      return sum_group<Taps, Sample, window_tiles<Sample>>(columns, column, band);
#endif
  const size_t last_tile = Taps == 0 ? tail_of(columns) : 0;
  if (scattered_tiles<Sample>::hold(columns, column, last_tile, readable))
    return sum_group<Taps, Sample, scattered_tiles<Sample>>(columns, column, band);
  return plain_sums(columns, column, band);
}

template <size_t Taps, typename Sample>
void average_taps(const area_columns& columns, const area_band<Sample>& band,
                  const area_format& given, uint16_t* dst) {
  const area_format format = given;
  const size_t readable = band.readable - row_offset(band, band.count - 1);
  for (size_t column = 0; column < columns.count; column += lanes) {
    const floats<lanes> sums = sum_of<Taps>(columns, column, band, readable);
    const vector_n<uint16_t, lanes> means = to_fixed_point<lanes>(sums, format);
    if (columns.count - column >= lanes)
      store_vector(dst + column, means);
    else
      memcpy(dst + column, &means, (columns.count - column) * sizeof *dst);
  }
}

template <typename Sample>
void average(const area_columns& columns, const area_band<Sample>& band, const area_format& format,
             uint16_t* dst) {
  if (columns.taps <= 2) return average_taps<2>(columns, band, format, dst);
  if (columns.taps == 3) return average_taps<3>(columns, band, format, dst);
  if (columns.taps == 4) return average_taps<4>(columns, band, format, dst);
  average_taps<0>(columns, band, format, dst);
}

}  // namespace

extern const area_rows areas;
constinit const area_rows areas = {average<uint16_t>, average<float>, halve<uint16_t>,
                                   halve<float>};

}  // namespace qo::QO_ROWS_NS
