// Nearest neighbour and block maxima.

#include "qo_cmc/image_utils.h"
#include "tests/bits/items.h"
#include "tests/bits/plane_sizes.h"

namespace bits {
namespace {

void fixed_point(results& all) {
  const std::string name = "image_nearest_neighbor_scale_uint32";
  digest& seen = all.add(name);
  noise random(name);
  std::vector<plane_sizes> sizes = sizes_of(random, ratio::any);
  sizes.insert(sizes.end(), {{1, 1, 257, 3}, {64, 2, 2049, 2}, {258, 1, 257, 1}, {7, 5, 1, 1}});
  for (const plane_sizes& s : sizes) {
    const auto from = random.plane<uint32_t>(s.in(), nature::any_bits);
    auto to = unwritten<uint32_t>(s.out());
    seen.status(image_nearest_neighbor_scale_uint32(from.data(), s.in_w, s.in_h, to.data(), s.out_w,
                                                    s.out_h));
    seen.samples(to);
  }
}

void far_edges(results& all) {
  const std::string name = "image_upscale_nearest_neighbor_uint16";
  digest& seen = all.add(name);
  noise random(name);
  std::vector<plane_sizes> sizes = sizes_of(random, ratio::any);
  sizes.insert(sizes.end(), {{3, 3, 21, 21}, {1, 2, 2, 2}});
  for (const plane_sizes& s : sizes) {
    const auto from = random.plane<uint16_t>(s.in(), nature::any_bits);
    auto to = unwritten<uint16_t>(s.out());
    seen.status(image_upscale_nearest_neighbor_uint16(from.data(), to.data(), s.in_w, s.in_h,
                                                      s.out_w, s.out_h));
    seen.samples(to);
  }
}

void maxima(results& all, nature kind, uint8_t use_max, const char* suffix) {
  const std::string name = std::string("image_downscale_nearest_neighbor_int32.") + suffix;
  digest& seen = all.add(name);
  noise random(name);
  for (const plane_sizes& s : sizes_of(random, ratio::any)) {
    const auto from = random.plane<int32_t>(s.in(), kind);
    auto to = unwritten<uint32_t>(s.out());
    seen.status(image_downscale_nearest_neighbor_int32(from.data(), to.data(), s.in_w, s.in_h,
                                                       s.out_w, s.out_h, use_max));
    seen.samples(to);
  }
}

}  // namespace

void nearest_items(results& all) {
  fixed_point(all);
  far_edges(all);
  maxima(all, nature::any_bits, 0, "copies");
  maxima(all, nature::any_bits, 1, "maxima");
  maxima(all, nature::extreme, 1, "maxima_of_extremes");
}

}  // namespace bits
