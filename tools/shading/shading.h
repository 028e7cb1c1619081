/// Lens-shading tables of one container as pictures, as a page and as a table: for each light and
/// colour channel the gains before and after the module's calibration, and their ratio.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "tools/findings/inspection.h"

namespace shading {

/// The tables of one colour channel under one light.
struct plane_pair {
  /// "C1", "G1", "G2" or "C2"; "C1 (r, c)" where sites of a colour differ; "site (r, c)" where
  /// record 2 gives the site no colour.
  std::string channel;
  std::string sites;             ///< the sites of the cell that hold these samples: "(0, 1)"
  std::vector<uint16_t> before;  ///< width x height samples, row by row
  std::vector<uint16_t> after;   ///< the same after the merge; empty without a module
  std::vector<float> gain;       ///< what the merge multiplied by; empty where it did not
  bool wrapped_known = false;    ///< the products were computed again and are those of `after`
  std::vector<bool> wrapped;     ///< products that do not fit 16 bits; empty unless known
};

struct light_panels {
  uint32_t light_id = 0;
  unsigned fraction_bits_before = 0;
  unsigned fraction_bits_after = 0;
  std::vector<plane_pair> channels;
  std::string not_corrected;  ///< why the merge left this light as it was; empty when it did not
};

struct subject {
  std::string file;         ///< escaped
  std::string module_name;  ///< escaped; empty when the container gives none
  bool valid = false;       ///< the container by itself
  uint16_t width = 0;
  uint16_t height = 0;
  bool has_module = false;   ///< a module's calibration was merged: there is an `after`
  std::string module_state;  ///< what is to be said of the NVM image and the merge
  bool module_lost = false;  ///< an image was given, and is not merged into every light
  std::vector<light_panels> lights;
  std::vector<std::pair<std::string, std::string>> summary;  ///< escaped
  std::vector<findings::finding> found;
};

/// Parses without and with the NVM image and collects; the gain planes are computed again by the
/// library's own builder. Nothing of the arguments is referenced after the call.
[[nodiscard]] subject collect(const std::string& file, std::span<const uint8_t> container,
                              std::optional<std::span<const uint8_t>> nvm);

/// One self-contained page: well-formed as XML too, no script, nothing from outside.
[[nodiscard]] std::string html_page(const subject& about);

/// The page's pictures as one PNG file. Throws std::runtime_error when it cannot be drawn.
[[nodiscard]] std::vector<uint8_t> png_picture(const subject& about);

/// A line for each sample of each light: light, channel, row, column, before, after, ratio, flags.
[[nodiscard]] std::string csv_table(const subject& about);

}  // namespace shading
