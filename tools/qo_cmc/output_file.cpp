#include "tools/qo_cmc/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "tools/qo_cmc/failure.h"
#include "tools/qo_cmc/streams.h"

namespace qo_cmc {
namespace {

void remove_if_regular(const std::string& name) {
  struct stat status;
  if (lstat(name.c_str(), &status) == 0 && S_ISREG(status.st_mode)) unlink(name.c_str());
}

}  // namespace

void write_file(const std::string& name, std::string_view bytes) {
  const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOCTTY, 0666);
  if (file < 0) throw failure(name, errno);
  try {
    write_all(file, bytes, name);
  } catch (const failure&) {
    close(file);
    remove_if_regular(name);
    throw;
  }
  // Some file systems tell only here that there was no room.
  if (close(file) != 0 && errno != EINTR) {
    const int reason = errno;
    remove_if_regular(name);
    throw failure(name, reason);
  }
}

std::string_view text_of_bytes(std::span<const unsigned char> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace qo_cmc
