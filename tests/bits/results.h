/// What the items gave: a hash of each one's results.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace bits {

/// A hash of samples, one step each, so that it costs little under emulation. Every step can be
/// undone: what differs in one sample cannot become equal again by itself.
class digest {
 public:
  /// A status, or a size: whatever is no sample.
  void status(uint64_t value) { step(value); }

  /// Samples whose bits are defined, those of copied NaNs among them.
  template <typename Sample>
  void samples(std::span<const Sample> values) {
    using word = std::conditional_t<
        sizeof(Sample) == 4, uint32_t,
        std::conditional_t<sizeof(Sample) == 2, uint16_t,
                           std::conditional_t<sizeof(Sample) == 1, uint8_t, uint64_t>>>;
    for (const Sample value : values) step(std::bit_cast<word>(value));
    count_ += values.size();
  }
  template <typename Sample>
  void samples(const std::vector<Sample>& values) {
    samples(std::span<const Sample>(values));
  }

  /// Results of arithmetic on floats. All NaNs are one: which operand's sign and payload an
  /// addition keeps is the compiler's choice, and those of a new NaN are the processor's.
  void computed(std::span<const float> values) {
    for (const float value : values) {
      if (value != value)
        step(uint64_t{1} << 32);
      else
        step(std::bit_cast<uint32_t>(value));
    }
    count_ += values.size();
  }

  uint64_t value() const { return state_; }
  size_t sample_count() const { return count_; }

 private:
  void step(uint64_t word) {
    state_ = (state_ ^ word) * 0xd1342543de82ef95u;
    state_ ^= state_ >> 32;
  }

  uint64_t state_ = 0x243f6a8885a308d3u;
  size_t count_ = 0;
};

class results {
 public:
  struct item {
    std::string name;
    digest hash;
  };

  /// A new item; the reference stays good.
  digest& add(std::string name) { return items_.emplace_back(item{std::move(name), {}}).hash; }
  const std::deque<item>& items() const { return items_; }

 private:
  std::deque<item> items_;
};

}  // namespace bits
