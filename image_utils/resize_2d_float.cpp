// resize_2d_array_float(): bilinear resize of float arrays in single precision, corner-aligned.

#include "qo_cmc/image_utils.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "base/float_to_int.h"
#include "image_utils/column_strip.h"
#include "image_utils/corner_alignment.h"
#include "image_utils/last_two_rows.h"
#include "image_utils/output_plane.h"
#include "qo_cmc/status.h"
#include "rows/row_table.h"

namespace qo {
namespace {

/// The two samples around a position, and how far it stands from the first.
struct sample_pair {
  size_t first;
  size_t second;  ///< `first` itself at the last sample: nothing is extrapolated
  float fraction;
};

[[nodiscard]] sample_pair sample_pair_of(uint32_t out_index, float step, uint32_t in_side) {
  const float position = static_cast<float>(out_index) * step;
  // Contract: 16 bits. In an array of more rows the index starts over at 65536, while the fraction
  // keeps the whole distance.
  const auto first = static_cast<uint16_t>(truncate_to_i32(position));
  const size_t second = first < in_side - 1 ? size_t{first} + 1 : first;
  return {first, second, position - static_cast<float>(first)};
}

/// What is resized: rows of `width` samples.
struct source_rows {
  const float* first;
  uint32_t width;

  [[nodiscard]] const float* operator[](size_t row) const { return first + row * width; }
};

/// Output rows between the same two source rows.
struct rows_between {
  row_group group;
  size_t upper;
  size_t lower;
  float fractions[row_group::most];
};

/// A resize, of which strips of columns are formed one after the other.
class float_resize {
 public:
  float_resize(const source_rows& source, uint32_t in_height, float step_x, float step_y,
               output_plane<float>& out)
      : source_(source), in_height_(in_height), step_x_(step_x), step_y_(step_y), out_(out) {}

  void run() const {
    if (is_formed_at_once())
      in_strips(out_.width(), side_by_side * strip,
                [&](const column_strip& strips) { form_strips_at_once(strips); });
    else
      in_strips(out_.width(), strip, [&](const column_strip& part) { form_strip(part); });
  }

 private:
  static constexpr uint32_t strip = bilinear_float_strip;
  /// Without products of source rows the columns of so many strips stand on the stack.
  static constexpr uint32_t side_by_side = 3;

  /// Whether output rows are to be formed from their two source rows at once, even where they share
  /// them with others: because forming products twice takes less time than keeping them, or than
  /// going through source and output in strips of half the width.
  [[nodiscard]] bool is_formed_at_once() const {
    if (step_y_ >= 2.0f) return true;  // hardly any source row is used twice
    return kernels_.is_across_fast && (step_y_ >= 1.0f || out_.width() > 2 * strip);
  }

  void plan(const column_strip& part, bilinear_float_columns& columns) const {
    kernels_.plan({part.left, part.width, source_.width, step_x_}, columns);
  }

  /// Calls form_group(rows_between) for all output rows.
  template <typename FormGroup>
  void each_group(const FormGroup& form_group) const {
    for (uint32_t i = 0; i < out_.height();) {
      const sample_pair y = sample_pair_of(i, step_y_, in_height_);
      rows_between between{{i, 1}, y.first, y.second, {y.fraction}};
      uint32_t& count = between.group.count;
      for (; count < row_group::most && i + count < out_.height(); ++count) {
        const sample_pair next = sample_pair_of(i + count, step_y_, in_height_);
        if (next.first != y.first || next.second != y.second) break;
        between.fractions[count] = next.fraction;
      }
      form_group(between);
      i += count;
    }
  }

  // Not inlined: the two would stand on the stack together.

  /// With the products of each source row formed once.
  __attribute__((noinline)) void form_strip(const column_strip& part) const {
    bilinear_float_columns columns;
    plan(part, columns);
    const auto form_products = [&](uint64_t row, bilinear_float_row& products) {
      kernels_.across(columns, source_[row], products);
    };
    last_two_rows<bilinear_float_row, decltype(form_products)> products(form_products);
    each_group([&](const rows_between& y) {
      const bilinear_float_row& upper = products.at(y.upper);
      const bilinear_float_row& lower = products.at(y.lower);
      out_.write(
          y.group, part.left, part.width, [&](size_t done, size_t count, float* to, size_t pitch) {
            kernels_.down(upper, lower, {done, count, y.group.count, y.fractions, to, pitch});
          });
    });
  }

  /// With nothing kept of source rows.
  __attribute__((noinline)) void form_strips_at_once(const column_strip& strips) const {
    bilinear_float_columns columns[side_by_side];
    const auto each_strip = [&](auto work) {
      for (uint32_t n = 0, done = 0; done < strips.width; ++n, done += strip)
        work(column_strip{strips.left + done, std::min<uint32_t>(strip, strips.width - done)},
             columns[n]);
    };
    each_strip(
        [&](const column_strip& part, bilinear_float_columns& planned) { plan(part, planned); });
    each_group([&](const rows_between& y) {
      each_strip([&](const column_strip& part, const bilinear_float_columns& planned) {
        out_.write(y.group, part.left, part.width,
                   [&](size_t done, size_t count, float* to, size_t pitch) {
                     kernels_.across_and_down(planned, source_[y.upper], source_[y.lower],
                                              {done, count, y.group.count, y.fractions, to, pitch});
                   });
      });
    });
  }

  const bilinear_float_rows& kernels_ = rows().bilinear_float;
  const source_rows& source_;
  uint32_t in_height_;
  float step_x_;
  float step_y_;
  output_plane<float>& out_;
};

}  // namespace
}  // namespace qo

uint32_t resize_2d_array_float(const float* src, uint32_t in_w, int32_t in_h, float* dst,
                               uint32_t out_w, uint32_t out_h) {
  // Contract: of the widths the low 16 bits count, also as row lengths; the heights are tested as
  // signed values.
  const auto in_width = static_cast<uint16_t>(in_w);
  const auto out_width = static_cast<uint16_t>(out_w);
  const auto out_height = static_cast<int32_t>(out_h);
  if (in_width < 2 || out_width < 2 || in_h < 2 || out_height < 2) return QO_CMC_INVALID_SIZE;
  if (src == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;

  const float step_x = qo::corner_aligned_step(in_width, out_width);
  const float step_y = qo::corner_aligned_step(in_h, out_height);
  qo::output_plane<float> out(dst, out_width, out_h, 1,
                              uint64_t{in_width} * static_cast<uint32_t>(in_h));
  const qo::source_rows source{src, in_width};
  qo::float_resize(source, static_cast<uint32_t>(in_h), step_x, step_y, out).run();
  return QO_CMC_OK;
}
