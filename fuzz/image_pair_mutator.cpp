// Changes one image of a pair, and makes sizes and checksums right again, so that what the fuzzer
// changed is read: a container whose sum is wrong tells nothing of its records, and an NVM image
// none of the merge. One time in sixteen they are left wrong.

#include <algorithm>
#include <random>

#include "fuzz/image_pair.h"
#include "writer/container_writer.h"
#include "writer/nvm_writer.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t most);
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t most, unsigned seed);

namespace {

void mutate(std::vector<uint8_t>& image, size_t room) {
  const size_t size = image.size();
  if (size + room == 0) return;
  image.resize(size + room);
  image.resize(LLVMFuzzerMutate(image.data(), size, image.size()));
}

/// The sizes of records, so that each ends where the container does at the latest.
void close_records(std::vector<uint8_t>& container) {
  writer::bytes image(container);
  size_t at = writer::container::header_size;
  while (at + writer::record_header_size <= image.size()) {
    const size_t left = image.size() - at;
    const uint32_t size = image.u32_at(at);
    if (size < writer::record_header_size || size > left)
      image.patch_u32(at, static_cast<uint32_t>(left));
    at += image.u32_at(at);
  }
  container = image.vector();
}

}  // namespace

size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t most, unsigned seed) {
  std::minstd_rand random(seed);
  fuzz::image_pair pair = fuzz::split(data, size);
  mutate(random() % 3 == 0 ? pair.nvm : pair.container, most - size);
  if (random() % 16 != 0) {
    if (pair.container.size() < writer::container::header_size)
      pair.container.resize(writer::container::header_size);
    if (random() % 2 == 0) close_records(pair.container);
    writer::seal(pair.container,
                 random() % 2 == 0 ? writer::checksum_rule::rule_a : writer::checksum_rule::rule_b);
    writer::bytes nvm(pair.nvm);
    if (nvm.size() >= writer::nvm_header_size) writer::seal_nvm_image(nvm);
    pair.nvm = nvm.vector();
  }
  const std::vector<uint8_t> result = fuzz::joined(pair);
  const size_t kept = std::min(result.size(), most);
  std::copy_n(result.begin(), kept, data);
  return kept;
}
