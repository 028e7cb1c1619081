/// The sizes at which the image routines are timed.
#pragma once

#include "bench/image_task.h"

namespace bench {

struct resize_size {
  image_size in;
  image_size out;

  [[nodiscard]] bool enlarges() const { return out.width > in.width; }
  /// Lens-shading grids: the call itself is part of the time.
  [[nodiscard]] bool is_grid() const { return in.width < 100; }
  [[nodiscard]] bool is_thumb() const { return in.width == 640; }
  [[nodiscard]] bool is_image() const { return in.width > 640; }
};

inline constexpr resize_size grids[] = {{{17, 13}, {65, 49}}, {{33, 25}, {129, 97}}};
inline constexpr resize_size thumb_down{{640, 480}, {320, 240}};
inline constexpr resize_size thumb_up{{640, 480}, {1280, 960}};
inline constexpr resize_size image_down{{4000, 3000}, {1920, 1440}};
inline constexpr resize_size image_half{{4000, 3000}, {2000, 1500}};
inline constexpr resize_size image_up{{1920, 1080}, {3840, 2160}};
inline constexpr resize_size statistics{{4000, 3000}, {64, 48}};

inline constexpr resize_size all_sizes[] = {grids[0],   grids[1],   thumb_down, thumb_up,
                                            image_down, image_half, image_up};
inline constexpr resize_size enlargements[] = {grids[0], grids[1], thumb_up, image_up};

}  // namespace bench
