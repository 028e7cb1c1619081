// What differs between the slots of two containers.

#include <fmt/format.h>

#include <memory>

#include "tools/document/slots.h"
#include "tools/qo_cmc/each_file.h"
#include "tools/qo_cmc/finding_line.h"
#include "tools/qo_cmc/json_line.h"
#include "tools/qo_cmc/verbs.h"

namespace qo_cmc {
namespace {

struct diff_options {
  std::string a, b;
  std::optional<std::string> nvm_a, nvm_b;
  print_options print;
};

struct side {
  findings::inspection seen;
  json slots;  ///< null when it is not valid
};

side read_side(const std::string& file, const std::optional<std::string>& nvm_name,
               const streams& standard) {
  const optional_input nvm(nvm_name, standard);
  const content read = read_all(file, standard.input);
  side result = {findings::inspect(read.bytes(), nvm.bytes()), nullptr};
  if (result.seen.cmc != nullptr)
    result.slots = document::slots_of(*result.seen.cmc, result.seen.from);
  return result;
}

json json_of(const std::vector<document::difference>& differences) {
  json array = json::array();
  for (const document::difference& each : differences)
    array.push_back({{"path", each.path}, {"before", each.before}, {"after", each.after}});
  return array;
}

json object_of(const diff_options& chosen, const side& a, const side& b,
               const std::vector<document::difference>& differences) {
  json object = qo_cmc::object_of(chosen.a, a.seen);
  object["file_b"] = json_of_text(chosen.b);
  object["valid_b"] = b.seen.valid;
  object["findings_b"] = qo_cmc::json_of(b.seen.found);
  object["differences"] = nullptr;
  if (a.seen.valid && b.seen.valid) object["differences"] = json_of(differences);
  return object;
}

void compare(const diff_options& chosen, const streams& standard, report& into) {
  // Each is read to its end before the other: one may be standard input, the other its NVM image.
  const side a = read_side(chosen.a, chosen.nvm_a, standard);
  const side b = read_side(chosen.b, chosen.nvm_b, standard);
  std::vector<document::difference> differences;
  if (!a.slots.is_null() && !b.slots.is_null())
    differences = document::differences(a.slots, b.slots);
  if (!differences.empty()) into.at_least(exit_code::found);

  const paint with(chosen.print.colours, standard);
  if (chosen.print.as_json) {
    into.output = line_of(object_of(chosen, a, b, differences));
    say_if_not_valid(chosen.a, a.seen.valid, a.seen.found, into);
    say_if_not_valid(chosen.b, b.seen.valid, b.seen.found, into);
    return;
  }
  for (const document::difference& each : differences)
    into.output += fmt::format("{}: {} -> {}\n", with(colour::bold, each.path),
                               with(colour::red, each.before), with(colour::green, each.after));
  say_what_is_lost(chosen.a, a.seen.valid, a.seen.found, into);
  say_what_is_lost(chosen.b, b.seen.valid, b.seen.found, into);
}

exit_code diff(const diff_options& chosen, const streams& standard) {
  require_one_standard_input({chosen.a, chosen.b}, {chosen.nvm_a, chosen.nvm_b});
  return each_file({chosen.a}, 1, standard,
                   [&](const std::string&, report& into) { compare(chosen, standard, into); });
}

}  // namespace

verb add_diff(CLI::App& program) {
  const auto chosen = std::make_shared<diff_options>();
  CLI::App* const command =
      program.add_subcommand("diff", "Show in which fields two containers differ");
  command->add_option("A", chosen->a, "A container; - is standard input")
      ->option_text(" ")
      ->required();
  command->add_option("B", chosen->b, "The other one")->option_text(" ")->required();
  add_nvm(*command, "--nvm-a", chosen->nvm_a, "NVM image of A's module");
  add_nvm(*command, "--nvm-b", chosen->nvm_b, "NVM image of B's module");
  add_print_options(*command, chosen->print);
  return {command, [chosen](const streams& standard) { return diff(*chosen, standard); }};
}

}  // namespace qo_cmc
