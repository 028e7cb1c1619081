#include "tests/kit/contract_leaks.h"

#include <limits>
#include <optional>

namespace kit {
namespace {

using writer::bytes;

/// Little-endian, bytes after the record's end as 0.
uint64_t number_at(const bytes& record, uint64_t offset, unsigned width) {
  uint64_t value = 0;
  for (unsigned i = 0; i < width; ++i)
    if (offset + i < record.size()) value |= uint64_t{record.u8_at(offset + i)} << (8 * i);
  return value;
}
uint64_t u8(const bytes& record, uint64_t offset) { return number_at(record, offset, 1); }
uint64_t u16(const bytes& record, uint64_t offset) { return number_at(record, offset, 2); }
uint64_t u32(const bytes& record, uint64_t offset) { return number_at(record, offset, 4); }

constexpr uint64_t padded(uint64_t end) { return (end + 7) / 8 * 8; }

/// The size below which a kind whose copy is kept forgets it; 0 for a kind that has none.
uint64_t least_size(const bytes& record) {
  switch (u16(record, 6)) {
    case 5:
    case 7:
    case 17:
    case 20:
    case 21:
      return 16;
    case 23:
      return 24;
    case 6:
      return padded(2 * (8 + u8(record, 12) + u8(record, 13) + u8(record, 14) + u8(record, 15)));
    case 10:
      return 16 + 8 * u16(record, 10) * (u16(record, 12) * u16(record, 14) + 1);
    case 13:
      return padded(72 + 2 * u16(record, 70));
    case 15:
      return 16 + 8 * (3 * u16(record, 8) + u16(record, 10));
    case 16:
      return padded(14 + 4 * u16(record, 12));
    case 18:
      return padded(10 + 84 * u16(record, 8));
    case 19:
      return padded(16 + 28 * u16(record, 12) + 8 * u16(record, 14));
    default:
      return 0;
  }
}

/// The place after the terminator of the string at `offset`.
std::optional<size_t> after_string(const bytes& record, size_t offset) {
  while (offset < record.size() && record.u8_at(offset) != 0) ++offset;
  if (offset >= record.size()) return std::nullopt;
  return offset + 1;
}

bool has_sound_strings(const bytes& record, bool look_at_pairs) {
  std::optional<size_t> next = after_string(record, 24);
  if (!next) return false;
  if (record.u8_at(4) < 101) return true;
  const uint64_t pairs = u16(record, *next);
  *next += 2;
  // The shortest strings are terminators alone.
  if (*next + 2 * pairs > record.size()) return false;
  for (uint64_t string = 0; look_at_pairs && string < 2 * pairs; ++string) {
    next = after_string(record, *next);
    if (!next) return false;
  }
  return true;
}

}  // namespace

std::vector<bytes> records_of(const std::vector<uint8_t>& image) {
  std::vector<bytes> records;
  const bytes all(image);
  size_t offset = writer::container::header_size;
  while (offset + writer::record_header_size <= all.size()) {
    const uint64_t size = u32(all, offset);
    if (size < writer::record_header_size || size > all.size() - offset) break;
    records.push_back(bytes().raw(image.data() + offset, size));
    offset += size;
  }
  return records;
}

bool is_forgotten(const bytes& record, bool memory_for_pairs) {
  if (record.u16_at(6) == 1) return !has_sound_strings(record, memory_for_pairs);
  return record.size() < least_size(record);
}

size_t allocations_before_items(const bytes& record_22) {
  if (record_22.size() < 22 || record_22.u8_at(4) < 101) return 0;
  const int64_t points =
      int64_t{static_cast<int16_t>(u16(record_22, 12))} * static_cast<int16_t>(u16(record_22, 14));
  const uint64_t entries = u16(record_22, 20);
  if (entries != 0 && points < 0) return 0;
  const uint64_t grid = 22 + entries * (2 + 8 * static_cast<uint64_t>(entries != 0 ? points : 0));
  const auto items = static_cast<int32_t>(u32(record_22, grid + 4));
  if (items <= 0 || grid + 8 + uint64_t{1040} * static_cast<uint64_t>(items) > record_22.size())
    return 0;
  // The copy, the structure; the grid's entries and their values.
  return entries != 0 ? 4 : 2;
}

left_copies contract_leaks(const std::vector<bytes>& records, const std::vector<size_t>& copies,
                           const stack_answer& takes_34, const refusal& refused) {
  left_copies left;
  const auto leave = [&](size_t size) {
    ++left.blocks;
    left.bytes += size;
  };
  if (refused.hits(0)) return left;  // there is no parsed CMC
  const bytes* last_34 = nullptr;
  for (size_t i = 0; i < records.size(); ++i) {
    const bytes& record = records[i];
    const uint16_t kind = record.u16_at(6);
    const auto is_refused = [&](size_t number) { return refused.hits(copies[i] + number); };
    if (kind > 63 || is_refused(0)) continue;
    if (kind == 34) {
      if (!takes_34(record)) continue;
      if (last_34 != nullptr) leave(last_34->size());
      last_34 = &record;
    } else if (kind == 22) {
      const size_t items = allocations_before_items(record);
      // Without memory for what comes before them, it gets no further.
      bool is_lost = items != 0 && is_refused(items);
      for (size_t before = 0; before < items; ++before) is_lost = is_lost && !is_refused(before);
      if (is_lost) leave(record.size());
    } else if (is_forgotten(record, !is_refused(1))) {
      leave(record.size());
    }
  }
  return left;
}

left_copies contract_leaks(const std::vector<uint8_t>& image, const stack_answer& takes_34) {
  constexpr size_t never = std::numeric_limits<size_t>::max();
  const std::vector<bytes> records = records_of(image);
  return contract_leaks(records, std::vector<size_t>(records.size(), 1), takes_34, {never, false});
}

}  // namespace kit
