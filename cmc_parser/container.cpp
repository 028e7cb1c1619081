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
  // Writers follow either of two rules: the sum of every other word, or only of the records. Both
  // come of the wrapping sum of all whole words; a rest of up to 3 bytes does not count.
  const uint32_t all = rows().words.sum(image, total / sizeof(uint32_t));
  uint32_t header = 0;
  for (uint32_t offset = 0; offset < container_header_size; offset += sizeof(uint32_t))
    header += load<uint32_t>(image, offset);
  verdict.sum_of_others = all - verdict.checksum;
  verdict.sum_of_records = all - header;
  if (verdict.checksum != verdict.sum_of_others && verdict.checksum != verdict.sum_of_records)
    return refused(reason::checksum_mismatch);
  return verdict;
}

walk_end record_walk::end() const {
  walk_end end = {.offset = offset_, .left = total_ < offset_ ? 0 : total_ - offset_};
  if (end.left == 0) return end;
  if (end.left < sizeof(record_header)) {
    end.why = reason::bytes_after_last_record;
    return end;
  }
  end.stated = load<record_header>(image_ + offset_);
  end.why = end.stated.size < sizeof(record_header) ? reason::record_size_too_small
                                                    : reason::record_overruns;
  return end;
}

}  // namespace qo
