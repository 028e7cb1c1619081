// Well-formed containers and records, each after the byte that chooses what is done with it.

#include "fuzz/target.h"
#include "writer/container_writer.h"
#include "writer/records.h"

namespace fuzz {
namespace {

input with_choice(int choice, const std::vector<uint8_t>& rest) {
  return writer::bytes().u8(static_cast<uint8_t>(choice)).raw(rest.data(), rest.size()).vector();
}

}  // namespace

std::vector<input> seeds() {
  std::vector<input> all;
  for (int choice = 0; choice < 8; ++choice) all.push_back(with_choice(choice, {}));
  std::vector<writer::named_record> records = writer::every_good_record();
  for (const writer::named_record& slotless : writer::every_slotless_record())
    records.push_back(slotless);
  for (const writer::named_record& record : records) {
    const std::vector<uint8_t> image =
        writer::container().add(record.content).add(writer::record_722()).image();
    for (const int calibrated : {0, 4}) {
      for (const int choice : {0, 1, 3}) all.push_back(with_choice(choice | calibrated, image));
      all.push_back(with_choice(2 | calibrated, record.content.vector()));
    }
  }
  return all;
}

}  // namespace fuzz
