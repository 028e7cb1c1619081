// Fuzz target of the nearest-neighbour scalers: all members, with every table of row kernels, on
// planes of exactly their sizes, against the plain rules.
//
//      0  u8    member: 0 u32, 1 u16, 2 i32; others modulo 3
//      1  u8    bits 0, 1: source, destination is null; 2: the source may be large; 4-7: in_w,
//               in_h, out_w, out_h are negative (where they have a sign)
//      2  u8    use_max
//      3  u16   in_w, in_h, out_w, out_h (fuzz/plane_sides.h)
//     11  -     samples (fuzz/sample_stream.h)

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
#include "tests/image_utils/nearest_reference.h"
#include "writer/container_writer.h"

namespace {

using fuzz::require;
using nearest_reference::sizes;

/// Of a large source: four columns of the most rows.
constexpr uint32_t most_large_samples = 4 * UINT16_MAX;

struct nearest_call {
  fuzz::plane_sides in, out;
  uint8_t flags, use_max;

  [[nodiscard]] bool has(int bit) const { return (flags >> bit & 1) != 0; }
  [[nodiscard]] sizes plane_sizes() const { return {in.width, in.height, out.width, out.height}; }
  [[nodiscard]] uint32_t least_side() const {
    return std::min({in.width, in.height, out.width, out.height});
  }
};

/// `scale` is the call, `expected` the plain rule of it.
template <typename In, typename Out, typename Scale, typename Expected>
void run(const nearest_call& call, bool sized, fuzz::sample_stream samples, Scale scale,
         Expected expected) {
  const auto source = samples.array<In>(call.in.samples());
  const bool accepted = sized && !call.has(0) && !call.has(1);
  const auto result = fuzz::filled_in_every_table<Out>(call.out.samples(), [&](Out* plane) {
    return scale(call.has(0) ? nullptr : source.data(), call.has(1) ? nullptr : plane);
  });
  require(result.status == (accepted ? QO_CMC_OK : QO_CMC_INVALID_SIZE));
  require(accepted ? fuzz::same_samples(expected(source.data()), result.planes[0])
                   : result.is_untouched());
}

void run_u32(const nearest_call& call, fuzz::sample_stream samples) {
  const auto side = [&call](uint32_t value, int bit) {
    return call.has(bit) ? -static_cast<int32_t>(value) : static_cast<int32_t>(value);
  };
  const sizes s = call.plane_sizes();
  run<uint32_t, uint32_t>(
      call, call.least_side() >= 1 && (call.flags & 0xf0) == 0, samples,
      [&](const uint32_t* source, uint32_t* plane) {
        return image_nearest_neighbor_scale_uint32(
            source, side(call.in.width, 4), side(call.in.height, 5), plane, side(call.out.width, 6),
            side(call.out.height, 7));
      },
      [&](const uint32_t* source) { return nearest_reference::fixed_point_reference(source, s); });
}

void run_u16(const nearest_call& call, fuzz::sample_stream samples) {
  const sizes s = call.plane_sizes();
  run<uint16_t, uint16_t>(
      call, call.least_side() >= 2, samples,
      [&](const uint16_t* source, uint16_t* plane) {
        return image_upscale_nearest_neighbor_uint16(
            source, plane, static_cast<uint16_t>(call.in.width),
            static_cast<uint16_t>(call.in.height), static_cast<uint16_t>(call.out.width),
            static_cast<uint16_t>(call.out.height));
      },
      [&](const uint16_t* source) {
        return nearest_reference::far_edge_reference<uint16_t>(source, s);
      });
}

void run_i32(const nearest_call& call, fuzz::sample_stream samples) {
  const sizes s = call.plane_sizes();
  run<int32_t, uint32_t>(
      call, call.least_side() >= 2, samples,
      [&](const int32_t* source, uint32_t* plane) {
        return image_downscale_nearest_neighbor_int32(
            source, plane, static_cast<uint16_t>(call.in.width),
            static_cast<uint16_t>(call.in.height), static_cast<uint16_t>(call.out.width),
            static_cast<uint16_t>(call.out.height), call.use_max);
      },
      [&](const int32_t* source) {
        return call.use_max != 0 ? nearest_reference::maximum_reference(source, s)
                                 : nearest_reference::far_edge_reference<uint32_t>(source, s);
      });
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::input_reader fields(data, size);
  const uint8_t member = fields.u8() % 3;
  nearest_call call = {};
  call.flags = fields.u8();
  call.use_max = fields.u8();
  call.in = fuzz::read_plane_sides(fields, call.has(2) ? most_large_samples : fuzz::most_samples);
  call.out = fuzz::read_plane_sides(fields);
  const fuzz::sample_stream samples(fields.rest());
  if (member == 0)
    run_u32(call, samples);
  else if (member == 1)
    run_u16(call, samples);
  else
    run_i32(call, samples);
  return 0;
}

namespace {

struct shape {
  uint32_t in_w, in_h, out_w, out_h;
};

writer::bytes seed(uint8_t member, uint8_t flags, uint8_t use_max, const shape& s) {
  writer::bytes content;
  content.u8(member).u8(flags).u8(use_max);
  for (const uint32_t side : {s.in_w, s.in_h, s.out_w, s.out_h})
    content.u16(fuzz::side_field(side));
  return content;
}

}  // namespace

std::vector<fuzz::input> fuzz::seeds() {
  // Scales that are rounded past the plane, copies, ends of vectors, rows wider than a strip.
  constexpr shape shapes[] = {
      {2, 2, 2, 2},       {1, 1, 257, 2},   {3, 3, 21, 21}, {64, 2, 2049, 3},  {258, 2, 257, 2},
      {16, 9, 16, 9},     {17, 5, 33, 64},  {65, 4, 31, 7}, {127, 127, 9, 10}, {300, 200, 300, 200},
      {8000, 2, 4097, 3}, {4, 500, 5, 499}, {0, 3, 4, 5},   {2, 2, 2, 1}};
  std::vector<input> all;
  for (uint8_t member = 0; member < 3; ++member) {
    for (const shape& s : shapes) {
      for (const uint8_t use_max : std::initializer_list<uint8_t>{0, 1}) {
        all.push_back(seed(member, 0, use_max, s).vector());
        all.push_back(seed(member, 0, use_max, s)
                          .u32(INT32_MAX)
                          .u32(0x80000000)
                          .u32(UINT32_MAX)
                          .u32(0)
                          .vector());
      }
    }
    // A row after the last one would be the source's 65601st.
    for (const uint8_t use_max : std::initializer_list<uint8_t>{0, 1})
      all.push_back(seed(member, 4, use_max, {4, UINT16_MAX, 17, 1000}).vector());
    for (const uint8_t flags : std::initializer_list<uint8_t>{1, 2, 3, 16, 32, 64, 128})
      all.push_back(seed(member, flags, 255, {6, 7, 8, 9}).vector());
  }
  return all;
}
