/// Files as byte strings.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The file's bytes, or nothing when it cannot be read.
std::optional<std::vector<uint8_t>> read_file(const std::string& path);
