#include "cmc_parser/container.h"

#include <cassert>
#include <cstddef>

#include "base/load.h"
#include "rows/row_table.h"

namespace qo {
namespace {

// Header of a container:
//     4  u32  total size in bytes
//    20  u32  checksum
constexpr uint32_t total_offset = 4;
constexpr uint32_t checksum_offset = 20;

/// Wrapping sum of the whole words in `size` bytes; a rest of up to 3 bytes does not count.
[[nodiscard]] uint32_t sum_of_words(const uint8_t* bytes, uint32_t size) {
  return rows().words.sum(bytes, size / sizeof(uint32_t));
}

}  // namespace

uint32_t stated_total(const uint8_t* image) { return load<uint32_t>(image, total_offset); }

bool is_valid_container(const qo_blob& container) {
  assert(container.data != nullptr);
  const uint8_t* const image = static_cast<const uint8_t*>(container.data);
  const uint32_t total = container.size;
  if (total < container_header_size || stated_total(image) != total) return false;
  const uint32_t checksum = load<uint32_t>(image, checksum_offset);
  // Writers follow either of two rules: the sum of every other word, or only of the records.
  // The second sum is the first one less the header.
  const uint32_t header = sum_of_words(image, container_header_size);
  const uint32_t records =
      sum_of_words(image + container_header_size, total - container_header_size);
  return checksum == header + records - checksum || checksum == records;
}

std::optional<record_view> record_walk::next() {
  if (total_ < offset_ || total_ - offset_ < sizeof(record_header)) return std::nullopt;
  const uint8_t* const bytes = image_ + offset_;
  const record_header header = load<record_header>(bytes);
  if (header.size < sizeof header || header.size > total_ - offset_) return std::nullopt;
  offset_ += header.size;
  return record_view{bytes, header.size, header.id};
}

}  // namespace qo
