/// What the tests of the room look at findings with.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/kit/merging_module.h"
#include "tools/findings/inspection.h"
#include "writer/container_writer.h"
#include "writer/nvm_writer.h"
#include "writer/records.h"

namespace findings_test {

using findings::inspection;

inline inspection inspect(const std::vector<uint8_t>& image) {
  return findings::inspect(image, std::nullopt);
}
inline inspection inspect(const std::vector<writer::bytes>& records) {
  return inspect(writer::container().add(records).image());
}
inline inspection inspect_with(const std::vector<writer::bytes>& records,
                               const std::vector<uint8_t>& nvm) {
  return findings::inspect(writer::container().add(records).image(), nvm);
}

/// Code and offset of each finding: "record-too-short 24", "nvm-empty -".
inline std::vector<std::string> codes_of(const inspection& seen) {
  std::vector<std::string> codes;
  for (const findings::finding& each : seen.found)
    codes.push_back(each.code + " " + (each.offset ? std::to_string(*each.offset) : "-"));
  return codes;
}

inline std::vector<std::string> fates_of(const inspection& seen) {
  std::vector<std::string> fates;
  for (const findings::record_row& row : seen.records) fates.push_back(row.fate);
  return fates;
}

using texts = std::vector<std::string>;

using kit::merged_records;
using kit::merged_without;
using kit::module_image;
using kit::with_tail;

}  // namespace findings_test
