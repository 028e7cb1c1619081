// Maxima of blocks: down the rows of a block first, over a strip of columns, and then along.

#include "image_utils/block_maximum.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

#include "rows/row_table.h"

namespace qo {
namespace {

/// Indices from `before` + 1 to `last`; none when `last` is not above `before`.
struct index_span {
  uint32_t before;
  uint32_t last;

  [[nodiscard]] uint32_t size() const { return last > before ? last - before : 0; }
};

/// Source columns whose blocks begin and end with them, and the outputs of these blocks.
class block_strip {
 public:
  /// The blocks of the outputs from `first_output` on, after the source column `before`: as many as
  /// there is room for. A block that is wider than all the room stands alone.
  block_strip(uint32_t first_output, uint32_t before, uint32_t out_width, float scale)
      : columns_{before, before} {
    uint32_t narrowest = most_columns;
    for (; outputs_ < most_outputs && first_output + outputs_ < out_width; ++outputs_) {
      const index_span block{columns_.last, far_edge_index(first_output + outputs_ + 1, scale)};
      if (block.last - before > most_columns) break;
      // The 0 in front of the strip makes up all of an empty block. It joins the row's first block,
      // which starts late and may be a column short, and no later one: that may be a column longer
      // than the narrowest already, and two spans of `width_` values would not cover one more.
      const bool takes_0 = block.size() == 0 || first_output + outputs_ == 0;
      const uint32_t first = takes_0 ? 0 : block.before - before + 1;
      const uint32_t last = block.size() == 0 ? 0 : block.last - before;
      narrowest = std::min(narrowest, last - first + 1);
      first_[outputs_] = static_cast<uint16_t>(first);
      last_[outputs_] = static_cast<uint16_t>(last);
      columns_.last = block.last;
    }
    if (outputs_ == 0) {
      outputs_ = 1;
      columns_.last = far_edge_index(first_output + 1, scale);
      return;
    }
    width_ = std::bit_floor(narrowest);
    for (uint32_t i = 0; i < outputs_; ++i)
      last_[i] = static_cast<uint16_t>(last_[i] - (width_ - 1));
  }

  [[nodiscard]] uint32_t outputs() const { return outputs_; }
  [[nodiscard]] const index_span& columns() const { return columns_; }

  /// The maxima of the blocks that lie in `block_rows`, of which there is one at least.
  void take(const int32_t* src, const plane_size& size, const index_span& block_rows,
            uint32_t* dst) {
    if (columns_.size() > most_columns) {
      dst[0] = take_one(src, size, block_rows);
      return;
    }
    const uint32_t inside = columns_inside(size);
    values_[0] = 0;
    if (inside != 0)
      rows().maxima.over_rows(src + (block_rows.before + 1) * size.width + columns_.before + 1,
                              size.width, block_rows.size(), values_ + 1, inside);
    if (inside < columns_.size()) values_[inside + 1] = take_far_column(src, size, block_rows);
    rows().maxima.over_spans(values_, size_t{columns_.size()} + 1,
                             {first_, last_, outputs_, width_}, dst);
  }

 private:
  static constexpr uint32_t most_outputs = 2048;
  static constexpr uint32_t most_columns = 4095;

  /// The columns but the one that can lie past the end of the row.
  [[nodiscard]] uint32_t columns_inside(const plane_size& size) const {
    const auto row_last = static_cast<uint32_t>(size.width) - 1;
    return index_span{columns_.before, std::min(columns_.last, row_last)}.size();
  }

  [[nodiscard]] static int32_t take_far_column(const int32_t* src, const plane_size& size,
                                               const index_span& block_rows) {
    int32_t maximum = 0;
    for (uint32_t row = block_rows.before + 1; row <= block_rows.last; ++row)
      maximum = std::max(maximum, samples_from(src, size, row, 0)[size.width]);
    return maximum;
  }

  [[nodiscard]] uint32_t take_one(const int32_t* src, const plane_size& size,
                                  const index_span& block_rows) const {
    const uint32_t inside = columns_inside(size);
    int32_t maximum =
        inside < columns_.size() ? take_far_column(src, size, block_rows) : int32_t{0};
    for (uint32_t row = block_rows.before + 1; row <= block_rows.last; ++row) {
      const int32_t* const samples = src + row * size.width + columns_.before + 1;
      maximum = std::max(maximum, rows().maxima.of_row(samples, inside));
    }
    return static_cast<uint32_t>(maximum);
  }

  index_span columns_;
  uint32_t outputs_ = 0;
  uint32_t width_ = 1;
  // Of the block of each output, counted from the 0 in front of the strip.
  uint16_t first_[most_outputs];
  uint16_t last_[most_outputs];
  int32_t values_[most_columns + 1];
};

}  // namespace

void take_block_maxima(const int32_t* src, uint32_t* dst, const far_edge_sizes& sizes) {
  const float scale_y = sizes.scale_y();
  const uint32_t last_row = sizes.in_height - 1u;
  // Contract: the blocks begin one past 0, so row 0 and column 0 of the source are in none.
  uint32_t column_before = 0;
  for (uint32_t x = 0; x < sizes.out_width;) {
    block_strip strip(x, column_before, sizes.out_width, sizes.scale_x());
    index_span block_rows{0, 0};
    for (uint32_t y = 0; y < sizes.out_height; ++y, block_rows.before = block_rows.last) {
      block_rows.last = std::min<uint32_t>(far_edge_index(y + 1, scale_y), last_row);
      uint32_t* const target = dst + size_t{y} * sizes.out_width + x;
      if (block_rows.size() == 0)
        memset(target, 0, strip.outputs() * sizeof *target);
      else
        strip.take(src, sizes.source(), block_rows, target);
    }
    x += strip.outputs();
    column_before = strip.columns().last;
  }
}

}  // namespace qo
