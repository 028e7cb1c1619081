/// The `vexb` container: a checksummed header and records back to back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "base/load.h"
#include "cmc_parser/reason.h"
#include "qo_cmc/parser.h"

namespace qo {

inline constexpr uint32_t container_header_size = 24;

/// One record inside a container.
struct record_view {
  const uint8_t* bytes;
  uint32_t size;    ///< at least that of a record header, all of it inside the container
  uint32_t offset;  ///< from the container's start
  uint16_t id;
};

/// Where a walk ended, and why.
struct walk_end {
  reason why = reason::none;  ///< `none` when the last record ends with the container
  uint32_t offset = 0;        ///< of the first byte that belongs to no record
  uint32_t left = 0;          ///< bytes from there on, which nothing reads
  record_header stated = {};  ///< of the record that stands there; zeros when it has none
};

/// Walks the records of a container image.
class record_walk {
 public:
  /// `total` bytes from `image` on are the container's.
  record_walk(const uint8_t* image, uint32_t total) : image_(image), total_(total) {}

  /// The next record; none at the end, and none from a record on that is smaller than its header or
  /// that runs past the end.
  [[nodiscard]] std::optional<record_view> next();

  /// Why there is no next record.
  [[nodiscard]] walk_end end() const;

 private:
  const uint8_t* image_;
  uint32_t total_;
  uint32_t offset_ = container_header_size;
};

inline std::optional<record_view> record_walk::next() {
  if (total_ < offset_ || total_ - offset_ < sizeof(record_header)) return std::nullopt;
  const uint8_t* const bytes = image_ + offset_;
  const record_header header = load<record_header>(bytes);
  if (header.size < sizeof header || header.size > total_ - offset_) return std::nullopt;
  const record_view record = {bytes, header.size, offset_, header.id};
  offset_ += header.size;
  return record;
}

/// What the check of a container saw.
struct container_verdict {
  reason why = reason::none;    ///< `none` for a container that is accepted
  uint32_t size = 0;            ///< as the caller's descriptor says
  uint32_t stated_size = 0;     ///< as the header says, if there is one
  uint32_t checksum = 0;        ///< as the header says; 0 unless the sums were taken
  uint32_t sum_of_others = 0;   ///< of every word but the checksum
  uint32_t sum_of_records = 0;  ///< of the words after the header
};

/// Total size of a container in bytes, as its header states it; needs 8 bytes at `image`.
[[nodiscard]] uint32_t stated_total(const uint8_t* image);

/// Whether descriptor, stated total and checksum agree. No sum is taken where the sizes do not.
[[nodiscard]] container_verdict check_container(const qo_blob* container);

}  // namespace qo
