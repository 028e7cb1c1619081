#include "bench/plane.h"

#include <cstdlib>
#include <cstring>

namespace bench {
namespace {

constexpr size_t alignment = 64;

size_t rounded_up(size_t bytes) { return (bytes + alignment - 1) / alignment * alignment; }

plane plane_with_stride(sample type, size_t width, size_t height, size_t stride) {
  const size_t bytes = rounded_up(stride * height) + alignment;
  void* const memory = std::aligned_alloc(alignment, bytes);
  if (memory == nullptr) std::abort();
  std::memset(memory, 0, bytes);  // every page is there before the clock runs
  return {type, width, height, stride, std::shared_ptr<void>(memory, std::free)};
}

template <typename Sample>
Sample noise_at(size_t index) {
  const auto bits = static_cast<uint32_t>((index + 1) * 0x9e3779b97f4a7c15u >> 32);
  if constexpr (sample_of<Sample> == sample::f32)
    return static_cast<float>(bits >> 8) * (60.0f / 16777216.0f);
  else
    return static_cast<Sample>(bits);
}

template <typename Sample>
void fill(const plane& blank) {
  for (size_t y = 0; y < blank.height; ++y) {
    Sample* const row = blank.as<Sample>() + y * (blank.stride / sizeof(Sample));
    for (size_t x = 0; x < blank.width; ++x) row[x] = noise_at<Sample>(y * blank.width + x);
  }
}

}  // namespace

size_t bytes_of(sample type) { return type == sample::u8 ? 1 : type == sample::u16 ? 2 : 4; }

plane dense_plane(sample type, size_t width, size_t height) {
  return plane_with_stride(type, width, height, width * bytes_of(type));
}

plane padded_plane(sample type, size_t width, size_t height) {
  return plane_with_stride(type, width, height, rounded_up(width * bytes_of(type)));
}

plane with_noise(plane blank) {
  switch (blank.type) {
    case sample::u8:
      fill<uint8_t>(blank);
      break;
    case sample::u16:
      fill<uint16_t>(blank);
      break;
    case sample::u32:
      fill<uint32_t>(blank);
      break;
    case sample::f32:
      fill<float>(blank);
      break;
  }
  return blank;
}

}  // namespace bench
