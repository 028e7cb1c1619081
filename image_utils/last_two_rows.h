/// What is kept of source rows while the output rows between them are formed.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qo {

/// What `Form` makes of the two source rows that were asked for last: form(row number, Row&). A row
/// stands in the place of its parity: of the two rows around an output neither replaces the other.
template <typename Row, typename Form>
class last_two_rows {
 public:
  explicit last_two_rows(const Form& form) : form_(form) {}

  [[nodiscard]] const Row& at(uint64_t number) {
    const size_t place = number % 2;
    if (held_[place] != number) {
      form_(number, rows_[place]);
      held_[place] = number;
    }
    return rows_[place];
  }

 private:
  static constexpr uint64_t none = UINT64_MAX;

  const Form& form_;
  uint64_t held_[2] = {none, none};
  Row rows_[2];
};

}  // namespace qo
