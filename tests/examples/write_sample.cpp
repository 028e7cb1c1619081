// write_sample FOLDER: the container and the NVM image that the examples read.
#include <cstdio>
#include <string>
#include <vector>

#include "tools/sample/sample_module.h"

namespace {

[[nodiscard]] bool write_file(const std::string& name, const std::vector<uint8_t>& content) {
  FILE* const file = fopen(name.c_str(), "wb");
  if (file == nullptr) return false;
  const bool written = fwrite(content.data(), 1, content.size(), file) == content.size();
  return fclose(file) == 0 && written;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const std::string folder = argv[1];
  const bool written = write_file(folder + "/sample.vexb", sample_container()) &&
                       write_file(folder + "/sample.nvm", sample_nvm());
  return written ? 0 : 1;
}
