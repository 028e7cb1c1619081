// The bytes of containers, each named.

#include <fmt/format.h>

#include <memory>

#include "tools/layout/annotation.h"
#include "tools/qo_cmc/each_file.h"
#include "tools/qo_cmc/finding_line.h"
#include "tools/qo_cmc/json_line.h"
#include "tools/qo_cmc/verbs.h"

namespace qo_cmc {
namespace {

constexpr size_t bytes_a_line = 16;

struct hex_options {
  many_files files;
  std::optional<uint16_t> record;
  print_options print;
};

std::string hex_of(std::span<const uint8_t> bytes, std::string_view between) {
  std::string text;
  for (const uint8_t byte : bytes) {
    if (!text.empty()) text += between;
    fmt::format_to(std::back_inserter(text), "{:02x}", byte);
  }
  return text;
}

/// The name and the value stand beside the first bytes.
std::string lines_of(const layout::span& each, std::span<const uint8_t> bytes, const paint& with) {
  std::string meaning =
      each.gap ? with(colour::faint, "gap: " + each.name) : with(colour::bold, each.name);
  if (!each.value.empty()) meaning += " = " + findings::escaped(each.value);
  std::string text;
  for (size_t at = 0; at < bytes.size(); at += bytes_a_line) {
    const auto part = bytes.subspan(at, std::min(bytes_a_line, bytes.size() - at));
    text += fmt::format("{:08x}  ", each.offset + at);
    if (at == 0)
      text += fmt::format("{:<{}}  {}\n", hex_of(part, " "), 3 * bytes_a_line - 1, meaning);
    else
      text += hex_of(part, " ") + '\n';
  }
  return text;
}

json json_of(const layout::span& each, std::span<const uint8_t> bytes) {
  return {{"offset", each.offset}, {"size", each.size},
          {"name", each.name},     {"value", json_of_text(each.value)},
          {"gap", each.gap},       {"bytes", hex_of(bytes, "")}};
}

void annotate(const std::string& file, const hex_options& chosen, std::span<const uint8_t> bytes,
              const paint& with, report& into) {
  const findings::inspection seen = findings::inspect(bytes, {});
  const std::vector<layout::span> spans = layout::annotate(bytes, chosen.record);
  if (chosen.print.as_json) {
    json object = object_of(file, seen);
    if (chosen.record) object["record"] = *chosen.record;
    object["spans"] = json::array();
    for (const layout::span& each : spans)
      object["spans"].push_back(json_of(each, bytes.subspan(each.offset, each.size)));
    into.output = line_of(object);
  } else {
    if (chosen.files.names.size() > 1) into.output = heading_of(file, with);
    for (const layout::span& each : spans)
      into.output += lines_of(each, bytes.subspan(each.offset, each.size), with);
  }
  say_if_not_valid(file, seen.valid, seen.found, into);
}

exit_code show_bytes(const hex_options& chosen, const streams& standard) {
  require_one_standard_input(chosen.files.names);
  const paint with(chosen.print.colours, standard);
  return each_file(chosen.files.names, chosen.files.jobs, standard,
                   [&](const std::string& file, report& into) {
                     const content read = read_all(file, standard.input);
                     annotate(file, chosen, read.bytes(), with, into);
                   });
}

}  // namespace

verb add_hex(CLI::App& program) {
  const auto chosen = std::make_shared<hex_options>();
  CLI::App* const command = program.add_subcommand("hex", "Show the bytes, and what each one is");
  add_files(*command, chosen->files);
  command->add_option("--record", chosen->record, "Only the records of this kind")
      ->option_text("ID");
  add_print_options(*command, chosen->print);
  return {command, [chosen](const streams& standard) { return show_bytes(*chosen, standard); }};
}

}  // namespace qo_cmc
