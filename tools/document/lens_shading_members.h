/// The slots that lens-shading records feed: lsc_grid, lens_shading and lens_shading_ext.
#pragma once

#include "qo_cmc/parsed_cmc.h"
#include "tools/document/json_value.h"

namespace document {

/// @param built_from  the kind of the record that gives the set
[[nodiscard]] json lens_shading_value(const lens_shading_set& set, uint16_t built_from);
[[nodiscard]] json lens_shading_ext_value(const lens_shading_set& set, uint16_t built_from);

/// Whether lens_shading is what the kept record 10 gives when it is decoded by itself.
[[nodiscard]] bool lsc_grid_gives_lens_shading(const parsed_cmc& cmc);
/// @param in_lens_shading  leave out what lens_shading holds too
[[nodiscard]] json lsc_grid_value(const parsed_cmc& cmc, bool in_lens_shading);

}  // namespace document
