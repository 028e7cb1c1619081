// make_sample [--without-34] DIRECTORY
//
// Writes sample.vexb and sample.nvm, the container and the NVM image of an invented module.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <system_error>

#include "tools/make_sample/sample_module.h"

namespace {

constexpr char usage[] =
    "usage: make_sample [--without-34] DIRECTORY\n"
    "  DIRECTORY     where sample.vexb and sample.nvm are written; made when it is missing\n"
    "  --without-34  leave record 34 out of the container: the parser then synthesises it\n";

struct options {
  std::string directory;
  record_34_choice record_34 = record_34_choice::stored;
};

std::optional<options> parse_arguments(int count, char** arguments) {
  options result;
  for (int i = 1; i < count; ++i) {
    const std::string argument = arguments[i];
    if (argument == "--without-34")
      result.record_34 = record_34_choice::synthesised;
    else if (argument.starts_with("-") || !result.directory.empty())
      return std::nullopt;
    else
      result.directory = argument;
  }
  if (result.directory.empty()) return std::nullopt;
  return result;
}

bool write_file(const std::filesystem::path& path, const std::vector<uint8_t>& content) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(content.data()),
             static_cast<std::streamsize>(content.size()));
  file.close();
  if (!file) {
    std::fprintf(stderr, "make_sample: cannot write %s\n", path.c_str());
    return false;
  }
  std::printf("%s: %zu bytes\n", path.c_str(), content.size());
  return true;
}

}  // namespace

int main(int count, char** arguments) {
  const std::optional<options> chosen = parse_arguments(count, arguments);
  if (!chosen) {
    std::fputs(usage, stderr);
    return 2;
  }
  const std::filesystem::path directory = chosen->directory;
  std::error_code ignored;  // writing reports what matters
  std::filesystem::create_directories(directory, ignored);
  const bool written = write_file(directory / "sample.vexb", sample_container(chosen->record_34)) &&
                       write_file(directory / "sample.nvm", sample_nvm());
  return written ? 0 : 1;
}
