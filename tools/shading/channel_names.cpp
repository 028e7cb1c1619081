#include "tools/shading/channel_names.h"

#include <fmt/format.h>

namespace shading {

std::optional<qo::colour> colour_of(const module_properties_record* record_2, cell_site site) {
  if (record_2 == nullptr) return std::nullopt;
  const qo::colour_cell cell = qo::find_colour_cell(record_2->cfa_layout);
  if (site.row >= cell.side || site.column >= cell.side) return std::nullopt;
  const qo::colour found = cell.at(site.row, site.column);
  if (found == qo::colour::no) return std::nullopt;
  return found;
}

const char* name_of(qo::colour which) {
  switch (which) {
    case qo::colour::C1:
      return "C1";
    case qo::colour::G1:
      return "G1";
    case qo::colour::G2:
      return "G2";
    case qo::colour::C2:
      return "C2";
    case qo::colour::no:
      break;
  }
  return "";
}

std::string text_of(cell_site site) { return fmt::format("({}, {})", site.row, site.column); }

}  // namespace shading
