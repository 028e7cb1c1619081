/// Records 10, 11, 28 and 33 of the documents of the slots that they feed.
#pragma once

#include <vector>

#include "tools/document/node.h"

namespace document {

/// The records that give lsc_grid and lens_shading, in the order in which they must be parsed.
///
/// Both are given by one record 10 where lens_shading says that it was built from it; then its
/// values must be such that record 10 can hold them. Otherwise record 10 gives lsc_grid, and a
/// record 28 after it lens_shading.
[[nodiscard]] std::vector<writer::bytes> lens_shading_records(const node& lsc_grid,
                                                              const node& lens_shading);
/// Record 11 or 33.
[[nodiscard]] writer::bytes lens_shading_ext_record(const node& lens_shading_ext);

}  // namespace document
