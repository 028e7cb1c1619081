// Containers whose records the stack has a hand in, above each of its misbehaviours.

#include "fuzz/image_parts.h"
#include "fuzz/target.h"
#include "tests/kit/merging_module.h"
#include "writer/container_writer.h"
#include "writer/records.h"

namespace fuzz {
namespace {

std::vector<uint8_t> container_of(const std::vector<writer::bytes>& records) {
  return writer::container().add(records).image();
}

std::vector<std::vector<uint8_t>> containers() {
  std::vector<std::vector<uint8_t>> all = {container_of(kit::merged_records()),
                                           container_of(kit::merged_records(256, 1, 3))};
  std::vector<writer::bytes> decoded, grids;
  for (const writer::named_record& record : writer::every_good_record()) {
    const uint16_t kind = record.content.u16_at(6);
    if (kind == 9 || kind == 31 || kind == 32 || kind == 34) decoded.push_back(record.content);
    if (kind == 30) grids.push_back(record.content);
  }
  all.push_back(container_of(decoded));
  all.push_back(container_of(grids));
  return all;
}

}  // namespace

std::vector<input> seeds() {
  std::vector<input> all;
  const std::vector<std::vector<uint8_t>> images = containers();
  constexpr uint8_t sides[] = {0, 1, 5, 6, 7, 40, 255};
  for (const std::vector<uint8_t>& image : images) {
    for (uint8_t bit = 0; bit < 8; ++bit)
      all.push_back(
          joined({{static_cast<uint8_t>(1 << bit), 9, 7, 10, 2, 7, 6, 10, bit, bit}, {}, image}));
    for (const uint8_t width : sides)
      for (const uint8_t height : sides)
        all.push_back(
            joined({{0, width, height, width, 3, width, height, static_cast<uint8_t>(width / 15)},
                    {},
                    image}));
    for (uint8_t way = 0; way < 32; ++way) {
      std::vector<uint8_t> choices = {0, 9, 7, static_cast<uint8_t>(way * 8), 2, 7, 6, way};
      choices.resize(form.choices, static_cast<uint8_t>(way * 9));
      all.push_back(joined({choices, {}, image}));
    }
  }
  return all;
}

}  // namespace fuzz
