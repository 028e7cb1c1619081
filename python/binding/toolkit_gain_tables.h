/// ComputedUpscaleLscTables: gain tables of the builders, which the views of them keep.
#pragma once

#include <memory>

#include "python/binding/toolkit_arguments.h"
#include "qo_cmc/lsc.h"

namespace qo_python {

class gain_tables {
 public:
  using block = std::shared_ptr<computed_upscale_lsc_tables>;

  gain_tables(block tables, sides size) : tables_(std::move(tables)), size_(size) {}

  /// The tables, which are not released while somebody holds this; throws after release().
  [[nodiscard]] const block& tables() const;
  [[nodiscard]] sides size() const { return size_; }
  [[nodiscard]] py::ssize_t count() const { return tables()->table_count; }
  [[nodiscard]] py::object view(py::ssize_t index) const;
  [[nodiscard]] py::tuple views() const;
  [[nodiscard]] bool released() const { return tables_ == nullptr; }
  /// Whether there are views, or a call that reads the tables.
  [[nodiscard]] bool in_use() const { return tables_.use_count() > 1; }
  /// Does nothing the second time; throws BufferError while there are views.
  void release();

 private:
  block tables_;
  sides size_;
};

}  // namespace qo_python
