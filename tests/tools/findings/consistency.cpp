#include "tests/tools/findings/consistency.h"

#include <algorithm>
#include <limits>
#include <set>

namespace findings_test {
namespace {

const std::set<std::string>& words() {
  static const std::set<std::string> all = [] {
    std::set<std::string> words;
    for (const findings::code_description& code : findings::every_code()) words.insert(code.word);
    return words;
  }();
  return all;
}

std::string contradiction_in(const findings::finding& finding, const findings::inspection& seen,
                             size_t size) {
  if (!words().contains(finding.code)) return finding.code + " is no code";
  if (finding.message.empty()) return finding.code + " has no sentence";
  if (finding.message != findings::escaped(finding.message))
    return finding.code + ": its sentence is unsafe to print";
  if (finding.offset && *finding.offset > size) return finding.code + " lies outside the file";
  if (!finding.record) return {};
  const size_t walked = seen.records.size();
  if (finding.record->index == walked &&
      (finding.code == "record-size-too-small" || finding.code == "record-overruns"))
    return finding.offset == finding.record->offset ? "" : finding.code + ": where the walk ends";
  if (finding.record->index >= walked) return finding.code + ": no such record";
  const findings::record_row& row = seen.records[finding.record->index];
  if (row.offset != finding.record->offset || row.id != finding.record->id)
    return finding.code + " describes another record than the walk";
  return {};
}

bool in_order(const std::vector<findings::finding>& found) {
  const auto place = [](const findings::finding& each) {
    return each.offset.value_or(std::numeric_limits<uint64_t>::max());
  };
  return std::ranges::is_sorted(found, {}, place);
}

/// The records follow each other from the header on, as far as they go.
std::string gap_in(const std::vector<findings::record_row>& records, size_t size) {
  constexpr uint64_t header_size = 24;
  uint64_t next = header_size;
  for (size_t index = 0; index < records.size(); ++index) {
    const findings::record_row& row = records[index];
    if (row.index != index) return "the records are not numbered in their order";
    if (row.offset != next) return "a gap between two records";
    if (row.fate.empty()) return "a record without a fate";
    next += row.size;
  }
  return next <= std::max<uint64_t>(header_size, size) ? "" : "records beyond the file's end";
}

}  // namespace

std::string contradiction_in(const findings::inspection& seen, size_t size) {
  for (const findings::finding& finding : seen.found) {
    std::string wrong = contradiction_in(finding, seen, size);
    if (!wrong.empty()) return wrong;
  }
  if (!in_order(seen.found)) return "the findings are not in the order of their offsets";
  std::string gap = gap_in(seen.records, size);
  if (!gap.empty()) return gap;
  if (seen.valid != (seen.cmc != nullptr)) return "valid and parsed are not the same";
  if (!seen.valid) return {};
  const parsed_cmc& cmc = *seen.cmc;
  if ((seen.from.lens_shading != 0) != (cmc.lens_shading != nullptr))
    return "lens_shading and its origin";
  if ((seen.from.lens_shading_ext != 0) != (cmc.lens_shading_ext != nullptr))
    return "lens_shading_ext and its origin";
  if ((seen.from.record_31 != 0) != (cmc.record_31 != nullptr)) return "record_31 and its origin";
  return {};
}

}  // namespace findings_test
