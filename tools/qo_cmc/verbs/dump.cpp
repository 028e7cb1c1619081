// The parsed CMC, slot by slot.

#include <fmt/format.h>

#include <memory>

#include "tools/document/slots.h"
#include "tools/qo_cmc/each_file.h"
#include "tools/qo_cmc/failure.h"
#include "tools/qo_cmc/finding_line.h"
#include "tools/qo_cmc/json_line.h"
#include "tools/qo_cmc/kind_slots.h"
#include "tools/qo_cmc/verbs.h"

namespace qo_cmc {
namespace {

struct dump_options {
  many_files files;
  std::optional<std::string> nvm;
  std::optional<uint16_t> record;
  bool full = false;
  print_options print;
};

/// All slots, or those that the asked kind filled.
json slots_of(const findings::inspection& seen, const std::optional<uint16_t>& record) {
  if (seen.cmc == nullptr) return nullptr;
  json slots = document::slots_of(*seen.cmc, seen.from);
  if (record) slots = only_slots_of_kind(slots, *record, seen.from);
  return slots;
}

exit_code dump(const dump_options& chosen, const streams& standard) {
  require_one_standard_input(chosen.files.names, {chosen.nvm});
  if (chosen.record && slots_of_kind(*chosen.record).empty())
    throw failure("--record", fmt::format("kind {} fills no slot", *chosen.record));
  const optional_input nvm(chosen.nvm, standard);
  const paint with(chosen.print.colours, standard);
  const bool named = chosen.files.names.size() > 1;
  return each_file(chosen.files.names, chosen.files.jobs, standard,
                   [&](const std::string& file, report& into) {
                     const content read = read_all(file, standard.input);
                     const findings::inspection seen = findings::inspect(read.bytes(), nvm.bytes());
                     json slots = slots_of(seen, chosen.record);
                     if (chosen.print.as_json) {
                       json object = object_of(file, seen);
                       if (chosen.record) object["record"] = *chosen.record;
                       object["slots"] = std::move(slots);
                       into.output = line_of(object);
                       say_if_not_valid(file, seen.valid, seen.found, into);
                     } else {
                       if (named) into.output = heading_of(file, with);
                       if (!slots.is_null()) into.output += document::text_of(slots, chosen.full);
                       say_what_is_lost(file, seen.valid, seen.found, into);
                     }
                   });
}

}  // namespace

verb add_dump(CLI::App& program) {
  const auto chosen = std::make_shared<dump_options>();
  CLI::App* const command = program.add_subcommand("dump", "Show what the parser makes of them");
  add_files(*command, chosen->files);
  add_nvm(*command, "--nvm", chosen->nvm, "The module's NVM image, merged into the lens shading");
  command->add_option("--record", chosen->record, "Only the slot that records of this kind fill")
      ->option_text("ID");
  command->add_flag("--full", chosen->full, "Every array whole, in text too");
  add_print_options(*command, chosen->print);
  return {command, [chosen](const streams& standard) { return dump(*chosen, standard); }};
}

}  // namespace qo_cmc
