/// Which colour channel a site of the colour-filter cell belongs to, and what it is called.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>

#include "lsc/colour_cells.h"
#include "qo_cmc/parsed_cmc.h"

namespace shading {

struct cell_site {
  size_t row;
  size_t column;
};

/// Raster order of the sites that a set may have tables for.
inline constexpr size_t table_side = 4;

/// The colour of a site, as the correction takes it; none without record 2, for a code that names
/// no cell, outside the cell, and for a site without a gain plane.
[[nodiscard]] std::optional<qo::colour> colour_of(const module_properties_record* record_2,
                                                  cell_site site);

/// "C1", "G1", "G2" or "C2".
[[nodiscard]] const char* name_of(qo::colour which);

/// The order in which channels are shown.
inline constexpr std::array<qo::colour, 4> shown_colours = {qo::colour::C1, qo::colour::G1,
                                                            qo::colour::G2, qo::colour::C2};

/// "(1, 0)".
[[nodiscard]] std::string text_of(cell_site site);

}  // namespace shading
