// Fuzz target of the correction of lens-shading tables, with every table of row kernels, against
// the plain rule. Tables and gains stand each in a block of exactly its size, or all of them
// anywhere in one block, where they overlap.
//
//      0  u8    bits 0-2: target, source, gains are null; 3-5: their arrays are null; 6: one block;
//               7: gains are tame
//      1  u8    lights of target, of source, number of gain tables, each modulo 4
//      4  u8    mosaic: up to 0x7f one of the twelve, from there on 192 more than itself
//      5  u8    plane order: up to 0xef modulo 4, from there on itself
//      6  u16   target's width, height, source's width, height (fuzz/plane_sides.h)
//     14  u8    gain table that is null, when it is one
//     15  -     for each of three lights u8 `aux` modulo 5, u16 sites with a target table, u16 with
//     a
//               source table; then samples, and places in the block (fuzz/sample_stream.h)

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
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

using fuzz::require;
using byte_block = fuzz::exact_array<uint8_t>;

constexpr size_t most_lights = 3;
constexpr uint32_t most_table_samples = 512;

/// Bytes in one of the blocks; none, where the block is `no_block`.
struct place {
  static constexpr size_t no_block = SIZE_MAX;
  size_t block = no_block;
  size_t offset = 0;
  [[nodiscard]] bool exists() const { return block != no_block; }
};

template <typename T>
[[nodiscard]] T load(const std::vector<byte_block>& memory, const place& at, size_t i) {
  T value;
  memcpy(&value, memory[at.block].data() + at.offset + i * sizeof value, sizeof value);
  return value;
}
template <typename T>
void store(std::vector<byte_block>& memory, const place& at, size_t i, T value) {
  memcpy(memory[at.block].data() + at.offset + i * sizeof value, &value, sizeof value);
}

struct light_plan {
  uint16_t aux;
  place target[16], source[16];
};

/// All that a call is made from, by places in memory.
struct correction_plan {
  uint8_t flags;
  uint16_t target_lights, source_lights;
  uint8_t tables;
  uint32_t cfa_layout, plane_order;
  fuzz::plane_sides target_size, source_size;
  light_plan lights[most_lights];
  place gains[most_lights];

  [[nodiscard]] bool has(int bit) const { return (flags >> bit & 1) != 0; }
  [[nodiscard]] size_t samples() const { return target_size.samples(); }
};

struct correction_outcome {
  uint64_t status = 0;
  std::vector<lens_shading_light> lights;  ///< without their tables
  std::vector<byte_block> memory;

  friend bool operator==(const correction_outcome& a, const correction_outcome& b) {
    if (a.status != b.status || a.memory.size() != b.memory.size()) return false;
    for (size_t i = 0; i < a.lights.size(); ++i) {
      const lens_shading_light &x = a.lights[i], &y = b.lights[i];
      if (x.light_id != y.light_id || x.fraction_bits != y.fraction_bits ||
          memcmp(x.gains, y.gains, sizeof x.gains) != 0 ||
          memcmp(x.coords, y.coords, sizeof x.coords) != 0)
        return false;
    }
    for (size_t i = 0; i < a.memory.size(); ++i)
      if (!fuzz::same_samples(a.memory[i], b.memory[i])) return false;
    return true;
  }
};

[[nodiscard]] std::vector<byte_block> copy_of(const std::vector<byte_block>& memory) {
  std::vector<byte_block> copy;
  for (const byte_block& block : memory)
    std::copy(block.begin(), block.end(), copy.emplace_back(block.size()).begin());
  return copy;
}

/// Leading fields that tell the lights apart, and those of the source from those of the target.
template <typename Light>
void number_fields(Light& light, size_t index, uint32_t side) {
  light.light_id = static_cast<uint32_t>(index) + side;
  for (size_t i = 0; i < 2; ++i) {
    light.gains[i] = static_cast<float>(side + index * 2 + i);
    light.coords[i] = -light.gains[i];
  }
  light.fraction_bits = static_cast<uint16_t>(side / 2 + index);
}
constexpr uint32_t target_side = 100, source_side = 200;

/// Gives gains that are NaNs the same bits: nobody promises the sign and payload of a mean.
void level_gains(const correction_plan& plan, std::vector<byte_block>& memory) {
  for (size_t table = 0; table < plan.tables; ++table)
    for (size_t i = 0; plan.gains[table].exists() && i < 4 * plan.samples(); ++i)
      if (std::isnan(load<float>(memory, plan.gains[table], i)))
        store(memory, plan.gains[table], i, std::nanf(""));
}

[[nodiscard]] correction_outcome corrected(const correction_plan& plan,
                                           const std::vector<byte_block>& before) {
  correction_outcome result;
  result.memory = copy_of(before);
  const auto samples_at = [&result](const place& at) {
    return at.exists() ? reinterpret_cast<uint16_t*>(result.memory[at.block].data() + at.offset)
                       : nullptr;
  };
  fuzz::exact_array<lens_shading_light> target_lights(plan.target_lights);
  fuzz::exact_array<lens_shading_light_ext> source_lights(plan.source_lights);
  for (size_t light = 0; light < plan.target_lights; ++light) {
    target_lights[light] = {};
    number_fields(target_lights[light], light, target_side);
    for (size_t site = 0; site < 16; ++site)
      target_lights[light].tables[site / 4][site % 4] = samples_at(plan.lights[light].target[site]);
  }
  for (size_t light = 0; light < plan.source_lights; ++light) {
    source_lights[light] = {};
    number_fields(source_lights[light], light, source_side);
    source_lights[light].aux = plan.lights[light].aux;
    for (size_t site = 0; site < 16; ++site)
      source_lights[light].tables[site / 4][site % 4] = samples_at(plan.lights[light].source[site]);
  }
  fuzz::exact_array<float*> planes(plan.tables);
  for (size_t table = 0; table < plan.tables; ++table)
    planes[table] = reinterpret_cast<float*>(samples_at(plan.gains[table]));

  const auto set_of = [](uint16_t lights, const fuzz::plane_sides& size) {
    lens_shading_set set = {};
    set.light_count = lights;
    set.width = static_cast<uint16_t>(size.width);
    set.height = static_cast<uint16_t>(size.height);
    return set;
  };
  lens_shading_set target = set_of(plan.target_lights, plan.target_size);
  lens_shading_set source = set_of(plan.source_lights, plan.source_size);
  target.lights = plan.has(3) ? nullptr : target_lights.data();
  source.lights_ext = plan.has(4) ? nullptr : source_lights.data();
  computed_upscale_lsc_tables gains = {plan.tables, plan.has(5) ? nullptr : planes.data()};
  result.status = ratio_based_sample_to_sample_correction(
      plan.has(0) ? nullptr : &target, plan.has(1) ? nullptr : &source,
      plan.has(2) ? nullptr : &gains, plan.cfa_layout, plan.plane_order);
  result.lights.assign(target_lights.begin(), target_lights.end());
  level_gains(plan, result.memory);
  return result;
}

/// Whether the rule says what the result is: a mean that is a NaN is not read as samples.
struct plain_result {
  correction_outcome outcome;
  bool defined = true;
};

void correct_light(const correction_plan& plan, const light_plan& light, plain_result& result) {
  const std::vector<std::vector<std::string>> cell = plain::cell(plan.cfa_layout);
  std::vector<byte_block>& memory = result.outcome.memory;
  const place& table = plan.gains[light.aux - 1];
  const size_t count = plan.samples();
  if (cell.size() == 4) {
    const size_t first = plain::plane_of("G1", plan.plane_order) * count;
    const size_t second = plain::plane_of("G2", plan.plane_order) * count;
    for (size_t i = 0; i < count; ++i) {
      const float mean =
          (load<float>(memory, table, first + i) + load<float>(memory, table, second + i)) * 0.5f;
      if (std::isnan(mean) && plan.has(6)) result.defined = false;
      store(memory, table, first + i, mean);
      store(memory, table, second + i, mean);
    }
  }
  for (size_t row = 0; row < cell.size(); ++row)
    for (size_t column = 0; column < cell.size(); ++column) {
      const place &to = light.target[row * 4 + column], &from = light.source[row * 4 + column];
      if (cell[row][column] == "-" || !to.exists() || !from.exists()) continue;
      const size_t plane = plain::plane_of(cell[row][column], plan.plane_order) * count;
      for (size_t i = 0; i < count; ++i)
        store(memory, to, i,
              plain::corrected(load<uint16_t>(memory, from, i),
                               load<float>(memory, table, plane + i)));
    }
}

[[nodiscard]] plain_result plainly_corrected(const correction_plan& plan,
                                             const std::vector<byte_block>& before) {
  plain_result result;
  result.outcome.memory = copy_of(before);
  for (size_t light = 0; light < plan.target_lights; ++light)
    number_fields(result.outcome.lights.emplace_back(lens_shading_light{}), light, target_side);
  result.outcome.status = [&]() -> uint64_t {
    if (plan.has(0) || plan.has(1) || plan.has(2)) return QO_CMC_INVALID_SIZE;
    if (plan.target_lights == 0) return QO_CMC_OK;
    if (plan.has(3) || plan.has(4) || plan.has(5)) return QO_CMC_INVALID_SIZE;
    if (plan.source_lights < plan.target_lights) return QO_CMC_INVALID;
    if (plan.source_size.samples() < plan.samples()) return QO_CMC_INVALID;
    for (size_t index = 0; index < plan.target_lights; ++index) {
      const light_plan& light = plan.lights[index];
      if (light.aux == 0 || light.aux > plan.tables) return QO_CMC_INVALID;
      if (!plan.gains[light.aux - 1].exists()) return QO_CMC_INVALID_SIZE;
      if (plan.plane_order >= 4 || plain::cell(plan.cfa_layout).empty()) return QO_CMC_INVALID;
      number_fields(result.outcome.lights[index], index, source_side);
      correct_light(plan, light, result);
    }
    return QO_CMC_OK;
  }();
  level_gains(plan, result.outcome.memory);
  return result;
}

/// A block of whole words from the stream, so that samples and gains are those of the input.
[[nodiscard]] byte_block filled(size_t bytes, fuzz::sample_stream& samples) {
  byte_block block(bytes);
  for (size_t i = 0; i < bytes; i += sizeof(uint32_t)) {
    const auto word = samples.next<uint32_t>();
    memcpy(block.data() + i, &word, std::min(sizeof word, bytes - i));
  }
  return block;
}

/// Places in blocks of their own, or anywhere in one block that holds a little more than the
/// largest of them.
class placer {
 public:
  placer(bool one_block, size_t largest) : one_block_(one_block) {
    if (one_block) sizes_.push_back(2 * largest + 64);
  }
  [[nodiscard]] place take(size_t bytes, size_t alignment, fuzz::sample_stream& draws) {
    if (one_block_) {
      const size_t room = sizes_[0] - bytes;
      return {0, draws.next<uint16_t>() % (room + 1) / alignment * alignment};
    }
    sizes_.push_back(bytes);
    return {sizes_.size() - 1, 0};
  }
  [[nodiscard]] const std::vector<size_t>& sizes() const { return sizes_; }

 private:
  bool one_block_;
  std::vector<size_t> sizes_;
};

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::input_reader fields(data, size);
  correction_plan plan = {};
  plan.flags = fields.u8();
  plan.target_lights = fields.u8() % (most_lights + 1);
  plan.source_lights = fields.u8() % (most_lights + 1);
  plan.tables = fields.u8() % (most_lights + 1);
  const uint8_t cfa_layout = fields.u8(), plane_order = fields.u8();
  const uint32_t mosaic = cfa_layout % 12;
  plan.cfa_layout = cfa_layout >= 0x80 ? cfa_layout + 192u : mosaic < 4 ? mosaic : mosaic + 252;
  plan.plane_order = plane_order < 0xf0 ? plane_order % 4 : plane_order;
  plan.target_size = fuzz::read_plane_sides(fields, most_table_samples);
  plan.source_size = fuzz::read_plane_sides(fields, most_table_samples);
  const size_t null_table = fields.u8();
  uint16_t target_sites[most_lights], source_sites[most_lights];
  for (size_t light = 0; light < most_lights; ++light) {
    plan.lights[light].aux = fields.u8() % 5;
    target_sites[light] = fields.u16();
    source_sites[light] = fields.u16();
  }
  fuzz::sample_stream samples(fields.rest());

  const size_t target_bytes = 2 * plan.samples(), source_bytes = 2 * plan.source_size.samples();
  const size_t gain_bytes = 16 * plan.samples();
  placer places(plan.has(6), std::max(gain_bytes, source_bytes));
  for (size_t table = 0; table < plan.tables; ++table)
    if (table != null_table) plan.gains[table] = places.take(gain_bytes, alignof(float), samples);
  for (size_t light = 0; light < most_lights; ++light)
    for (size_t site = 0; site < 16; ++site) {
      if (light < plan.target_lights && (target_sites[light] >> site & 1) != 0)
        plan.lights[light].target[site] = places.take(target_bytes, alignof(uint16_t), samples);
      if (light < plan.source_lights && (source_sites[light] >> site & 1) != 0)
        plan.lights[light].source[site] = places.take(source_bytes, alignof(uint16_t), samples);
    }
  std::vector<byte_block> before;
  for (const size_t bytes : places.sizes()) before.push_back(filled(bytes, samples));
  for (size_t table = 0; plan.has(7) && table < plan.tables; ++table)
    for (size_t i = 0; plan.gains[table].exists() && i < 4 * plan.samples(); ++i)
      store(before, plan.gains[table], i, samples.next_tame_float());
  level_gains(plan, before);

  const plain_result expected = plainly_corrected(plan, before);
  fuzz::with_every_table([&] {
    const correction_outcome result = corrected(plan, before);
    require(!expected.defined || expected.outcome == result);
  });
  return 0;
}

namespace {

struct shape {
  uint32_t target_w, target_h, source_w, source_h;
};

writer::bytes seed(uint8_t flags, uint8_t lights, uint8_t cfa_layout, uint8_t plane_order,
                   const shape& s, uint8_t null_table, const uint16_t (&sites)[2]) {
  writer::bytes content;
  content.u8(flags).u8(lights).u8(lights).u8(3).u8(cfa_layout).u8(plane_order);
  for (const uint32_t side : {s.target_w, s.target_h, s.source_w, s.source_h})
    content.u16(fuzz::side_field(side));
  content.u8(null_table);
  for (const uint8_t aux : std::initializer_list<uint8_t>{2, 1, 2})
    content.u8(aux).u16(sites[0]).u16(sites[1]);
  return content;
}

}  // namespace

std::vector<fuzz::input> fuzz::seeds() {
  constexpr shape shapes[] = {{1, 1, 1, 1},   {3, 5, 3, 5},    {8, 4, 8, 4},     {17, 13, 17, 13},
                              {31, 1, 31, 1}, {65, 1, 65, 2},  {20, 25, 20, 25}, {0, 4, 4, 4},
                              {4, 4, 5, 3},   {300, 1, 300, 1}};
  constexpr uint16_t every_site = 0xffff;
  std::vector<input> all;
  for (const shape& s : shapes)
    for (uint8_t cfa_layout = 0; cfa_layout < 12; ++cfa_layout)
      for (const uint8_t flags : std::initializer_list<uint8_t>{0, 0x80, 0xc0})
        all.push_back(seed(flags, 2, cfa_layout, cfa_layout % 4, s, 9, {every_site, 0x5733})
                          .u16(cfa_layout)
                          .f32(1.25f)
                          .vector());
  for (uint8_t flags = 1; flags < 0x40; flags = static_cast<uint8_t>(flags << 1))
    for (const uint8_t lights : std::initializer_list<uint8_t>{0, 1})
      all.push_back(seed(flags, lights, 0, 0, {2, 2, 2, 2}, 9, {every_site, every_site}).vector());
  for (const uint8_t code : std::initializer_list<uint8_t>{0x80, 0xbf, 0xff})
    all.push_back(seed(0, 1, code, 0, {2, 2, 2, 2}, 9, {every_site, every_site}).vector());
  all.push_back(seed(0, 1, 0, 0xf0, {2, 2, 2, 2}, 9, {every_site, every_site}).vector());
  all.push_back(seed(0, 3, 0, 0, {2, 2, 2, 2}, 0, {every_site, every_site}).vector());
  // Gains that are NaNs, infinite, negative, or saturate.
  for (const uint8_t flags : std::initializer_list<uint8_t>{0, 0x40})
    for (const uint8_t cfa_layout : std::initializer_list<uint8_t>{0, 5})
      all.push_back(seed(flags, 3, cfa_layout, 1, {9, 9, 9, 9}, 9, {every_site, every_site})
                        .u32(0x7fc00000)
                        .u32(0x7f800000)
                        .u32(0xff800000)
                        .f32(-2.5f)
                        .f32(4e4f)
                        .f32(3e38f)
                        .u32(0xffff0001)
                        .vector());
  return all;
}
