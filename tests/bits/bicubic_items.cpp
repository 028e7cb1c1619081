// Bicubic resampling, and the border that it needs.

#include <string>

#include "qo_cmc/image_utils.h"
#include "tests/bits/items.h"
#include "tests/bits/plane_sizes.h"

namespace bits {
namespace {

/// Windows of cells around the one that is written, in a row of them.
void border_cells(results& all, nature kind) {
  const std::string name = "interpolate_gain_value." + std::string(name_of(kind));
  digest& seen = all.add(name);
  noise random(name);
  constexpr uint16_t stride = 7;
  constexpr size_t cell = 2 * stride + 3, cells = 4 * stride + 7;
  std::vector<float> written;
  for (uint32_t i = 0; i < 9000; ++i) {
    auto buffer = random.plane<float>(cells, kind);
    interpolate_gain_value(buffer.data() + cell, stride, i % 9);
    written.push_back(buffer[cell]);
  }
  seen.computed(written);
}

void borders(results& all, nature kind) {
  const std::string name =
      "create_extrapolated_buffer_for_bicubic_u16." + std::string(name_of(kind));
  digest& seen = all.add(name);
  noise random(name);
  for (uint16_t w = 1; w <= most_columns; ++w) {
    const auto h = static_cast<uint16_t>(random.from_to(1, 9));
    const auto from = random.plane<uint16_t>(size_t{w} * h, kind);
    auto to = unwritten<float>((w + size_t{3}) * (h + size_t{3}));
    create_extrapolated_buffer_for_bicubic_u16(from.data(), to.data(), w, h);
    seen.samples(to);
  }
}

template <typename Sample>
void upscale(results& all, const std::string& routine_name,
             uint32_t (*routine)(const Sample* const*, float* const*, uint16_t, uint16_t, uint16_t,
                                 uint16_t, uint16_t)) {
  for (const nature kind : integer_natures) {
    const std::string name = routine_name + '.' + std::string(name_of(kind));
    digest& seen = all.add(name);
    noise random(name);
    for (const plane_sizes& s : sizes_of(random, ratio::larger)) {
      const auto first = random.plane<Sample>(s.in(), kind);
      const auto second = random.plane<Sample>(s.in(), kind);
      auto to = unwritten<float>(2 * s.out());
      const Sample* const sources[] = {first.data(), second.data()};
      float* const planes[] = {to.data(), to.data() + s.out()};
      seen.status(routine(sources, planes, s.in_w, s.in_h, s.out_w, s.out_h, 2));
      seen.samples(to);
    }
  }
}

/// Sides of 1 as well, where border cells are read before they are written.
std::vector<plane_sizes> resized(noise& random) {
  std::vector<plane_sizes> sizes = sizes_of(random, ratio::any);
  sizes.insert(sizes.end(), {{1, 1, 7, 5}, {1, 9, 40, 30}, {9, 1, 40, 30}, {9, 9, 1, 30}});
  return sizes;
}

void from_floats(results& all) {
  for (const nature kind : float_natures) {
    const std::string name = "bicubic_resize_32f_to_u16p10." + std::string(name_of(kind));
    digest& seen = all.add(name);
    noise random(name);
    for (const plane_sizes& s : resized(random)) {
      const auto from = random.plane<float>(s.in(), kind);
      auto to = unwritten<uint16_t>(s.out());
      seen.status(
          bicubic_resize_32f_to_u16p10(from.data(), s.in_h, s.in_w, to.data(), s.out_h, s.out_w));
      seen.samples(to);
    }
  }
}

void from_words(results& all) {
  for (const nature kind : integer_natures) {
    const std::string name = "bicubic_resize_u16_to_u16." + std::string(name_of(kind));
    digest& seen = all.add(name);
    noise random(name);
    for (const plane_sizes& s : resized(random)) {
      const auto fraction_bits = static_cast<uint16_t>(random.below(34));
      const auto from = random.plane<uint16_t>(s.in(), kind);
      auto to = unwritten<uint16_t>(s.out());
      seen.status(bicubic_resize_u16_to_u16(from.data(), s.in_h, s.in_w, fraction_bits, to.data(),
                                            s.out_h, s.out_w));
      seen.samples(to);
    }
  }
}

}  // namespace

void bicubic_items(results& all) {
  for (const nature kind : float_natures) border_cells(all, kind);
  for (const nature kind : integer_natures) borders(all, kind);
  upscale<uint8_t>(all, "image_bicubic_upscale_uint8_to_float",
                   image_bicubic_upscale_uint8_to_float);
  upscale<uint16_t>(all, "image_bicubic_upscale_uint16_to_float",
                    image_bicubic_upscale_uint16_to_float);
  from_floats(all);
  from_words(all);
}

}  // namespace bits
