#include "fuzz/demanding_images.h"

#include "fuzz/held.h"
#include "tests/kit/merging_module.h"
#include "writer/container_writer.h"
#include "writer/nvm_writer.h"
#include "writer/records.h"

namespace fuzz {
namespace {

using writer::bytes;
using image = std::vector<uint8_t>;

constexpr size_t most_together = size_t{64} << 10;
const std::vector<int8_t> no_planes(16, -1);
const std::vector<int8_t> one_plane(16, 0);

image container_of(const std::vector<bytes>& records) {
  return writer::container().add(records).image();
}

/// As many of a record as fit into `room` bytes.
image container_of_repeated(const bytes& record, size_t room) {
  return container_of(std::vector<bytes>(room / record.size(), record));
}

bytes with_u16(bytes record, size_t offset, uint16_t value) {
  return record.patch_u16(offset, value);
}

/// Counts of which the records hold no element, or only the smallest.
std::vector<bytes> records_of_large_counts() {
  constexpr uint16_t most = 65535;
  std::vector<bytes> records = {
      writer::record_1(
          {.name = "",
           .pairs = std::vector<std::pair<std::string, std::string>>(most_together / 4 - 16)}),
      with_u16(writer::record_10(), 10, most),
      with_u16(writer::record_11(), 8, most),
      with_u16(writer::record_13(), 70, most),
      with_u16(writer::record_15(), 8, most),
      with_u16(writer::record_16(), 12, most),
      with_u16(writer::record_18(), 8, most),
      with_u16(writer::record_19(), 12, most),
      with_u16(writer::record_20(), 16, most),
      with_u16(writer::record_22(), 20, most),
      with_u16(writer::record_24(), 14, most),
      with_u16(writer::record_25(), 8, most),
      with_u16(writer::record_25(), 10, most),
      with_u16(writer::record_27({.planes = 0}), 24, most),
      with_u16(writer::record_30(), 16, most),
      writer::record_3().patch_u32(8, UINT32_MAX),
      writer::record_31().patch_u32(8, UINT32_MAX),
      writer::record_34().patch_u32(8, UINT32_MAX),
      writer::record_35().patch_u8(13, 255),
      writer::record_36().patch_u8(13, 255),
      writer::record_14({.first = 0, .last = 8000, .step = 1}),
      writer::record_22({.width = 0, .grid_entries = 30000, .list_counts = {}}),
      writer::record_24({.counts = std::vector<uint16_t>(4000, 0)}),
      writer::record_25({.entries = 1000, .items = 0}),
      writer::record_27({.entries = 1500, .planes = 0, .width = 0, .height = 0}),
      writer::record_15({.entry_counts = std::vector<uint16_t>(5000, 0)}),
  };
  return records;
}

/// Lens-shading records whose grids, or lights, no plane backs, and planes that many sites share.
std::vector<bytes> lens_shading_records() {
  std::vector<bytes> records;
  for (const auto build : {writer::record_28, writer::record_33}) {
    const auto add = [&](uint16_t lights, uint16_t width, uint16_t height,
                         const std::vector<int8_t>& map) {
      writer::mapped_grid_fields fields;
      fields.lights = lights;
      fields.width = width;
      fields.height = height;
      fields.channel_map = map;
      records.push_back(build(fields));
    };
    add(2900, 0, 0, no_planes);
    add(2900, 65535, 65535, no_planes);
    add(2900, 255, 125, no_planes);
    add(1, 180, 180, one_plane);
    add(1200, 2, 2, one_plane);
  }
  records.push_back(writer::record_10({.lights = 8000, .width = 0, .version = 100}));
  records.push_back(writer::record_11({.lights = 5000, .height = 0, .version = 100}));
  records.push_back(with_u16(with_u16(writer::record_10(), 12, 65535), 14, 65535));
  records.push_back(with_u16(with_u16(writer::record_30(), 22, 65535), 24, 65535));
  records.push_back(with_u16(with_u16(writer::record_29(), 12, 65535), 14, 65535));
  return records;
}

/// As many sets as there can be, each small.
image module_of_many_sets() {
  return writer::nvm_image({.columns = 6,
                            .rows = 6,
                            .sets = std::vector<writer::nvm_set>(255, {.fraction_bits = 8})})
      .vector();
}

/// A module with nothing but a grid.
image module_with_grid(uint8_t width, uint8_t height) {
  return writer::nvm_image(
             {.columns = 0, .rows = 0, .sets = {}, .grid = writer::nvm_grid{width, height, 10}})
      .vector();
}

/// A module whose grid is the largest, and has no values.
image module_with_grid_of_nothing() {
  return writer::nvm_image(
             {.columns = 0,
              .rows = 0,
              .sets = {},
              .grid = writer::nvm_grid{.width = 255, .height = 255, .has_values = false}})
      .vector();
}

/// A container that is merged, with lens-shading records of its own.
image merging_container(const bytes& record_28, const bytes& record_33) {
  return container_of({writer::record_2(), writer::record_17(), record_28, record_33});
}

}  // namespace

std::vector<image_parts> demanding_images() {
  std::vector<image_parts> all;
  const auto add = [&](image nvm, image container) {
    require(nvm.size() + container.size() <= most_together);
    all.push_back({{}, std::move(nvm), std::move(container)});
  };
  for (const bytes& record : records_of_large_counts()) add({}, container_of({record}));
  for (const bytes& record : lens_shading_records()) {
    std::vector<bytes> records = {writer::record_2(), writer::record_17(), record};
    // A light of each form is needed for a merge; the record comes after and replaces one of them.
    add({}, container_of(records));
    if (record.size() < most_together - kit::module_image().size() - 2048) {
      records.insert(records.begin(), {writer::record_28(), writer::record_33()});
      add(kit::module_image(), container_of(records));
    }
  }
  // The derived record's entries, of two lists.
  add({}, container_of({writer::record_19({.pairs = std::vector<writer::fixed_pair>(3000)}),
                        writer::record_20({.pairs = std::vector<writer::fixed_pair>(4000)})}));
  // Every record 30 blends in the module's grid.
  for (const uint16_t side : {uint16_t{0}, uint16_t{1}, uint16_t{16}}) {
    const bytes record = writer::record_30(
        {.items = 1, .width = side, .height = side, .trailing_rows = 0, .trailing_columns = 0});
    add(module_with_grid(90, 90), container_of_repeated(record, 31000));
    add(module_with_grid(255, 32), container_of_repeated(record, 31000));
    add(module_with_grid(5, 5), container_of_repeated(record, 63000));
    add(module_with_grid_of_nothing(), container_of_repeated(record, 63000));
  }
  // Every set is built for the largest grid that a plane backs.
  for (const uint16_t layout : {uint16_t{0}, uint16_t{256}}) {
    const std::vector<bytes> head = {writer::record_2({.cfa_layout = layout}), writer::record_17()};
    std::vector<bytes> records = head;
    records.push_back(
        writer::record_28({.lights = 1, .width = 110, .height = 110, .channel_map = one_plane}));
    records.push_back(
        writer::record_33({.lights = 1, .width = 4, .height = 4, .channel_map = one_plane}));
    add(module_of_many_sets(), container_of(records));
    records = head;
    records.push_back(writer::record_28({.lights = 200, .width = 2, .height = 2}));
    records.push_back(writer::record_33({.lights = 200, .width = 2, .height = 2}));
    add(module_of_many_sets(), container_of(records));
  }
  add(module_of_many_sets(),
      merging_container(writer::record_28({.width = 110, .height = 110, .channel_map = no_planes}),
                        writer::record_33({.channel_map = no_planes})));
  // A large cell, and lights of either form that have no table, each with a grid as large as such a
  // record may have.
  const writer::mapped_grid_fields lights = {
      .lights = 1350, .width = 120, .height = 120, .channel_map = no_planes};
  writer::mapped_grid_fields sources = lights;
  sources.heads.assign(lights.lights, {});  // every one names the first set
  add(kit::module_image(1),
      container_of({writer::record_2({.cfa_layout = 256}), writer::record_17(),
                    writer::record_28(lights), writer::record_33(sources)}));
  return all;
}

}  // namespace fuzz
