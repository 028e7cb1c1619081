/// A parsed CMC that Python holds, and into which arrays look.
#pragma once

#include <pybind11/pybind11.h>

#include <memory>

#include "tools/findings/inspection.h"

namespace qo_python {

namespace py = pybind11;

/// Lives as long as the Python object, each part of it that was taken, and each array; what it
/// holds can be released earlier, when no array looks into it any more.
class held_cmc {
 public:
  /// Parses with the interpreter's lock released. Raises InvalidContainer, with what was found, and
  /// ValueError for an NVM image that is refused.
  /// @param nvm  bytes, or None
  held_cmc(py::bytes container, py::object nvm);

  /// Raises ValueError once it is closed.
  [[nodiscard]] const parsed_cmc& cmc() const;
  [[nodiscard]] const findings::inspection& seen() const { return seen_; }
  [[nodiscard]] const py::bytes& container() const { return container_; }
  [[nodiscard]] const py::object& nvm() const { return nvm_; }

  [[nodiscard]] bool is_closed() const { return seen_.cmc == nullptr; }
  [[nodiscard]] size_t views() const { return views_; }
  /// Releases the parsed CMC. Raises BufferError while arrays look into it.
  void close();

  /// Counts one array that looks into a parsed CMC, and keeps it. One that is being made counts
  /// too: any allocation of Python's may collect garbage, whose finalizers may close what is read.
  class view {
   public:
    explicit view(std::shared_ptr<held_cmc> of) : of_(std::move(of)) { ++of_->views_; }
    ~view() { --of_->views_; }
    view(const view&) = delete;
    view& operator=(const view&) = delete;

   private:
    std::shared_ptr<held_cmc> of_;
  };

 private:
  py::bytes container_;
  py::object nvm_;
  findings::inspection seen_;
  size_t views_ = 0;  // guarded by the interpreter's lock
};

/// What `qo-cmc check` finds: (valid, findings). Raises nothing for what the bytes hold.
[[nodiscard]] py::tuple check(const py::bytes& container, const py::object& nvm);

}  // namespace qo_python
