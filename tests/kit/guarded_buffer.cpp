#include "tests/kit/guarded_buffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

namespace kit {

guarded_buffer::guarded_buffer(size_t size, guard_side side) : size_(size) {
  const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  const size_t inner = (size + page - 1) / page * page;
  mapping_size_ = inner + 2 * page;
  mapping_ = mmap(nullptr, mapping_size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapping_ == MAP_FAILED) abort();
  uint8_t* const first = static_cast<uint8_t*>(mapping_) + page;
  if (inner != 0 && mprotect(first, inner, PROT_READ | PROT_WRITE) != 0) abort();
  data_ = side == guard_side::before ? first : first + inner - size;
}

guarded_buffer::~guarded_buffer() {
  if (mapping_ != nullptr) munmap(mapping_, mapping_size_);
}

guarded_buffer::guarded_buffer(guarded_buffer&& other) noexcept
    : mapping_(std::exchange(other.mapping_, nullptr)),
      mapping_size_(other.mapping_size_),
      data_(other.data_),
      size_(other.size_) {}

}  // namespace kit
