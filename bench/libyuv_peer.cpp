// libyuv. What it computes differently:
//   bilinear  pixel centres; weights of 7 bits (8 bit samples) or 16 bits, rows blended with
//             weights of 8; exact halves, quarters and doubles have kernels of their own; 16 bit in
//             C mostly
//   area      its box filter: means of whole samples, the areas rounded to them
//   nearest   whole samples; 32-bit ones as its four-channel pixels

#include <libyuv.h>

#include "bench/image_task.h"
#include "bench/row_tables.h"

namespace bench {
namespace {

int filter_of(method how) {
  if (how == method::bilinear) return libyuv::kFilterBilinear;
  return how == method::area ? libyuv::kFilterBox : libyuv::kFilterNone;
}

void limit(row_table table) {
  constexpr int avx512 = libyuv::kCpuHasAVX512BW | libyuv::kCpuHasAVX512VL |
                         libyuv::kCpuHasAVX512VNNI | libyuv::kCpuHasAVX512VBMI |
                         libyuv::kCpuHasAVX512VBMI2 | libyuv::kCpuHasAVX512VBITALG |
                         libyuv::kCpuHasAVX512VPOPCNTDQ | libyuv::kCpuHasGFNI;
  constexpr int avx2 =
      libyuv::kCpuHasAVX | libyuv::kCpuHasAVX2 | libyuv::kCpuHasFMA3 | libyuv::kCpuHasF16C;
  libyuv::MaskCpuFlags(table == row_table::avx512 ? -1
                       : table == row_table::avx2 ? ~avx512
                                                  : ~(avx512 | avx2));
}

}  // namespace

job libyuv_image_job(const image_task& task) {
  if (task.how == method::cubic || task.from != task.to) return nullptr;
  if (bytes_of(task.from) > 2) return nullptr;
  limit(selected_rows());
  const plane src = with_noise(dense_plane(task.from, task.in.width, task.in.height));
  const plane dst = dense_plane(task.to, task.out.width, task.out.height);
  const size_t first = task.top * task.in.width + task.left;
  const image_size region = task.region();
  const auto in_width = static_cast<int>(task.in.width);
  const auto region_width = static_cast<int>(region.width);
  const auto region_height = static_cast<int>(region.height);
  const auto out_width = static_cast<int>(task.out.width);
  const auto out_height = static_cast<int>(task.out.height);
  const auto filter = static_cast<libyuv::FilterMode>(filter_of(task.how));
  if (task.from == sample::u8)
    return then_insert(
        [=] {
          libyuv::ScalePlane(src.as<uint8_t>() + first, in_width, region_width, region_height,
                             dst.as<uint8_t>(), out_width, out_width, out_height, filter);
        },
        dst, task.channel_step);
  return then_insert(
      [=] {
        libyuv::ScalePlane_16(src.as<uint16_t>() + first, in_width, region_width, region_height,
                              dst.as<uint16_t>(), out_width, out_width, out_height, filter);
      },
      dst, task.channel_step);
}

job libyuv_four_byte_job(const image_task& task) {
  limit(selected_rows());
  const plane src = with_noise(dense_plane(sample::u32, task.in.width, task.in.height));
  const plane dst = dense_plane(sample::u32, task.out.width, task.out.height);
  const auto in_width = static_cast<int>(task.in.width);
  const auto in_height = static_cast<int>(task.in.height);
  const auto out_width = static_cast<int>(task.out.width);
  const auto out_height = static_cast<int>(task.out.height);
  return [=] {
    libyuv::ARGBScale(src.as<uint8_t>(), 4 * in_width, in_width, in_height, dst.as<uint8_t>(),
                      4 * out_width, out_width, out_height, libyuv::kFilterNone);
  };
}

}  // namespace bench
