/// Lists the records of a container and what the parser makes of each.
#pragma once

#include <cstdint>
#include <vector>

#include "qo_cmc/parser.h"

/// Why the parser refuses this image, or null when it accepts it.
const char* refusal_of(const std::vector<uint8_t>& image);

/// Prints, in container order, offset, id, version and size of each record and what became of it.
/// The fates are found by handing copies to cmc_parse() one by one, apart from any other parse.
void list_records(const std::vector<uint8_t>& image);
