#include "tools/qo_cmc/streams.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

#include "tools/qo_cmc/failure.h"

namespace qo_cmc {
namespace {

constexpr size_t piece = size_t{64} << 10;

}  // namespace

void write_all(int descriptor, std::string_view bytes, const std::string& name) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw failure(name, errno);
    bytes.remove_prefix(static_cast<size_t>(count));
  }
}

void descriptor_sink::write(std::string_view text) {
  pending_ += text;
  if (pending_.size() >= piece) flush();
}

void descriptor_sink::flush() {
  // What could not be written once is not tried again.
  const std::string whole = std::exchange(pending_, {});
  write_all(number_, whole, name_);
}

}  // namespace qo_cmc
