// Copies of whole samples.

#include "rows/nearest_rows.h"

#include <utility>

#include "rows/sample_pick.inl.h"

namespace qo::QO_ROWS_NS {
namespace {

/// What is thinned out is read faster than the processor foresees: every row begins elsewhere. The
/// second cache waits for more of it at a time than the first.
template <size_t Count, typename Sample>
inline __attribute__((always_inline)) void prefetch(const Sample* from) {
  for (size_t i = 0; i < Count; i += 64 / sizeof(Sample)) __builtin_prefetch(from + i, 0, 2);
}

/// Samples of a row. All are read before any is written: a compiler that need not ask whether dst
/// is what is read next takes them in pairs.
template <size_t Count, typename Sample>
inline __attribute__((always_inline)) void copy_some(const Sample* row, const Sample* columns,
                                                     Sample* dst) {
  Sample taken[Count];
#pragma GCC unroll 8
  for (size_t i = 0; i < Count; ++i) taken[i] = row[columns[i]];
#pragma GCC unroll 8
  for (size_t i = 0; i < Count; ++i) dst[i] = taken[i];
}

/// The plain rule.
template <typename Sample>
void copy_one_by_one(const plane_row<Sample>& src, const Sample* columns, Sample* dst,
                     size_t count) {
  const Sample* const row = src.plane + src.start;
  const size_t next = src.next - src.start;  // samples on to the next row
  const size_t last = src.samples - 1 - src.start;
  size_t inside = count;
  while (inside != 0 && columns[inside - 1] > last) --inside;
  size_t i = 0;
  for (; inside - i >= 16; i += 16) {
    prefetch<32>(row + columns[i] + next);
    copy_some<8>(row, columns + i, dst + i);
    copy_some<8>(row, columns + i + 8, dst + i + 8);
  }
  for (; i < inside; ++i) dst[i] = row[columns[i]];
  for (; i < count; ++i) dst[i] = row[last];
}

/// From windows, all of which lie in the plane, or of which one that would leave it is moved back
/// to its end.
template <typename Way, bool Inside, typename Sample>
inline __attribute__((always_inline)) void copy_vectors(const plane_row<Sample>& src,
                                                        const Sample* columns, Sample* dst,
                                                        size_t last_vector) {
  using lanes = vector_n<Sample, Way::count>;
  constexpr Sample most = static_cast<Sample>(-1);
  const size_t row_last = src.samples - 1 - src.start;
  const Sample last = row_last < most ? static_cast<Sample>(row_last) : most;
  const size_t last_window = src.samples - Way::window;
  const Sample* const plane = src.plane;
  const Sample* const next = src.plane + src.next;
  const size_t start = src.start;
  const auto copy_vector = [=](size_t at) __attribute__((always_inline)) {
    if constexpr (Way::window > Way::count) prefetch<Way::window>(next + columns[at]);
    size_t window = start + columns[at];
    lanes indices = load_vector<lanes>(columns + at);
    if constexpr (!Inside) {
      window = window < last_window ? window : last_window;
      indices = indices < last ? indices : (lanes{} + last);
    }
    // In the window the differences are small: modulo the range of Sample they are exact.
    const lanes in_window = indices - static_cast<Sample>(window - start);
    store_vector(dst + at, pick<Way>(plane + window, in_window));
  };
  for (size_t at = 0; at < last_vector; at += Way::count) copy_vector(at);
  copy_vector(last_vector);
}

template <typename Way, typename Sample>
void copy_from_windows(const plane_row<Sample>& src, const Sample* columns, Sample* dst,
                       size_t count) {
  if (src.samples < Way::window) return copy_one_by_one(src, columns, dst, count);
  const size_t last_vector = count - Way::count;
  if (src.start + columns[last_vector] + Way::window <= src.samples)
    copy_vectors<Way, true>(src, columns, dst, last_vector);
  else
    copy_vectors<Way, false>(src, columns, dst, last_vector);
}

/// Lanes 0, 2, 4 ... of two vectors.
template <typename Lanes, size_t... I>
[[nodiscard]] inline __attribute__((always_inline)) Lanes even_lanes(const Lanes& a, const Lanes& b,
                                                                     std::index_sequence<I...>) {
  return shuffled<static_cast<int>(2 * I)...>(a, b);
}

/// Every second sample.
template <typename Sample>
void copy_every_second(const plane_row<Sample>& src, const Sample* columns, Sample* dst,
                       size_t count) {
  using lanes = vector<Sample>;
  constexpr size_t width = lanes_of<Sample>;
  // A window ends with the sample after the last that is taken.
  if (src.start + columns[count - 1] + 1 >= src.samples)
    return copy_one_by_one(src, columns, dst, count);
  const Sample* const first = src.plane + src.start + columns[0];
  const Sample* const next = src.plane + src.next + columns[0];
  const auto copy_vector = [=](size_t at) __attribute__((always_inline)) {
    prefetch<2 * width>(next + 2 * at);
    store_vector(dst + at, even_lanes(load_vector<lanes>(first + 2 * at),
                                      load_vector<lanes>(first + 2 * at + width),
                                      std::make_index_sequence<lanes_of<Sample>>()));
  };
  const size_t last_vector = count - width;
  for (size_t at = 0; at < last_vector; at += width) copy_vector(at);
  copy_vector(last_vector);
}

template <typename Sample>
[[nodiscard]] bool is_every_second(const Sample* columns, size_t count) {
  if (count < lanes_of<Sample>) return false;
  for (size_t i = 1; i < count; ++i)
    if (columns[i] - columns[i - 1] != 2) return false;
  return true;
}

template <typename Sample>
[[nodiscard]] copy_columns<Sample>* first_that_suits(const Sample* /*columns*/, size_t /*count*/,
                                                     ways<>) {
  return copy_one_by_one<Sample>;
}

template <typename Sample, typename Best, typename... Others>
[[nodiscard]] copy_columns<Sample>* first_that_suits(const Sample* columns, size_t count,
                                                     ways<Best, Others...>) {
  if (suits<Best>(columns, count)) return copy_from_windows<Best, Sample>;
  return first_that_suits(columns, count, ways<Others...>());
}

template <typename Sample>
copy_columns<Sample>* choose(const Sample* columns, size_t count) {
  if (is_every_second(columns, count)) return copy_every_second<Sample>;
  return first_that_suits(columns, count, typename ways_of<Sample>::type());
}

void repeat(void* row, size_t stride, size_t times, size_t bytes) {
  using block = vector<uint8_t>;
  const auto* const from = static_cast<const uint8_t*>(row);
  uint8_t* to = static_cast<uint8_t*>(row) + stride;
  for (; times != 0; --times, to += stride) {
    if (bytes < sizeof(block)) {
      memcpy(to, from, bytes);
      continue;
    }
    const size_t last = bytes - sizeof(block);
#pragma GCC unroll 4
    for (size_t i = 0; i < last; i += sizeof(block))
      store_vector(to + i, load_vector<block>(from + i));
    store_vector(to + last, load_vector<block>(from + last));
  }
}

}  // namespace

extern const nearest_rows nearest;
constinit const nearest_rows nearest = {choose<uint16_t>, choose<uint32_t>, repeat};

}  // namespace qo::QO_ROWS_NS
