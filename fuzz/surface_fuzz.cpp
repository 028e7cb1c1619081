// Fuzz target of the quartic surface: its normal equations, the fit and the sampling, with every
// table of row kernels, on arrays of exactly their sizes, against the plain rules.
//
//      0  u8    member: 0 lu_decomposition, 1 lsc_polynomial_upscale_float, 2
//               do_polynomial_upscale; others modulo 3
//      1  u8    bits 0-4: an array is null; 5: the grid is beyond all memory; 6: floats are tame;
//               7: the factors are those of the grid, else they are any numbers
//      2  u16   number of terms: 0 to 31, or from 0xf000 on itself
//      4  u16   grid's width, height, plane's width, height (fuzz/plane_sides.h)
//     12  -     numbers (fuzz/sample_stream.h)

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "fuzz/every_row_table.h"
#include "fuzz/input_reader.h"
#include "fuzz/plane_sides.h"
#include "fuzz/sample_stream.h"
#include "fuzz/target.h"
#include "qo_cmc/lsc.h"
#include "tests/lsc/plain_lens_shading.h"
#include "writer/container_writer.h"

namespace {

using fuzz::exact_array;
using fuzz::require;

constexpr uint16_t surface_terms = 15;
constexpr uint32_t most_grid_samples = 512;
constexpr uint32_t most_plane_samples = 4096;

struct surface_call {
  uint16_t terms;
  fuzz::plane_sides grid, plane;
  uint8_t flags;

  [[nodiscard]] bool has(int bit) const { return (flags >> bit & 1) != 0; }
  template <typename T>
  [[nodiscard]] T* unless_null(int bit, T* array) const {
    return has(bit) ? nullptr : array;
  }
  [[nodiscard]] bool is_huge() const { return has(5); }
  [[nodiscard]] uint16_t grid_width() const { return is_huge() ? 0xffff : narrow(grid.width); }
  [[nodiscard]] uint16_t grid_height() const { return is_huge() ? 0xffff : narrow(grid.height); }
  [[nodiscard]] uint16_t width() const { return narrow(plane.width); }
  [[nodiscard]] uint16_t height() const { return narrow(plane.height); }

 private:
  [[nodiscard]] static uint16_t narrow(uint32_t side) { return static_cast<uint16_t>(side); }
};

[[nodiscard]] std::vector<float> copy_of(const exact_array<float>& array) {
  return {array.begin(), array.end()};
}

void run_normal_equations(const surface_call& call, fuzz::sample_stream samples) {
  const bool accepted =
      call.terms >= surface_terms && call.terms <= 31 && !call.is_huge() && (call.flags & 0xf) == 0;
  const size_t terms = accepted ? call.terms : 1;
  const size_t count = call.grid.samples();
  const auto before = samples.array<float>(count * terms, call.has(6));
  const auto result = fuzz::filled_in_every_table<float>(
      {count * terms, count * terms, terms * terms}, [&](float* const* arrays) {
        std::copy(before.begin(), before.end(), arrays[0]);
        exact_array<int32_t> index(terms);
        const uint32_t status =
            lu_decomposition(call.unless_null(0, arrays[0]), call.unless_null(1, arrays[1]),
                             call.unless_null(2, arrays[2]), call.unless_null(3, index.data()),
                             call.grid_width(), call.grid_height(), call.terms);
        if (status != QO_CMC_OK) require(index.is_untouched());
        for (size_t i = 0; status == QO_CMC_OK && i < terms; ++i)
          require(index[i] == static_cast<int32_t>(i));
        return status;
      });
  require(result.status == (accepted ? QO_CMC_OK : QO_CMC_STEP_FAILED));
  if (!accepted) {
    require(fuzz::same_samples(before, result.planes[0]));
    return require(result.planes[1].is_untouched() && result.planes[2].is_untouched());
  }
  plain::floats design = copy_of(before);
  const plain::floats monomials = plain::design(call.grid.width, call.grid.height);
  for (size_t i = 0; i < count; ++i)
    for (size_t term = 0; term < surface_terms; ++term)
      design[i * terms + term] = monomials[i * surface_terms + term];
  const plain::floats design_t = plain::transpose(design, count, terms);
  require(fuzz::same_samples(design, result.planes[0]));
  require(fuzz::same_samples(design_t, result.planes[1]));
  require(fuzz::same_samples(
      plain::factors(plain::product(design_t, design, terms, count, terms), terms),
      result.planes[2]));
}

[[nodiscard]] plain::floats plain_surface(const plain::floats& coefficients,
                                          const surface_call& call) {
  return plain::surface(coefficients, call.grid_width(), call.grid_height(), call.width(),
                        call.height());
}

void run_fit(const surface_call& call, fuzz::sample_stream samples) {
  const size_t terms = call.terms <= 31 ? call.terms : surface_terms;
  const size_t count = call.grid.samples();
  auto design_t = samples.array<float>(terms * count, call.has(6));
  auto lu = samples.array<float>(terms * terms, call.has(6));
  if (call.has(7) && terms == surface_terms) {
    const plain::fit fit(call.grid.width, call.grid.height);
    std::copy(fit.a_t.begin(), fit.a_t.end(), design_t.begin());
    std::copy(fit.lu.begin(), fit.lu.end(), lu.begin());
  }
  std::vector<exact_array<float>> grids;
  const float* sources[4];
  for (size_t channel = 0; channel < 4; ++channel) {
    grids.push_back(samples.array<float>(count, call.has(6)));
    sources[channel] = grids.back().data();
  }
  if (call.has(2)) sources[3] = nullptr;

  const size_t plane_samples = call.plane.samples();
  const auto result = fuzz::filled_in_every_table<float>(
      std::vector<size_t>(4, plane_samples), [&](float* const* planes) {
        float* destinations[4] = {planes[0], planes[1], planes[2], call.unless_null(3, planes[3])};
        return lsc_polynomial_upscale_float(
            call.unless_null(0, design_t.data()), call.unless_null(1, lu.data()), nullptr, sources,
            call.unless_null(4, destinations), call.grid_width(), call.grid_height(), call.width(),
            call.height(), static_cast<uint16_t>(terms));
      });
  const bool refused = call.is_huge() || (plane_samples != 0 && (call.flags & 0x1f) != 0);
  require(result.status == (refused ? QO_CMC_STEP_FAILED : QO_CMC_OK));
  if (refused || plane_samples == 0) return require(result.is_untouched());
  for (size_t channel = 0; channel < 4; ++channel) {
    const plain::floats right =
        plain::product(copy_of(design_t), copy_of(grids[channel]), terms, count, 1);
    plain::floats coefficients = plain::solve(copy_of(lu), right, terms);
    coefficients.resize(surface_terms);
    require(fuzz::same_samples(plain_surface(coefficients, call), result.planes[channel]));
  }
}

void run_samples(const surface_call& call, fuzz::sample_stream samples) {
  const auto coefficients = samples.array<float>(surface_terms, call.has(6));
  const auto result = fuzz::filled_in_every_table<float>(call.plane.samples(), [&](float* plane) {
    do_polynomial_upscale(call.unless_null(0, plane), call.unless_null(1, coefficients.data()),
                          call.grid_width(), call.grid_height(), call.width(), call.height());
    return QO_CMC_OK;
  });
  if ((call.flags & 3) != 0) return require(result.is_untouched());
  require(fuzz::same_samples(plain_surface(copy_of(coefficients), call), result.planes[0]));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::input_reader fields(data, size);
  const uint8_t member = fields.u8() % 3;
  surface_call call = {};
  call.flags = fields.u8();
  const uint16_t terms = fields.u16();
  call.terms = terms < 0xf000 ? terms & 0x1f : terms;
  call.grid = fuzz::read_plane_sides(fields, most_grid_samples);
  call.grid.width = std::min(call.grid.width, most_grid_samples);
  call.plane = fuzz::read_plane_sides(fields, most_plane_samples);
  call.plane.width = std::min(call.plane.width, 2 * most_plane_samples);
  const fuzz::sample_stream samples(fields.rest());
  if (member == 0)
    run_normal_equations(call, samples);
  else if (member == 1)
    run_fit(call, samples);
  else
    run_samples(call, samples);
  return 0;
}

namespace {

struct shape {
  uint32_t grid_w, grid_h, plane_w, plane_h;
};

writer::bytes seed(uint8_t member, uint8_t flags, uint16_t terms, const shape& s) {
  writer::bytes content;
  content.u8(member).u8(flags).u16(terms);
  for (const uint32_t side : {s.grid_w, s.grid_h, s.plane_w, s.plane_h})
    content.u16(fuzz::side_field(side));
  return content;
}

}  // namespace

std::vector<fuzz::input> fuzz::seeds() {
  constexpr shape shapes[] = {{17, 13, 33, 25},  {5, 5, 64, 3}, {16, 9, 16, 9}, {31, 3, 65, 4},
                              {1, 1, 7, 7},      {0, 4, 3, 2},  {7, 7, 1, 5},   {8, 8, 5, 1},
                              {200, 2, 8000, 1}, {9, 9, 0, 4},  {64, 8, 127, 8}};
  std::vector<input> all;
  for (uint8_t member = 0; member < 3; ++member) {
    for (const shape& s : shapes) {
      for (const uint16_t terms : std::initializer_list<uint16_t>{15, 16, 21, 31, 14, 1, 0}) {
        all.push_back(seed(member, 0x40, terms, s).vector());
        all.push_back(seed(member, 0xc0, terms, s).u16(256).u16(300).u16(400).vector());
      }
      all.push_back(seed(member, 0, 15, s)
                        .u32(0x7fc00000)
                        .u32(0x7f800000)
                        .u32(0xff800000)
                        .u32(0x80000000)
                        .f32(3e38f)
                        .u32(1)
                        .vector());
    }
    for (const uint8_t flags : std::initializer_list<uint8_t>{1, 2, 4, 8, 16, 32})
      for (const uint16_t terms : std::initializer_list<uint16_t>{15, 0xffff})
        all.push_back(seed(member, flags, terms, {6, 5, 9, 8}).vector());
  }
  return all;
}
