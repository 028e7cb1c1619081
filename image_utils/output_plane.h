/// Where finished samples go, a row or part of it at a time.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "rows/row_table.h"

namespace qo {

/// Outputs from this size on go past the caches, if no more is read than is written: fetching lines
/// that are overwritten, and losing others for them, took up to half of the time. Where more is
/// read it took less than waiting for memory after every store, by a tenth.
inline constexpr size_t streamed_bytes = size_t{4} << 20;

/// Neighbouring rows of output that are formed together.
struct row_group {
  /// At most: further ones would take little from the time of each.
  static constexpr uint32_t most = 4;

  uint32_t first;
  uint32_t count;
};

/// A plane of rows that are formed from left to right, `step` elements from one sample to the next.
/// What lies between samples stays as it is.
template <typename Element>
class output_plane {
 public:
  /// `samples_read` of a source are needed.
  output_plane(Element* first, uint32_t width, uint32_t height, size_t step, uint64_t samples_read)
      : first_(first),
        width_(width),
        height_(height),
        step_(step),
        is_streamed_(step == 1 && uint64_t{width} * height >= samples_read &&
                     uint64_t{width} * height >= streamed_bytes / sizeof(Element)) {}
  output_plane(const output_plane&) = delete;
  output_plane& operator=(const output_plane&) = delete;
  ~output_plane() {
    if (is_streamed_) rows().store.settle();
  }

  [[nodiscard]] uint32_t width() const { return width_; }
  [[nodiscard]] uint32_t height() const { return height_; }
  /// Rows that are best formed together, at most. Those with gaps are written one after the other.
  [[nodiscard]] uint32_t rows_together() const {
    return step_ == 1 || row_group::most * uint64_t{width_} <= formed_samples ? row_group::most : 1;
  }
  [[nodiscard]] bool has_gaps() const { return step_ != 1; }

  /// Writes the samples `left` ... `left` + `count` - 1 of some rows. form(done, part, to, pitch)
  /// forms `part` of each after the first `done`, a multiple of what any register holds, side by
  /// side, and the rows `pitch` samples apart.
  template <typename Form>
  void write(const row_group& group, uint32_t left, uint32_t count, const Form& form) {
    const size_t pitch = width_ * step_;
    Element* const to = first_ + group.first * pitch + left * step_;
    if (step_ == 1 && !is_streamed_) return form(size_t{0}, count, to, pitch);
    const size_t most = group.count == 1 ? formed_samples : formed_samples / row_group::most;
    for (size_t done = 0; done < count; done += most) {
      const size_t part = std::min(count - done, most);
      form(done, part, static_cast<Element*>(formed_), most);
      for (size_t row = 0; row < group.count; ++row)
        put(formed_ + row * most, part, to + row * pitch + done * step_);
    }
  }

 private:
  static constexpr size_t formed_samples = 4096 / sizeof(Element);

  void put(const Element* from, size_t count, Element* to) const {
    if (is_streamed_) return rows().store.stream(from, to, count * sizeof(Element));
    if constexpr (std::is_same_v<Element, uint8_t>)
      rows().store.spread_u8(from, count, to, step_);
    else if constexpr (std::is_same_v<Element, uint16_t>)
      rows().store.spread_u16(from, count, to, step_);
  }

  Element* first_;
  uint32_t width_;
  uint32_t height_;
  size_t step_;
  bool is_streamed_;
  alignas(64) Element formed_[formed_samples];
};

}  // namespace qo
