// The common part of bilinear resizing in fixed point: strips of columns, and the source rows that
// their outputs are blended from.

#include "image_utils/resize_inside.h"

#include <algorithm>

#include "image_utils/column_strip.h"
#include "image_utils/last_two_rows.h"
#include "rows/row_table.h"

namespace qo {
namespace {

template <typename Element>
[[nodiscard]] const bilinear_kernels<Element>& kernels_of();
template <>
const bilinear_kernels<uint8_t>& kernels_of() {
  return rows().bilinear.u8;
}
template <>
const bilinear_kernels<uint16_t>& kernels_of() {
  return rows().bilinear.u16;
}
template <>
const bilinear_kernels<uint32_t>& kernels_of() {
  return rows().bilinear.u32;
}

/// Whether output rows are to be formed from their two source rows at once, even where they share
/// them with others: because forming those twice takes less time than keeping them, or than going
/// through source and output in several strips. Of 16 bits the rows between two source rows share
/// what is formed; of 8 bits a strip is wide, but rows with gaps are formed one by one.
template <typename Element>
[[nodiscard]] bool is_formed_at_once(const axis_walk& walk_y, const output_plane<Element>& out) {
  constexpr uint32_t one = 1u << bilinear_fraction_bits<Element>;
  if (walk_y.step >= 2 * one) return true;  // no source row is used twice
  if (!kernels_of<Element>().is_across_fast) return false;
  if (walk_y.step >= one + one / 2) return true;
  return out.width() > bilinear_strip<Element> && (out.has_gaps() || sizeof(Element) == 2);
}

/// Output rows between the same two source rows. Where all fall on one both are that one.
struct rows_between {
  row_group group;
  uint64_t upper;
  uint64_t lower;
  uint32_t far_weight;  ///< of the first output row
};

/// Of the output rows from number `first` on those that are formed together.
template <typename Element>
[[nodiscard]] rows_between rows_from(const axis_walk& walk_y, uint32_t first,
                                     const output_plane<Element>& out) {
  constexpr uint32_t fraction_bits = bilinear_fraction_bits<Element>;
  const auto y = cell_position_of<fraction_bits>(walk_y.start + first * walk_y.step);
  const uint32_t most = std::min(out.rows_together(), out.height() - first);
  uint32_t count = 1;
  uint32_t weight = y.far_weight;
  for (; count < most && ((weight + walk_y.step) >> fraction_bits) == 0; ++count)
    weight += walk_y.step;
  return {{first, count}, y.cell, uint64_t{y.cell} + (weight != 0 ? 1 : 0), y.far_weight};
}

/// Calls form_group(rows_between) for all output rows.
template <typename Element, typename FormGroup>
void each_group(const axis_walk& walk_y, const output_plane<Element>& out,
                const FormGroup& form_group) {
  for (uint32_t i = 0; i < out.height();) {
    const rows_between between = rows_from<Element>(walk_y, i, out);
    form_group(between);
    i += between.group.count;
  }
}

template <typename Element>
void plan_strip(const source_rows<Element>& source, const axis_walk& walk_x,
                const column_strip& strip, bilinear_columns<Element>& columns) {
  const uint32_t first = walk_x.start + strip.left * walk_x.step;
  kernels_of<Element>().plan({first, walk_x.step, strip.width, source.extent}, columns);
}

// The ways to form a strip are not inlined: they would stand on the stack together.

/// The outputs of a strip of columns, each source row blended across once.
template <typename Element>
__attribute__((noinline)) void resize_strip(const source_rows<Element>& source,
                                            const axis_walk& walk_x, const axis_walk& walk_y,
                                            const column_strip& strip, output_plane<Element>& out) {
  const bilinear_kernels<Element>& kernels = kernels_of<Element>();
  bilinear_columns<Element> columns;
  plan_strip(source, walk_x, strip, columns);
  const auto blend_across = [&](uint64_t row, bilinear_row<Element>& blended) {
    kernels.across(columns, source[row], blended);
  };
  last_two_rows<bilinear_row<Element>, decltype(blend_across)> blended(blend_across);
  each_group(walk_y, out, [&](const rows_between& y) {
    const bilinear_row<Element>& upper = blended.at(y.upper);
    const bilinear_row<Element>& lower = blended.at(y.lower);
    out.write(y.group, strip.left, strip.width,
              [&](size_t done, size_t count, Element* to, size_t pitch) {
                kernels.down(upper, lower,
                             {done, count, y.group.count, y.far_weight, walk_y.step, to, pitch});
              });
  });
}

/// Strips that are formed side by side where nothing is kept of source rows: what they would take
/// on the stack holds the columns of another strip.
template <typename Element>
constexpr uint32_t strips_side_by_side =
    bilinear_planned<Element> == bilinear_strip<Element> ? 2 : 1;

/// Outputs of such strips at most. Columns that repeat serve any width.
template <typename Element>
constexpr uint32_t most_at_once =
    strips_side_by_side<Element> == 1 ? UINT32_MAX
                                      : strips_side_by_side<Element>* bilinear_strip<Element>;

/// resize_strip() with nothing kept of source rows.
template <typename Element>
__attribute__((noinline)) void resize_strip_at_once(const source_rows<Element>& source,
                                                    const axis_walk& walk_x,
                                                    const axis_walk& walk_y,
                                                    const column_strip& strip,
                                                    output_plane<Element>& out) {
  const bilinear_kernels<Element>& kernels = kernels_of<Element>();
  constexpr uint32_t most = most_at_once<Element> / strips_side_by_side<Element>;
  bilinear_columns<Element> columns[strips_side_by_side<Element>];
  const auto each_part = [&](auto work) {
    for (uint32_t part = 0, done = 0; done < strip.width; ++part, done += most) {
      work(part, column_strip{strip.left + done, std::min(most, strip.width - done)});
      if (most == UINT32_MAX) return;
    }
  };
  each_part(
      [&](uint32_t n, const column_strip& part) { plan_strip(source, walk_x, part, columns[n]); });
  each_group(walk_y, out, [&](const rows_between& y) {
    each_part([&](uint32_t n, const column_strip& part) {
      out.write(y.group, part.left, part.width,
                [&](size_t done, size_t count, Element* to, size_t pitch) {
                  kernels.across_and_down(
                      columns[n], source[y.upper], source[y.lower],
                      {done, count, y.group.count, y.far_weight, walk_y.step, to, pitch});
                });
    });
  });
}

/// resize_strip() for outputs that all fall on samples, in columns and rows.
template <typename Element>
void pick_strip(const source_rows<Element>& source, const axis_walk& walk_x,
                const axis_walk& walk_y, const column_strip& strip, output_plane<Element>& out) {
  constexpr uint32_t fraction_bits = bilinear_fraction_bits<Element>;
  const bilinear_kernels<Element>& kernels = kernels_of<Element>();
  const uint32_t first = (walk_x.start + strip.left * walk_x.step) >> fraction_bits;
  const size_t stride = walk_x.step >> fraction_bits;
  for (uint32_t i = 0; i < out.height(); ++i) {
    const uint64_t row = (walk_y.start + i * walk_y.step) >> fraction_bits;
    const Element* const samples = source[row] + first;
    out.write({i, 1}, strip.left, strip.width, [&](size_t done, size_t count, Element* to, size_t) {
      kernels.pick(samples + done * stride, stride, to, count);
    });
  }
}

template <uint32_t FractionBits>
[[nodiscard]] bool falls_on_samples(const axis_walk& walk) {
  return ((walk.start | walk.step) & ((uint32_t{1} << FractionBits) - 1)) == 0;
}

}  // namespace

template <typename Element>
void resize_inside(const source_rows<Element>& source, const axis_walk& walk_x,
                   const axis_walk& walk_y, output_plane<Element>& out) {
  constexpr uint32_t fraction_bits = bilinear_fraction_bits<Element>;
  constexpr uint32_t any_width = UINT32_MAX;
  const auto in_strips_by = [&](auto each_strip, uint32_t most) {
    in_strips(out.width(), most,
              [&](const column_strip& strip) { each_strip(source, walk_x, walk_y, strip, out); });
  };
  if (falls_on_samples<fraction_bits>(walk_x) && falls_on_samples<fraction_bits>(walk_y))
    in_strips_by(pick_strip<Element>, any_width);
  else if (is_formed_at_once(walk_y, out))
    in_strips_by(resize_strip_at_once<Element>, most_at_once<Element>);
  else
    in_strips_by(resize_strip<Element>, bilinear_strip<Element>);
}

template void resize_inside(const source_rows<uint8_t>&, const axis_walk&, const axis_walk&,
                            output_plane<uint8_t>&);
template void resize_inside(const source_rows<uint16_t>&, const axis_walk&, const axis_walk&,
                            output_plane<uint16_t>&);
template void resize_inside(const source_rows<uint32_t>&, const axis_walk&, const axis_walk&,
                            output_plane<uint32_t>&);

}  // namespace qo
