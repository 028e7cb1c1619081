#include "tools/qo_cmc/program.h"

#include <fmt/format.h>

#include <sstream>

#include "tools/findings/escaped.h"
#include "tools/qo_cmc/failure.h"
#include "tools/qo_cmc/verbs.h"

namespace qo_cmc {
namespace {

constexpr char exit_codes[] =
    "Exit codes, the largest of all files:\n"
    "  0  fine, also with notes\n"
    "  1  check found an error or a warning, diff found a difference, or a container is not valid\n"
    "  2  could not be done: wrong usage, or something could not be read, held or written\n";

/// One line, whatever stands in the arguments that it repeats.
std::string usage_line(const CLI::App& program, const CLI::ParseError& thrown) {
  std::string command = "qo-cmc";
  for (const CLI::App* const chosen : program.get_subcommands())
    command += " " + chosen->get_name();
  return fmt::format("{} ({} --help says more)", findings::escaped(thrown.what()), command);
}

class command_line {
 public:
  command_line() {
    program_.set_version_flag("--version", "qo-cmc " QO_CMC_VERSION "\nlinked with " QO_CMC_STACK);
    program_.get_formatter()->column_width(28);
    program_.get_formatter()->label("SUBCOMMAND", "VERB");

    program_.require_subcommand(1);
    for (const auto add :
         {add_check, add_records, add_dump, add_hex, add_shading, add_diff, add_pack, add_sample})
      verbs_.push_back(add(program_));
    program_.footer(exit_codes);
    for (const verb& each : verbs_) {
      each.command->group("Verbs");
      each.command->footer(exit_codes);
    }
  }

  exit_code run(int argc, const char* const* argv, const streams& standard) {
    require_verb(argc, argv);
    try {
      program_.parse(argc, argv);
    } catch (const CLI::Success& asked) {  // for help, or the version
      std::ostringstream text;
      (void)program_.exit(asked, text, text);
      standard.output.write(text.str());
      return exit_code::fine;
    } catch (const CLI::ParseError& thrown) {
      throw failure("usage", usage_line(program_, thrown));
    }
    for (const verb& each : verbs_)
      if (each.command->parsed()) return each.work(standard);
    return exit_code::not_done;
  }

 private:
  /// The parser would only say that there is no subcommand.
  void require_verb(int argc, const char* const* argv) const {
    if (argc < 2) throw failure("usage", "a verb is missing (qo-cmc --help lists them)");
    if (argv[1][0] == '-') return;
    for (const verb& each : verbs_)
      if (each.command->check_name(argv[1])) return;
    throw failure("usage", fmt::format("no verb is named '{}' (qo-cmc --help lists them)",
                                       findings::escaped(argv[1])));
  }

  CLI::App program_{"Says what is in camera-module tuning containers, and why a slot is empty.",
                    "qo-cmc"};
  std::vector<verb> verbs_;
};

exit_code say(const std::exception& thrown, const streams& standard) noexcept {
  try {
    standard.errors.write(fmt::format("qo-cmc: {}\n", line_of(thrown)));
    standard.errors.flush();
  } catch (const std::exception&) {
    // There is nowhere left to say it.
  }
  return exit_code::not_done;
}

}  // namespace

int run(int argc, const char* const* argv, const streams& standard) noexcept {
  exit_code code = exit_code::fine;
  try {
    code = command_line().run(argc, argv, standard);
  } catch (const std::exception& thrown) {
    code = say(thrown, standard);
  }
  // What was printed before something went wrong is printed.
  try {
    standard.output.flush();
  } catch (const std::exception& thrown) {
    code = say(thrown, standard);
  }
  return static_cast<int>(code);
}

}  // namespace qo_cmc
