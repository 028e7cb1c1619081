/// A container whose lens-shading tables the module's calibration is merged into, and its module.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "writer/container_writer.h"
#include "writer/nvm_writer.h"
#include "writer/records.h"

namespace kit {

/// An image of a module with as many sets, good for a merge, and perhaps a grid for record 30.
inline std::vector<uint8_t> module_image(uint8_t sets = 2,
                                         std::optional<writer::nvm_grid> grid = {}) {
  const auto slope = [](size_t, size_t index) { return static_cast<uint16_t>(100 + 3 * index); };
  return writer::nvm_image({.columns = 7,
                            .rows = 6,
                            .sets = std::vector<writer::nvm_set>(sets, {.element = slope}),
                            .grid = std::move(grid)})
      .vector();
}

/// All that a merge needs.
inline std::vector<writer::bytes> merged_records(uint16_t cfa_layout = 2, uint16_t plane_order = 2,
                                                 uint16_t orientation = 0) {
  return {writer::record_2({.cfa_layout = cfa_layout}),
          writer::record_17({.plane_order = plane_order, .orientation = orientation}),
          writer::record_28({.width = 9, .height = 7}),
          writer::record_33({.width = 9, .height = 7})};
}

/// The same without the record of one kind, in whose place another may stand.
inline std::vector<writer::bytes> merged_without(uint16_t kind,
                                                 const std::vector<writer::bytes>& instead = {}) {
  std::vector<writer::bytes> records = merged_records();
  std::erase_if(records, [&](const writer::bytes& record) { return record.u16_at(6) == kind; });
  records.insert(records.end(), instead.begin(), instead.end());
  return records;
}

/// A container of one record, and bytes after it.
inline std::vector<uint8_t> with_tail(const writer::bytes& tail) {
  std::vector<uint8_t> image = writer::container().add(writer::record_5()).image();
  image.insert(image.end(), tail.vector().begin(), tail.vector().end());
  writer::seal(image);
  return image;
}

}  // namespace kit
