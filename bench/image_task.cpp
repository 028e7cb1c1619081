#include "bench/image_task.h"

#include <cstdint>
#include <utility>

namespace bench {
namespace {

template <typename Sample>
void insert(const Sample* from, Sample* to, size_t width, size_t step) {
  for (size_t x = 0; x < width; ++x) to[x * step] = from[x];
}

template <typename Sample>
job inserting(job resize, const plane& dense, size_t step) {
  const plane channels = dense_plane(dense.type, dense.width * step, dense.height);
  return [resize = std::move(resize), dense, channels, step] {
    resize();
    for (size_t y = 0; y < dense.height; ++y)
      insert(dense.as<Sample>() + y * (dense.stride / sizeof(Sample)),
             channels.as<Sample>() + y * dense.width * step, dense.width, step);
    keep(channels.as<Sample>());
  };
}

}  // namespace

std::string text_of(const image_size& in, const image_size& out) {
  return std::to_string(in.width) + " x " + std::to_string(in.height) + " -> " +
         std::to_string(out.width) + " x " + std::to_string(out.height);
}

job then_insert(job resize, const plane& dense, size_t step) {
  if (resize == nullptr || step == 1) return resize;
  if (dense.type == sample::u8) return inserting<uint8_t>(std::move(resize), dense, step);
  if (dense.type == sample::u16) return inserting<uint16_t>(std::move(resize), dense, step);
  return inserting<uint32_t>(std::move(resize), dense, step);
}

void add_image_peers(contest& race, const image_task& task) {
  (void)race;
  (void)task;
#ifdef QO_BENCH_OPENCV
  race.peer("opencv", opencv_image_job(task));
#endif
#ifdef QO_BENCH_LIBYUV
  race.peer("libyuv", libyuv_image_job(task));
#endif
#ifdef QO_BENCH_ZIMG
  race.peer("zimg", zimg_image_job(task));
#endif
#ifdef QO_BENCH_SWSCALE
  race.peer("swscale", swscale_image_job(task));
#endif
}

void add_onlookers(contest& race, const image_task& task) {
  (void)race;
  (void)task;
#ifdef QO_BENCH_LIBYUV
  race.onlooker("libyuv", libyuv_four_byte_job(task));
#endif
#ifdef QO_BENCH_ZIMG
  image_task of_floats = task;
  of_floats.from = of_floats.to = sample::f32;
  race.onlooker("zimg", zimg_image_job(of_floats));
#endif
}

}  // namespace bench
