#include "fuzz/record_input.h"

#include <algorithm>
#include <iterator>

namespace fuzz {
namespace {

using writer::bytes;

constexpr size_t head_size = 7;
constexpr uint8_t calibrated_bit = 4;

uint8_t number_of(uint16_t kind) {
  const std::vector<uint16_t> kinds = kinds_to_try();
  return static_cast<uint8_t>(std::find(kinds.begin(), kinds.end(), kind) - kinds.begin());
}

/// Without padding: the sizes that a record can have are all of them.
bytes record_of(uint16_t kind, uint8_t version, const uint8_t* body, size_t size) {
  return writer::record(kind, version, bytes({body, body + size}), {.padded = false});
}

bytes body_of(const bytes& record) {
  return bytes().raw(record.data() + writer::record_header_size,
                     record.size() - writer::record_header_size);
}

std::vector<uint8_t> written(const bytes& first, second_record way, const bytes& second,
                             bool calibrated) {
  const bytes body = body_of(first);
  bytes all;
  all.u8(number_of(first.u16_at(6)));
  all.u8(static_cast<uint8_t>(static_cast<uint8_t>(way) | (calibrated ? calibrated_bit : 0)));
  all.u8(number_of(second.u16_at(6))).u8(first.u8_at(4)).u8(second.u8_at(4));
  all.u16(static_cast<uint16_t>(body.size())).raw(body);
  if (way == second_record::of_the_kind || way == second_record::of_another_kind)
    all.raw(body_of(second));
  return all.vector();
}

}  // namespace

std::vector<uint16_t> kinds_to_try() {
  std::vector<uint16_t> kinds(std::begin(qo::record_kinds), std::end(qo::record_kinds));
  static constexpr uint16_t foreign[] = {0, 4, 12, 37, 63, 64, 722, 65535};
  kinds.insert(kinds.end(), std::begin(foreign), std::end(foreign));
  return kinds;
}

record_input record_input_of(const uint8_t* data, size_t size) {
  static const std::vector<uint16_t> kinds = kinds_to_try();
  bytes head({data, data + std::min(size, head_size)});
  head.zeros_to_size(head_size);
  const uint8_t* const body = data + std::min(size, head_size);
  const size_t left = size - std::min(size, head_size);
  const size_t first_size = std::min<size_t>(head.u16_at(5), left);
  const uint16_t kind = kinds[head.u8_at(0) % kinds.size()];

  record_input input = {.first = record_of(kind, head.u8_at(3), body, first_size),
                        .second = std::nullopt,
                        .calibrated = (head.u8_at(1) & calibrated_bit) != 0};
  const auto way = static_cast<second_record>(head.u8_at(1) & 3);
  if (way == second_record::same) input.second = input.first;
  if (way == second_record::of_the_kind || way == second_record::of_another_kind) {
    const bool other = way == second_record::of_another_kind;
    input.second = record_of(other ? kinds[head.u8_at(2) % kinds.size()] : kind, head.u8_at(4),
                             body + first_size, left - first_size);
  }
  return input;
}

std::vector<uint8_t> input_of(const bytes& first, const std::optional<bytes>& second,
                              bool calibrated) {
  if (!second) return written(first, second_record::none, first, calibrated);
  const second_record way = first.u16_at(6) == second->u16_at(6) ? second_record::of_the_kind
                                                                 : second_record::of_another_kind;
  return written(first, way, *second, calibrated);
}

std::vector<uint8_t> input_of_repeated(const bytes& record, bool calibrated) {
  return written(record, second_record::same, record, calibrated);
}

}  // namespace fuzz
