// The sample: a container and an NVM image to try the other verbs on.

#include <filesystem>
#include <memory>
#include <system_error>

#include "tools/qo_cmc/failure.h"
#include "tools/qo_cmc/output_file.h"
#include "tools/qo_cmc/verbs.h"
#include "tools/sample/sample_module.h"

namespace qo_cmc {
namespace {

exit_code write_sample(const std::string& directory) {
  const std::filesystem::path folder = directory;
  std::error_code reason;
  std::filesystem::create_directories(folder, reason);
  if (reason) throw failure(directory, reason.value());
  write_file(folder / "sample.vexb", text_of_bytes(sample_container()));
  write_file(folder / "sample.nvm", text_of_bytes(sample_nvm()));
  return exit_code::fine;
}

}  // namespace

verb add_sample(CLI::App& program) {
  const auto directory = std::make_shared<std::string>();
  CLI::App* const command =
      program.add_subcommand("sample", "Write sample.vexb and sample.nvm, an invented module's");
  command->add_option("DIR", *directory, "Where; made when it is missing")
      ->option_text(" ")
      ->required();
  return {command, [directory](const streams&) { return write_sample(*directory); }};
}

}  // namespace qo_cmc
