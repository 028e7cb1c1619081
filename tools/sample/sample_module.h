/// An invented camera module: its tuning container and its NVM image.
///
/// The sensor's cell is green_1 first / second green_2 (layout 3), the module's grids come in the
/// order first, green_1, green_2, second (order 2) and mirrored from left to right (orientation 1).
#pragma once

#include <cstdint>
#include <vector>

enum class record_34_choice { stored, synthesised };

/// The container, the same bytes at every call. Every kind that has a slot is there, and a few
/// that have none. Later records replace earlier ones: 31 what 3 made, 28 what 10 made; 11 comes
/// after 33 and is ignored.
std::vector<uint8_t> sample_container(record_34_choice record_34 = record_34_choice::stored);

/// The module's NVM image: one set of grids for each light of the container, and a grid for
/// record 30.
std::vector<uint8_t> sample_nvm();
