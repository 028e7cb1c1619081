#include "tools/findings/findings_list.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace findings {
namespace {

/// The sentence, and the detail after a colon in front of its full stop.
[[nodiscard]] std::string message_of(std::string_view sentence, std::string_view detail) {
  std::string message(sentence);
  if (detail.empty()) return message;
  message.pop_back();
  return message.append(": ").append(detail).append(".");
}

[[nodiscard]] uint64_t rank_of(const finding& each) {
  return each.offset.value_or(std::numeric_limits<uint64_t>::max());
}

}  // namespace

void findings_list::add(const code_description& code, std::string_view detail, const place& where) {
  finding found = {code.word,    code.how_bad, message_of(code.sentence, detail),
                   where.offset, where.record, where.field.empty() ? code.field : where.field};
  if (!found.offset && where.record) found.offset = where.record->offset;
  found_.push_back(std::move(found));
}

std::vector<finding> findings_list::take() {
  std::stable_sort(found_.begin(), found_.end(),
                   [](const finding& a, const finding& b) { return rank_of(a) < rank_of(b); });
  return std::exchange(found_, {});
}

}  // namespace findings
