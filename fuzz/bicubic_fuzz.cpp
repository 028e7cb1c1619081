// Fuzz target of the bicubic family: every entry, with every table of row kernels, on planes of
// exactly their sizes, and against the plain rules where the output is small.
//
//      0  u8    member: 0 u8 and 1 u16 to float, 2 float and 3 u16 to 16 bit, 4 the buffer, 5 one
//               border cell; others modulo 6
//      1  u8    bits 0, 1: source, destination is null, of several the last; 2: floats are tame;
//               3, 4: the array of sources, of destinations is null
//      2  u8    planes, modulo 4, or the mode of the border cell
//      3  u16   fraction bits of sources, or the stride of the border cell
//      5  u16   in_w, in_h, out_w, out_h (fuzz/plane_sides.h)
//     13  -     samples (fuzz/sample_stream.h)

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
#include "tests/image_utils/bicubic_reference.h"
#include "writer/container_writer.h"

namespace {

using fuzz::require;

constexpr uint32_t largest_side = 65532;
/// The plain rules form the coefficients of a patch for each sample anew.
constexpr size_t most_compared_samples = 1024;

struct bicubic_call {
  fuzz::plane_sides in, out;
  uint16_t parameter;
  uint8_t flags, number;

  [[nodiscard]] bool has(int bit) const { return (flags >> bit & 1) != 0; }
  [[nodiscard]] uint16_t in_w() const { return static_cast<uint16_t>(in.width); }
  [[nodiscard]] uint16_t in_h() const { return static_cast<uint16_t>(in.height); }
  [[nodiscard]] uint16_t out_w() const { return static_cast<uint16_t>(out.width); }
  [[nodiscard]] uint16_t out_h() const { return static_cast<uint16_t>(out.height); }
  /// The source's sides, from `least` on.
  [[nodiscard]] bool is_sized(uint32_t least) const {
    return std::min(in.width, in.height) >= least && std::max(in.width, in.height) <= largest_side;
  }
};

template <typename Sample, typename Entry>
void run_upscale(const bicubic_call& call, fuzz::sample_stream samples, Entry* entry) {
  const auto planes = static_cast<uint16_t>(call.number % 4);
  std::vector<fuzz::exact_array<Sample>> sources;
  std::vector<const Sample*> pointers;
  for (uint16_t i = 0; i < planes; ++i) {
    sources.push_back(samples.array<Sample>(call.in.samples()));
    pointers.push_back(call.has(0) && i + 1 == planes ? nullptr : sources.back().data());
  }
  const bool sized =
      call.is_sized(2) && call.out.width >= call.in.width && call.out.height >= call.in.height;
  const bool accepted = sized && (planes == 0 || (call.flags & 0x1b) == 0);
  const auto result = fuzz::filled_in_every_table<float>(
      std::vector<size_t>(planes, call.out.samples()), [&](float* const* filled) {
        std::vector<float*> destinations(filled, filled + planes);
        if (call.has(1) && planes != 0) destinations.back() = nullptr;
        return entry(call.has(3) ? nullptr : pointers.data(),
                     call.has(4) ? nullptr : destinations.data(), call.in_w(), call.in_h(),
                     call.out_w(), call.out_h(), planes);
      });
  require(result.status == (accepted ? QO_CMC_OK : QO_CMC_INVALID_SIZE));
  if (!accepted) return require(result.is_untouched());
  for (size_t i = 0; i < planes; ++i) {
    const fuzz::exact_array<float>& plane = result.planes[i];
    for (const float sample : plane) require(sample >= -255.0f && sample <= 65535.0f);
    if (plane.size() <= most_compared_samples)
      require(fuzz::same_samples(reference::upscale(sources[i].data(), call.in_w(), call.in_h(),
                                                    call.out_w(), call.out_h()),
                                 plane));
  }
}

/// `resize` is the call, `buffer` the plain continuation of its source.
template <typename Sample, typename Resize, typename Buffer>
void run_resize(const bicubic_call& call, bool sized, const fuzz::exact_array<Sample>& source,
                Resize resize, Buffer buffer) {
  const size_t count = call.out.samples();
  const bool accepted = sized && (count == 0 || (!call.has(0) && !call.has(1)));
  const auto result = fuzz::filled_in_every_table<uint16_t>(count, [&](uint16_t* plane) {
    return resize(call.has(0) ? nullptr : source.data(), call.has(1) ? nullptr : plane);
  });
  require(result.status == (accepted ? QO_CMC_OK : QO_CMC_INVALID_SIZE));
  if (!accepted) return require(result.is_untouched());
  if (count <= most_compared_samples && source.size() <= 4 * most_compared_samples)
    require(fuzz::same_samples(reference::resize(buffer(), call.out_h(), call.out_w()),
                               result.planes[0]));
}

void run_float_to_16_bit(const bicubic_call& call, fuzz::sample_stream samples) {
  const auto source = samples.array<float>(call.in.samples(), call.has(2));
  run_resize(
      call, call.is_sized(1), source,
      [&](const float* from, uint16_t* plane) {
        return bicubic_resize_32f_to_u16p10(from, call.in_h(), call.in_w(), plane, call.out_h(),
                                            call.out_w());
      },
      [&] { return reference::extrapolated(source.data(), call.in_w(), call.in_h()); });
}

void run_16_bit(const bicubic_call& call, fuzz::sample_stream samples) {
  const auto source = samples.array<uint16_t>(call.in.samples());
  run_resize(
      call, call.is_sized(1) && call.out.width != 1 && call.out.height != 1, source,
      [&](const uint16_t* from, uint16_t* plane) {
        return bicubic_resize_u16_to_u16(from, call.in_h(), call.in_w(), call.parameter, plane,
                                         call.out_h(), call.out_w());
      },
      [&] {
        return reference::extrapolated_scaled(source.data(), call.in_w(), call.in_h(),
                                              call.parameter);
      });
}

void run_buffer(const bicubic_call& call, fuzz::sample_stream samples) {
  const auto source = samples.array<uint16_t>(call.in.samples());
  const size_t cells = size_t{call.in.width + 3} * (call.in.height + 3);
  const bool accepted = call.is_sized(1) && !call.has(0) && !call.has(1);
  const auto result = fuzz::filled_in_every_table<float>(cells, [&](float* buffer) {
    create_extrapolated_buffer_for_bicubic_u16(call.has(0) ? nullptr : source.data(),
                                               call.has(1) ? nullptr : buffer, call.in_w(),
                                               call.in_h());
    return QO_CMC_OK;
  });
  require(accepted ? fuzz::same_samples(
                         reference::extrapolated(source.data(), call.in_w(), call.in_h()).cells,
                         result.planes[0])
                   : result.is_untouched());
}

/// One cell among just the cells that its mode names.
void run_border_cell(const bicubic_call& call, fuzz::sample_stream samples) {
  const uint32_t mode = call.number;
  const auto stride = static_cast<uint16_t>(call.parameter & 0x3ff);
  if (call.has(1)) return interpolate_gain_value(nullptr, stride, mode);
  const bool above = mode == 0 || mode == 4 || mode == 5;
  const bool below = mode == 1 || mode == 6 || mode == 7;
  const bool left = mode == 2 || mode == 4 || mode == 6;
  const bool right = mode == 3 || mode == 5 || mode == 7;
  const ptrdiff_t down = above ? 2 * stride : below ? -2 * stride : 0;
  const ptrdiff_t aside = left ? 2 : right ? -2 : 0;
  const ptrdiff_t lowest = std::min({ptrdiff_t{0}, down, aside});
  const ptrdiff_t highest = std::max({ptrdiff_t{0}, down, aside});
  const auto before = samples.array<float>(static_cast<size_t>(highest - lowest + 1), call.has(2));
  const auto result = fuzz::filled_in_every_table<float>(before.size(), [&](float* cells) {
    std::copy(before.begin(), before.end(), cells);
    interpolate_gain_value(cells - lowest, stride, mode);
    return QO_CMC_OK;
  });
  std::vector<float> expected(before.begin(), before.end());
  expected[static_cast<size_t>(-lowest)] =
      reference::border_value(before.data() - lowest, stride, mode);
  require(fuzz::same_samples(expected, result.planes[0]));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::input_reader fields(data, size);
  const uint8_t member = fields.u8() % 6;
  bicubic_call call = {};
  call.flags = fields.u8();
  call.number = fields.u8();
  call.parameter = fields.u16();
  call.in = fuzz::read_plane_sides(fields);
  call.out = fuzz::read_plane_sides(fields, fuzz::most_samples);
  const fuzz::sample_stream samples(fields.rest());
  switch (member) {
    case 0:
      run_upscale<uint8_t>(call, samples, image_bicubic_upscale_uint8_to_float);
      break;
    case 1:
      run_upscale<uint16_t>(call, samples, image_bicubic_upscale_uint16_to_float);
      break;
    case 2:
      run_float_to_16_bit(call, samples);
      break;
    case 3:
      run_16_bit(call, samples);
      break;
    case 4:
      run_buffer(call, samples);
      break;
    default:
      run_border_cell(call, samples);
  }
  return 0;
}

namespace {

struct shape {
  uint32_t in_w, in_h, out_w, out_h;
};

writer::bytes seed(uint8_t member, uint8_t flags, uint8_t number, uint16_t parameter,
                   const shape& s) {
  writer::bytes content;
  content.u8(member).u8(flags).u8(number).u16(parameter);
  for (const uint32_t side : {s.in_w, s.in_h, s.out_w, s.out_h})
    content.u16(fuzz::side_field(side));
  return content;
}

}  // namespace

std::vector<fuzz::input> fuzz::seeds() {
  // Equal sides, ends of vectors, columns and rows of one sample, reductions, wide rows.
  constexpr shape shapes[] = {
      {2, 2, 2, 2},     {17, 13, 33, 25}, {13, 17, 64, 17}, {16, 3, 65, 4},
      {33, 4, 127, 8},  {3, 2, 8000, 2},  {4, 4, 31, 300},  {1, 1, 5, 5},
      {1, 9, 17, 9},    {9, 1, 3, 1},     {127, 20, 16, 7}, {8000, 3, 33, 2},
      {65533, 2, 2, 2}, {5, 5, 0, 4},     {5, 5, 4, 5},     {2, 1, 2, 2}};
  std::vector<input> all;
  for (uint8_t member = 0; member < 5; ++member) {
    for (const shape& s : shapes) {
      all.push_back(seed(member, 4, 1, 10, s).vector());
      all.push_back(seed(member, 0, 2, 31, s).u32(0xffff).u32(0).u32(0xffff0000).vector());
      // Quiet NaN, infinities, floats that saturate, a denormal.
      all.push_back(seed(member, 0, 3, 0, s)
                        .u32(0x7fc00000)
                        .u32(0x7f800000)
                        .u32(0xff800000)
                        .f32(3e6f)
                        .f32(-3e6f)
                        .u32(1)
                        .f32(3e38f)
                        .vector());
    }
    for (const uint8_t flags : std::initializer_list<uint8_t>{1, 2, 8, 16})
      for (const uint8_t planes : std::initializer_list<uint8_t>{0, 2})
        all.push_back(seed(member, flags, planes, 10, {4, 5, 6, 7}).vector());
  }
  for (uint8_t mode = 0; mode < 9; ++mode)
    for (const uint16_t stride : std::initializer_list<uint16_t>{0, 1, 20, 1023})
      all.push_back(seed(5, 4, mode, stride, {}).vector());
  return all;
}
