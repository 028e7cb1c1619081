#include "cmc_parser/copy_bounded.h"

#include <cstring>

#include "cmc_parser/missing_destination.h"
#include "qo_log.h"

namespace qo {
namespace {

constexpr int log_level = 0;
constexpr uint32_t copied = 0;
constexpr uint32_t null_argument = 22;
constexpr uint32_t truncated = 34;

}  // namespace

uint32_t copy_bounded(void* destination, size_t destination_size, const void* source,
                      size_t count) {
  if (destination == nullptr) {
    log_null_destination();
    return null_argument;
  }
  uint32_t result = copied;
  if (count > destination_size) {
    qo_log(log_level, "memcpy_s: count(%zu) > destsz(%zu), downsizing count to destsz\n", count,
           destination_size);
    count = destination_size;
    result = truncated;
  }
  if (source == nullptr) {
    memset(destination, 0, count);
    return null_argument;
  }
  memcpy(destination, source, count);
  return result;
}

}  // namespace qo
