#include "tools/inspect/byte_file.h"

#include <fstream>
#include <iterator>

std::optional<std::vector<uint8_t>> read_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  std::vector<uint8_t> content{std::istreambuf_iterator<char>(file), {}};
  if (file.bad()) return std::nullopt;
  return content;
}
