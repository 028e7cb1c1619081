// write_shading DIRECTORY: the sample's page, picture and table, and those of containers that are
// hard to show, for the scripts to look at.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/tools/shading/shading_cases.h"
#include "tools/shading/shading.h"

namespace {

void write(const std::filesystem::path& path, const void* data, size_t size) {
  std::ofstream file(path, std::ios::binary);
  file.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path.string());
}

void write_outputs(const std::filesystem::path& directory, const shading_case& shown) {
  const shading::subject about = shading::collect(shown.name + ".vexb", shown.container, shown.nvm);
  const std::string page = shading::html_page(about);
  const std::vector<uint8_t> picture = shading::png_picture(about);
  const std::string table = shading::csv_table(about);
  write(directory / (shown.name + ".html"), page.data(), page.size());
  write(directory / (shown.name + ".png"), picture.data(), picture.size());
  write(directory / (shown.name + ".csv"), table.data(), table.size());
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fputs("usage: write_shading DIRECTORY\n", stderr);
    return 2;
  }
  try {
    std::filesystem::create_directories(arguments[1]);
    for (const shading_case& shown : every_shading_case()) write_outputs(arguments[1], shown);
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "write_shading: %s\n", fault.what());
    return 1;
  }
  return 0;
}
