// What is wrong with containers, and where.

#include <fmt/format.h>

#include <memory>

#include "tools/qo_cmc/each_file.h"
#include "tools/qo_cmc/finding_line.h"
#include "tools/qo_cmc/json_line.h"
#include "tools/qo_cmc/verbs.h"

namespace qo_cmc {
namespace {

struct check_options {
  many_files files;
  std::optional<std::string> nvm;
  bool allow_warnings = false;
  print_options print;
};

exit_code code_of(const findings::inspection& seen, bool allow_warnings) {
  const findings::severity least =
      allow_warnings ? findings::severity::error : findings::severity::warning;
  exit_code code = seen.valid ? exit_code::fine : exit_code::found;
  for (const findings::finding& each : seen.found)
    if (each.how_bad >= least) code = exit_code::found;
  return code;
}

std::string text_of(const std::string& file, const findings::inspection& seen, const paint& with) {
  std::string text;
  for (const findings::finding& each : seen.found) text += line_of(file, each, with) + '\n';
  text += fmt::format("{}: {}\n", shown_name(file),
                      seen.valid ? with(colour::green, "valid") : with(colour::red, "not valid"));
  return text;
}

exit_code check(const check_options& chosen, const streams& standard) {
  require_one_standard_input(chosen.files.names, {chosen.nvm});
  const optional_input nvm(chosen.nvm, standard);
  const paint with(chosen.print.colours, standard);
  return each_file(
      chosen.files.names, chosen.files.jobs, standard, [&](const std::string& file, report& into) {
        const content read = read_all(file, standard.input);
        const findings::inspection seen = findings::inspect(read.bytes(), nvm.bytes());
        into.output =
            chosen.print.as_json ? line_of(object_of(file, seen)) : text_of(file, seen, with);
        into.at_least(code_of(seen, chosen.allow_warnings));
      });
}

}  // namespace

verb add_check(CLI::App& program) {
  const auto chosen = std::make_shared<check_options>();
  CLI::App* const command =
      program.add_subcommand("check", "Say what is wrong with containers, and where");
  add_files(*command, chosen->files);
  add_nvm(*command, "--nvm", chosen->nvm, "The module's NVM image, merged into each container");
  command->add_flag("--allow-warnings", chosen->allow_warnings,
                    "End with 0 unless a container is refused");
  add_print_options(*command, chosen->print);
  return {command, [chosen](const streams& standard) { return check(*chosen, standard); }};
}

}  // namespace qo_cmc
