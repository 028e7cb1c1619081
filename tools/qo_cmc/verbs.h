/// The verbs of the program, one file each.
#pragma once

#include "tools/qo_cmc/options.h"

namespace qo_cmc {

/// Each adds its command to the program.
[[nodiscard]] verb add_check(CLI::App& program);
[[nodiscard]] verb add_records(CLI::App& program);
[[nodiscard]] verb add_dump(CLI::App& program);
[[nodiscard]] verb add_hex(CLI::App& program);
[[nodiscard]] verb add_shading(CLI::App& program);
[[nodiscard]] verb add_diff(CLI::App& program);
[[nodiscard]] verb add_pack(CLI::App& program);
[[nodiscard]] verb add_sample(CLI::App& program);

}  // namespace qo_cmc
