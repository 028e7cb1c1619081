/// Options that several verbs have, and what is read by them.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "tools/qo_cmc/exit_code.h"
#include "tools/qo_cmc/input.h"
#include "tools/qo_cmc/paint.h"
#include "tools/qo_cmc/streams.h"

namespace qo_cmc {

/// A verb's work, once its options are known. What it throws becomes a line on standard error and
/// exit_code::not_done.
using verb_work = std::function<exit_code(const streams& standard)>;

struct verb {
  CLI::App* command;
  verb_work work;
};

struct print_options {
  bool as_json = false;
  colour_choice colours = colour_choice::automatic;
};

struct many_files {
  std::vector<std::string> names;
  unsigned jobs = 1;
};

/// --json, and --color where the verb has `coloured` text.
void add_print_options(CLI::App& command, print_options& chosen, bool coloured = true);
/// FILE... and -j.
void add_files(CLI::App& command, many_files& chosen);
/// `option` NVM, read when it is given.
void add_nvm(CLI::App& command, const std::string& option, std::optional<std::string>& name,
             const std::string& meaning);

/// Throws `failure` when standard input is named more than once.
void require_one_standard_input(const std::vector<std::string>& names,
                                std::initializer_list<std::optional<std::string>> others = {});

/// A file that need not be given.
class optional_input {
 public:
  optional_input(const std::optional<std::string>& name, const streams& standard);
  [[nodiscard]] std::optional<std::span<const uint8_t>> bytes() const;

 private:
  std::optional<content> read_;
};

}  // namespace qo_cmc
