/// A parse with each of its allocations refused, every block accounted for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "qo_cmc/parser.h"

/// Parses the container with its n-th allocation refused, and once more with that and all later
/// ones, for every n, and expects of each parse that what is left after teardown is what the
/// contract leaves (tests/kit/contract_leaks.h), in blocks and in bytes, and that nothing is
/// released twice. The image is sealed. Returns how many allocations the parse takes.
size_t expect_exact_leaks(const std::vector<uint8_t>& image, const qo_blob* nvm = nullptr);
