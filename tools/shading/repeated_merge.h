/// The merge of a module's calibration once more, for what it does not keep: the gain of every
/// sample, and which products did not fit into 16 bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "lsc/colour_cells.h"
#include "qo_cmc/lsc.h"
#include "qo_cmc/parsed_cmc.h"

namespace shading {

/// What one table was multiplied by, and what came of it.
struct site_products {
  std::vector<float> gain;
  std::vector<uint16_t> product;  ///< the low 16 bits, as the merge stores them
  std::vector<bool> wrapped;      ///< the product was more than they hold
};

/// The gain planes come from the library's builder. Which plane and which source table belong to a
/// site is asked of the table of cells that the correction itself uses.
class repeated_merge {
 public:
  /// `unmerged` is the container parsed without a module, and has to outlive this.
  repeated_merge(const parsed_cmc& unmerged, std::span<const uint8_t> nvm);

  /// Goes on to the next light, in the container's order; false from the first light on at which
  /// the correction ends, or at once when there is nothing to merge.
  [[nodiscard]] bool next_light();
  /// Where the correction reads the site's samples; null when it leaves the site alone.
  [[nodiscard]] const uint16_t* source_of(size_t row, size_t column) const;
  /// The site's products; all empty when the correction leaves the site alone.
  [[nodiscard]] site_products products_of(size_t row, size_t column) const;

 private:
  struct gains_deleter {
    void operator()(computed_upscale_lsc_tables* tables) const {
      deinit_computed_upscale_lsc_tables(tables);
    }
  };

  [[nodiscard]] float* plane_of(qo::colour which) const;
  void average_greens();

  const parsed_cmc& cmc_;
  size_t samples_ = 0;
  qo::plane_numbers planes_ = {};
  qo::colour_cell cell_ = {};
  std::unique_ptr<computed_upscale_lsc_tables, gains_deleter> gains_;
  size_t next_ = 0;
  const lens_shading_light_ext* source_ = nullptr;
  float* table_ = nullptr;
};

}  // namespace shading
