#include "tools/layout/annotation.h"

#include <fmt/format.h>

#include <cstring>
#include <iterator>

#include "qo_cmc/parsed_cmc.h"
#include "tools/layout/record_layouts.h"

namespace layout {
namespace {

constexpr uint64_t container_header_size = 24;
constexpr uint16_t others_kind = 722;

struct kind {
  std::string name;
  body_map* body;  ///< null: nothing is known of it
};

kind kind_of(uint16_t id) {
  switch (id) {
#define QO_KIND_CASE(number, name) \
  case number:                     \
    return {#name, map_##name};
    QO_RECORD_KINDS(QO_KIND_CASE)
#undef QO_KIND_CASE
    case others_kind:
      return {"others", map_others};
    default:
      return {fmt::format("record_{}", id), nullptr};
  }
}

void append(std::vector<span>& all, std::vector<span> more) {
  all.insert(all.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

std::vector<span> annotate_header(std::span<const uint8_t> container) {
  record_map map(container.first(std::min<size_t>(container.size(), container_header_size)), 0,
                 "container");
  map.field<uint32_t>("word_0");
  map.field<uint32_t>("total_size");
  map.array<uint32_t>("words_2_to_4", 3);
  map.field<uint32_t>("checksum");
  return map.finish();
}

std::vector<span> annotate_record(std::span<const uint8_t> record, uint64_t offset, uint16_t id) {
  const kind of = kind_of(id);
  record_map map(record, offset, of.name);
  map.field<uint32_t>("size");
  map.field<uint8_t>("version");
  map.field<uint8_t>("reserved");
  map.field<uint16_t>("id");
  if (of.body != nullptr) of.body(map);
  return map.finish();
}

}  // namespace

std::vector<span> annotate(std::span<const uint8_t> container, std::optional<uint16_t> only_kind) {
  std::vector<span> all;
  if (!only_kind) append(all, annotate_header(container));
  uint64_t offset = container_header_size;
  while (offset < container.size()) {
    const std::span<const uint8_t> rest = container.subspan(offset);
    record_header header = {};
    const bool has_header = rest.size() >= sizeof header;
    if (has_header) std::memcpy(&header, rest.data(), sizeof header);
    if (!has_header || header.size < sizeof header || header.size > rest.size()) {
      const std::string why = has_header
                                  ? fmt::format("not a record: it would have {} bytes, {} are left",
                                                header.size, rest.size())
                                  : "less than a record's header";
      if (!only_kind) all.push_back({offset, rest.size(), why, {}, true});
      break;
    }
    if (!only_kind || *only_kind == header.id)
      append(all, annotate_record(rest.first(header.size), offset, header.id));
    offset += header.size;
  }
  return all;
}

}  // namespace layout
