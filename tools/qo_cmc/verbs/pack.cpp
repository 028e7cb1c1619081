// A container from the slots of a dump.

#include <fmt/format.h>

#include <memory>
#include <string>

#include "tools/document/slots.h"
#include "tools/qo_cmc/each_file.h"
#include "tools/qo_cmc/failure.h"
#include "tools/qo_cmc/json_line.h"
#include "tools/qo_cmc/output_file.h"
#include "tools/qo_cmc/verbs.h"

namespace qo_cmc {
namespace {

struct pack_options {
  std::string file;
  std::string out;
  unsigned checksum = 1;
};

/// More than any dump has. JSON that is nested without end is refused while it is read, before
/// anything walks down into it.
constexpr int deepest_nesting = 32;

/// What is wrong with the text, and where; without the number that the library gives its exception.
std::string reason_of(const json::parse_error& thrown) {
  const std::string whole = thrown.what();
  const size_t number = whole.find("] ");
  return findings::escaped(number == std::string::npos ? whole : whole.substr(number + 2));
}

/// The slots of the one object in the file.
json slots_in(const std::string& file, std::span<const uint8_t> text) {
  const auto refuse_deep = [&file](int depth, json::parse_event_t, json&) {
    if (depth > deepest_nesting)
      throw failure(file, fmt::format("is nested deeper than {} levels", deepest_nesting));
    return true;
  };
  json object;
  try {
    object = json::parse(text.begin(), text.end(), refuse_deep);
  } catch (const json::parse_error& thrown) {
    throw failure(file, fmt::format("not JSON, or more than one object: {}", reason_of(thrown)));
  }
  if (!object.is_object()) throw failure(file, "not an object of dump --json");
  const auto schema = object.find("schema");
  if (schema == object.end() || *schema != schema_version)
    throw failure(file, fmt::format("its schema is not {}", schema_version));
  if (object.contains("record")) throw failure(file, "holds the slots of only one kind");
  const auto slots = object.find("slots");
  if (slots == object.end() || !slots->is_object()) throw failure(file, "holds no slots");
  return std::move(*slots);
}

exit_code pack(const pack_options& chosen, const streams& standard) {
  const auto rule =
      chosen.checksum == 1 ? writer::checksum_rule::rule_a : writer::checksum_rule::rule_b;
  if (chosen.out == "-") throw failure("--output", "standard output is not written to");
  return each_file({chosen.file}, 1, standard, [&](const std::string& file, report&) {
    const content read = read_all(file, standard.input);
    write_file(chosen.out, text_of_bytes(document::pack(slots_in(file, read.bytes()), rule)));
  });
}

}  // namespace

verb add_pack(CLI::App& program) {
  const auto chosen = std::make_shared<pack_options>();
  CLI::App* const command = program.add_subcommand("pack", "Build a container from dump --json");
  command->add_option("FILE.json", chosen->file, "What dump --json printed; - is standard input")
      ->option_text(" ")
      ->required();
  command->add_option("-o,--output", chosen->out, "The container that is written")
      ->option_text("FILE.vexb")
      ->required();
  command
      ->add_option("--checksum", chosen->checksum,
                   "1: over all words but its own, as by default; 2: over the records")
      ->option_text("1|2")
      ->check(CLI::Range(1u, 2u));
  return {command, [chosen](const streams& standard) { return pack(*chosen, standard); }};
}

}  // namespace qo_cmc
