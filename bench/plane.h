/// Planes of samples that contenders read and write.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace bench {

enum class sample { u8, u16, u32, f32 };

[[nodiscard]] size_t bytes_of(sample type);

template <typename Sample>
inline constexpr sample sample_of = sizeof(Sample) == 1   ? sample::u8
                                    : sizeof(Sample) == 2 ? sample::u16
                                                          : sample::u32;
template <>
inline constexpr sample sample_of<float> = sample::f32;

/// A plane in memory of its own; a copy is the same plane. It starts at a multiple of 64 bytes and
/// has as many to spare at its end: some peers read past the last sample.
struct plane {
  sample type;
  size_t width;
  size_t height;
  size_t stride;  ///< bytes from row to row
  std::shared_ptr<void> memory;

  template <typename Sample>
  [[nodiscard]] Sample* as() const {
    return static_cast<Sample*>(memory.get());
  }
  [[nodiscard]] size_t bytes() const { return stride * height; }
};

/// Rows back to back, as the library takes them.
[[nodiscard]] plane dense_plane(sample type, size_t width, size_t height);
/// Rows at multiples of 64 bytes, as some peers demand.
[[nodiscard]] plane padded_plane(sample type, size_t width, size_t height);

/// The same noise for planes of equal type and size, however their rows stand: whole numbers over
/// the whole range, floats from 0 to 60, which 16 bits with 10 fractional ones hold.
[[nodiscard]] plane with_noise(plane blank);

/// A job's result would be left out if nobody could look at it.
inline void keep(const void* memory) { asm volatile("" : : "r"(memory) : "memory"); }

}  // namespace bench
