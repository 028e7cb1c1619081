// zimg. What it computes differently:
//   bilinear  pixel centres; a smaller output widens the filter, so that all samples count; 8 and
//             16 bit in fixed point with 14 fractional bits, 8 bit by way of 16
//   cubic     pixel centres, a = -1/2 as ours; widened likewise; single precision or 14 bits
//   nearest   a filter of one tap: 32-bit samples pass as floats
//   area      none: its bilinear filter, widened, weighs the same samples otherwise
// A change of type maps the whole range on 0 ... 1 in place of our powers of two.

#include <zimg.h>

#include <cstdio>
#include <memory>

#include "bench/image_task.h"
#include "bench/row_tables.h"

namespace bench {
namespace {

zimg_cpu_type_e cpu_of(row_table table) {
#if defined(__x86_64__)
  if (table == row_table::base) return ZIMG_CPU_X86_SSE42;
  if (table == row_table::avx2) return ZIMG_CPU_X86_AVX2;
  return ZIMG_CPU_AUTO_64B;
#else
  (void)table;
  return ZIMG_CPU_AUTO;
#endif
}

zimg_image_format format_of(sample type, const image_size& size) {
  zimg_image_format format;
  zimg_image_format_default(&format, ZIMG_API_VERSION);
  format.width = static_cast<unsigned>(size.width);
  format.height = static_cast<unsigned>(size.height);
  format.pixel_type = type == sample::u8    ? ZIMG_PIXEL_BYTE
                      : type == sample::u16 ? ZIMG_PIXEL_WORD
                                            : ZIMG_PIXEL_FLOAT;
  format.depth = static_cast<unsigned>(8 * bytes_of(type));
  format.color_family = ZIMG_COLOR_GREY;
  format.pixel_range = ZIMG_RANGE_FULL;
  return format;
}

zimg_graph_builder_params parameters_of(method how) {
  zimg_graph_builder_params parameters;
  zimg_graph_builder_params_default(&parameters, ZIMG_API_VERSION);
  parameters.cpu_type = cpu_of(selected_rows());
  parameters.resample_filter = ZIMG_RESIZE_BILINEAR;
  if (how == method::nearest) parameters.resample_filter = ZIMG_RESIZE_POINT;
  if (how == method::cubic) {
    parameters.resample_filter = ZIMG_RESIZE_BICUBIC;
    parameters.filter_param_a = 0;
    parameters.filter_param_b = 0.5;
  }
  return parameters;
}

}  // namespace

job zimg_image_job(const image_task& task) {
  if (task.from == sample::u32 || task.to == sample::u32) return nullptr;
  zimg_image_format from = format_of(task.from, task.in);
  const zimg_image_format to = format_of(task.to, task.out);
  if (task.left != 0 || task.top != 0) {
    const image_size region = task.region();
    from.active_region.left = static_cast<double>(task.left);
    from.active_region.top = static_cast<double>(task.top);
    from.active_region.width = static_cast<double>(region.width);
    from.active_region.height = static_cast<double>(region.height);
  }
  const zimg_graph_builder_params parameters = parameters_of(task.how);
  const std::shared_ptr<zimg_filter_graph> graph(zimg_filter_graph_build(&from, &to, &parameters),
                                                 zimg_filter_graph_free);
  if (graph == nullptr) {
    char message[256] = "";
    zimg_get_last_error(message, sizeof message);
    std::fprintf(stderr, "zimg: %s\n", message);
    return nullptr;
  }
  size_t working_bytes = 0;
  zimg_filter_graph_get_tmp_size(graph.get(), &working_bytes);
  const plane working = dense_plane(sample::u8, working_bytes, 1);
  const plane src = with_noise(padded_plane(task.from, task.in.width, task.in.height));
  const plane dst = padded_plane(task.to, task.out.width, task.out.height);
  zimg_image_buffer_const source = {};
  source.version = ZIMG_API_VERSION;
  source.plane[0] = {src.memory.get(), static_cast<ptrdiff_t>(src.stride), ZIMG_BUFFER_MAX};
  zimg_image_buffer result = {};
  result.version = ZIMG_API_VERSION;
  result.plane[0] = {dst.memory.get(), static_cast<ptrdiff_t>(dst.stride), ZIMG_BUFFER_MAX};
  return then_insert(
      [graph, working, src, dst, source, result] {
        zimg_filter_graph_process(graph.get(), &source, &result, working.memory.get(), nullptr,
                                  nullptr, nullptr, nullptr);
      },
      dst, task.channel_step);
}

}  // namespace bench
