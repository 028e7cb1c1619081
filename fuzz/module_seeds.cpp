// Containers that a module's calibration is merged into, such modules, and pairs of both that ask
// for much.

#include "fuzz/demanding_images.h"
#include "fuzz/image_parts.h"
#include "fuzz/target.h"
#include "tests/kit/merging_module.h"
#include "writer/container_writer.h"
#include "writer/nvm_writer.h"
#include "writer/records.h"

namespace fuzz {
namespace {

using writer::bytes;

std::vector<uint8_t> container_of(const std::vector<bytes>& records) {
  return writer::container().add(records).image();
}

/// A module with a grid, for record 30.
std::vector<uint8_t> module_with_grid() {
  const auto flat = [](size_t, size_t) { return uint16_t{300}; };
  return writer::nvm_image({.columns = 7,
                            .rows = 6,
                            .sets = {{.element = flat}, {.fraction_bits = 8}},
                            .grid = writer::nvm_grid{}})
      .vector();
}

}  // namespace

std::vector<input> seeds() {
  std::vector<image_parts> pairs;
  for (uint16_t orientation = 0; orientation < 4; ++orientation)
    pairs.push_back(
        {{}, kit::module_image(), container_of(kit::merged_records(2, 2, orientation))});
  for (const uint16_t cfa_layout : {uint16_t{0}, uint16_t{1}, uint16_t{3}})
    pairs.push_back({{}, kit::module_image(3), container_of(kit::merged_records(cfa_layout, 1))});
  for (const writer::named_record& record : writer::every_good_record()) {
    std::vector<bytes> records = kit::merged_records();
    records.insert(records.begin(), record.content);
    pairs.push_back({{}, module_with_grid(), container_of(records)});
  }
  pairs.push_back({{}, {}, container_of(kit::merged_records())});
  for (image_parts& parts : demanding_images()) pairs.push_back(std::move(parts));
  std::vector<input> all;
  for (const image_parts& parts : pairs) all.push_back(joined(parts));
  return all;
}

}  // namespace fuzz
