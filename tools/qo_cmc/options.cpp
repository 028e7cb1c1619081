#include "tools/qo_cmc/options.h"

#include <algorithm>
#include <map>

#include "tools/qo_cmc/each_file.h"
#include "tools/qo_cmc/failure.h"

namespace qo_cmc {

void add_print_options(CLI::App& command, print_options& chosen, bool coloured) {
  command.add_flag("--json", chosen.as_json, "Print one JSON object a line for each file");
  if (!coloured) return;
  static const std::map<std::string, colour_choice> words = {{"auto", colour_choice::automatic},
                                                             {"always", colour_choice::always},
                                                             {"never", colour_choice::never}};
  command
      .add_option("--color", chosen.colours,
                  "auto, always or never; auto is on a terminal unless NO_COLOR is set")
      ->option_text("WHEN")
      ->transform([](const std::string& word) {
        const auto found = words.find(word);
        if (found == words.end())
          throw CLI::ValidationError(word + " is not auto, always or never");
        return std::to_string(static_cast<int>(found->second));
      });
}

void add_files(CLI::App& command, many_files& chosen) {
  command.add_option("FILE", chosen.names, "Containers; - is standard input")
      ->option_text("...")
      ->required();
  command.add_option("-j,--jobs", chosen.jobs, "Work on this many files at once; 1 by default")
      ->option_text("N")
      ->check(CLI::Range(1u, most_jobs));
}

void add_nvm(CLI::App& command, const std::string& option, std::optional<std::string>& name,
             const std::string& meaning) {
  command.add_option(option, name, meaning)->option_text("NVM");
}

void require_one_standard_input(const std::vector<std::string>& names,
                                std::initializer_list<std::optional<std::string>> others) {
  auto count = std::count(names.begin(), names.end(), standard_input_name);
  count +=
      std::count(others.begin(), others.end(), std::optional<std::string>(standard_input_name));
  if (count > 1) throw failure(standard_input_name, "can be read only once");
}

optional_input::optional_input(const std::optional<std::string>& name, const streams& standard) {
  if (name) read_ = read_all(*name, standard.input);
}

std::optional<std::span<const uint8_t>> optional_input::bytes() const {
  if (!read_) return std::nullopt;
  return read_->bytes();
}

}  // namespace qo_cmc
