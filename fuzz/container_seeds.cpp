// Well-formed containers of every record, and some that ask for much; where the target's input
// starts with a byte that chooses, after each of its usual values.

#include "fuzz/demanding_images.h"
#include "fuzz/image_parts.h"
#include "fuzz/target.h"
#include "writer/container_writer.h"
#include "writer/records.h"

namespace fuzz {
namespace {

void add_each_way(std::vector<input>& all, const std::vector<uint8_t>& container) {
  if (form.choices == 0) return all.push_back(joined({{}, {}, container}));
  for (const uint8_t choice : {uint8_t{0}, uint8_t{1}, uint8_t{4}})
    all.push_back(joined({{choice}, {}, container}));
}

}  // namespace

std::vector<input> seeds() {
  std::vector<input> all;
  add_each_way(all, {});
  std::vector<writer::named_record> records = writer::every_good_record();
  for (const writer::named_record& slotless : writer::every_slotless_record())
    records.push_back(slotless);
  writer::container whole;
  for (const writer::named_record& record : records) {
    add_each_way(all, writer::container().add(record.content).add(writer::record_722()).image());
    whole.add(record.content);
  }
  add_each_way(all, whole.image());
  for (const image_parts& parts : demanding_images()) add_each_way(all, parts.container);
  return all;
}

}  // namespace fuzz
