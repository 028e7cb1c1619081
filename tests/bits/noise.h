/// Inputs, the same bits on every machine: nothing here is rounded. Two draws never stand in one
/// call or sum, where compilers would choose which comes first.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>
#include <type_traits>
#include <vector>

namespace bits {

/// What samples are like.
enum class nature : uint8_t {
  tame,       ///< floats: multiples of 1/256 whose sums stay finite; integers: below 256
  any_bits,   ///< whatever the bits mean, NaNs and infinities among them
  extreme,    ///< zeros, the largest, infinities, NaNs, denormals: every other integer; of floats
              ///< one in sixteen, because one NaN makes a whole sum of it
  at_limits,  ///< floats at powers of two from 2^-11 to 2^32, where conversions end and wrap
  tiny,       ///< floats: denormals, and numbers whose products are
  zeros,      ///< floats: zeros of both signs, mostly negative, so that sums of them are as well
};

constexpr std::string_view name_of(nature kind) {
  constexpr std::array<std::string_view, 6> names = {"tame",      "any_bits", "extreme",
                                                     "at_limits", "tiny",     "zeros"};
  return names[static_cast<size_t>(kind)];
}

inline constexpr nature float_natures[] = {nature::tame,      nature::any_bits, nature::extreme,
                                           nature::at_limits, nature::tiny,     nature::zeros};
inline constexpr nature integer_natures[] = {nature::tame, nature::any_bits, nature::extreme};

class noise {
 public:
  /// Seeded by an item's name, so that an item stays as it is when others come or go.
  explicit noise(std::string_view name) {
    for (const char letter : name) state_ = (state_ ^ static_cast<uint8_t>(letter)) * multiplier;
  }

  uint32_t word() {
    state_ = state_ * multiplier + 1442695040888963407u;
    return static_cast<uint32_t>((state_ ^ state_ >> 22) >> 29);
  }
  /// 0 to `count` - 1.
  uint32_t below(uint32_t count) { return static_cast<uint32_t>((uint64_t{word()} * count) >> 32); }
  /// `first` to `last`, both included.
  uint32_t from_to(uint32_t first, uint32_t last) { return first + below(last - first + 1); }
  template <typename Element, size_t Count>
  Element one_of(const Element (&elements)[Count]) {
    return elements[below(Count)];
  }

  template <typename Sample>
  Sample sample(nature kind) {
    if constexpr (std::is_same_v<Sample, float>)
      return std::bit_cast<float>(float_bits(kind));
    else
      return integer<Sample>(kind);
  }
  template <typename Sample>
  std::vector<Sample> plane(size_t count, nature kind) {
    std::vector<Sample> samples(count);
    for (Sample& each : samples) each = sample<Sample>(kind);
    return samples;
  }

 private:
  static constexpr uint64_t multiplier = 6364136223846793005u;

  template <typename Sample>
  Sample integer(nature kind) {
    const uint32_t drawn = word();
    if (kind == nature::tame) return static_cast<Sample>(drawn & 0xff);
    if (kind == nature::extreme && drawn >> 31 != 0) {
      using limits = std::numeric_limits<Sample>;
      const Sample extremes[] = {
          0, 1, limits::max(), limits::max() - 1, limits::min(), limits::max() / 2};
      return one_of(extremes);
    }
    return static_cast<Sample>(drawn);
  }

  uint32_t tame_bits() {
    // Below 2^24, so that the conversion is exact.
    const auto number = static_cast<int32_t>(word()) >> 10;
    return std::bit_cast<uint32_t>(static_cast<float>(number) / 256.0f);
  }
  uint32_t float_bits(nature kind) {
    constexpr uint32_t sign = 0x80000000, one = 0x3f800000, fraction = 0x007fffff;
    constexpr uint32_t exponent_step = 0x00800000;
    switch (kind) {
      case nature::tame:
        return tame_bits();
      case nature::any_bits:
        return word();
      case nature::extreme: {
        constexpr uint32_t extremes[] = {
            0x00000000, 0x80000000,  // zeros
            0x7f800000, 0xff800000,  // infinities
            0x7fc00000, 0xffc00123,  // NaNs
            0x7f800001,              // one that signals
            0x7f7fffff, 0xff7fffff,  // the largest
            0x00000001, 0x807fffff,  // denormals
            0x00800000,              // the smallest normal number
            0x4f000000, 0xcf000000,  // 2^31 and -2^31
        };
        return word() >> 28 == 0 ? one_of(extremes) : tame_bits();
      }
      case nature::at_limits: {
        // The power itself, or up to four numbers beside it.
        const uint32_t power = one + from_to(0, 43) * exponent_step - 11 * exponent_step;
        const uint32_t number = power + from_to(0, 8) - 4;
        return number | (word() & sign);
      }
      case nature::tiny: {
        // Exponents 0 to 3, and those of roots of such numbers.
        const uint32_t exponent = word() >> 31 != 0 ? below(4) : from_to(50, 66);
        return (word() & (sign | fraction)) | exponent * exponent_step;
      }
      case nature::zeros:
        return below(16) != 0 ? sign : 0;
    }
    return 0;
  }

  uint64_t state_ = 0x9e3779b97f4a7c15u;
};

/// Room for results, no byte of it zero: what a routine leaves unwritten shows.
template <typename Sample>
std::vector<Sample> unwritten(size_t count) {
  std::vector<Sample> samples(count);
  if (count != 0) memset(samples.data(), 0xa5, count * sizeof(Sample));
  return samples;
}

}  // namespace bits
