// Each verb, in each of its ways, on a few containers; and some verb on every good record.

#include "fuzz/image_parts.h"
#include "fuzz/target.h"
#include "tests/kit/merging_module.h"
#include "writer/container_writer.h"
#include "writer/records.h"

namespace fuzz {

std::vector<input> seeds() {
  constexpr uint32_t verbs = 7;
  constexpr uint32_t ways = 32;
  const std::vector<uint8_t> module = kit::module_image(2, writer::nvm_grid{});
  const std::vector<uint8_t> merged = writer::container().add(kit::merged_records()).image();
  std::vector<input> all;
  for (uint32_t verb = 0; verb < verbs; ++verb)
    for (uint32_t way = 0; way < ways; ++way)
      all.push_back(joined({{static_cast<uint8_t>(way << 3 | verb), 28, 40, 0}, module, merged}));
  uint32_t number = 0;
  writer::container whole;
  for (const writer::named_record& record : writer::every_good_record()) {
    const std::vector<uint8_t> container =
        writer::container().add(record.content).add(writer::record_722()).image();
    for (const uint32_t verb : {number % 4, 4 + number % 3}) {
      const uint32_t way = number * 5 % ways;
      all.push_back(joined({{static_cast<uint8_t>(way << 3 | verb),
                             static_cast<uint8_t>(record.content.u16_at(6)), 30, 0},
                            module,
                            container}));
    }
    if (number++ % 5 == 0) whole.add(record.content);
  }
  for (uint32_t verb = 0; verb < verbs; ++verb)
    all.push_back(joined({{static_cast<uint8_t>(8 | verb), 1, 100, 0}, {}, whole.image()}));
  return all;
}

}  // namespace fuzz
