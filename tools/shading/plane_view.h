/// The numbers of one panel, read off the tables sample by sample.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tools/shading/shading.h"

namespace shading {

enum class stage : uint8_t { before, after, ratio };

/// "before", "after" or "ratio".
[[nodiscard]] const char* name_of(stage which);

/// One channel at one stage. Gains are samples / 2^fraction_bits, ratios after / before.
class plane_view {
 public:
  /// The light and the channel have to outlive this; a stage but `before` needs an `after`.
  plane_view(const subject& about, const light_panels& light, const plane_pair& channel,
             stage which);

  [[nodiscard]] size_t width() const { return width_; }
  [[nodiscard]] size_t height() const { return height_; }
  [[nodiscard]] size_t samples() const { return width_ * height_; }
  [[nodiscard]] stage which() const { return which_; }

  /// The gain or ratio; a NaN for a ratio that is not finite.
  [[nodiscard]] double at(size_t index) const;
  [[nodiscard]] double at(size_t row, size_t column) const { return at(row * width_ + column); }

  /// A gain below 1.0. Never true of a ratio.
  [[nodiscard]] bool is_below_one(size_t index) const;
  /// The sample, or one that the ratio is made of, is a product that did not fit into 16 bits.
  [[nodiscard]] bool is_wrapped(size_t index) const;
  /// A value that says something of the lens: a number, and not what wrapping left.
  [[nodiscard]] bool is_sound(size_t index) const;

 private:
  const plane_pair& channel_;
  size_t width_;
  size_t height_;
  stage which_;
  double unit_before_;
  double unit_after_;
};

/// Stages that a subject can show.
[[nodiscard]] std::span<const stage> stages_of(const subject& about);

}  // namespace shading
