// Fuzz target of what is said about containers: any bytes are inspected, and what is said of them
// must hold together. The first byte chooses:
//
//   bits 0-1   0: a container, its size and checksum made right    else: a container as it is
//   bit 2      with a module calibration

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "fuzz/image_parts.h"
#include "fuzz/target.h"
#include "tests/kit/merging_module.h"
#include "tests/tools/findings/consistency.h"
#include "tools/findings/inspection.h"
#include "writer/container_writer.h"

const fuzz::input_form fuzz::form = {.choices = 1, .has_nvm = false};

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::vector<uint8_t> module = kit::module_image(2, writer::nvm_grid{});
  if (size == 0) return 0;
  std::vector<uint8_t> image(data + 1, data + size);
  const bool sealed = (data[0] & 3) == 0;
  if (sealed) {
    if (image.size() < writer::container::header_size) image.resize(writer::container::header_size);
    writer::seal(image);
  }
  std::optional<std::span<const uint8_t>> nvm;
  if ((data[0] & 4) != 0) nvm = module;
  const findings::inspection seen = findings::inspect(image, nvm);
  const std::string wrong = findings_test::contradiction_in(seen, image.size());
  if (!wrong.empty()) std::fprintf(stderr, "%s\n", wrong.c_str());
  if (!wrong.empty() || (sealed && !seen.valid)) abort();
  return 0;
}
