#include "tools/qo_cmc/failure.h"

#include <new>
#include <system_error>

#include "tools/findings/escaped.h"
#include "tools/qo_cmc/input.h"

namespace qo_cmc {

failure::failure(const std::string& subject, const std::string& reason)
    : std::runtime_error(shown_name(subject) + ": " + reason) {}

failure::failure(const std::string& subject, int error_number)
    : failure(subject, std::generic_category().message(error_number)) {}

std::string line_of(const std::exception& thrown) {
  if (dynamic_cast<const failure*>(&thrown) != nullptr) return thrown.what();
  if (dynamic_cast<const std::bad_alloc*>(&thrown) != nullptr) return "no memory";
  return findings::escaped(thrown.what());
}

std::string line_of(const std::string& subject, const std::exception& thrown) {
  if (dynamic_cast<const failure*>(&thrown) != nullptr) return thrown.what();
  return shown_name(subject) + ": " + line_of(thrown);
}

}  // namespace qo_cmc
