// Maxima of blocks of signed samples.

#include "rows/maximum_rows.h"

#include "rows/sample_pick.inl.h"

namespace qo::QO_ROWS_NS {
namespace {

constexpr size_t lanes = lanes_of<int32_t>;
using numbers = vector<int32_t>;

template <typename T>
[[nodiscard]] inline __attribute__((always_inline)) T larger(const T& a, const T& b) {
  return a > b ? a : b;
}

/// dst[i] = the largest of dst[i], or of 0 in the first round, and `Rows` samples. The samples that
/// will be asked for next lie `ahead` after these.
template <size_t Rows>
inline __attribute__((always_inline)) void add_rows(const int32_t* src, size_t stride, size_t ahead,
                                                    bool first, int32_t* dst, size_t count) {
  size_t i = 0;
  for (; count - i >= lanes; i += lanes) {
    numbers most = first ? numbers{} : load_vector<numbers>(dst + i);
#pragma GCC unroll 4
    for (size_t r = 0; r < Rows; ++r) {
      // More rows are read as fast as memory gives them; one or two, before that is foreseen.
      if constexpr (Rows < 4) __builtin_prefetch(src + ahead + r * stride + i);
      most = larger(most, load_vector<numbers>(src + r * stride + i));
    }
    store_vector(dst + i, most);
  }
  for (; i < count; ++i) {
    int32_t most = first ? 0 : dst[i];
    for (size_t r = 0; r < Rows; ++r) most = larger(most, src[r * stride + i]);
    dst[i] = most;
  }
}

void over_rows(const int32_t* src, size_t stride, size_t rows, int32_t* dst, size_t count) {
  // Some rows at once, so that dst is not stored for each; few enough to stream through them.
  const size_t ahead = rows * stride;
  size_t r = 0;
  for (; rows - r >= 4; r += 4) add_rows<4>(src + r * stride, stride, ahead, r == 0, dst, count);
  for (; rows - r >= 2; r += 2) add_rows<2>(src + r * stride, stride, ahead, r == 0, dst, count);
  if (r < rows) add_rows<1>(src + r * stride, stride, ahead, r == 0, dst, count);
}

/// values[i] = the largest of the `width` values from i on, as far as they are all there.
void widen(int32_t* values, size_t count, size_t width) {
  // What a step reads beyond its own vector no earlier step has written.
  for (size_t reach = 1; reach < width; reach *= 2) {
    if (count <= reach) return;
    count -= reach;
    size_t i = 0;
    for (; count - i >= lanes; i += lanes)
      store_vector(values + i, larger(load_vector<numbers>(values + i),
                                      load_vector<numbers>(values + i + reach)));
    for (; i < count; ++i) values[i] = larger(values[i], values[i + reach]);
  }
}

void join_one_by_one(const int32_t* values, const row_spans& spans, uint32_t* dst) {
  for (size_t i = 0; i < spans.count; ++i)
    dst[i] = static_cast<uint32_t>(larger(values[spans.first[i]], values[spans.last[i]]));
}

/// The values at some columns, from a window that is moved back where it would leave them.
template <typename Way>
[[nodiscard]] inline __attribute__((always_inline)) vector_n<int32_t, Way::count> values_at(
    const int32_t* values, size_t last_window, const uint16_t* columns) {
  using indices = vector_n<uint32_t, Way::count>;
  const size_t window = columns[0] < last_window ? columns[0] : last_window;
  const indices in_window =
      __builtin_convertvector(load_vector<vector_n<uint16_t, Way::count>>(columns), indices) -
      static_cast<uint32_t>(window);
  return same_bits<vector_n<int32_t, Way::count>>(
      pick<Way>(reinterpret_cast<const uint32_t*>(values) + window, in_window));
}

template <typename Way>
void join_from_windows(const int32_t* values, size_t count, const row_spans& spans, uint32_t* dst) {
  const size_t last_window = count - Way::window;
  const auto join_vector = [ =, &spans ](size_t at) __attribute__((always_inline)) {
    store_vector(dst + at, larger(values_at<Way>(values, last_window, spans.first + at),
                                  values_at<Way>(values, last_window, spans.last + at)));
  };
  const size_t last_vector = spans.count - Way::count;
  for (size_t at = 0; at < last_vector; at += Way::count) join_vector(at);
  join_vector(last_vector);
}

void join(const int32_t* values, size_t /*count*/, const row_spans& spans, uint32_t* dst, ways<>) {
  join_one_by_one(values, spans, dst);
}

template <typename Best, typename... Others>
void join(const int32_t* values, size_t count, const row_spans& spans, uint32_t* dst,
          ways<Best, Others...>) {
  if (count >= Best::window && suits<Best>(spans.first, spans.count) &&
      suits<Best>(spans.last, spans.count))
    join_from_windows<Best>(values, count, spans, dst);
  else
    join(values, count, spans, dst, ways<Others...>());
}

void over_spans(int32_t* values, size_t count, const row_spans& spans, uint32_t* dst) {
  if (spans.width == 1) return join_one_by_one(values, spans, dst);
  widen(values, count, spans.width);
  join(values, count, spans, dst, ways_of<uint32_t>::type());
}

int32_t of_row(const int32_t* values, size_t count) {
  numbers partial[4] = {};
  size_t i = 0;
  for (; count - i >= 4 * lanes; i += 4 * lanes)
#pragma GCC unroll 4
    for (size_t v = 0; v < 4; ++v)
      partial[v] = larger(partial[v], load_vector<numbers>(values + i + v * lanes));
  const numbers most = larger(larger(partial[0], partial[1]), larger(partial[2], partial[3]));
  int32_t maximum = 0;
  for (size_t lane = 0; lane < lanes; ++lane) maximum = larger(maximum, most[lane]);
  for (; i < count; ++i) maximum = larger(maximum, values[i]);
  return maximum;
}

}  // namespace

extern const maximum_rows maxima;
constinit const maximum_rows maxima = {over_rows, over_spans, of_row};

}  // namespace qo::QO_ROWS_NS
