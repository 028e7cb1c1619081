// Bilinear resizing, in fixed point and in single precision.

#include <string>

#include "qo_cmc/image_utils.h"
#include "tests/bits/items.h"
#include "tests/bits/plane_sizes.h"

namespace bits {
namespace {

template <typename Sample>
using resizer = uint32_t (*)(const Sample*, uint32_t, int32_t, Sample*, uint32_t, uint32_t);

template <typename Sample>
void resize(digest& seen, noise& random, resizer<Sample> routine, const plane_sizes& s,
            nature kind) {
  const auto from = random.plane<Sample>(s.in(), kind);
  auto to = unwritten<Sample>(s.out());
  seen.status(routine(from.data(), s.in_w, s.in_h, to.data(), s.out_w, s.out_h));
  if constexpr (std::is_same_v<Sample, float>)
    seen.computed(to);
  else
    seen.samples(to);
}

template <typename Sample, size_t Count>
void dense(results& all, const std::string& routine_name, resizer<Sample> routine,
           const nature (&natures)[Count]) {
  for (const nature kind : natures) {
    const std::string name = routine_name + '.' + std::string(name_of(kind));
    digest& seen = all.add(name);
    noise random(name);
    for (const plane_sizes& s : sizes_of(random, ratio::any))
      resize<Sample>(seen, random, routine, s, kind);
  }
}

template <typename Sample>
void interleaved(results& all, const std::string& name,
                 uint32_t (*routine)(const Sample*, uint32_t, int32_t, Sample*, uint32_t, uint32_t,
                                     int32_t)) {
  digest& seen = all.add(name);
  noise random(name);
  for (const plane_sizes& s : sizes_of(random, ratio::any)) {
    const uint32_t step = random.from_to(1, 4);
    const auto from = random.plane<Sample>(s.in(), nature::any_bits);
    auto to = unwritten<Sample>(s.out() * step);
    seen.status(routine(from.data(), s.in_w, s.in_h, to.data(), s.out_w, s.out_h,
                        static_cast<int32_t>(step)));
    seen.samples(to);
  }
}

/// Margins within the array, or any small ones of either sign.
void crop(results& all, const std::string& suffix, bool within) {
  const std::string name = "crop_resize_2d_array_uint16." + suffix;
  digest& seen = all.add(name);
  noise random(name);
  for (const plane_sizes& s : sizes_of(random, ratio::any)) {
    const auto margins = [&](uint32_t side) {
      if (!within) {
        return size_pair_i32{static_cast<int32_t>(random.below(12)) - 6,
                             static_cast<int32_t>(random.below(12)) - 6};
      }
      const uint32_t both = random.below(side - 1);
      const uint32_t first = random.below(both + 1);
      return size_pair_i32{static_cast<int32_t>(first), static_cast<int32_t>(both - first)};
    };
    const size_pair_i32 columns = margins(s.in_w);
    const size_pair_i32 rows = margins(s.in_h);
    const auto from = random.plane<uint16_t>(s.in(), nature::any_bits);
    auto to = unwritten<uint16_t>(s.out());
    seen.status(crop_resize_2d_array_uint16(from.data(), s.in_w, s.in_h, {columns.x, rows.x},
                                            {columns.y, rows.y}, to.data(), s.out_w, s.out_h));
    seen.samples(to);
  }
}

/// More source rows than 16 bits count.
void long_columns(results& all) {
  const std::string name = "resize_2d_array_float.long_columns";
  digest& seen = all.add(name);
  noise random(name);
  constexpr uint32_t in_w = 2, in_h = 70001, out_w = 9, out_h = 257;
  const auto from = random.plane<float>(size_t{in_w} * in_h, nature::tame);
  auto to = unwritten<float>(size_t{out_w} * out_h);
  seen.status(resize_2d_array_float(from.data(), in_w, in_h, to.data(), out_w, out_h));
  seen.computed(to);
}

}  // namespace

void bilinear_items(results& all) {
  dense<uint8_t>(all, "resize_2d_array_uint8", resize_2d_array_uint8, integer_natures);
  dense<uint16_t>(all, "resize_2d_array_uint16", resize_2d_array_uint16, integer_natures);
  dense<uint32_t>(all, "resize_2d_array_uint32", resize_2d_array_uint32, integer_natures);
  interleaved<uint8_t>(all, "resize_2d_array_uint8_v1", resize_2d_array_uint8_v1);
  interleaved<uint16_t>(all, "resize_2d_array_uint16_v1", resize_2d_array_uint16_v1);
  crop(all, "within", true);
  crop(all, "beyond", false);
  dense<float>(all, "resize_2d_array_float", resize_2d_array_float, float_natures);
  long_columns(all);
}

}  // namespace bits
