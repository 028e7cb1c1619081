/// A module calibration that has nothing but the grid that kind 30 looks at.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "qo_nvm.h"

/// Owns the object and its values, which end exactly where their block ends.
class module_grid {
 public:
  module_grid(uint8_t width, uint8_t height, uint8_t shift, const std::vector<uint32_t>& values)
      : values_(std::make_unique<uint32_t[]>(values.size())) {
    for (size_t i = 0; i < values.size(); ++i) values_[i] = values[i];
    grid_.width = width;
    grid_.height = height;
    grid_.shift = shift;
    grid_.values = values_.get();
    module_.grid_present = 1;
    module_.grid = &grid_;
  }
  /// A grid of this size that has no values.
  module_grid(uint8_t width, uint8_t height) : module_grid(width, height, 0, {}) {
    grid_.values = nullptr;
  }
  module_grid(const module_grid&) = delete;
  module_grid& operator=(const module_grid&) = delete;

  calibration& module() { return module_; }
  const calibration_grid& grid() const { return grid_; }

 private:
  std::unique_ptr<uint32_t[]> values_;
  calibration_grid grid_{};
  calibration module_{};
};
