// Fuzz target of the area downscale: both members, with every table of row kernels, on planes of
// exactly their sizes, against the plain rule.
//
//      0  u8    bit 0: 16-bit planes, else float ones; 1: with a region; 2: floats are tame;
//               3, 4: the array of sources, of destinations is null; 5, 6: the last source, the
//               last destination is null; 7: the region's fields are taken as they are
//      1  u8    planes, modulo 4
//      2  u16   fraction bits of sources, of destinations
//      6  u16   in_w, in_h, out_w, out_h (fuzz/plane_sides.h)
//     14  u16   column, row, width, height of the region: modulo what leads a little too far
//     22  -     samples (fuzz/sample_stream.h)

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "fuzz/every_row_table.h"
#include "fuzz/input_reader.h"
#include "fuzz/plane_sides.h"
#include "fuzz/sample_stream.h"
#include "fuzz/target.h"
#include "qo_cmc/image_utils.h"
#include "tests/image_utils/area_reference.h"
#include "writer/container_writer.h"

namespace {

using fuzz::require;

struct area_call {
  fuzz::plane_sides in, out;
  uint16_t in_bits, out_bits, planes;
  uint16_t roi[4];
  uint8_t flags;

  [[nodiscard]] bool has(int bit) const { return (flags >> bit & 1) != 0; }
  [[nodiscard]] const uint16_t* region() const { return has(1) ? roi : nullptr; }
  [[nodiscard]] bool has_null() const { return (flags & 0x78) != 0; }

  /// What is not refused for its sizes.
  [[nodiscard]] bool is_sized() const {
    if (out.width < 3 || out.height < 3) return false;
    if (out.width >= in.width || out.height >= in.height) return false;
    return !has(1) || (roi[0] < in.width && roi[1] < in.height && roi[0] + roi[2] <= in.width &&
                       roi[1] + roi[3] <= in.height);
  }
};

uint32_t downscale(const area_call& call, const float* const* sources, uint16_t* const* planes) {
  return image_downscale_32f_to_u16p10(
      sources, planes, static_cast<uint16_t>(call.in.width), static_cast<uint16_t>(call.in.height),
      static_cast<uint16_t>(call.out.width), static_cast<uint16_t>(call.out.height), call.planes,
      call.region());
}

uint32_t downscale(const area_call& call, const uint16_t* const* sources, uint16_t* const* planes) {
  return image_downscale_u16_to_u16(
      sources, planes, static_cast<uint16_t>(call.in.width), static_cast<uint16_t>(call.in.height),
      call.in_bits, static_cast<uint16_t>(call.out.width), static_cast<uint16_t>(call.out.height),
      call.out_bits, call.planes, call.region());
}

template <typename Sample>
void run(const area_call& call, fuzz::sample_stream samples) {
  std::vector<fuzz::exact_array<Sample>> sources;
  std::vector<const Sample*> pointers;
  for (uint16_t i = 0; i < call.planes; ++i) {
    sources.push_back(samples.array<Sample>(call.in.samples(), call.has(2)));
    pointers.push_back(call.has(5) && i + 1 == call.planes ? nullptr : sources.back().data());
  }
  const bool accepted = call.is_sized() && (call.planes == 0 || !call.has_null());
  const auto result = fuzz::filled_in_every_table<uint16_t>(
      std::vector<size_t>(call.planes, call.out.samples()), [&](uint16_t* const* planes) {
        std::vector<uint16_t*> destinations(planes, planes + call.planes);
        if (call.has(6) && call.planes != 0) destinations.back() = nullptr;
        return downscale(call, call.has(3) ? nullptr : pointers.data(),
                         call.has(4) ? nullptr : destinations.data());
      });
  require(result.status == (accepted ? QO_CMC_OK : QO_CMC_INVALID_SIZE));
  if (!accepted) return require(result.is_untouched());
  const area_reference::sizes sizes = {
      static_cast<int>(call.in.width), static_cast<int>(call.in.height),
      static_cast<int>(call.out.width), static_cast<int>(call.out.height)};
  const area_reference::region region =
      call.has(1) ? area_reference::region{call.roi[0], call.roi[1], call.roi[2], call.roi[3]}
                  : area_reference::whole(sizes);
  for (size_t i = 0; i < call.planes; ++i)
    require(fuzz::same_samples(
        area_reference::reference(sources[i].data(), sizes, region, call.has(0) ? call.in_bits : 0,
                                  call.has(0) ? call.out_bits : 10),
        result.planes[i]));
}

/// From 0 to one too many.
[[nodiscard]] uint16_t below(uint16_t field, uint32_t most) {
  return static_cast<uint16_t>(field % (most + 2));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::input_reader fields(data, size);
  area_call call = {};
  call.flags = fields.u8();
  call.planes = fields.u8() % 4;
  call.in_bits = fields.u16();
  call.out_bits = fields.u16();
  call.in = fuzz::read_plane_sides(fields);
  call.out = fuzz::read_plane_sides(fields);
  for (uint16_t& field : call.roi) field = fields.u16();
  if (!call.has(7)) {
    call.roi[0] = below(call.roi[0], call.in.width);
    call.roi[1] = below(call.roi[1], call.in.height);
    call.roi[2] =
        below(call.roi[2], call.in.width - std::min<uint32_t>(call.roi[0], call.in.width));
    call.roi[3] =
        below(call.roi[3], call.in.height - std::min<uint32_t>(call.roi[1], call.in.height));
  }
  const fuzz::sample_stream samples(fields.rest());
  if (call.has(0))
    run<uint16_t>(call, samples);
  else
    run<float>(call, samples);
  return 0;
}

namespace {

struct shape {
  uint32_t in_w, in_h, out_w, out_h;
};

writer::bytes seed(uint8_t flags, uint8_t planes, uint16_t in_bits, uint16_t out_bits,
                   const shape& s, const uint16_t (&roi)[4]) {
  writer::bytes content;
  content.u8(flags).u8(planes).u16(in_bits).u16(out_bits);
  for (const uint32_t side : {s.in_w, s.in_h, s.out_w, s.out_h})
    content.u16(fuzz::side_field(side));
  for (const uint16_t field : roi) content.u16(field);
  return content;
}

}  // namespace

std::vector<fuzz::input> fuzz::seeds() {
  // Halves, whole steps, steps that are nearly 1 or lead past the end, rows of more outputs than
  // are covered at once.
  constexpr shape shapes[] = {
      {4, 4, 3, 3},       {14, 14, 13, 13}, {34, 8, 17, 4},    {64, 16, 32, 8},  {66, 9, 65, 3},
      {96, 12, 32, 4},    {127, 5, 16, 3},  {129, 40, 33, 39}, {300, 200, 7, 3}, {8000, 4, 3, 3},
      {8000, 4, 7900, 3}, {5, 500, 4, 130}, {16, 4, 16, 3},    {9, 9, 2, 8}};
  std::vector<input> all;
  for (const shape& s : shapes) {
    const auto third = [](uint32_t side) { return static_cast<uint16_t>(side / 3); };
    const uint16_t inner[4] = {third(s.in_w), third(s.in_h), third(s.in_w), third(s.in_h)};
    const uint16_t edge[4] = {static_cast<uint16_t>(s.in_w - 1), static_cast<uint16_t>(s.in_h - 1),
                              1, 1};
    for (const uint8_t type : std::initializer_list<uint8_t>{0, 1, 4}) {
      all.push_back(seed(type, 1, 12, 10, s, {0, 0, 0, 0}).vector());
      all.push_back(seed(type | 2, 2, 0, 16, s, inner).vector());
      all.push_back(seed(type | 0x82, 1, 8, 8, s, edge).vector());
      all.push_back(seed(type | 2, 1, 31, 31, s, {1, 1, 0, 2}).u32(UINT32_MAX).u32(0).vector());
    }
    // Quiet NaN, infinities, floats that saturate, a denormal.
    all.push_back(seed(0, 1, 0, 0, s, {0, 0, 0, 0})
                      .u32(0x7fc00000)
                      .u32(0x7f800000)
                      .u32(0xff800000)
                      .f32(3e6f)
                      .f32(-3e6f)
                      .u32(1)
                      .f32(64.0f)
                      .vector());
  }
  for (uint8_t flags = 0; flags < 0x80; flags = static_cast<uint8_t>(flags + 8))
    for (const uint8_t planes : std::initializer_list<uint8_t>{0, 3})
      all.push_back(seed(flags | 1, planes, 10, 10, {9, 8, 5, 4}, {0, 0, 0, 0}).vector());
  return all;
}
