// Area means.

#include <string>
#include <utility>

#include "qo_cmc/image_utils.h"
#include "tests/bits/items.h"
#include "tests/bits/plane_sizes.h"

namespace bits {
namespace {

/// A region of the plane, at times an empty one.
struct region {
  region(noise& random, const plane_sizes& s) {
    for (const auto& [first, side] : {std::pair(0, s.in_w), std::pair(1, s.in_h)}) {
      const auto begin = static_cast<uint16_t>(random.below(side / 2u));
      values[first] = begin;
      values[first + 2] = static_cast<uint16_t>(random.below(side - begin + 1u));
    }
  }
  uint16_t values[4];
};

/// The whole plane and a region of it, two planes at a time; `call` takes both arrays of planes and
/// the region.
template <typename Sample, typename Call>
void reduce(digest& seen, noise& random, nature kind, const Call& call) {
  for (const plane_sizes& s : sizes_of(random, ratio::smaller)) {
    const auto first = random.plane<Sample>(s.in(), kind);
    const auto second = random.plane<Sample>(s.in(), kind);
    const region part(random, s);
    for (const uint16_t* const roi : {static_cast<const uint16_t*>(nullptr), part.values}) {
      auto to = unwritten<uint16_t>(2 * s.out());
      const Sample* const sources[] = {first.data(), second.data()};
      uint16_t* const planes[] = {to.data(), to.data() + s.out()};
      seen.status(call(sources, planes, s, roi));
      seen.samples(to);
    }
  }
}

}  // namespace

void area_items(results& all) {
  for (const nature kind : float_natures) {
    const std::string name = "image_downscale_32f_to_u16p10." + std::string(name_of(kind));
    noise random(name);
    reduce<float>(all.add(name), random, kind,
                  [](const auto& from, const auto& to, const plane_sizes& s, const uint16_t* roi) {
                    return image_downscale_32f_to_u16p10(from, to, s.in_w, s.in_h, s.out_w, s.out_h,
                                                         2, roi);
                  });
  }
  for (const nature kind : integer_natures) {
    const std::string name = "image_downscale_u16_to_u16." + std::string(name_of(kind));
    noise random(name);
    const auto fraction_bits = [&] { return static_cast<uint16_t>(random.below(34)); };
    reduce<uint16_t>(
        all.add(name), random, kind,
        [&](const auto& from, const auto& to, const plane_sizes& s, const uint16_t* roi) {
          const uint16_t in_bits = fraction_bits();
          const uint16_t out_bits = fraction_bits();
          return image_downscale_u16_to_u16(from, to, s.in_w, s.in_h, in_bits, s.out_w, s.out_h,
                                            out_bits, 2, roi);
        });
  }
}

}  // namespace bits
