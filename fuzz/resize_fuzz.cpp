// Fuzz target of bilinear resizing: every member of the family, with every table of row kernels, on
// planes of exactly their sizes, against the plain rule.
//
//      0  u8    member: 0 u8, 1 u16, 2 u32, 3 u8 and 4 u16 into an interleaved array, 5 float,
//               6 region of u16; others modulo 7
//      1  u8    bits 0, 1: source, destination is null; 2: floats are tame; 3: margins are large
//               bits 4-7: in_w, in_h, out_w, out_h have their highest bit set, where that cannot
//               make a plane large
//      2  u16   in_w, in_h, out_w, out_h (fuzz/plane_sides.h)
//     10  i16   left, top, right, bottom of a region; the first is also the step of 3 and 4
//     18  -     samples (fuzz/sample_stream.h)

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <vector>

#include "fuzz/every_row_table.h"
#include "fuzz/input_reader.h"
#include "fuzz/plane_sides.h"
#include "fuzz/sample_stream.h"
#include "fuzz/target.h"
#include "qo_cmc/image_utils.h"
#include "tests/image_utils/resize_2d_reference.h"
#include "writer/container_writer.h"

namespace {

using fuzz::exact_array;
using fuzz::require;
using resize_2d_reference::margins;
using resize_2d_reference::sizes;

struct resize_call {
  fuzz::plane_sides in, out;  ///< of the arrays
  sizes given;                ///< to the function: the same, but for the highest bits
  int16_t fields[4];
  bool null_source, null_destination, tame, large_margins;
  std::span<const uint8_t> contents;

  template <typename Sample>
  [[nodiscard]] const Sample* source(const exact_array<Sample>& plane) const {
    return null_source ? nullptr : plane.data();
  }
  template <typename Sample>
  [[nodiscard]] Sample* destination(Sample* plane) const {
    return null_destination ? nullptr : plane;
  }
  [[nodiscard]] bool has_null() const { return null_source || null_destination; }
  [[nodiscard]] int32_t in_h() const { return static_cast<int32_t>(given.in_h); }
};

[[nodiscard]] bool above_1(uint32_t side) { return static_cast<int32_t>(side) > 1; }

[[nodiscard]] bool all_above_1(const sizes& s) {
  return above_1(s.in_w) && above_1(s.in_h) && above_1(s.out_w) && above_1(s.out_h);
}

template <typename Sample>
void require_plane(const fuzz::outcome<Sample>& result, bool accepted,
                   const std::vector<Sample>& expected) {
  require(result.status == (accepted ? QO_CMC_OK : QO_CMC_INVALID_SIZE));
  require(accepted ? fuzz::same_samples(expected, result.planes[0]) : result.is_untouched());
}

template <uint32_t FractionBits, typename Sample, typename Entry>
void run_fixed_point(const resize_call& call, Entry* entry) {
  const auto source = fuzz::sample_stream(call.contents).array<Sample>(call.in.samples());
  const bool accepted = all_above_1(call.given) && !call.has_null();
  const auto result = fuzz::filled_in_every_table<Sample>(call.out.samples(), [&](Sample* plane) {
    return entry(call.source(source), call.given.in_w, call.in_h(), call.destination(plane),
                 call.given.out_w, call.given.out_h);
  });
  std::vector<Sample> expected;
  if (accepted)
    expected = resize_2d_reference::fixed_point<FractionBits>(source.data(), call.given);
  require_plane(result, accepted, expected);
}

template <typename Sample, typename Entry>
void run_interleaved(const resize_call& call, Entry* entry) {
  constexpr size_t most_elements = size_t{1} << 18;
  const auto source = fuzz::sample_stream(call.contents).array<Sample>(call.in.samples());
  const size_t count = call.out.samples();
  int32_t step = call.fields[0];
  if (step > 1 && count != 0)
    step = std::min(step, static_cast<int32_t>(std::max<size_t>(most_elements / count, 1)));
  const bool accepted = all_above_1(call.given) && step > 0 && !call.has_null();
  const size_t elements = accepted ? (count - 1) * static_cast<size_t>(step) + 1 : count;
  const auto result = fuzz::filled_in_every_table<Sample>(elements, [&](Sample* plane) {
    return entry(call.source(source), call.given.in_w, call.in_h(), call.destination(plane),
                 call.given.out_w, call.given.out_h, step);
  });
  require(result.status == (accepted ? QO_CMC_OK : QO_CMC_INVALID_SIZE));
  if (!accepted) return require(result.is_untouched());
  const auto expected = resize_2d_reference::fixed_point<8>(source.data(), call.given);
  const exact_array<Sample>& plane = result.planes[0];
  const auto distance = static_cast<size_t>(step);
  for (size_t i = 0; i < count; ++i) {
    require(plane[i * distance] == expected[i]);
    if (i + 1 < count) require(plane.is_untouched(i * distance + 1, distance - 1));
  }
}

void run_float(const resize_call& call) {
  const auto source = fuzz::sample_stream(call.contents).array<float>(call.in.samples(), call.tame);
  const sizes& s = call.given;
  const bool accepted = s.in_w % 65536 >= 2 && s.out_w % 65536 >= 2 && above_1(s.in_h) &&
                        above_1(s.out_h) && !call.has_null();
  const auto result = fuzz::filled_in_every_table<float>(call.out.samples(), [&](float* plane) {
    return resize_2d_array_float(call.source(source), s.in_w, call.in_h(), call.destination(plane),
                                 s.out_w, s.out_h);
  });
  std::vector<float> expected;
  if (accepted) expected = resize_2d_reference::floating_point(source.data(), s);
  require_plane(result, accepted, expected);
}

void run_region(const resize_call& call) {
  const auto source = fuzz::sample_stream(call.contents).array<uint16_t>(call.in.samples());
  const sizes s = {call.in.width, call.in.height, call.out.width, call.out.height};
  const auto margin = [&call](size_t field) {
    const auto value = static_cast<uint32_t>(int32_t{call.fields[field]});
    return static_cast<int32_t>(call.large_margins ? value * 65521u : value);
  };
  const margins cut = {margin(0), margin(1), margin(2), margin(3)};
  const uint32_t region_w = s.in_w - (uint32_t(cut.left) + uint32_t(cut.right));
  const uint32_t region_h = s.in_h - (uint32_t(cut.top) + uint32_t(cut.bottom));
  const bool accepted = region_w >= 2 && region_h >= 2 && s.in_w >= 1 && s.in_h >= 1 &&
                        s.out_w >= 2 && s.out_h >= 2 && !call.has_null();
  const auto result =
      fuzz::filled_in_every_table<uint16_t>(call.out.samples(), [&](uint16_t* plane) {
        return crop_resize_2d_array_uint16(call.source(source), s.in_w, s.in_h, {cut.left, cut.top},
                                           {cut.right, cut.bottom}, call.destination(plane),
                                           s.out_w, s.out_h);
      });
  std::vector<uint16_t> expected;
  if (accepted) expected = resize_2d_reference::fixed_point<8>(source.data(), s, cut);
  require_plane(result, accepted, expected);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::input_reader fields(data, size);
  const uint8_t member = fields.u8() % 7;
  const uint8_t flags = fields.u8();
  resize_call call = {};
  call.null_source = (flags & 1) != 0;
  call.null_destination = (flags & 2) != 0;
  call.tame = (flags & 4) != 0;
  call.large_margins = (flags & 8) != 0;
  call.in = fuzz::read_plane_sides(fields);
  call.out = fuzz::read_plane_sides(fields);
  const auto high = [flags](int bit) { return (flags >> bit & 1u) << 31; };
  call.given = {call.in.width | high(4), call.in.height | high(5), call.out.width | high(6),
                call.out.height | high(7)};
  for (int16_t& field : call.fields) field = fields.i16();
  call.contents = fields.rest();
  switch (member) {
    case 0:
      run_fixed_point<8, uint8_t>(call, resize_2d_array_uint8);
      break;
    case 1:
      run_fixed_point<8, uint16_t>(call, resize_2d_array_uint16);
      break;
    case 2:
      run_fixed_point<12, uint32_t>(call, resize_2d_array_uint32);
      break;
    case 3:
      run_interleaved<uint8_t>(call, resize_2d_array_uint8_v1);
      break;
    case 4:
      run_interleaved<uint16_t>(call, resize_2d_array_uint16_v1);
      break;
    case 5:
      run_float(call);
      break;
    default:
      run_region(call);
  }
  return 0;
}

namespace {

writer::bytes seed(uint8_t member, uint8_t flags, const sizes& s, const int16_t (&cut)[4]) {
  writer::bytes content;
  content.u8(member).u8(flags);
  for (const uint32_t side : {s.in_w, s.in_h, s.out_w, s.out_h})
    content.u16(fuzz::side_field(side));
  for (const int16_t margin : cut) content.i16(margin);
  return content;
}

}  // namespace

std::vector<fuzz::input> fuzz::seeds() {
  // Over the ends of vectors and of windows of taps, both ways, and rows wider than a strip.
  constexpr sizes shapes[] = {{2, 2, 2, 2},     {2, 2, 17, 3},    {13, 17, 221, 9}, {16, 4, 16, 4},
                              {33, 5, 64, 8},   {64, 3, 65, 2},   {65, 3, 129, 7},  {200, 5, 31, 4},
                              {300, 9, 7, 300}, {8000, 2, 33, 2}, {3, 2, 8000, 2},  {5, 127, 4, 63},
                              {1, 2, 3, 4},     {2, 2, 2, 1}};
  std::vector<input> all;
  for (uint8_t member = 0; member < 7; ++member) {
    const bool interleaved = member == 3 || member == 4;
    for (const sizes& s : shapes) {
      all.push_back(seed(member, 4, s, {int16_t{interleaved}, 0, 0, 0}).vector());
      all.push_back(seed(member, 0, s, {int16_t{3}, 1, 2, 1}).u32(0).u32(UINT32_MAX).vector());
    }
    for (const uint8_t flags : std::initializer_list<uint8_t>{1, 2, 16, 32, 64, 128, 80})
      all.push_back(seed(member, flags, {9, 8, 7, 6}, {1, 0, 0, 0}).vector());
    for (const int16_t margin : std::initializer_list<int16_t>{-1, -300, 7, 8, 9, 32767})
      for (const uint8_t flags : std::initializer_list<uint8_t>{0, 8})
        all.push_back(seed(member, flags, {9, 8, 70, 6}, {margin, 2, 0, margin}).vector());
  }
  // Quiet NaN, infinities, the largest float, a denormal, -0.
  for (const sizes& s : shapes)
    all.push_back(seed(5, 0, s, {0, 0, 0, 0})
                      .u32(0x7fc00000)
                      .u32(0x7f800000)
                      .u32(0xff800000)
                      .u32(0x7f7fffff)
                      .u32(1)
                      .u32(0x80000000)
                      .u32(0x3f800000)
                      .vector());
  return all;
}
