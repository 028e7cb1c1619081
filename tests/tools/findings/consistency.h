/// What holds of every inspection, whatever the bytes: for tests with altered containers, and for
/// the fuzz target.
#pragma once

#include <cstddef>
#include <string>

#include "tools/findings/inspection.h"

namespace findings_test {

/// The first statement of an inspection of `size` bytes that contradicts another one or the
/// promises of its header; empty when it holds together.
std::string contradiction_in(const findings::inspection& seen, size_t size);

}  // namespace findings_test
