/// The `vexb` container: a checksummed header and records back to back.
#pragma once

#include <cstdint>
#include <optional>

#include "qo_cmc/parser.h"

namespace qo {

inline constexpr uint32_t container_header_size = 24;

/// One record inside a container.
struct record_view {
  const uint8_t* bytes;
  uint32_t size;  ///< at least that of a record header, all of it inside the container
  uint16_t id;
};

/// Walks the records of a container image.
class record_walk {
 public:
  /// `total` bytes from `image` on are the container's.
  record_walk(const uint8_t* image, uint32_t total) : image_(image), total_(total) {}

  /// The next record; none at the end, and none from a record on that is smaller than its header or
  /// that runs past the end.
  [[nodiscard]] std::optional<record_view> next();

 private:
  const uint8_t* image_;
  uint32_t total_;
  uint32_t offset_ = container_header_size;
};

/// Total size of a container in bytes, as its header states it; needs 8 bytes at `image`.
[[nodiscard]] uint32_t stated_total(const uint8_t* image);

/// Whether descriptor, stated total and checksum agree; `container` has data.
[[nodiscard]] bool is_valid_container(const qo_blob& container);

}  // namespace qo
