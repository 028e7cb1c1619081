/// What was found, as objects of qo_cmc._findings.
#pragma once

#include <pybind11/pybind11.h>

#include <vector>

#include "tools/findings/inspection.h"

namespace qo_python {

/// A tuple of Finding.
[[nodiscard]] pybind11::tuple findings_tuple(const std::vector<findings::finding>& found);
/// A tuple of RecordRow.
[[nodiscard]] pybind11::tuple records_tuple(const std::vector<findings::record_row>& records);

}  // namespace qo_python
