/// Values that a decoder takes as they come, and that no module can mean.
#pragma once

#include "qo_cmc/parsed_cmc.h"
#include "tools/findings/findings_list.h"

namespace findings {

/// An unknown version of a record that fills a slot.
void check_version(const record_reference& record, findings_list& found);

/// The lights of a set that the record has just filled.
void check_lights(const lens_shading_set& set, const record_reference& record,
                  findings_list& found);
void check_lights_ext(const lens_shading_set& set, const record_reference& record,
                      findings_list& found);

}  // namespace findings
