#include "tools/qo_cmc/input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <utility>

#include "tools/findings/escaped.h"
#include "tools/qo_cmc/failure.h"

namespace qo_cmc {
namespace {

constexpr size_t first_room = size_t{64} << 10;
/// One read() takes no more than this, whatever is asked.
constexpr size_t largest_read = size_t{1} << 30;

class descriptor {
 public:
  explicit descriptor(int number) : number_(number) {}
  ~descriptor() { close(number_); }
  descriptor(const descriptor&) = delete;
  descriptor& operator=(const descriptor&) = delete;
  [[nodiscard]] int number() const { return number_; }

 private:
  int number_;
};

/// The size of a regular file, 0 of a pipe or socket; throws for everything else.
uint64_t expected_size(const std::string& name, const struct stat& status) {
  if (S_ISDIR(status.st_mode)) throw failure(name, "is a directory");
  if (S_ISCHR(status.st_mode)) throw failure(name, "is a character device");
  if (S_ISBLK(status.st_mode)) throw failure(name, "is a block device");
  if (!S_ISREG(status.st_mode)) return 0;
  return static_cast<uint64_t>(std::max<off_t>(status.st_size, 0));
}

[[noreturn]] void refuse_size(const std::string& name) {
  throw failure(name, "has more than " + std::to_string(largest_input) + " bytes");
}

content read_descriptor(const std::string& name, int number) {
  struct stat status;
  if (fstat(number, &status) != 0) throw failure(name, errno);
  const uint64_t expected = expected_size(name, status);
  if (expected > largest_input) refuse_size(name);

  content read_so_far;
  // One byte more than is expected, so that the last read can answer that there is none.
  read_so_far.reserve(std::max<size_t>(expected + 1, first_room));
  while (true) {
    const std::span<uint8_t> room = read_so_far.room();
    const ssize_t count = read(number, room.data(), std::min(room.size(), largest_read));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw failure(name, errno);
    if (count == 0) return read_so_far;
    read_so_far.grow(static_cast<size_t>(count));
    const size_t size = read_so_far.bytes().size();
    if (size > largest_input) refuse_size(name);
    if (read_so_far.room().empty())
      read_so_far.reserve(std::min<size_t>(size * 2, largest_input + 1));
  }
}

}  // namespace

std::string shown_name(const std::string& name) {
  return name == standard_input_name ? "standard input" : findings::escaped(name);
}

void content::reserve(size_t capacity) {
  auto* const block = static_cast<uint8_t*>(realloc(data_.get(), capacity));
  if (block == nullptr) throw std::bad_alloc();
  (void)data_.release();
  data_.reset(block);
  capacity_ = capacity;
}

content read_all(const std::string& name, int standard_input) {
  if (name == standard_input_name) return read_descriptor(name, standard_input);
  // Opening a device can do something, and opening a pipe waits: what is refused is not opened.
  struct stat status;
  if (stat(name.c_str(), &status) != 0) throw failure(name, errno);
  (void)expected_size(name, status);
  const descriptor file(open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  if (file.number() < 0) throw failure(name, errno);
  return read_descriptor(name, file.number());
}

}  // namespace qo_cmc
