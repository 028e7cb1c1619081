// libswscale. What it computes differently:
//   all       pixel centres; filters of 14 bits, 15-bit intermediates (19 bits from 16-bit
//             samples); floats go by way of 16-bit samples; a smaller output widens the filter
//   cubic     a = -1/2 as ours
//   area      its area filter, as weights of 14 bits
// 32-bit samples are none of its formats.

extern "C" {
#include <libavutil/cpu.h>
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

#include <memory>

#include "bench/image_task.h"
#include "bench/row_tables.h"

namespace bench {
namespace {

AVPixelFormat format_of(sample type) {
  if (type == sample::u8) return AV_PIX_FMT_GRAY8;
  return type == sample::u16 ? AV_PIX_FMT_GRAY16LE : AV_PIX_FMT_GRAYF32LE;
}

int filter_of(method how) {
  switch (how) {
    case method::bilinear:
      return SWS_BILINEAR;
    case method::cubic:
      return SWS_BICUBIC;
    case method::area:
      return SWS_AREA;
    case method::nearest:
      break;
  }
  return SWS_POINT;
}

void limit(row_table table) {
#if defined(__x86_64__)
  constexpr int avx512 = AV_CPU_FLAG_AVX512 | AV_CPU_FLAG_AVX512ICL;
  constexpr int avx2 = AV_CPU_FLAG_AVX | AV_CPU_FLAG_AVX2 | AV_CPU_FLAG_FMA3 | AV_CPU_FLAG_FMA4;
  av_force_cpu_flags(-1);
  const int all = av_get_cpu_flags();
  if (table != row_table::avx512)
    av_force_cpu_flags(all & ~(table == row_table::avx2 ? avx512 : avx512 | avx2));
#else
  (void)table;
#endif
}

}  // namespace

job swscale_image_job(const image_task& task) {
  if (task.from == sample::u32 || task.to == sample::u32) return nullptr;
  limit(selected_rows());
  const image_size region = task.region();
  const double cubic[2] = {0, 0.5};
  const std::shared_ptr<SwsContext> context(
      sws_getContext(static_cast<int>(region.width), static_cast<int>(region.height),
                     format_of(task.from), static_cast<int>(task.out.width),
                     static_cast<int>(task.out.height), format_of(task.to), filter_of(task.how),
                     nullptr, nullptr, task.how == method::cubic ? cubic : nullptr),
      sws_freeContext);
  if (context == nullptr) return nullptr;
  const plane src = with_noise(padded_plane(task.from, task.in.width, task.in.height));
  const plane dst = padded_plane(task.to, task.out.width, task.out.height);
  const uint8_t* const first =
      src.as<uint8_t>() + task.top * src.stride + task.left * bytes_of(task.from);
  return then_insert(
      [context, src, dst, first, height = static_cast<int>(region.height)] {
        const uint8_t* const from[4] = {first};
        const int from_stride[4] = {static_cast<int>(src.stride)};
        uint8_t* const to[4] = {dst.as<uint8_t>()};
        const int to_stride[4] = {static_cast<int>(dst.stride)};
        sws_scale(context.get(), from, from_stride, 0, height, to, to_stride);
      },
      dst, task.channel_step);
}

}  // namespace bench
