/// The findings of one container while they are gathered.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/findings/inspection.h"

namespace findings {

/// What a finding is about.
struct place {
  std::optional<uint64_t> offset{};  ///< the record's, where there is one and this is not set
  std::optional<record_reference> record{};
  std::string field{};  ///< instead of the code's own
};

class findings_list {
 public:
  /// Adds a finding. `detail` holds the numbers: it goes on where the code's sentence ends.
  void add(const code_description& code, std::string_view detail = {}, const place& where = {});

  /// All that was added, in the order of offsets; what has none comes last.
  [[nodiscard]] std::vector<finding> take();

 private:
  std::vector<finding> found_;
};

}  // namespace findings
