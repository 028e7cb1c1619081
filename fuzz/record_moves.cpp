#include "fuzz/record_moves.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "cmc_parser/records/kinds.h"
#include "writer/container_writer.h"

namespace fuzz {
namespace {

using image = std::vector<uint8_t>;

constexpr size_t header_size = writer::container::header_size;
constexpr size_t version_offset = 4;
constexpr size_t kind_offset = 6;

/// A container taken apart. What no record holds is the tail.
struct pieces {
  image header;
  std::vector<image> records;
  image tail;
};

pieces apart(const image& container) {
  if (container.size() < header_size) return {.header = container, .records = {}, .tail = {}};
  const auto place = [&](size_t offset) {
    return container.begin() + static_cast<std::ptrdiff_t>(offset);
  };
  pieces all = {.header = {container.begin(), place(header_size)}, .records = {}, .tail = {}};
  const writer::bytes view(container);
  size_t at = header_size;
  while (container.size() - at >= writer::record_header_size) {
    const size_t size = view.u32_at(at);
    if (size < writer::record_header_size || size > container.size() - at) break;
    all.records.emplace_back(place(at), place(at + size));
    at += size;
  }
  all.tail.assign(place(at), container.end());
  return all;
}

image together(const pieces& all) {
  image container = all.header;
  for (const image& record : all.records)
    container.insert(container.end(), record.begin(), record.end());
  container.insert(container.end(), all.tail.begin(), all.tail.end());
  return container;
}

uint16_t some_kind(random_bits& random) {
  // One more than there are: the record of other readers.
  const size_t number = random() % (std::size(qo::record_kinds) + 1);
  return number < std::size(qo::record_kinds) ? qo::record_kinds[number] : uint16_t{722};
}

void insert_somewhere(std::vector<image>& records, const image& record, random_bits& random) {
  const auto number = static_cast<std::ptrdiff_t>(random() % (records.size() + 1));
  records.insert(records.begin() + number, record);
}

}  // namespace

void move_records(image& container, size_t most, random_bits& random) {
  pieces all = apart(container);
  if (all.records.empty()) return;
  image& chosen = all.records[random() % all.records.size()];
  switch (random() % 5) {
    case 0:
      if (container.size() + chosen.size() > most) return;
      insert_somewhere(all.records, image(chosen), random);
      break;
    case 1:
      std::swap(chosen, all.records[random() % all.records.size()]);
      break;
    case 2:
      all.records.erase(all.records.begin() + (&chosen - all.records.data()));
      break;
    case 3:
      chosen = writer::bytes(chosen).patch_u16(kind_offset, some_kind(random)).vector();
      break;
    default:
      chosen[version_offset] = static_cast<uint8_t>(99 + random() % 6);
      break;
  }
  container = together(all);
}

void splice_record(image& container, const image& donor, size_t most, random_bits& random) {
  const pieces given = apart(donor);
  pieces all = apart(container);
  if (given.records.empty() || all.header.size() < header_size) return;
  const image& record = given.records[random() % given.records.size()];
  if (container.size() + record.size() > most) return;
  insert_somewhere(all.records, record, random);
  container = together(all);
}

void close_records(image& container) {
  writer::bytes view(container);
  size_t at = header_size;
  while (at + writer::record_header_size <= view.size()) {
    const size_t left = view.size() - at;
    const uint32_t size = view.u32_at(at);
    if (size < writer::record_header_size || size > left)
      view.patch_u32(at, static_cast<uint32_t>(left));
    at += view.u32_at(at);
  }
  container = view.vector();
}

}  // namespace fuzz
