// Fuzz target of the two builders of gain tables, with every table of row kernels, on calibration
// objects whose grids are exactly their bytes, against the plain rules where the planes are small.
//
//      0  u8    bit 0: the bicubic builder, else the polynomial one; 1: the module is null; 2: its
//               sets are null; 3: a grid is null; 4: the sides' high 16 bits are set
//      1  u8    sets
//      2  u8    columns, rows of the grids (grid_side_of below)
//      4  u8    which grid is null
//      5  u8    orientation: up to 0xef modulo 4, from there on itself
//      6  u16   out_width, out_height (fuzz/plane_sides.h)
//     10  u8    fraction bits of the first four sets; those after them are the same again
//     14  -     raw values (fuzz/sample_stream.h)

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <vector>

#include "fuzz/every_row_table.h"
#include "fuzz/input_reader.h"
#include "fuzz/plane_sides.h"
#include "fuzz/sample_stream.h"
#include "fuzz/target.h"
#include "qo_cmc/lsc.h"
#include "qo_nvm.h"
#include "tests/image_utils/bicubic_reference.h"
#include "tests/lsc/plain_lens_shading.h"
#include "writer/container_writer.h"

namespace {

using fuzz::require;

constexpr size_t different_sets = 4;
constexpr size_t channels = 4;
constexpr uint32_t most_grid_samples = 1024;
constexpr size_t most_table_samples = size_t{1} << 14;
constexpr size_t most_compared_samples = 400;

/// Small ones mostly; from 0xc0 on every fourth one from 3 to 255.
[[nodiscard]] uint8_t grid_side_of(uint8_t field) {
  return static_cast<uint8_t>(field < 0xc0 ? field & 0x1f : (field & 0x3f) * 4 + 3);
}

[[nodiscard]] uint8_t grid_side_field(uint8_t side) {
  return static_cast<uint8_t>(side < 0x20 ? side : 0xc0 | side / 4);
}

/// A set whose grids live here.
struct owned_set {
  uint8_t fraction_bits;
  std::vector<std::vector<uint16_t>> raw;
  std::vector<fuzz::exact_array<uint8_t>> grids;

  owned_set(uint8_t bits, size_t samples, fuzz::sample_stream& values) : fraction_bits(bits) {
    for (size_t channel = 0; channel < channels; ++channel) {
      std::vector<uint16_t>& numbers = raw.emplace_back();
      fuzz::exact_array<uint8_t>& grid = grids.emplace_back(samples * (is_wide() ? 2 : 1));
      for (size_t i = 0; i < samples; ++i) {
        numbers.push_back(is_wide() ? values.next<uint16_t>() : values.next<uint8_t>());
        memcpy(grid.data() + i * (is_wide() ? 2 : 1), &numbers.back(), is_wide() ? 2 : 1);
      }
    }
  }

  [[nodiscard]] bool is_wide() const { return fraction_bits >= 9; }
  [[nodiscard]] float divisor() const { return std::ldexp(1.0f, fraction_bits % 32); }
  [[nodiscard]] lsc_calibration_set view() const {
    return {
        fraction_bits, {}, {grids[0].data(), grids[1].data(), grids[2].data(), grids[3].data()}};
  }
};

struct builder_call {
  bool bicubic;
  uint8_t grid_width, grid_height;
  fuzz::plane_sides plane;
  uint32_t high;  ///< added to the sides that the builder is given
  uint32_t orientation;

  [[nodiscard]] computed_upscale_lsc_tables* build(const calibration* module) const {
    const uint32_t width = plane.width | high, height = plane.height | high;
    return bicubic ? compute_upscaled_lsc_tables_bicubic(width, height, module, orientation)
                   : compute_upscaled_lsc_tables_polynom4th(width, height, module, orientation);
  }
};

/// Null when the builder gives null.
struct built_tables {
  struct release {
    void operator()(computed_upscale_lsc_tables* built) const {
      deinit_computed_upscale_lsc_tables(built);
    }
  };
  std::unique_ptr<computed_upscale_lsc_tables, release> tables;
  size_t block_samples;

  friend bool operator==(const built_tables& a, const built_tables& b) {
    if (a.tables == nullptr || b.tables == nullptr) return a.tables == b.tables;
    if (a.tables->table_count != b.tables->table_count) return false;
    for (size_t set = 0; set < a.tables->table_count; ++set)
      if (kit::first_difference(a.tables->gain_tables[set], b.tables->gain_tables[set],
                                a.block_samples) != a.block_samples)
        return false;
    return true;
  }
};

/// What is refused for its arguments, by either builder. The polynomial one can also find that a
/// surface has no minimum above 0.
[[nodiscard]] bool is_refused(const builder_call& call, const calibration* module, bool null_grid) {
  if (module == nullptr || call.plane.samples() == 0) return true;
  const bool has_sets = module->lsc_set_count != 0;
  if (has_sets && (module->lsc_sets == nullptr || null_grid)) return true;
  if (!call.bicubic) return call.grid_width == 0 || call.grid_height == 0;
  if (module->lsc_sets == nullptr) return true;
  return has_sets && (call.grid_width < 2 || call.grid_height < 2 ||
                      call.plane.width < call.grid_width || call.plane.height < call.grid_height);
}

/// The plane of one grid by the plain rule; empty when its minimum is not above 0.
[[nodiscard]] plain::floats plain_plane(const builder_call& call, const plain::fit* fit,
                                        const owned_set& set, size_t channel) {
  const auto width = static_cast<int>(call.plane.width);
  const auto height = static_cast<int>(call.plane.height);
  if (call.bicubic) {
    const plain::floats raw = reference::upscale(set.raw[channel].data(), call.grid_width,
                                                 call.grid_height, width, height);
    return plain::gains(raw, call.plane.width, call.plane.height, set.divisor(), call.orientation);
  }
  plain::floats plane =
      fit->upscale(plain::gains(set.raw[channel], call.grid_width, call.grid_height, set.divisor(),
                                call.orientation),
                   call.plane.width, call.plane.height);
  if (!plain::normalise(plane)) plane.clear();
  return plane;
}

void compare(const builder_call& call, const std::vector<owned_set>& sets, size_t set_count,
             const built_tables& built) {
  std::unique_ptr<plain::fit> fit;
  if (!call.bicubic) fit = std::make_unique<plain::fit>(call.grid_width, call.grid_height);
  for (size_t set = 0; set < std::min(set_count, sets.size()); ++set) {
    for (size_t channel = 0; channel < channels; ++channel) {
      const plain::floats plane = plain_plane(call, fit.get(), sets[set], channel);
      if (plane.empty()) return require(built.tables == nullptr);
      if (built.tables == nullptr) continue;  // a grid after this one has no minimum
      const float* const actual = built.tables->gain_tables[set] + channel * plane.size();
      require(kit::first_difference(plane.data(), actual, plane.size()) == plane.size());
    }
  }
  require(built.tables != nullptr);
}

void run(const builder_call& call, const calibration* module, bool null_grid,
         const std::vector<owned_set>& sets) {
  const size_t block_samples = channels * call.plane.samples();
  const built_tables built = fuzz::same_in_every_table([&] {
    return built_tables{decltype(built_tables::tables)(call.build(module)), block_samples};
  });
  if (is_refused(call, module, null_grid)) return require(built.tables == nullptr);
  require(built.tables != nullptr || !call.bicubic);
  if (built.tables != nullptr) {
    require(built.tables->table_count == module->lsc_set_count);
    for (size_t set = 0; !call.bicubic && set < module->lsc_set_count; ++set)
      for (size_t i = 0; i < block_samples; ++i) require(built.tables->gain_tables[set][i] >= 1.0f);
  }
  const size_t grid_samples = size_t{call.grid_width} * call.grid_height;
  if (grid_samples <= most_compared_samples && call.plane.samples() <= most_compared_samples &&
      std::max(call.plane.width, call.plane.height) < 256)
    compare(call, sets, module->lsc_set_count, built);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::input_reader fields(data, size);
  const uint8_t flags = fields.u8();
  builder_call call = {};
  call.bicubic = (flags & 1) != 0;
  call.high = (flags & 16) != 0 ? 0xffff0000u : 0;
  const uint8_t set_field = fields.u8();
  call.grid_width = grid_side_of(fields.u8());
  call.grid_height = grid_side_of(fields.u8());
  if (size_t{call.grid_width} * call.grid_height > most_grid_samples)
    call.grid_height = static_cast<uint8_t>(most_grid_samples / call.grid_width);
  const uint8_t null_grid = fields.u8();
  const uint8_t orientation = fields.u8();
  call.orientation = orientation < 0xf0 ? orientation % 4 : orientation;
  call.plane = fuzz::read_plane_sides(fields);
  uint8_t fraction_bits[different_sets];
  for (uint8_t& bits : fraction_bits) bits = fields.u8();
  fuzz::sample_stream values(fields.rest());

  // As many sets as keep the work of an input within bounds.
  const size_t set_samples = channels * call.plane.samples();
  const size_t set_count = std::min<size_t>(
      set_field,
      set_samples == 0 ? UINT8_MAX : std::max<size_t>(most_table_samples / set_samples, 1));
  std::vector<owned_set> sets;
  std::vector<lsc_calibration_set> views;
  for (size_t set = 0; set < set_count; ++set) {
    if (set < different_sets)
      sets.emplace_back(fraction_bits[set], size_t{call.grid_width} * call.grid_height, values);
    views.push_back(sets[set % different_sets].view());
  }
  const bool has_null_grid = (flags & 8) != 0;
  if (has_null_grid && set_count != 0)
    views[null_grid / channels % set_count].channel_tables[null_grid % channels] = nullptr;

  // The sets are an array of exactly their number too.
  fuzz::exact_array<lsc_calibration_set> exact_sets(set_count);
  std::copy(views.begin(), views.end(), exact_sets.begin());
  calibration module = {};
  module.lsc_set_count = static_cast<uint8_t>(set_count);
  module.lsc_grid_width = call.grid_width;
  module.lsc_grid_height = call.grid_height;
  module.lsc_sets = (flags & 4) != 0 ? nullptr : exact_sets.data();
  run(call, (flags & 2) != 0 ? nullptr : &module, has_null_grid, sets);
  return 0;
}

namespace {

struct shape {
  uint8_t sets, grid_w, grid_h;
  uint32_t out_w, out_h;
};

writer::bytes seed(uint8_t flags, const shape& s, uint8_t orientation, uint8_t fraction_bits) {
  writer::bytes content;
  content.u8(flags).u8(s.sets).u8(grid_side_field(s.grid_w)).u8(grid_side_field(s.grid_h));
  content.u8(5).u8(orientation);
  content.u16(fuzz::side_field(s.out_w)).u16(fuzz::side_field(s.out_h));
  for (const int more : {0, 1, 8, 24}) content.u8(static_cast<uint8_t>(fraction_bits + more));
  return content;
}

/// Values like those of a module, which rise towards the corners.
writer::bytes bowl(writer::bytes content, uint8_t width, uint8_t height, bool wide) {
  for (int row = 0; row < height; ++row)
    for (int column = 0; column < width; ++column) {
      const int x = 2 * column - width + 1, y = 2 * row - height + 1;
      const int value = 40 + (x * x + y * y) * 100 / (width * width + height * height);
      if (wide)
        content.u16(static_cast<uint16_t>(value * 16));
      else
        content.u8(static_cast<uint8_t>(value));
    }
  return content;
}

}  // namespace

std::vector<fuzz::input> fuzz::seeds() {
  constexpr shape shapes[] = {{1, 17, 13, 17, 13}, {3, 7, 6, 33, 25}, {2, 9, 8, 64, 16},
                              {4, 13, 9, 20, 20},  {255, 5, 5, 6, 5}, {1, 16, 16, 65, 17},
                              {1, 4, 3, 5, 8},     {2, 2, 2, 2, 2},   {1, 3, 255, 3, 255},
                              {1, 9, 7, 256, 9},   {1, 9, 7, 300, 8}, {1, 255, 8, 255, 8}};
  std::vector<input> all;
  for (const uint8_t builder : std::initializer_list<uint8_t>{0, 1}) {
    for (const shape& s : shapes) {
      for (uint8_t orientation = 0; orientation < 4; ++orientation)
        for (const uint8_t bits : std::initializer_list<uint8_t>{7, 12})
          all.push_back(
              bowl(seed(builder, s, orientation, bits), s.grid_w, s.grid_h, bits >= 9).vector());
      all.push_back(seed(builder, s, 0, 0).vector());
      all.push_back(seed(builder, s, 3, 31).u32(0).u32(UINT32_MAX).vector());
    }
    for (const uint8_t flags : std::initializer_list<uint8_t>{2, 4, 8, 12, 16})
      for (const uint8_t sets : std::initializer_list<uint8_t>{0, 2})
        all.push_back(bowl(seed(flags | builder, {sets, 7, 6, 9, 9}, 0, 8), 7, 6, false).vector());
    for (const uint8_t orientation : std::initializer_list<uint8_t>{0xf0, 0xff})
      all.push_back(bowl(seed(builder, {1, 7, 6, 9, 9}, orientation, 8), 7, 6, false).vector());
    for (const shape& s : std::initializer_list<shape>{{1, 0, 5, 9, 9},
                                                       {1, 5, 0, 9, 9},
                                                       {1, 1, 5, 9, 9},
                                                       {1, 5, 5, 0, 9},
                                                       {1, 5, 5, 9, 4},
                                                       {1, 5, 5, 1, 9},
                                                       {0, 0, 0, 1, 1}})
      all.push_back(seed(builder, s, 0, 8).vector());
  }
  return all;
}
