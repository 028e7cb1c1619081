#include "tools/document/lens_shading_packing.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

#include "tools/document/fixed_point_value.h"
#include "tools/document/kept_record_layouts.h"
#include "tools/document/layout_builder.h"

namespace document {
namespace {

using writer::bytes;

constexpr size_t mapped_head_size = 22;
constexpr uint16_t fixed_fraction_bits = 12;
constexpr const char* size_of_its_kind = "a set from record 10 has the size that its tables give";
constexpr const char* label = "a set from record 10 is labelled as a record 28 of version 100";

/// A set as the document has it. Tables stay where they are until a record takes them.
struct set_members {
  node at;
  uint8_t version, reserved;
  std::array<int8_t, 16> channel_map;
  uint16_t light_count, width, height;
  node lights;

  [[nodiscard]] size_t planes() const {
    return static_cast<size_t>(*std::max_element(channel_map.begin(), channel_map.end()) + 1);
  }
  [[nodiscard]] size_t plane_size() const { return size_t{2} * width * height; }
};

[[nodiscard]] set_members read_set(const node& at, const char* lights_key) {
  at.expect_only({"built_from", "size", "version", "reserved", "id", "channel_map", "light_count",
                  "width", "height", lights_key});
  set_members set = {at,
                     at.member("version").integer<uint8_t>(),
                     at.member("reserved").integer<uint8_t>(),
                     {},
                     at.member("light_count").integer<uint16_t>(),
                     at.member("width").integer<uint16_t>(),
                     at.member("height").integer<uint16_t>(),
                     at.member(lights_key)};
  const node map = at.member("channel_map");
  map.expect_elements(4);
  for (size_t row = 0; row < 4; ++row) {
    const node sites = map.element(row);
    sites.expect_elements(4);
    for (size_t column = 0; column < 4; ++column)
      set.channel_map[4 * row + column] = sites.element(column).integer<int8_t>();
  }
  set.lights.expect_elements(set.light_count);
  return set;
}

void expect_fixed_map(const set_members& set) {
  for (int site = 0; site < 16; ++site) {
    const int row = site / 4, column = site % 4;
    const int8_t plane = static_cast<int8_t>(row < 2 && column < 2 ? 2 * row + column : -1);
    if (set.channel_map[static_cast<size_t>(site)] != plane)
      set.at.member("channel_map")
          .element(static_cast<size_t>(row))
          .element(static_cast<size_t>(column))
          .fail("must be " + std::to_string(plane) +
                ": records 10 and 11 have no map of their own");
  }
}

void expect_light_members(const node& light, bool is_ext) {
  std::vector<std::string> keys = {"light_id", "gains", "coords", "fraction_bits", "tables"};
  if (is_ext) keys.emplace_back("aux");
  light.expect_only(keys);
}

/// Appends a light's planes in the order of their indices. Sites that share a plane must have the
/// same samples; a plane that no site has is zeros.
void append_planes(bytes& record, const set_members& set, const node& light) {
  const node tables = light.member("tables");
  tables.expect_elements(4);
  std::vector<bytes> planes(set.planes());
  std::vector<bool> filled(planes.size());
  for (size_t row = 0; row < 4; ++row) {
    const node sites = tables.element(row);
    sites.expect_elements(4);
    for (size_t column = 0; column < 4; ++column) {
      const node table = sites.element(column);
      const int8_t index = set.channel_map[4 * row + column];
      if (index < 0) {
        table.expect_null("channel_map has no plane for this site");
        continue;
      }
      bytes samples;
      table.append_table<uint16_t>(samples, set.height, set.width);
      const size_t plane = static_cast<size_t>(index);
      if (filled[plane] && planes[plane] != samples)
        table.fail("is not the table of the other sites with plane " + std::to_string(index));
      planes[plane] = std::move(samples);
      filled[plane] = true;
    }
  }
  for (bytes& plane : planes) record.raw(plane.zeros_to_size(set.plane_size()));
}

/// Appends two floats as a record of kinds 28 and 33 holds them.
void append_floats(bytes& record, const node& pair) { pair.append_numbers<float>(record, 2); }

[[nodiscard]] uint16_t u16_from(const node& value, unsigned fraction_bits) {
  const std::optional<uint32_t> fixed = fixed_point_of(value.f32(), fraction_bits, UINT16_MAX);
  if (!fixed)
    value.fail("must be a multiple of 1/" + std::to_string(1u << fraction_bits) + " up to 65535/" +
               std::to_string(1u << fraction_bits) + " for records 10 and 11");
  return static_cast<uint16_t>(*fixed);
}

/// The two floats of `pair` as unsigned fixed point.
[[nodiscard]] std::array<uint16_t, 2> fixed_pair(const node& pair, unsigned fraction_bits) {
  pair.expect_elements(2);
  return {u16_from(pair.element(0), fraction_bits), u16_from(pair.element(1), fraction_bits)};
}

void expect_no_gains(const node& gains) {
  gains.expect_elements(2);
  for (size_t i = 0; i < 2; ++i)
    if (gains.element(i).f32() != 0) gains.element(i).fail("must be 0.0: the record has no gains");
}

/// What a light of kinds 10 and 11 holds: id, two bytes that are not read, coordinates, planes.
void append_fixed_light(bytes& record, const set_members& set, const node& light,
                        const std::array<uint8_t, 2>& unread) {
  light.member("fraction_bits")
      .expect_integer(fixed_fraction_bits, "tables of records 10 and 11 have 12 fraction bits");
  record.u16(light.member("light_id").integer<uint16_t>()).raw(unread.data(), unread.size());
  for (const uint16_t coordinate : fixed_pair(light.member("coords"), 16)) record.u16(coordinate);
  append_planes(record, set, light);
}

void append_fixed_gains(bytes& record, const set_members& set, bool has_gains) {
  for (size_t i = 0; i < set.light_count; ++i) {
    const node gains = set.lights.element(i).member("gains");
    if (!has_gains)
      expect_no_gains(gains);
    else
      for (const uint16_t gain : fixed_pair(gains, 8)) record.u16(gain);
  }
}

[[nodiscard]] bytes head_of(const set_members& set, uint16_t kind) {
  bytes head;
  return head.u32(0).u8(set.version).u8(set.reserved).u16(kind);
}

/// Record 28, or 33 when the lights are of the longer form.
[[nodiscard]] bytes mapped_record(const set_members& set, uint16_t kind) {
  const bool is_ext = kind == 33;
  set.at.member("id").expect_integer(kind, "the set was built from a record of this kind");
  bytes record = head_of(set, kind);
  for (const int8_t plane : set.channel_map) record.i8(plane);
  record.u16(set.light_count).u16(0).u16(set.width).u16(set.height);
  const uint64_t light_size = mapped_head_size + uint64_t{set.planes()} * set.plane_size();
  if (light_size * set.light_count > UINT32_MAX - record.size())
    set.at.fail("its tables exceed the 4 GiB of a container");
  for (size_t i = 0; i < set.light_count; ++i) {
    const node light = set.lights.element(i);
    expect_light_members(light, is_ext);
    if (is_ext) {
      // The record has the number of the set less 1.
      record.u16(light.member("light_id").integer<uint16_t>());
      record.u16(static_cast<uint16_t>(light.member("aux").integer<uint16_t>() - 1));
    } else {
      record.u32(light.member("light_id").integer<uint32_t>());
    }
    append_floats(record, light.member("gains"));
    append_floats(record, light.member("coords"));
    record.u16(static_cast<uint16_t>(16 - light.member("fraction_bits").integer<uint16_t>()));
    append_planes(record, set, light);
  }
  const size_t needed = (record.size() + 7) / 8 * 8;
  return padded_to(std::move(record), set.at.member("size"), needed);
}

[[nodiscard]] bytes record_11(const set_members& set) {
  set.at.member("id").expect_integer(11, "the set was built from a record of this kind");
  expect_fixed_map(set);
  bytes record = head_of(set, 11);
  record.u16(set.light_count).u16(set.width).u16(set.height);
  for (size_t i = 0; i < set.light_count; ++i) {
    const node light = set.lights.element(i);
    expect_light_members(light, true);
    record.u16(light.member("aux").integer<uint16_t>());
    append_fixed_light(record, set, light, {0, 0});
  }
  append_fixed_gains(record, set, set.version >= 101);
  const size_t needed = (record.size() + 7) / 8 * 8;
  return padded_to(std::move(record), set.at.member("size"), needed);
}

/// Record 10 with the blocks that it keeps.
[[nodiscard]] bytes record_10(const node& lsc_grid) {
  layout_builder builder(lsc_grid);
  tell_lsc_grid(builder, false, false);
  return builder.finish();
}

/// Record 10 with blocks and gains from lens_shading.
[[nodiscard]] bytes record_10_from(const node& lsc_grid, const set_members& set) {
  set.at.member("version").expect_integer(100, label);
  set.at.member("reserved").expect_integer(0, label);
  set.at.member("id").expect_integer(28, label);
  if (const node size = set.at.member("size"); !size.is_null())
    size.expect_integer(176u * set.width * set.height * set.light_count + 32u, size_of_its_kind);
  expect_fixed_map(set);

  bytes blocks, gains;
  const node unread = lsc_grid.member("bytes_2_of_blocks");
  unread.expect_elements(set.light_count);
  for (size_t i = 0; i < set.light_count; ++i) {
    const node light = set.lights.element(i);
    expect_light_members(light, false);
    const std::vector<uint8_t> skipped = unread.element(i).hex(2);
    append_fixed_light(blocks, set, light, {skipped[0], skipped[1]});
  }
  append_fixed_gains(gains, set, lsc_grid.member("light_gains_in_lens_shading").boolean());

  // The sizes must agree before room is made for the blocks.
  const node record = lsc_grid.member("record");
  constexpr const char* shared = "lens_shading was built from this record";
  record.member("light_count").expect_integer(set.light_count, shared);
  record.member("width").expect_integer(set.width, shared);
  record.member("height").expect_integer(set.height, shared);
  const bytes built = record_10(lsc_grid);
  std::vector<uint8_t> patched = built.vector();
  std::copy_n(blocks.data(), blocks.size(), patched.begin() + 16);
  std::copy_n(gains.data(), gains.size(),
              patched.begin() + 16 + static_cast<ptrdiff_t>(blocks.size()));
  return bytes(std::move(patched));
}

}  // namespace

std::vector<bytes> lens_shading_records(const node& lsc_grid, const node& lens_shading) {
  const bool blocks_elsewhere =
      !lsc_grid.is_null() && lsc_grid.member("blocks_in_lens_shading").boolean();
  if (!lens_shading.is_null()) {
    const set_members set = read_set(lens_shading, "lights");
    const node built_from = lens_shading.member("built_from");
    const uint16_t kind = built_from.integer<uint16_t>();
    if (kind != 10 && kind != 28) built_from.fail("must be 10 or 28");
    if ((kind == 10) != blocks_elsewhere)
      built_from.fail(kind == 10 ? "is 10, but lsc_grid does not leave its blocks to lens_shading"
                                 : "is 28, but lsc_grid leaves its blocks to lens_shading");
    if (kind == 10) return {record_10_from(lsc_grid, set)};
    const bytes mapped = mapped_record(set, 28);
    if (lsc_grid.is_null()) return {mapped};
    return {record_10(lsc_grid), mapped};
  }
  if (lsc_grid.is_null()) return {};
  if (blocks_elsewhere)
    lsc_grid.member("blocks_in_lens_shading").fail("is true, but lens_shading is null");
  // A record 28 that is too short empties what record 10 filled.
  return {record_10(lsc_grid), writer::record(28, 100, bytes())};
}

bytes lens_shading_ext_record(const node& lens_shading_ext) {
  const set_members set = read_set(lens_shading_ext, "lights_ext");
  const node built_from = lens_shading_ext.member("built_from");
  const uint16_t kind = built_from.integer<uint16_t>();
  if (kind != 11 && kind != 33) built_from.fail("must be 11 or 33");
  return kind == 11 ? record_11(set) : mapped_record(set, 33);
}

}  // namespace document
