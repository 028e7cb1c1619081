/// What an image peer is asked for, and the peers that may be there.
#pragma once

#include <cstddef>
#include <string>

#include "bench/contest.h"
#include "bench/plane.h"

namespace bench {

enum class method { bilinear, cubic, area, nearest };

struct image_size {
  size_t width;
  size_t height;

  [[nodiscard]] size_t samples() const { return width * height; }
};

struct image_task {
  method how;
  sample from;
  sample to;
  image_size in;
  image_size out;
  size_t left = 0;  ///< columns and rows cut off on either side of the source
  size_t top = 0;
  double scale = 1;         ///< of the samples, where the type changes
  size_t channel_step = 1;  ///< samples from one output to the next: one channel of as many

  [[nodiscard]] image_size region() const { return {in.width - 2 * left, in.height - 2 * top}; }
};

/// `17 x 13 -> 65 x 49`
[[nodiscard]] std::string text_of(const image_size& in, const image_size& out);

/// All that are built in and can do it, in memory of their own.
void add_image_peers(contest& race, const image_task& task);
/// For copies of 32-bit samples: those that have floats or pixels of four bytes as long.
void add_onlookers(contest& race, const image_task& task);

/// One each; empty for what the peer cannot do.
[[nodiscard]] job opencv_image_job(const image_task& task);
[[nodiscard]] job libyuv_image_job(const image_task& task);
/// Nearest neighbour of pixels of four bytes.
[[nodiscard]] job libyuv_four_byte_job(const image_task& task);
[[nodiscard]] job zimg_image_job(const image_task& task);
[[nodiscard]] job swscale_image_job(const image_task& task);

/// The second step of peers that only write dense planes: into one channel of `step`.
[[nodiscard]] job then_insert(job resize, const plane& dense, size_t step);

}  // namespace bench
