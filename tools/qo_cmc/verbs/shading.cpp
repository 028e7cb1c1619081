// Lens-shading tables as pictures.

#include "tools/shading/shading.h"

#include <algorithm>
#include <cctype>
#include <memory>
#include <string>
#include <string_view>

#include "tools/qo_cmc/each_file.h"
#include "tools/qo_cmc/failure.h"
#include "tools/qo_cmc/finding_line.h"
#include "tools/qo_cmc/output_file.h"
#include "tools/qo_cmc/verbs.h"

namespace qo_cmc {
namespace {

struct shading_options {
  std::string file;
  std::optional<std::string> nvm;
  std::string out;
};

enum class form { html, png, csv };

/// In any letter case, as other systems' file dialogs write them.
bool ends_in(const std::string& name, std::string_view ending) {
  const auto same = [](unsigned char a, unsigned char b) { return std::tolower(a) == b; };
  return name.size() >= ending.size() &&
         std::equal(name.end() - static_cast<ptrdiff_t>(ending.size()), name.end(), ending.begin(),
                    same);
}

form form_of(const std::string& out) {
  if (out == "-") throw failure("--output", "standard output is not written to");
  if (ends_in(out, ".html")) return form::html;
  if (ends_in(out, ".png")) return form::png;
  if (ends_in(out, ".csv")) return form::csv;
  throw failure(out, "ends in none of .html, .png and .csv");
}

void write(const shading::subject& drawn, form as, const std::string& out) {
  switch (as) {
    case form::html:
      return write_file(out, shading::html_page(drawn));
    case form::png:
      return write_file(out, text_of_bytes(shading::png_picture(drawn)));
    case form::csv:
      return write_file(out, shading::csv_table(drawn));
  }
}

exit_code draw(const shading_options& chosen, const streams& standard) {
  require_one_standard_input({chosen.file}, {chosen.nvm});
  const form as = form_of(chosen.out);
  const optional_input nvm(chosen.nvm, standard);
  return each_file({chosen.file}, 1, standard, [&](const std::string& file, report& into) {
    const content read = read_all(file, standard.input);
    const std::string name = file == standard_input_name ? shown_name(file) : file;
    const shading::subject drawn = shading::collect(name, read.bytes(), nvm.bytes());
    say_what_is_lost(file, drawn.valid, drawn.found, into);
    if (drawn.valid) write(drawn, as, chosen.out);
  });
}

}  // namespace

verb add_shading(CLI::App& program) {
  const auto chosen = std::make_shared<shading_options>();
  CLI::App* const command = program.add_subcommand("shading", "Draw the lens-shading tables");
  command->add_option("FILE", chosen->file, "A container; - is standard input")
      ->option_text(" ")
      ->required();
  add_nvm(*command, "--nvm", chosen->nvm,
          "The module's NVM image: tables before and after its calibration, and their ratio");
  command
      ->add_option("-o,--output", chosen->out,
                   "Written: a page, a picture or a table, by its ending")
      ->option_text("OUT.html|OUT.png|OUT.csv")
      ->required();
  return {command, [chosen](const streams& standard) { return draw(*chosen, standard); }};
}

}  // namespace qo_cmc
