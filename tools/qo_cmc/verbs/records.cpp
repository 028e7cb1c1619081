// The records of containers, and what became of each.

#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "tools/qo_cmc/each_file.h"
#include "tools/qo_cmc/finding_line.h"
#include "tools/qo_cmc/json_line.h"
#include "tools/qo_cmc/verbs.h"

namespace qo_cmc {
namespace {

struct records_options {
  many_files files;
  print_options print;
};

std::string table_of(const std::vector<findings::record_row>& records, const paint& with) {
  size_t name_width = 4;
  for (const findings::record_row& row : records)
    name_width = std::max(name_width, row.name.size());
  std::string text = with(colour::bold, fmt::format("{:>5} {:>10} {:>10} {:>5}  {:<{}}  {:>7}  {}",
                                                    "index", "offset", "size", "id", "name",
                                                    name_width, "version", "fate")) +
                     '\n';
  for (const findings::record_row& row : records)
    text += fmt::format("{:>5} {:>10} {:>10} {:>5}  {:<{}}  {:>7}  {}\n", row.index, row.offset,
                        row.size, row.id, row.name, name_width, row.version, row.fate);
  return text;
}

exit_code list_records(const records_options& chosen, const streams& standard) {
  require_one_standard_input(chosen.files.names);
  const paint with(chosen.print.colours, standard);
  const bool named = chosen.files.names.size() > 1;
  return each_file(chosen.files.names, chosen.files.jobs, standard,
                   [&](const std::string& file, report& into) {
                     const content read = read_all(file, standard.input);
                     const findings::inspection seen = findings::inspect(read.bytes(), {});
                     if (chosen.print.as_json) {
                       json object = object_of(file, seen);
                       object["records"] = json_of(seen.records);
                       into.output = line_of(object);
                     } else {
                       if (named) into.output = heading_of(file, with);
                       into.output += table_of(seen.records, with);
                     }
                     say_if_not_valid(file, seen.valid, seen.found, into);
                   });
}

}  // namespace

verb add_records(CLI::App& program) {
  const auto chosen = std::make_shared<records_options>();
  CLI::App* const command =
      program.add_subcommand("records", "List the records, and what became of each");
  add_files(*command, chosen->files);
  add_print_options(*command, chosen->print);
  return {command, [chosen](const streams& standard) { return list_records(*chosen, standard); }};
}

}  // namespace qo_cmc
