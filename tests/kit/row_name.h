/// Names for the instances of table-driven tests.
#pragma once

#include <string>

namespace kit {

/// Names each instance after its row's member `name`: the last argument of
/// INSTANTIATE_TEST_SUITE_P.
inline constexpr auto row_name = [](const auto& row) { return std::string(row.param.name); };

}  // namespace kit
