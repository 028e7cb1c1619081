// Area averages. Lanes are output columns; each adds its own samples in their order.

#include "rows/area_rows.h"

#include "rows/area_halves.inl.h"
#include "rows/area_lanes.inl.h"
#include "rows/area_plain.inl.h"
#include "rows/area_tiles.inl.h"
#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

// ---------------------------------------------------------------------------- weights and fetching

/// The taps that some columns of a strip lack are the last two. Before the last three all weigh 1,
/// but tap 0, in every column.
constexpr uint32_t tail_taps = 3;

[[nodiscard]] inline uint32_t tail_of(const area_columns& columns) {
  return columns.taps > tail_taps ? columns.taps - tail_taps : 1;
}

/// Lanes of a group, those of the columns that have a tap.
#if defined(__AVX512VBMI__)
using lane_set = __mmask16;
#else
using lane_set = vector_n<int32_t, lanes>;
#endif

[[nodiscard]] inline __attribute__((always_inline)) lane_set lanes_above(
    const vector_n<int32_t, lanes>& numbers, int32_t limit) {
#if defined(__AVX512VBMI__)
  return _mm512_cmpgt_epi32_mask(same_bits<__m512i>(numbers), _mm512_set1_epi32(limit));
#else
  return numbers > limit;
#endif
}

/// Weights of the columns of a group: of tap 0, and of the taps of the tail. A tap that a column
/// lacks weighs 0.
struct group_weights {
  group_weights() = default;
  inline __attribute__((always_inline)) group_weights(const area_columns& columns, size_t column)
      : first(load_vector<floats<lanes>>(columns.first_weights + column)) {
    using numbers = vector_n<int32_t, lanes>;
    const numbers counts = __builtin_convertvector(
        load_vector<vector_n<uint16_t, lanes>>(columns.counts + column), numbers);
    const auto last = load_vector<numbers>(columns.last_weights + column);
    constexpr int32_t one_bits = 0x3f800000;  // of 1.0f
    const numbers after_tail = counts - static_cast<int32_t>(tail_of(columns));
#pragma GCC unroll 3
    for (int32_t i = 0; i < static_cast<int32_t>(tail_taps); ++i) {
      tail[i] = same_bits<floats<lanes>>(((after_tail > i + 1) & one_bits) |
                                         ((after_tail == i + 1) & last));
      having[i] = lanes_above(after_tail, i);
    }
  }

  floats<lanes> first;
  floats<lanes> tail[tail_taps];
  lane_set having[tail_taps];  ///< the columns that have the tap
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

/// Adds tap `i` of the tail.
template <typename Sample, typename Weight>
[[nodiscard]] inline __attribute__((always_inline)) floats<lanes> add_tail_tap(
    floats<lanes> sum, const group_weights& weights, size_t i, Weight row_weight,
    floats<lanes> sample) {
  const floats<lanes> term = product(weights.tail[i], row_weight) * sample;
  // What a column has where it lacks the tap counts for nothing, were it infinite or no number.
  if constexpr (sizeof(Sample) == 2) return sum + term;
#if defined(__AVX512VBMI__)
  const auto before = same_bits<__m512>(sum);
  return same_bits<floats<lanes>>(
      _mm512_mask_add_ps(before, weights.having[i], before, same_bits<__m512>(term)));
#else
  return sum + same_bits<floats<lanes>>(same_bits<lane_set>(term) & weights.having[i]);
#endif
}

/// Calls with the row's weight, as a type where it is 1.
template <typename Run>
inline __attribute__((always_inline)) void with_weight(float row_weight, Run run) {
  if (row_weight == 1.0f)
    run(one());
  else
    run(row_weight);
}

// ------------------------------------------------------------------------ columns of up to four
// taps

/// Caches that samples are fetched into. The second waits for more of them at a time.
enum class cache { first, second };

/// Brings samples near that are taken soon. Only a hint: an address outside the plane is not
/// accessed.
template <cache Into, typename Sample>
inline __attribute__((always_inline)) void fetch(const Sample* row, size_t from, size_t count) {
  const uintptr_t first = reinterpret_cast<uintptr_t>(row) + from * sizeof(Sample);
#pragma GCC unroll 4
  for (size_t at = 0; at < count * sizeof(Sample); at += 64)
    __builtin_prefetch(reinterpret_cast<const void*>(first + at), 0, Into == cache::first ? 3 : 2);
}

/// Groups of columns side by side in a band: tap by tap, so that sums which wait for themselves do
/// not wait for each other.
template <size_t Taps, size_t Groups, typename Sample, typename Tiles>
class group_sums {
 public:
  inline __attribute__((always_inline)) group_sums(const area_columns& columns, size_t first) {
#pragma GCC unroll 2
    for (size_t g = 0; g < Groups; ++g) {
      weights_[g] = group_weights(columns, first + g * lanes);
      tiles_[g] = Tiles(columns, first + g * lanes);
    }
  }

  /// Samples of a row, from position 0 on, up to where all that is read ends.
  [[nodiscard]] size_t reach() const { return tiles_[Groups - 1].reach(); }

  /// Loads a row, and fetches the same place of the row so far after it.
  inline __attribute__((always_inline)) void load(const Sample* row, size_t ahead) {
#pragma GCC unroll 2
    for (size_t g = 0; g < Groups; ++g) {
      fetch<cache::first>(row, ahead + tiles_[g].start(), (Taps - 1) * lanes);
      samples_[g] = tiles_[g].template load<Taps>(row);
    }
  }

  /// Adds what the loaded row gives.
  template <typename Weight>
  inline __attribute__((always_inline)) void add(Weight row_weight) {
#pragma GCC unroll 2
    for (size_t g = 0; g < Groups; ++g)
      sums[g] += product(weights_[g].first, row_weight) * samples_[g].tap[0];
#pragma GCC unroll 3
    for (size_t i = 1; i < Taps; ++i)
#pragma GCC unroll 2
      for (size_t g = 0; g < Groups; ++g)
        sums[g] = add_tail_tap<Sample>(sums[g], weights_[g], i - 1, row_weight, samples_[g].tap[i]);
  }

  floats<lanes> sums[Groups];

 private:
  group_weights weights_[Groups];
  Tiles tiles_[Groups];
  tile<Taps> samples_[Groups] = {};
};

/// The means of groups of columns in some bands.
template <size_t Taps, size_t Groups, typename Sample, typename Tiles>
inline __attribute__((always_inline)) void average_groups(const area_columns& columns, size_t first,
                                                          const area_band<Sample>* bands,
                                                          const area_format& format,
                                                          const area_means& means) {
  group_sums<Taps, Groups, Sample, Tiles> side_by_side(columns, first);
  const size_t reach = side_by_side.reach();
  const Sample* loaded = nullptr;
  const area_band<Sample>& last_band = bands[means.count - 1];
  const size_t ahead =
      static_cast<size_t>(last_band.first - bands[0].first) + last_band.count * last_band.row_step;
  for (size_t b = 0; b < means.count; ++b) {
    const area_band<Sample>& band = bands[b];
#pragma GCC unroll 2
    for (size_t g = 0; g < Groups; ++g) side_by_side.sums[g] = floats<lanes>{};
    const bool inside = lies_inside(band, reach);
    if (inside) {
      // The row in which one band ends and the next begins is loaded once.
      const Sample* row = band.first;
      if (loaded == nullptr || row != loaded) side_by_side.load(row, ahead);
      side_by_side.add(band.first_weight);
      for (uint32_t r = 2; r < band.count; ++r) {
        row += band.row_step;
        side_by_side.load(row, ahead);
        side_by_side.add(one());
      }
      if (band.count > 1) {
        row += band.row_step;
        side_by_side.load(row, ahead);
        side_by_side.add(band.last_weight);
      }
      loaded = row;
    }
    uint16_t* const dst = means.first + b * means.row_step;
#pragma GCC unroll 2
    for (size_t g = 0; g < Groups; ++g) {
      const size_t column = first + g * lanes;
      if (!inside) side_by_side.sums[g] = add_plain_rows(floats<lanes>{}, columns, band, column, 0);
      store_means(side_by_side.sums[g], format, dst + column, columns.count - column);
    }
  }
}

/// The means of one group of columns. One kernel is enough: a tap that no column has weighs
/// nothing.
template <typename Sample>
__attribute__((noinline)) void average_one_group(const area_columns& columns, size_t column,
                                                 const area_band<Sample>* bands,
                                                 const area_format& format,
                                                 const area_means& means) {
#if defined(__AVX512VBMI__)
  using window = window_tiles<Sample, 4, fewest_registers<Sample> + 1>;
  if (window::hold(columns, column, 1))
    return average_groups<4, 1, Sample, window>(columns, column, bands, format, means);
#endif
  average_groups<4, 1, Sample, any_tiles<Sample>>(columns, column, bands, format, means);
}

/// The means of two groups of columns.
template <size_t Taps, typename Sample>
inline __attribute__((always_inline)) void average_two_groups(const area_columns& columns,
                                                              size_t first,
                                                              const area_band<Sample>* bands,
                                                              const area_format& format,
                                                              const area_means& means) {
#if defined(__AVX512VBMI__)
  using narrow = window_tiles<Sample, Taps, fewest_registers<Sample>>;
  using wide = window_tiles<Sample, Taps, fewest_registers<Sample> + 1>;
  if (narrow::hold(columns, first, 2))
    return average_groups<Taps, 2, Sample, narrow>(columns, first, bands, format, means);
  if (wide::hold(columns, first, 2))
    return average_groups<Taps, 2, Sample, wide>(columns, first, bands, format, means);
  average_one_group(columns, first, bands, format, means);
  average_one_group(columns, first + lanes, bands, format, means);
#else
#if defined(__AVX2__)
  if constexpr (sizeof(Sample) == 2 && Taps <= 3) {
    using fourfold = fourfold_tiles<Taps>;
    if (fourfold::hold(columns, first, 2))
      return average_groups<Taps, 2, Sample, fourfold>(columns, first, bands, format, means);
  }
#endif
  average_groups<Taps, 2, Sample, any_tiles<Sample>>(columns, first, bands, format, means);
#endif
}

template <size_t Taps, typename Sample>
void average_few_taps(const area_columns& columns, const area_band<Sample>* bands,
                      const area_format& given, const area_means& means) {
  const area_format format = given;
  for (size_t column = 0; column < columns.count; column += 2 * lanes)
    if (columns.count - column > lanes)
      average_two_groups<Taps>(columns, column, bands, format, means);
    else
      average_one_group(columns, column, bands, format, means);
}

// --------------------------------------------------------------------------- columns of more taps

/// Columns whose sums grow side by side: through rows of theirs the processor streams.
constexpr size_t block_groups = 64 / lanes;

/// Bytes that are fetched before they are taken, at least.
constexpr size_t bytes_ahead = 8 * 1024;

/// Adds taps [from, to) of a tile, all of weight 1.
template <size_t Taps, typename Weight>
[[nodiscard]] inline __attribute__((always_inline)) floats<lanes> add_inner_taps(
    floats<lanes> sum, const tile<Taps>& samples, size_t from, size_t to, Weight row_weight) {
#pragma GCC unroll 8
  for (size_t i = from; i < Taps; ++i)
    if (i < to) sum += product(samples.tap[i], row_weight);
  return sum;
}

/// Adds what a row gives to columns of more than four taps, fetching as many samples as it takes
/// from `ahead` after the row's on.
template <typename Sample, typename Weight>
[[nodiscard]] inline __attribute__((always_inline)) floats<lanes> add_many_taps(
    floats<lanes> sum, const group_weights& weights, const scattered_tiles<Sample>& tiles,
    size_t tail, const Sample* row, Weight row_weight, size_t ahead) {
  constexpr size_t step = tile_taps<Sample>;
  const tile<step> head = tiles.template load<step>(row);
  fetch<cache::second>(row, ahead, step * lanes);
  sum += product(weights.first, row_weight) * head.tap[0];
  sum = add_inner_taps(sum, head, 1, tail, row_weight);
  size_t done = step;
  for (; done + step <= tail; done += step) {
    fetch<cache::second>(row, ahead + done * lanes, step * lanes);
    sum = add_inner_taps(sum, tiles.template load<step>(row + done), 0, step, row_weight);
  }
  fetch<cache::second>(row, ahead + done * lanes, step * lanes);
  if (done < tail)
    sum = add_inner_taps(sum, tiles.template load<step>(row + done), 0, tail - done, row_weight);
  const tile<tail_taps> last = tiles.template load<tail_taps>(row + tail);
#pragma GCC unroll 3
  for (size_t i = 0; i < tail_taps; ++i)
    sum = add_tail_tap<Sample>(sum, weights, i, row_weight, last.tap[i]);
  return sum;
}

/// The means of up to `block_groups` groups of columns in a band.
template <typename Sample>
void average_block(const area_columns& columns, size_t first, size_t groups,
                   const area_band<Sample>& band, const area_format& format, uint16_t* dst) {
  const size_t tail = tail_of(columns);
  group_weights weights[block_groups];
  floats<lanes> sums[block_groups];
  for (size_t g = 0; g < groups; ++g) {
    weights[g] = group_weights(columns, first + g * lanes);
    sums[g] = floats<lanes>{};
  }
  const size_t last = first + (groups - 1) * lanes;
  const size_t reach = scattered_tiles<Sample>(columns, last).reach() + tail;
  const uint32_t inside = rows_inside(band, reach);
  // Rows that are fetched before they are taken.
  const size_t row_bytes = (reach - columns.starts[first]) * sizeof(Sample);
  const size_t ahead = (1 + bytes_ahead / row_bytes) * band.row_step;
  for (uint32_t row = 0; row < inside; ++row) {
    const Sample* const from = band.first + row_offset(band, row);
    with_weight(
        row_weight(band, row), [&](auto weight) __attribute__((always_inline)) {
          for (size_t g = 0; g < groups; ++g) {
            const size_t column = first + g * lanes;
            sums[g] = add_many_taps(sums[g], weights[g], scattered_tiles<Sample>(columns, column),
                                    tail, from, weight, ahead + columns.starts[column]);
          }
        });
  }
  for (size_t g = 0; g < groups; ++g) {
    const size_t column = first + g * lanes;
    if (inside < band.count) sums[g] = add_plain_rows(sums[g], columns, band, column, inside);
    store_means(sums[g], format, dst + column, columns.count - column);
  }
}

template <typename Sample>
void average_many_taps(const area_columns& columns, const area_band<Sample>* bands,
                       const area_format& format, const area_means& means) {
  const size_t groups = (columns.count + lanes - 1) / lanes;
  for (size_t b = 0; b < means.count; ++b)
    for (size_t done = 0; done < groups; done += block_groups) {
      const size_t left = groups - done;
      average_block(columns, done * lanes, left < block_groups ? left : block_groups, bands[b],
                    format, means.first + b * means.row_step);
    }
}

template <typename Sample>
void average(const area_columns& columns, const area_band<Sample>* bands, const area_format& format,
             const area_means& means) {
  if (columns.taps <= 2) return average_few_taps<2>(columns, bands, format, means);
  if (columns.taps == 3) return average_few_taps<3>(columns, bands, format, means);
  if (columns.taps == 4) return average_few_taps<4>(columns, bands, format, means);
  average_many_taps(columns, bands, format, means);
}

}  // namespace

extern const area_rows areas;
constinit const area_rows areas = {average<uint16_t>, average<float>, halve<uint16_t>,
                                   halve<float>};

}  // namespace qo::QO_ROWS_NS
