#include "tools/layout/record_map.h"

#include <fmt/format.h>

#include <algorithm>

namespace layout {
namespace {

/// Elements of an array that are shown.
constexpr uint64_t most_shown = 8;

template <typename T>
T load(const uint8_t* from) {
  T value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

uint64_t size_of(element type) {
  switch (type) {
    case element::u8:
    case element::i8:
      return 1;
    case element::u16:
    case element::i16:
      return 2;
    case element::u32:
    case element::i32:
    case element::f32:
      return 4;
    case element::u64:
      return 8;
  }
  return 1;
}

std::string one(const uint8_t* from, element type) {
  switch (type) {
    case element::u8:
      return fmt::format("{}", load<uint8_t>(from));
    case element::u16:
      return fmt::format("{}", load<uint16_t>(from));
    case element::u32:
      return fmt::format("{}", load<uint32_t>(from));
    case element::u64:
      return fmt::format("{}", load<uint64_t>(from));
    case element::i8:
      return fmt::format("{}", load<int8_t>(from));
    case element::i16:
      return fmt::format("{}", load<int16_t>(from));
    case element::i32:
      return fmt::format("{}", load<int32_t>(from));
    case element::f32:
      return fmt::format("{}", load<float>(from));
  }
  return {};
}

}  // namespace

std::string indexed(std::string_view array, uint64_t index) {
  return fmt::format("{}[{}]", array, index);
}

std::string record_map::shown(uint64_t offset, uint64_t size, element type) const {
  const uint64_t width = size_of(type);
  const uint64_t count = size / width;
  // Bytes are there to be seen.
  if (type == element::u8 && count > 1) return {};
  std::string text;
  for (uint64_t i = 0; i < std::min(count, most_shown); ++i) {
    if (i != 0) text += ' ';
    text += one(record_.data() + offset + width * i, type);
  }
  if (count > most_shown) text += fmt::format(" ... {} in all", count);
  return text;
}

bool record_map::add(std::string_view name, uint64_t size, element type) {
  const bool whole = size <= left();
  const uint64_t present = whole ? size : left();
  if (present != 0)
    fields_.push_back({cursor_, present,
                       whole
                           ? fmt::format("{}.{}", name_, name)
                           : fmt::format("{}.{} (cut: {} of {} bytes)", name_, name, present, size),
                       whole ? shown(cursor_, size, type) : std::string()});
  cursor_ += present;
  return whole;
}

void record_map::text(std::string_view name) {
  const auto* const start = record_.data() + cursor_;
  const auto* const end = std::find(start, record_.data() + record_.size(), uint8_t{0});
  const auto length = static_cast<uint64_t>(end - start);
  const bool terminated = length < left();
  const uint64_t size = terminated ? length + 1 : length;
  if (size == 0) return;
  fields_.push_back({cursor_, size,
                     terminated ? fmt::format("{}.{}", name_, name)
                                : fmt::format("{}.{} (not ended)", name_, name),
                     std::string(reinterpret_cast<const char*>(start), length)});
  cursor_ += size;
}

std::vector<span> record_map::finish() {
  std::stable_sort(fields_.begin(), fields_.end(),
                   [](const named& a, const named& b) { return a.offset < b.offset; });
  std::vector<span> spans;
  uint64_t reached = 0;
  const auto leave_gap = [&](uint64_t end) {
    if (reached < end) spans.push_back({base_ + reached, end - reached, name_, {}, true});
    reached = std::max(reached, end);
  };
  for (named& field : fields_) {
    leave_gap(field.offset);
    const uint64_t end = field.offset + field.size;
    if (end <= reached) continue;
    spans.push_back(
        {base_ + reached, end - reached, std::move(field.name), std::move(field.value), false});
    reached = end;
  }
  leave_gap(record_.size());
  return spans;
}

}  // namespace layout
