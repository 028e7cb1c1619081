/// What the tests of the room look at findings with.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

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

/// An image of a module with as many sets, good for a merge.
inline std::vector<uint8_t> module_image(uint8_t sets = 2) {
  const auto slope = [](size_t, size_t index) { return static_cast<uint16_t>(100 + 3 * index); };
  return writer::nvm_image({.columns = 7,
                            .rows = 6,
                            .sets = std::vector<writer::nvm_set>(sets, {.element = slope})})
      .vector();
}

/// All that a merge needs.
inline std::vector<writer::bytes> merged_records() {
  return {
      writer::record_2({.cfa_layout = 2}), writer::record_17({.plane_order = 2, .orientation = 0}),
      writer::record_28({.width = 9, .height = 7}), writer::record_33({.width = 9, .height = 7})};
}

}  // namespace findings_test
