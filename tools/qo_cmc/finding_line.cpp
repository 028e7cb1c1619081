#include "tools/qo_cmc/finding_line.h"

#include <fmt/format.h>

#include "tools/qo_cmc/input.h"

namespace qo_cmc {
namespace {

// Lines of standard error are never coloured: they are for a log as often as for a terminal.
void say_findings(const std::string& file, const std::vector<findings::finding>& found,
                  findings::severity least, report& into) {
  for (const findings::finding& each : found)
    if (each.how_bad >= least) into.say(line_of(file, each, paint()));
}

}  // namespace

std::string line_of(const std::string& file, const findings::finding& each, const paint& with) {
  const std::string offset = each.offset ? fmt::to_string(*each.offset) : "-";
  std::string line = fmt::format("{}:{}: {}: {} [{}", shown_name(file), offset,
                                 with(colour_of(each.how_bad), each.code), each.message,
                                 findings::word_of(each.how_bad));
  if (each.record)
    line +=
        fmt::format("; record {}: id {}, version {}, {} bytes at {}", each.record->index,
                    each.record->id, each.record->version, each.record->size, each.record->offset);
  if (!each.field.empty()) line += fmt::format("; field {}", each.field);
  return line + "]";
}

std::string heading_of(const std::string& file, const paint& with) {
  return with(colour::bold, shown_name(file) + ":") + '\n';
}

void say_if_not_valid(const std::string& file, bool valid,
                      const std::vector<findings::finding>& found, report& into) {
  if (valid) return;
  say_findings(file, found, findings::severity::error, into);
  into.say(shown_name(file) + ": not valid");
  into.at_least(exit_code::found);
}

void say_what_is_lost(const std::string& file, bool valid,
                      const std::vector<findings::finding>& found, report& into) {
  if (valid)
    say_findings(file, found, findings::severity::warning, into);
  else
    say_if_not_valid(file, valid, found, into);
}

}  // namespace qo_cmc
