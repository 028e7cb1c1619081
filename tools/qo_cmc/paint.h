/// Colours of text, where there are any.
#pragma once

#include <string>
#include <string_view>

#include "tools/findings/inspection.h"
#include "tools/qo_cmc/streams.h"

namespace qo_cmc {

enum class colour_choice { automatic, always, never };

enum class colour { plain, bold, faint, red, yellow, green, cyan };

class paint {
 public:
  /// No colours.
  paint() = default;
  /// Automatic: on a terminal, unless NO_COLOR is set to anything or TERM is "dumb".
  paint(colour_choice choice, const streams& standard);

  [[nodiscard]] std::string operator()(colour wanted, std::string_view text) const;

 private:
  bool on_ = false;
};

[[nodiscard]] colour colour_of(findings::severity how_bad);

}  // namespace qo_cmc
