// Changes one part of an input, and makes sizes and checksums right again, so that what the fuzzer
// changed is read: a container whose sum is wrong tells nothing of its records, and an NVM image
// none of the merge. One time in sixteen they are left wrong.

#include <algorithm>

#include "fuzz/image_parts.h"
#include "fuzz/record_moves.h"
#include "writer/container_writer.h"
#include "writer/nvm_writer.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t most);
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t most, unsigned seed);
extern "C" size_t LLVMFuzzerCustomCrossOver(const uint8_t* a, size_t a_size, const uint8_t* b,
                                            size_t b_size, uint8_t* out, size_t most,
                                            unsigned seed);

namespace {

/// One change makes an image no longer than by this.
constexpr size_t most_growth = 4096;

void mutate(std::vector<uint8_t>& image, size_t room) {
  const size_t size = image.size();
  room = std::min(room, most_growth);
  if (size + room == 0) return;
  image.resize(size + room);
  image.resize(LLVMFuzzerMutate(image.data(), size, image.size()));
}

void make_right(fuzz::image_parts& parts, fuzz::random_bits& random) {
  if (parts.container.size() < writer::container::header_size)
    parts.container.resize(writer::container::header_size);
  if (random() % 2 == 0) fuzz::close_records(parts.container);
  writer::seal(parts.container,
               random() % 2 == 0 ? writer::checksum_rule::rule_a : writer::checksum_rule::rule_b);
  writer::bytes nvm(parts.nvm);
  if (nvm.size() >= writer::nvm_header_size) writer::seal_nvm_image(nvm);
  parts.nvm = nvm.vector();
}

size_t written(fuzz::image_parts& parts, uint8_t* out, size_t most, fuzz::random_bits& random) {
  if (random() % 16 != 0) make_right(parts, random);
  const std::vector<uint8_t> result = fuzz::joined(parts);
  const size_t kept = std::min(result.size(), most);
  std::copy_n(result.begin(), kept, out);
  return kept;
}

}  // namespace

size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t most, unsigned seed) {
  fuzz::random_bits random(seed);
  fuzz::image_parts parts = fuzz::split(data, size);
  const size_t room = most - size;
  if (fuzz::form.choices != 0 && random() % 8 == 0)
    mutate(parts.choices, 0);
  else if (fuzz::form.has_nvm && random() % 3 == 0)
    mutate(parts.nvm, room);
  else if (random() % 4 == 0)
    fuzz::move_records(parts.container, parts.container.size() + room, random);
  else
    mutate(parts.container, room);
  return written(parts, data, most, random);
}

size_t LLVMFuzzerCustomCrossOver(const uint8_t* a, size_t a_size, const uint8_t* b, size_t b_size,
                                 uint8_t* out, size_t most, unsigned seed) {
  fuzz::random_bits random(seed);
  fuzz::image_parts parts = fuzz::split(a, a_size);
  const fuzz::image_parts donor = fuzz::split(b, b_size);
  const size_t room = most - std::min(a_size, most);
  if (fuzz::form.has_nvm && random() % 4 == 0 && donor.nvm.size() <= parts.nvm.size() + room)
    parts.nvm = donor.nvm;
  else
    fuzz::splice_record(parts.container, donor.container, parts.container.size() + room, random);
  return written(parts, out, most, random);
}
