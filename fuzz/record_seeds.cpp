// Well-formed records of every kind: by themselves, twice, and after a good one of their kind, or
// of another.

#include "fuzz/record_input.h"
#include "fuzz/target.h"
#include "writer/records.h"

namespace fuzz {

std::vector<input> seeds() {
  std::vector<writer::named_record> records = writer::every_good_record();
  for (const writer::named_record& slotless : writer::every_slotless_record())
    records.push_back(slotless);
  std::vector<input> all;
  const writer::named_record* earlier = &records.back();
  for (const writer::named_record& record : records) {
    for (const bool calibrated : {false, true}) {
      all.push_back(input_of(record.content, std::nullopt, calibrated));
      all.push_back(input_of(earlier->content, record.content, calibrated));
    }
    all.push_back(input_of_repeated(record.content, true));
    earlier = &record;
  }
  return all;
}

}  // namespace fuzz
