/// Where finished samples go, a row or part of it at a time.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "rows/row_table.h"

namespace qo {

/// Outputs from this size on go past the caches: fetching lines that are overwritten, and losing
/// others for them, took up to half of the time.
inline constexpr size_t streamed_bytes = size_t{4} << 20;

/// A plane of rows that are formed from left to right, `step` elements from one sample to the next.
/// What lies between samples stays as it is.
template <typename Element>
class output_plane {
 public:
  output_plane(Element* first, uint32_t width, uint32_t height, size_t step)
      : first_(first),
        width_(width),
        height_(height),
        step_(step),
        is_streamed_(step == 1 && uint64_t{width} * height >= streamed_bytes / sizeof(Element)) {}
  output_plane(const output_plane&) = delete;
  output_plane& operator=(const output_plane&) = delete;
  ~output_plane() {
    if (is_streamed_) rows().store.settle();
  }

  [[nodiscard]] uint32_t width() const { return width_; }
  [[nodiscard]] uint32_t height() const { return height_; }
  [[nodiscard]] bool has_gaps() const { return step_ != 1; }

  /// Writes the samples `left` ... `left` + `count` - 1 of a row. form(done, part, to) forms `part`
  /// of them after the first `done`, a multiple of part_samples, side by side.
  template <typename Form>
  void write(uint32_t row, uint32_t left, uint32_t count, const Form& form) {
    Element* const to = first_ + (uint64_t{row} * width_ + left) * step_;
    if (step_ == 1 && !is_streamed_) return form(size_t{0}, count, to);
    for (size_t done = 0; done < count; done += part_samples) {
      const size_t part = std::min(count - done, part_samples);
      form(done, part, static_cast<Element*>(formed_));
      if (is_streamed_)
        rows().store.stream(formed_, to + done, part * sizeof(Element));
      else
        spread(part, to + done * step_);
    }
  }

 private:
  static constexpr size_t part_samples = 4096 / sizeof(Element);

  void spread(size_t count, Element* to) const {
    if constexpr (std::is_same_v<Element, uint8_t>)
      rows().store.spread_u8(formed_, count, to, step_);
    else if constexpr (std::is_same_v<Element, uint16_t>)
      rows().store.spread_u16(formed_, count, to, step_);
  }

  Element* first_;
  uint32_t width_;
  uint32_t height_;
  size_t step_;
  bool is_streamed_;
  alignas(64) Element formed_[part_samples];
};

}  // namespace qo
