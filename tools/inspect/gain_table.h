/// Lens-shading gains with and without a module's calibration, side by side.
#pragma once

#include "qo_cmc/lens_shading.h"

/// Prints, for the first light and each site of its colour-filter cell, the gains at the centre,
/// the middles of the edges and the corners: from `before`, from `after`, and their ratio. Sets of
/// different shape are named and not compared.
void list_gains(const lens_shading_set& before, const lens_shading_set& after);
