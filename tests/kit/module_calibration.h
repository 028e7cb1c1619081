/// A module calibration to build gain tables from, with grids of exactly their sizes.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "qo_nvm.h"
#include "tests/kit/guarded_buffer.h"

namespace kit {

class module_calibration {
 public:
  /// Raw value of a grid sample: set, channel, row, column.
  using raw_rule = std::function<uint32_t(size_t, size_t, size_t, size_t)>;

  module_calibration(uint8_t sets, uint8_t width, uint8_t height, uint8_t fraction_bits,
                     const raw_rule& raw)
      : sets_(sets) {
    module_.lsc_set_count = sets;
    module_.lsc_grid_width = width;
    module_.lsc_grid_height = height;
    const size_t samples = size_t{width} * height;
    for (size_t set = 0; set < sets; ++set) {
      lsc_calibration_set& entry = sets_[set];
      entry.fraction_bits = fraction_bits;
      for (size_t channel = 0; channel < 4; ++channel) {
        std::vector<uint32_t>& values = raw_.emplace_back();
        for (size_t row = 0; row < height; ++row)
          for (size_t column = 0; column < width; ++column)
            values.push_back(raw(set, channel, row, column) &
                             (fraction_bits >= 9 ? 0xffffu : 0xffu));
        if (fraction_bits >= 9) {
          guarded_array<uint16_t>& grid =
              *words_.emplace_back(std::make_unique<guarded_array<uint16_t>>(samples));
          for (size_t i = 0; i < samples; ++i) grid[i] = static_cast<uint16_t>(values[i]);
          entry.channel_tables[channel] = grid.data();
        } else {
          guarded_array<uint8_t>& grid =
              *bytes_.emplace_back(std::make_unique<guarded_array<uint8_t>>(samples));
          for (size_t i = 0; i < samples; ++i) grid[i] = static_cast<uint8_t>(values[i]);
          entry.channel_tables[channel] = grid.data();
        }
      }
    }
    module_.lsc_sets = sets_.data();
  }

  calibration& object() { return module_; }
  lsc_calibration_set& set(size_t index) { return sets_[index]; }
  const std::vector<uint32_t>& raw(size_t set, size_t channel) const {
    return raw_[set * 4 + channel];
  }

 private:
  calibration module_ = {};
  std::vector<lsc_calibration_set> sets_;
  std::vector<std::vector<uint32_t>> raw_;
  std::vector<std::unique_ptr<guarded_array<uint8_t>>> bytes_;
  std::vector<std::unique_ptr<guarded_array<uint16_t>>> words_;
};

}  // namespace kit
