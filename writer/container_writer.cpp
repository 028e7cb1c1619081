#include "writer/container_writer.h"

#include <bit>
#include <stdexcept>

namespace writer {
namespace {

void require(bool inside) {
  if (!inside) throw std::out_of_range("outside the byte string");
}

}  // namespace

bytes& bytes::append(uint64_t value, size_t width) {
  for (size_t i = 0; i < width; ++i) content_.push_back(static_cast<uint8_t>(value >> (8 * i)));
  return *this;
}

bytes& bytes::patch(size_t offset, uint64_t value, size_t width) {
  require(offset <= size() && width <= size() - offset);
  for (size_t i = 0; i < width; ++i) content_[offset + i] = static_cast<uint8_t>(value >> (8 * i));
  return *this;
}

uint64_t bytes::value_at(size_t offset, size_t width) const {
  require(offset <= size() && width <= size() - offset);
  uint64_t value = 0;
  for (size_t i = 0; i < width; ++i) value |= uint64_t{content_[offset + i]} << (8 * i);
  return value;
}

bytes& bytes::f32(float value) { return u32(std::bit_cast<uint32_t>(value)); }
bytes& bytes::patch_f32(size_t offset, float value) {
  return patch_u32(offset, std::bit_cast<uint32_t>(value));
}
float bytes::f32_at(size_t offset) const { return std::bit_cast<float>(u32_at(offset)); }

bytes& bytes::raw(const void* data, size_t size) {
  // By way of a copy: the source may be this string itself.
  const std::vector<uint8_t> added(static_cast<const uint8_t*>(data),
                                   static_cast<const uint8_t*>(data) + size);
  content_.insert(content_.end(), added.begin(), added.end());
  return *this;
}

bytes& bytes::zeros(size_t count) {
  content_.resize(content_.size() + count);
  return *this;
}

bytes& bytes::zeros_to_multiple_of(size_t alignment) {
  return zeros((alignment - size() % alignment) % alignment);
}

bytes& bytes::zeros_to_size(size_t least) { return zeros(least > size() ? least - size() : 0); }

bytes record(uint16_t id, uint8_t version, const bytes& body, const record_options& options) {
  bytes whole;
  whole.u32(0).u8(version).u8(options.reserved).u16(id).raw(body);
  if (options.padded) whole.zeros_to_multiple_of(8);
  return whole.patch_u32(0, options.size.value_or(static_cast<uint32_t>(whole.size())));
}

bytes resized(const bytes& record, size_t size) {
  std::vector<uint8_t> content = record.vector();
  content.resize(size);
  bytes result(std::move(content));
  if (size >= 4) result.patch_u32(0, static_cast<uint32_t>(size));
  return result;
}

uint32_t checksum_of(const std::vector<uint8_t>& image, checksum_rule rule) {
  require(image.size() >= container::header_size);
  const bytes view(image);
  const size_t first = rule == checksum_rule::rule_a ? 0 : container::header_size;
  uint32_t sum = 0;
  for (size_t offset = first; offset + 4 <= image.size(); offset += 4)
    if (offset != 20) sum += view.u32_at(offset);
  return sum;
}

void seal(std::vector<uint8_t>& image, checksum_rule rule) {
  bytes sealed(image);
  sealed.patch_u32(4, static_cast<uint32_t>(image.size()));
  sealed.patch_u32(20, checksum_of(sealed.vector(), rule));
  image = sealed.vector();
}

container& container::add(const bytes& record) {
  offsets_.push_back(header_size + records_.size());
  records_.raw(record);
  return *this;
}

container& container::add(const std::vector<bytes>& records) {
  for (const bytes& record : records) add(record);
  return *this;
}

container& container::rule(checksum_rule rule) {
  rule_ = rule;
  return *this;
}

container& container::header_word(size_t index, uint32_t value) {
  require(index < 5 && index != 1);
  words_[index] = value;
  return *this;
}

container& container::total(uint32_t declared) {
  total_ = declared;
  return *this;
}

container& container::checksum(uint32_t value) {
  checksum_ = value;
  return *this;
}

std::vector<uint8_t> container::image() const {
  const uint32_t size = static_cast<uint32_t>(header_size + records_.size());
  bytes image;
  image.u32(words_[0]).u32(total_.value_or(size)).u32(words_[2]).u32(words_[3]).u32(words_[4]);
  image.u32(0).raw(records_);
  image.patch_u32(20, checksum_.value_or(checksum_of(image.vector(), rule_)));
  return image.vector();
}

qo_blob blob_of(const std::vector<uint8_t>& image) {
  return {image.data(), static_cast<uint32_t>(image.size())};
}

}  // namespace writer
