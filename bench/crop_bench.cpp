// Bilinear resizing of a region: a tenth of the array cut off on every side.

#include <cstdint>

#include "bench/families.h"
#include "bench/image_sizes.h"
#include "bench/image_task.h"
#include "bench/scalar_resize.h"
#include "qo_cmc/image_utils.h"

namespace bench {
namespace {

void fill(contest& race, const resize_size& size) {
  const size_t left = size.in.width / 10, top = size.in.height / 10;
  const plane src = with_noise(dense_plane(sample::u16, size.in.width, size.in.height));
  const plane dst = dense_plane(sample::u16, size.out.width, size.out.height);
  const plane expected = dense_plane(sample::u16, size.out.width, size.out.height);
  const size_pair_i32 cut{int32_t(left), int32_t(top)};
  race.ours([=] {
    crop_resize_2d_array_uint16(src.as<uint16_t>(), uint32_t(size.in.width),
                                uint32_t(size.in.height), cut, cut, dst.as<uint16_t>(),
                                uint32_t(size.out.width), uint32_t(size.out.height));
  });
  race.scalar([=] {
    scalar::resize<8>(src.as<uint16_t>(), size.in, {uint32_t(left), uint32_t(top)},
                      expected.as<uint16_t>(), size.out, 1);
  });
  race.compare(dst, expected);
  const image_task task{.how = method::bilinear,
                        .from = sample::u16,
                        .to = sample::u16,
                        .in = size.in,
                        .out = size.out,
                        .left = left,
                        .top = top};
  add_image_peers(race, task);
  race.bound_by_bytes(2 * (task.region().samples() + size.out.samples()));
  race.bound_by_operations(3.0 * double(size.out.samples()));  // as for whole arrays
}

}  // namespace

void add_crop_rows(rows& all) {
  for (const resize_size& size : {thumb_down, thumb_up, image_down, image_up}) {
    const bool from_1920 = size.in.width == image_up.in.width;
    all.push_back({.name = "crop u16 " + text_of(size.in, size.out),
                   .samples = size.out.samples(),
                   .avx512 = from_1920 ? 0.5 : 0.27,
                   .avx2 = size.in.width == image_down.in.width ? 0.5 : 0.65,
                   .rival = "",
                   .fill = [size](contest& race) { fill(race, size); }});
  }
}

}  // namespace bench
