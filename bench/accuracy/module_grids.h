/// A module's calibration for the builders of gain tables, and what they make of it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace accuracy {

/// Raw values, one grid for each channel.
using four_grids = std::array<std::vector<uint16_t>, 4>;

enum class builder { polynomial, bicubic };

/// The four planes, or none where the library answers null. Fraction bits from 9 on.
[[nodiscard]] std::vector<std::vector<float>> gain_planes(builder method, const four_grids& raw,
                                                          size_t width, size_t height,
                                                          unsigned fraction_bits, size_t out_width,
                                                          size_t out_height);

/// What raw values stand for.
[[nodiscard]] std::vector<double> gains_of(const std::vector<uint16_t>& raw,
                                           unsigned fraction_bits);

}  // namespace accuracy
