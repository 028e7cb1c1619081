#include "cmc_parser/container.h"

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

container_verdict check_container(const qo_blob* container) {
  container_verdict verdict;
  const auto refused = [&](reason why) {
    verdict.why = why;
    return verdict;
  };
  if (container == nullptr || container->data == nullptr) return refused(reason::container_missing);
  const uint8_t* const image = static_cast<const uint8_t*>(container->data);
  const uint32_t total = container->size;
  verdict.size = total;
  if (total < container_header_size) return refused(reason::container_too_short);
  verdict.stated_size = stated_total(image);
  if (verdict.stated_size != total) return refused(reason::size_mismatch);

  verdict.checksum = load<uint32_t>(image, checksum_offset);
  // Writers follow either of two rules: the sum of every other word, or only of the records.
  // The second sum is the first one less the header.
  const uint32_t header = sum_of_words(image, container_header_size);
  verdict.sum_of_records =
      sum_of_words(image + container_header_size, total - container_header_size);
  verdict.sum_of_others = header + verdict.sum_of_records - verdict.checksum;
  if (verdict.checksum != verdict.sum_of_others && verdict.checksum != verdict.sum_of_records)
    return refused(reason::checksum_mismatch);
  return verdict;
}

std::optional<record_view> record_walk::next() {
  if (total_ < offset_ || total_ - offset_ < sizeof(record_header)) return std::nullopt;
  const uint8_t* const bytes = image_ + offset_;
  const record_header header = load<record_header>(bytes);
  if (header.size < sizeof header || header.size > total_ - offset_) return std::nullopt;
  const record_view record = {bytes, header.size, offset_, header.id};
  offset_ += header.size;
  return record;
}

walk_end record_walk::end() const {
  walk_end end = {.offset = offset_, .left = total_ < offset_ ? 0 : total_ - offset_};
  if (end.left == 0) return end;
  if (end.left < sizeof(record_header)) {
    end.why = reason::bytes_after_last_record;
    return end;
  }
  end.stated_size = load<record_header>(image_ + offset_).size;
  end.why = end.stated_size < sizeof(record_header) ? reason::record_size_too_small
                                                    : reason::record_overruns;
  return end;
}

}  // namespace qo
