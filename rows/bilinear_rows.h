/// Row kernels of bilinear resizing in fixed point.
///
/// The rule for one output, F being `bilinear_fraction_bits` of its element, everything modulo
/// 2^32:
///
///   dst = (upper v0 + lower v1 + 2^(2F - 1)) >> 2F,  v0 + v1 = 2^F
///   upper, lower = s(k) u0 + s(k + 1) u1 of their source row,  u0 + u1 = 2^F
///   k = X >> F,  u1 = X & (2^F - 1)
///
/// The sums may be formed in any order, as they are exact or wrap. Thus a source row is blended
/// across once, however many output rows it has a part in, and output rows are blended down from
/// pairs of such rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace qo {

/// Most with which 16-bit samples do not wrap: 65535 * 65536 + 32768 is below 2^32.
inline constexpr uint32_t narrow_fraction_bits = 8;
// Contract: 12 bits make samples of 256 and more wrap.
inline constexpr uint32_t wide_fraction_bits = 12;

template <typename Element>
inline constexpr uint32_t bilinear_fraction_bits = sizeof(Element) == 4 ? wide_fraction_bits
                                                                        : narrow_fraction_bits;

/// Outputs of a row that are blended together at most, a multiple of what any register holds: what
/// a strip has on the stack takes less than 32 KiB.
template <typename Element>
inline constexpr size_t bilinear_strip = sizeof(Element) == 1   ? 5120
                                         : sizeof(Element) == 2 ? 2688
                                                                : 1280;

/// Outputs whose columns are worked out. With 8 fraction bits 256 outputs advance a whole number of
/// samples: from there on cells and weights repeat. Twice as many save short rows the repetition.
template <typename Element>
inline constexpr size_t bilinear_planned = sizeof(Element) == 4 ? bilinear_strip<Element>
                                                                : size_t{2} << narrow_fraction_bits;

/// The positions X of `count` outputs, along rows of which the first `extent` samples, at least 2,
/// may be read: first, first + step, ... None passes (extent - 1) << F.
struct bilinear_walk {
  uint32_t first;
  uint32_t step;
  uint32_t count;
  uint32_t extent;
};

/// What holds s(k) u0 + s(k + 1) u1, and half a unit of the result.
template <typename Element>
using bilinear_value = std::conditional_t<sizeof(Element) == 1, uint16_t, uint32_t>;

/// What a set of kernels has worked out about a walk. Only the set that filled it reads it.
template <typename Element>
struct bilinear_columns {
  static constexpr size_t bytes = bilinear_planned<Element> * sizeof(bilinear_value<Element>);

  bilinear_walk walk;
  uint32_t windows;         ///< windows of the source row around the taps of neighbouring outputs
  uint32_t repeats_inside;  ///< times that the planned columns stand in the row with whole windows
  alignas(64) uint32_t starts[bytes / 16];
  alignas(64) uint8_t patterns[bytes];
  alignas(64) uint8_t weights[bytes];
};

/// A source row blended across, of one strip. Order and offset of the values are the set's own.
template <typename Element>
struct bilinear_row {
  alignas(64) bilinear_value<Element> values[bilinear_strip<Element>];
};

/// Part of some output rows that lie between the same two source rows.
template <typename Element>
struct bilinear_part {
  size_t first;      ///< output of the walk that each begins with: a multiple of any register's
  size_t count;      ///< outputs of each, at least 1
  uint32_t rows;     ///< at least 1
  uint32_t v1;       ///< weight of the lower source row in the first of them
  uint32_t v1_step;  ///< what each adds to it; in none it passes 2^F
  Element* dst;
  size_t pitch;  ///< from one to the next in `dst`
};

/// The kernels for one element type. Nothing overlaps.
template <typename Element>
struct bilinear_kernels {
  /// Works out the columns of a walk: of 32-bit samples bilinear_strip outputs at most, of others
  /// any number.
  void (*plan)(const bilinear_walk& walk, bilinear_columns<Element>& columns);

  /// Blends a source row across, reading row[0 ... extent - 1]: bilinear_strip outputs at most.
  void (*across)(const bilinear_columns<Element>& columns, const Element* row,
                 bilinear_row<Element>& blended);

  /// Output rows from two rows that are blended across, which may be the same.
  void (*down)(const bilinear_row<Element>& upper, const bilinear_row<Element>& lower,
               const bilinear_part<Element>& part);

  /// across() of two source rows and down() at once.
  void (*across_and_down)(const bilinear_columns<Element>& columns, const Element* upper,
                          const Element* lower, const bilinear_part<Element>& part);

  /// What the rule leaves where every output falls on a sample: dst[i] = row[i * stride], of 32-bit
  /// samples the low 8 bits. Nothing after the last such sample is read.
  void (*pick)(const Element* row, size_t stride, Element* dst, size_t count);

  /// Whether blending a row across takes hardly more time than storing it and loading it again.
  bool is_across_fast;
};

struct bilinear_rows {
  bilinear_kernels<uint8_t> u8;
  bilinear_kernels<uint16_t> u16;
  bilinear_kernels<uint32_t> u32;
};

}  // namespace qo
