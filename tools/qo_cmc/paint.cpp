#include "tools/qo_cmc/paint.h"

#include <fmt/format.h>

#include <cstdlib>

namespace qo_cmc {
namespace {

bool is_wanted(colour_choice choice, const streams& standard) {
  if (choice != colour_choice::automatic) return choice == colour_choice::always;
  if (!standard.output_is_terminal) return false;
  const char* const refused = std::getenv("NO_COLOR");
  if (refused != nullptr && *refused != '\0') return false;
  const char* const terminal = std::getenv("TERM");
  return terminal == nullptr || std::string_view(terminal) != "dumb";
}

/// Parameters of the terminal's "select graphic rendition".
const char* code_of(colour wanted) {
  switch (wanted) {
    case colour::plain:
      return "0";
    case colour::bold:
      return "1";
    case colour::faint:
      return "2";
    case colour::red:
      return "31";
    case colour::yellow:
      return "33";
    case colour::green:
      return "32";
    case colour::cyan:
      return "36";
  }
  return "0";
}

}  // namespace

paint::paint(colour_choice choice, const streams& standard) : on_(is_wanted(choice, standard)) {}

std::string paint::operator()(colour wanted, std::string_view text) const {
  if (!on_ || wanted == colour::plain || text.empty()) return std::string(text);
  return fmt::format("\x1b[{}m{}\x1b[0m", code_of(wanted), text);
}

colour colour_of(findings::severity how_bad) {
  switch (how_bad) {
    case findings::severity::note:
      return colour::cyan;
    case findings::severity::warning:
      return colour::yellow;
    case findings::severity::error:
      return colour::red;
  }
  return colour::plain;
}

}  // namespace qo_cmc
